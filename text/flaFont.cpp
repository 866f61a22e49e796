// Fonts: the face key, the output font with its DefineFont2 writer, and the
// imported font tags that keep their bodies until the fonts are rebuilt.
#include "flio/flaFont.h"

#include <cstdint>
#include <cstdio>

#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "flio/flaText.h"
#include "io/flaFormat.h"

const unsigned int flaFont::uiSwfEmSize = 1024;

// ---- fontInfo ----

bool fontInfo::operator<(const fontInfo& o) const {
    const int byName = name.compare(o.name);
    if (byName != 0) return byName < 0;
    if (bold != o.bold) return !bold;
    return !italic && o.italic;
}

// ---- flaFont ----

flaFont::flaFont(int id_, const fontInfo& info_) : id(id_), info(info_) {}

flaFont::flaFont(const flaFont& o) : id(o.id), info(o.info), glyphs(o.glyphs), advances(o.advances), codes(o.codes) {}

flaFont& flaFont::operator=(const flaFont& o) {
    if (this != &o) {
        id = o.id;
        info = o.info;
        glyphs = o.glyphs;
        advances = o.advances;
        codes = o.codes;
    }
    return *this;
}

// The glyphs and the reader belong to others.
flaFont::~flaFont() = default;

bool flaFont::addCode(unsigned short code, flaGlyphGeometry* glyph, float advance) {
    codes.push_back(code);
    glyphs.push_back(glyph);
    advances.push_back(advance);
    return true;
}

int flaFont::getGlyphIndex(unsigned short code) const {
    for (std::size_t i = 0; i < codes.size(); ++i)
        if (codes[i] == code) return static_cast<int>(i);
    return -1;
}

flaGlyphGeometry* flaFont::getGlyph(unsigned short code) {
    const int i = getGlyphIndex(code);
    if (i < 0 || static_cast<std::size_t>(i) >= glyphs.size()) return nullptr;
    return glyphs[static_cast<std::size_t>(i)];
}

bool flaFont::getAdvance(unsigned short code, float& advance, float scale) const {
    const int i = getGlyphIndex(code);
    if (i < 0 || static_cast<std::size_t>(i) >= advances.size()) return false;
    advance = scale * advances[static_cast<std::size_t>(i)];
    return true;
}

float flaFont::getLargestAdvance(float scale) const {
    if (advances.empty()) return 0.0f;
    std::size_t best = 0;
    for (std::size_t i = 1; i < advances.size(); ++i)
        if (advances[i] > advances[best]) best = i;
    return scale * advances[best];
}

void flaFont::DumpCharacterInFile(flaDump& dump) const {
    namespace Font2 = flaFormat::Font2;
    const flaDump::TagStart tag = dump.BeginTag(flaFormat::DefineFont2);
    dump.DataU16(static_cast<unsigned short>(id));

    // No layout, not Shift-JIS, not small text, not ANSI, 16-bit offsets, wide codes.
    dump.DataU8(static_cast<unsigned char>(Font2::WideCodes | (info.italic ? Font2::Italic : 0) |
                                           (info.bold ? Font2::Bold : 0)));
    dump.DataU8(0);  // language code

    // The length byte keeps only the low 8 bits, but every character is written.
    dump.DataU8(static_cast<unsigned char>(info.name.length() & 0xFF));
    for (std::size_t i = 0; i < info.name.length(); ++i) dump.DataU8(static_cast<unsigned char>(info.name[i] & 0xFF));

    dump.DataU16(static_cast<unsigned short>(glyphs.size()));
    const int table = dump.GetCurrentPosition();
    for (std::size_t i = 0; i < glyphs.size(); ++i) dump.DataU16(0);
    const int codeTableOffset = dump.GetCurrentPosition();
    dump.DataU16(0);

    const flaGlyphGeometry empty;
    for (std::size_t i = 0; i < glyphs.size(); ++i) {
        dump.PatchU16(table + static_cast<int>(2 * i), static_cast<std::uint16_t>(dump.GetCurrentPosition() - table));
        const flaGlyphGeometry* glyph = glyphs[i] ? glyphs[i] : &empty;
        glyph->DumpCharacterInFile(dump);
    }
    dump.PatchU16(codeTableOffset, static_cast<std::uint16_t>(dump.GetCurrentPosition() - table));
    for (unsigned short code : codes) dump.DataU16(code);
    dump.EndTag(tag);
}

// ---- imported font tags ----

ImportFont::ImportFont() = default;
ImportFont::~ImportFont() = default;

std::unique_ptr<flaRead> ImportFont::takeReader() { return std::move(reader); }

bool ImportFont::ReadFromFile(flaRead& in) {
    id = in.GetWord();
    reader = in.CopyRestOfTag();
    return true;
}

void ImportDefineFontInfo2::AfterFlags(flaRead& in) {
    in.GetByte();  // language code
}
