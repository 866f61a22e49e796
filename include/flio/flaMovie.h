// flaMovie: the in-memory movie. It holds the stage size and frame rate, the
// ordered frames, and the dictionary of everything the frames refer to by id:
// characters (shapes, sprites, texts, the background shape), sounds, lossless and
// JPEG bitmaps. Everything added to a movie is owned by it. The movie writes
// itself as an SWF file (DumpMovieToFile).
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "flio/flaBits.h"
#include "flio/flaCharacter.h"
#include "flio/flaFont.h"
#include "flio/flaPalette.h"
#include "flio/flaSound.h"

class flaDump;
class flaRead;
class flaFrame;
class flaColorXForm;
class flaMatrix;
class flaSoundInfo;
class PL_FileSpec;

// Thin named containers. None of them owns its elements; the movie deletes the
// characters of its own list itself.
class flaCharacterList : public std::vector<flaCharacter*> {};
class flaColorXFormList : public std::vector<flaColorXForm*> {};
class flaMatrixList : public std::vector<flaMatrix*> {};
class flaIntList : public std::vector<int> {};

class flaMovie {
public:
    // The caller's progress callback for import: told the fraction of the file
    // consumed (0 to 1) before each tag; returning false stops the import.
    class Progress {
    public:
        virtual ~Progress();
        virtual bool Update(float fraction) = 0;
    };

    // The most recently constructed movie (null once it is destroyed); other
    // classes read the current movie's settings through it.
    static const flaMovie* pCurrentMovie;

    flaMovie() : flaMovie(-1, -1) {}
    // A width or height below 1 gives the default stage of 640 x 480.
    flaMovie(int width, int height);
    flaMovie(const flaMovie&) = delete;
    flaMovie& operator=(const flaMovie&) = delete;
    virtual ~flaMovie();

    // Dictionary lookups; a negative or unknown id gives null. A sprite forwards
    // them to the movie that contains it.
    virtual flaCharacter* GetCharacter(int id) const;
    virtual flaSound* GetSound(int id) const;
    virtual flaUnsupported* GetUnsupported();

    // Ids: one counter per movie, starting at 1, shared by characters, sounds and
    // bitmaps. Adding something whose id is already set keeps that id.
    int GetNewCharacterId() { return static_cast<int>(nextCharacterId++); }
    // Appends the character (created with an id from GetNewCharacterId) and returns
    // its id. The movie takes ownership.
    int AddNewCharacter(flaCharacter* character);
    // Returns the sound's id; a sound already in the movie is not added again.
    int AddSound(flaSound* sound);
    // -1 for null; otherwise the bitmap's id.
    int AddBitsLossless(flaBitsLossless* bits);
    int AddBitsLossless2(flaBitsLossless2* bits);
    void AddJPEG(flaBitsJpegBase* jpeg);
    void AddToUnsupportedList(flaUnsupported::UnsupportedElement element);

    const flaCharacterList& GetCharacterList() const { return characters; }
    const flaSoundList& GetSoundList() const { return sounds; }
    const flaBitsLosslessList& GetBitsLosslessList() const { return bitsLossless; }
    const flaBitsLossless2List& GetBitsLossless2List() const { return bitsLossless2; }
    const flaJPEGContainer& GetJPEGContainer() const { return jpegs; }

    // Frames. GetFrame gives null unless 0 <= index < frame count.
    flaFrame* GetFrame(int index);
    const flaFrame* GetFrame(int index) const;
    unsigned long long GetFrameCount() const { return frames.size(); }
    // Appends n empty frames built with the current stage width and ratio.
    void CreateFrames(int n);

    // Setters ignore values out of range.
    void SetFrameRate(int rate);  // 1 to 100
    int GetFrameRate() const { return frameRate; }
    void SetFrameSize(int width, int height);  // both at least 1; recomputes the ratio
    void GetFrameSize(int& width, int& height) const {
        width = frameSizeX;
        height = frameSizeY;
    }
    bool IsFrameSizeGiven() const { return frameSizeGiven; }
    void SetRatio(double r) { ratio = r; }
    double GetRatio() const { return ratio; }
    // The version only rises: false, and no change, unless v is above the current.
    bool SetVersion(int v);
    int GetVersion() const { return version; }

    // Palette information (the private palette tag).
    void SetExportPalette(bool on) { exportPalette = on; }
    bool GetExportPalette() const { return exportPalette; }
    // The palette to fill for export (created on first use); null unless export is on.
    flaPalette* GetPaletteInformation();
    // The palette read from a file, if any.
    const flaPalette* GetExistingPaletteInformation() const { return paletteData.GetExistingPaletteInformation(); }

