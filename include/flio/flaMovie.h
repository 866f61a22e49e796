// flaMovie: the in-memory movie. It holds the stage size and frame rate, the
// ordered frames, and the dictionary of everything the frames refer to by id:
// characters (shapes, sprites, texts, the background shape), sounds, lossless and
// JPEG bitmaps. Everything added to a movie is owned by it. The movie writes
// itself as an SWF file (DumpMovieToFile).
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <vector>

#include "flio/flaBits.h"
#include "flio/flaCharacter.h"
#include "flio/flaFont.h"
#include "flio/flaFrame.h"
#include "flio/flaGeometry.h"
#include "flio/flaPalette.h"
#include "flio/flaSound.h"

class flaDump;
class flaRead;
class flaColorXForm;
class flaMatrix;
class flaSoundInfo;
class flaCharacterMatrices;
class PL_FileSpec;
class flaSprite;

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

    // The file's own header values, as a faithful import finds them (or as a host
    // sets them): the version byte (0 when none is set) and the exact 8.8 frame
    // rate, whose fraction and whose values of 0 or above 100 SetFrameRate refuses.
    // A stream whose fileDetails option is on writes them; the classic writer
    // writes version 9 and the integer rate.
    void SetFileVersion(int v) { fileVersion = v; }
    int GetFileVersion() const { return fileVersion; }
    void SetFrameRateWord(unsigned short word) {
        frameRateWord = word;
        hasFrameRateWord = true;
    }
    bool HasFrameRateWord() const { return hasFrameRateWord; }
    unsigned short GetFrameRateWord() const { return frameRateWord; }

    // Faithful import, for a movie taken over to be written again (flaRewrite):
    // placements keep their blend modes, filters, names, ratios, visibility and
    // caching, and each instance its own number; shapes keep every style detail
    // and exact twips; texts keep what their records inherit; sounds keep every
    // format with its data; the file's version and exact frame rate are kept, and
    // the timeline keeps its own length (the classic import extends it until every
    // sprite has played once). Set it before the import; off by default, when the
    // import is the classic one.
    void SetFaithfulImport(bool on) { faithfulImport = on; }
    bool IsFaithfulImport() const { return faithfulImport; }

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
    // Files an imported font tag (the code of DefineFont, DefineFontInfo,
    // DefineFont2 or DefineFontInfo2) for buildBloatedFonts and takes ownership;
    // any other code is reported and the object stays the caller's.
    void AddImportFont(ImportFont* font, int tagCode);
    void buildBloatedFonts();
    const flaFontTable& GetFontTable() const { return fontTable; }

    // Writes the movie into dump and then to the file, compressed when asked for
    // and smaller. False when the file cannot be written.
    bool DumpMovieToFile(const PL_FileSpec& file, flaDump& dump, bool compress);

    // Import. The file is inflated when compressed; the buffer is taken as it is (a
    // compressed buffer is rejected by the header check). Both print the header
    // messages and return false for a file that is not an SWF movie. The file import
    // catches every exception ("Compressed SWF could not be decompressed",
    // "Some error while importing SWF" on standard error) and returns false; the
    // buffer import lets flaRead::readError and the others pass to the caller.
    // A progress callback that returns false ends the import early (result true).
    bool ReadMovieFromFile(const PL_FileSpec& file, Progress* progress);
    bool ReadMovieFromBuffer(const unsigned char* data, int size, Progress* progress);
    // A file image held in memory, read where it lies: an uncompressed image is not
    // copied (it must stay alive and unchanged until the call returns; the movie
    // keeps no pointer into it), a compressed one is inflated as a file's is.
    // Messages and errors as for ReadMovieFromFile.
    bool ReadMovieFromMemory(const unsigned char* data, std::size_t size, Progress* progress);

    // Collects every placement of every frame into map at that level (sprites'
    // contents one level deeper, once per sprite).
    void AssociateCharacterMatrices(flaCharacterMatrices& map, int level);

    // An import never stores more than these in total (the movie and all its
    // sprites together): frames created, and display-list entries copied into
    // frames by ShowFrame. A file that asks for more is rejected with
    // flaRead::readError rather than exhausting memory.
    static constexpr unsigned long long MaxImportedFrames = 1ull << 20;
    static constexpr unsigned long long MaxImportedPlacements = 1ull << 22;

