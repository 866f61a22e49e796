// The movie's fonts: output fonts by face, bloated fonts, the font and text tags
// of an import, and the font block of the writer.
#include <memory>

#include "flio/flaDump.h"
#include "flio/flaFont.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "flio/flaText.h"

flaFont& flaMovie::getFont(const fontInfo& face) { return fontTable.getFont(face, nextCharacterId); }

const flaFont* flaMovie::getFont(const fontInfo& face) const { return fontTable.getFont(face); }

const flaFont* flaMovie::getFont(int id) const { return fontTable.getFont(id); }

void flaMovie::AddFont(flaFont* font) { fontTable.AddFont(font); }

const flaFont* flaMovie::getBloatedFont(int id) const { return fontTable.getBloatedFont(id); }

void flaMovie::AddImportFont(ImportFont* font, int tagCode) { fontTable.AddImportFont(font, tagCode); }

void flaMovie::buildBloatedFonts() { fontTable.buildBloatedFonts(); }

void flaMovie::DumpAllFonts(flaDump& dump) { fontTable.DumpAllFonts(dump); }

// Each font tag keeps its body until buildBloatedFonts.
void flaMovie::ParseDefineFont(flaRead& reader) {
    auto font = std::make_unique<ImportDefineFont>();
    font->ReadFromFile(reader);
    AddImportFont(font.release(), 10);
}

void flaMovie::ParseDefineFont2(flaRead& reader) {
    auto font = std::make_unique<ImportDefineFont2>();
    font->ReadFromFile(reader);
    AddImportFont(font.release(), 48);
}

void flaMovie::ParseDefineFontInfo(flaRead& reader) {
    auto font = std::make_unique<ImportDefineFontInfo>();
    font->ReadFromFile(reader);
    AddImportFont(font.release(), 13);
}

void flaMovie::ParseDefineFontInfo2(flaRead& reader) {
    auto font = std::make_unique<ImportDefineFontInfo2>();
    font->ReadFromFile(reader);
    AddImportFont(font.release(), 62);
}

void flaMovie::ParseDefineText(flaRead& reader) {
    const int id = reader.GetWord();
    auto text = std::make_unique<flaTextGeometry>(id, reader);
    characters.push_back(text.get());
    text.release();
}