    // The shared JPEG tables (filled only by import).
    bool HasValidJPEGTables() const { return jpegTables != nullptr && jpegTablesLength > 0; }
    // The tables' length when above 2, else 0.
    unsigned int JPEGCopyTableSize() const { return jpegTablesLength > 2 ? jpegTablesLength : 0; }
    // Copies the tables without their trailing end-of-image marker (length - 2
    // bytes); nothing when the length is below 3.
    void JPEGCopyTable(unsigned char* out) const;

    const flaSound* GetImportedStreamedSound() const { return importedStreamedSound; }
    // Switches streamed-sound export on (samples per block, low 16 bits) or off (0).
    void ActivateStreamedSoundExport(int samplesPerBlock) {
        streamedSound.Activate(static_cast<unsigned short>(samplesPerBlock));
    }
    const flaStreamedSound& GetStreamedSoundExport() const { return streamedSound; }

    // A later frame whose background colour differs from frame 0's gets it painted
    // by a full-stage shape at depth 1.
    void ForceBackgroundColour(int frameIndex);

    // Sprites are always written as DefineSprite tags, never flattened.
    void ExpandSprites() {}
    void set_PreProsessStaticCharacters(bool on) { preProcessStaticCharacters = on; }
    bool GetPreProsessStaticCharacters() const { return preProcessStaticCharacters; }

    // Fonts. getFont(face) gives the output font of a face, created with a fresh
    // character id the first time the face is needed; the const forms only look.
    flaFont& getFont(const fontInfo& face);
    const flaFont* getFont(const fontInfo& face) const;
    const flaFont* getFont(int id) const;
    // Bloated fonts (complete outlines, for turning imported text into shapes):
    // AddFont takes ownership of a non-null font; the first with the id is found.
    void AddFont(flaFont* font);
    const flaFont* getBloatedFont(int id) const;
    // Files an imported font tag (10, 13, 48 or 62) for buildBloatedFonts and takes
    // ownership; any other code is reported and the object stays the caller's.
    void AddImportFont(ImportFont* font, int tagCode);
    void buildBloatedFonts();
    const flaFontTable& GetFontTable() const { return fontTable; }

    // Writes the movie into dump and then to the file, compressed when asked for
    // and smaller. False when the file cannot be written.
    bool DumpMovieToFile(const PL_FileSpec& file, flaDump& dump, bool compress);

protected:
    // The whole file image; always true.
    bool DumpMovieToBuffer(flaDump& dump);
    // JPEG tables, JPEG bitmaps, then lossless and lossless-2 bitmaps.
    void DumpAllBitmap(flaDump& dump);
    // The bytes of bitmap, JPEG and sound data the file will carry, so that the
    // stream can make room for them at once.
    std::size_t MediaBytes() const;
    // Every output font as DefineFont2, in face order.
    void DumpAllFonts(flaDump& dump);
    // One DoAction: SetTarget "" and StopSounds.
    void BuildAndDumpStopSoundsActionOfMovie(flaDump& dump);
    // Creates frames up to frameIndex and hands the sound start to that frame.
    bool PlaceSoundInFrame(const flaSoundInfo& info, unsigned long long frameIndex);
    bool SoundAlreadyInsert(const flaSound* sound) const;

    // Empties the character list without deleting; the caller takes them over.
    void ClearCharacterList() { characters.clear(); }
    std::size_t NbrCharacters() const { return characters.size(); }
    void CreateFrameUpTo(unsigned long long n);
    // Reads a JPEGTables tag body: the rest of the tag becomes the tables block. An
    // empty body sets the length to 0 and keeps the block held so far.
    void ParseJPEGTables(flaRead& reader);
    // Font and text tags of an import: the font tags are kept for
    // buildBloatedFonts; a DefineText becomes a text character.
    void ParseDefineFont(flaRead& reader);
    void ParseDefineFont2(flaRead& reader);
    void ParseDefineFontInfo(flaRead& reader);
    void ParseDefineFontInfo2(flaRead& reader);
    void ParseDefineText(flaRead& reader);

    bool preProcessStaticCharacters = true;
    bool exportPalette = false;
    flaStreamedSound streamedSound;
    std::vector<std::unique_ptr<flaFrame>> frames;
    flaCharacterList characters;          // owned
    flaSoundList sounds;                  // owned
    unsigned char* jpegTables = nullptr;  // owned, new[]; null when there are none
    std::uint32_t jpegTablesLength = 0;
    flaJPEGContainer jpegs;               // owns its bitmaps
    flaBitsLosslessList bitsLossless;     // owned
    flaBitsLossless2List bitsLossless2;   // owned
    int frameRate = 24;
    int frameSizeX = 640;
    int frameSizeY = 480;
    double ratio = 640.0 / 480.0;
    flaUnsupported unsupported;
    int version = 4;
    std::uint32_t nextCharacterId = 1;
    flaSound* importedStreamedSound = nullptr;  // owned
    flaCharacter* backgroundShape = nullptr;    // also in characters
    flaQKData paletteData;
    bool frameSizeGiven = false;
    flaFontTable fontTable;
};