protected:
    friend class flaSprite;

    // One entry of the import display list: a placement and the number of frames
    // that have shown it so far.
    struct ImportEntry {
        flaCharacterInfo info;
        unsigned int framesShown = 0;
    };
    // What one import has allocated so far; shared by a movie and its sprites.
    struct ImportBudget {
        unsigned long long frames = 0;
        unsigned long long placements = 0;
    };

    // Header, tags, sprite end-frame extension, static-character pass.
    bool ReadMovie(flaRead& reader, Progress* progress);
    // The tag loop: until End or the end of the data.
    void ParseTags(flaRead& reader, Progress* progress);
    // Runs the handler of one tag of the main timeline.
    // The tags that act on a timeline (placements, ShowFrame, sound starts and
    // streams, DoAction), shared with the sprites' nested tag loop; false for others.
    bool DispatchTimelineTag(flaRead& reader, unsigned short code);
    void DispatchTag(flaRead& reader, unsigned short code);
    // Bakes the matrix of every character placed with a single matrix into its
    // geometry; false when switched off.
    bool PreProsessStaticCharacters();

    // Tag handlers, shared with the sprites' nested tag loop.
    void ParseDefineBits(flaRead& reader);
    void ParseDefineBitsJPEG2(flaRead& reader);
    void ParseDefineBitsJPEG3(flaRead& reader);
    void ParseDefineBitsLossless(flaRead& reader);
    void ParseDefineBitsLossless2(flaRead& reader);
    void ParseDefineShape(flaRead& reader, bool withAlpha, flaShape::ShapeVersion version);
    void ParseDefineSound(flaRead& reader);
    void ParseDefineSprite(flaRead& reader);
    void ParsePlaceObject(flaRead& reader);
    void ParsePlaceObject2(flaRead& reader);
    void ParsePlaceObject3(flaRead& reader);
    void ParseRemoveObject(flaRead& reader);
    void ParseRemoveObject2(flaRead& reader);
    void ParseSetBackgroundColor(flaRead& reader);
    void ParseShowFrame();
    void ParseSoundStreamBlock(flaRead& reader);
    void ParseSoundStreamHead(flaRead& reader);
    void ParseSoundStreamHead2(flaRead& reader);
    void ReadSoundStartFromFile(flaRead& reader);
    void ParsePaletteData(flaRead& reader);

    // The placement fields of PlaceObject2 and PlaceObject3 and how they change the
    // import display list.
    struct PlaceFields;
    void ReadPlaceFields(flaRead& reader, unsigned char flags, PlaceFields& fields);
    void ReadClipActions(flaRead& reader, unsigned char flags, PlaceFields& fields);
    void ApplyPlacement(const PlaceFields& fields);
    // What a faithful import keeps of a placement: blend mode, filters, details,
    // and a new instance number for a new placement.
    void ApplyDetails(const PlaceFields& fields, flaCharacterInfo& info, bool move);
    void ParsePlaceObject3Faithful(flaRead& reader);
    std::list<ImportEntry>::iterator FindImportEntry(int depth);
    // Appends frames for the import, within the budget.
    void CreateImportFrames(unsigned long long n);

    // The whole file image; always true.
    bool DumpMovieToBuffer(flaDump& dump);
    // Every frame of the timeline, each after its stream block, sound definitions
    // and starts: the main timeline and the sprites' alike.
    void DumpTimeline(flaDump& dump, bool writeBackground) const;
    // The timeline's stream head: the imported stream's own (when the stream keeps
    // the file's details), else the export setting's.
    void DumpStreamHead(flaDump& dump) const;
    flaSound* WrittenStream(const flaDump& dump) const;
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
    // A faithful import's: DefineText2 (a static text whose colours have alpha) and
    // DefineFont3 (glyph outlines in twentieths of the font's units).
    void ParseDefineText2(flaRead& reader);
    void ParseDefineFont3(flaRead& reader);

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
    bool faithfulImport = false;
    int fileVersion = 0;
    bool hasFrameRateWord = false;
    unsigned short frameRateWord = 0;
    flaFontTable fontTable;
    std::unique_ptr<flaCharacterMatrices> characterMatrices;

    // Import state: the frame that the next ShowFrame completes, the placements
    // standing, and the last frame that a placed sprite needs to play through.
    int importFrameIndex = 0;
    std::list<ImportEntry> importDisplayList;
    std::uint32_t spriteEndFrame = 0;
    unsigned int importInstances = 0;  // instances numbered so far (faithful import)
    ImportBudget ownImportBudget;
    ImportBudget* importBudget = &ownImportBudget;  // the root movie's
};
