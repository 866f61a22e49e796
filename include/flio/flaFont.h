// Fonts. Output fonts (one per face a text uses, keyed by fontInfo) are written as
// DefineFont2; bloated fonts hold complete glyph outlines, handed over by the host
// or rebuilt from the DefineFont, DefineFont2, DefineFontInfo and DefineFontInfo2
// tags of an imported file (and, in a faithful import, DefineFont3). flaFontTable is the movie's font state.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

#include "flio/UT_String.h"

class flaDump;
class flaRead;
class flaGlyphGeometry;

class fontInfo {
public:
    fontInfo() = default;
    fontInfo(const UT_String& name_, bool bold_, bool italic_) : name(name_), bold(bold_), italic(italic_) {}

    // By name, then non-bold before bold, then non-italic before italic.
    bool operator<(const fontInfo& o) const;
    bool operator==(const fontInfo& o) const { return name == o.name && bold == o.bold && italic == o.italic; }

    UT_String name;
    bool bold = false;
    bool italic = false;
};

class flaFont {
public:
    static const unsigned int uiSwfEmSize;  // 1024

    flaFont() = default;
    flaFont(int id, const fontInfo& info);
    flaFont(const flaFont& o);
    flaFont& operator=(const flaFont& o);
    ~flaFont();

    int getId() const { return id; }
    const fontInfo& getInfo() const { return info; }
    bool addCode(unsigned short code, flaGlyphGeometry* glyph, float advance);
    int getGlyphIndex(unsigned short code) const;
    int getIndex(unsigned short code) const { return getGlyphIndex(code); }
    flaGlyphGeometry* getGlyph(unsigned short code);
    const flaGlyphGeometry* getGlyphByIndex(unsigned int index) const { return glyphs[index]; }
    unsigned int getGlyphCnt() const { return static_cast<unsigned int>(glyphs.size()); }
    unsigned int getCodeCnt() const { return static_cast<unsigned int>(codes.size()); }
    unsigned short getCodeByIndex(unsigned int index) const { return codes[index]; }
    bool getAdvance(unsigned short code, float& advance, float scale) const;
    float getLargestAdvance(float scale) const;

    // Writes the DefineFont2 tag: face, one outline per glyph, the code table. A
    // null glyph is written as an empty outline.
    void DumpCharacterInFile(flaDump& dump) const;

    // Glyphs handed to addCode stay owned by the caller and must outlive every
    // write of the font.

private:
    friend class flaFontTable;
    int id = -1;
    fontInfo info;
    std::vector<flaGlyphGeometry*> glyphs;  // not owned
    std::vector<float> advances;
    std::vector<unsigned short> codes;
    flaRead* reader = nullptr;  // only while being rebuilt from an imported tag
};

class ImportFont {
public:
    ImportFont();
    ImportFont(const ImportFont&) = delete;
    ImportFont& operator=(const ImportFont&) = delete;
    virtual ~ImportFont();

    int getId() const { return id; }
    // Reads the font id, then keeps a private copy of the rest of the tag.
    bool ReadFromFile(flaRead& reader);
    flaRead* getReader() const { return reader.get(); }
    std::unique_ptr<flaRead> takeReader();

protected:
    int id = -1;
    std::unique_ptr<flaRead> reader;
};

class ImportDefineFont : public ImportFont {};
class ImportDefineFont2 : public ImportFont {};
// A DefineFont3 body (a faithful import's): laid out as DefineFont2's and filed
// under DefineFont2's code, but its outlines are in twentieths of DefineFont2's
// units; buildBloatedFonts decodes them at a twentieth of the body's scaling, so
// that the rebuilt glyphs are in the units every text expects (1024 per em).
class ImportDefineFont3 : public ImportDefineFont2 {};
class ImportDefineFontInfo : public ImportFont {
public:
    // Called after the flags byte: DefineFontInfo2 skips its language code.
    virtual void AfterFlags(flaRead& /*reader*/) {}
};
class ImportDefineFontInfo2 : public ImportDefineFontInfo {
public:
    void AfterFlags(flaRead& reader) override;
};

// The movie's fonts: the output table by face, the bloated fonts by id, and the
// imported font tags waiting for buildBloatedFonts. Owns everything it holds.
class flaFontTable {
public:
    flaFontTable();
    flaFontTable(const flaFontTable&) = delete;
    flaFontTable& operator=(const flaFontTable&) = delete;
    ~flaFontTable();

    // The font of a face, created with id nextId++ when the face is new.
    flaFont& getFont(const fontInfo& face, unsigned int& nextId);
    const flaFont* getFont(const fontInfo& face) const;
    const flaFont* getFont(int id) const;
    const std::map<fontInfo, flaFont>& GetTable() const { return table; }

    void AddFont(flaFont* font);  // takes ownership
    const flaFont* getBloatedFont(int id) const;
    const std::vector<flaFont*>& GetBloatedFonts() const { return bloated; }

    // Files an import under the code of its tag (DefineFont, DefineFontInfo,
    // DefineFont2 or DefineFontInfo2) and takes ownership; any other code prints
    // "Invalid SWF font tag code\n" and files nothing (the object then stays the
    // caller's).
    void AddImportFont(ImportFont* font, int tagCode);
    std::size_t GetPendingImportCount() const;
    // Turns the pending imports into bloated fonts: DefineFont, then DefineFont2,
    // then the infos, which are matched to the fonts by id. Never throws on
    // malformed data: a font whose body is damaged keeps its id and what was read
    // of its face before the damage, but no glyphs and no codes; an info whose body
    // is damaged changes nothing.
    void buildBloatedFonts();

    void DumpAllFonts(flaDump& dump) const;

private:
    void BuildFont(ImportFont& import, bool defineFont2);
    void ApplyInfo(ImportFont& import, const char* kind, bool skipLanguage);

    std::map<fontInfo, flaFont> table;
    std::vector<flaFont*> bloated;  // owned
    std::vector<std::unique_ptr<flaGlyphGeometry>> ownedGlyphs;
    std::vector<std::unique_ptr<ImportFont>> pendingFont, pendingFont2, pendingInfo, pendingInfo2;
};
