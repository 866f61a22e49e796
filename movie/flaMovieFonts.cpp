// The movie's fonts: output fonts by face, bloated fonts, the font and text tags
// of an import, and the font block of the writer.
#include <memory>

#include "flio/flaDump.h"
#include "flio/flaFont.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "flio/flaText.h"
#include "io/flaFormat.h"

flaFont& flaMovie::getFont(const fontInfo& face) { return fontTable.getFont(face, nextCharacterId); }

const flaFont* flaMovie::getFont(const fontInfo& face) const { return fontTable.getFont(face); }

const flaFont* flaMovie::getFont(int id) const { return fontTable.getFont(id); }

void flaMovie::AddFont(flaFont* font) { fontTable.AddFont(font); }

const flaFont* flaMovie::getBloatedFont(int id) const { return fontTable.getBloatedFont(id); }

void flaMovie::AddImportFont(ImportFont* font, int tagCode) { fontTable.AddImportFont(font, tagCode); }

void flaMovie::buildBloatedFonts() { fontTable.buildBloatedFonts(); }

void flaMovie::DumpAllFonts(flaDump& dump) { fontTable.DumpAllFonts(dump); }

namespace {

// Each font tag keeps its body until buildBloatedFonts.
template <typename Import>
void ReadImportFont(flaMovie& movie, flaRead& reader, int tagCode) {
    auto font = std::make_unique<Import>();
    font->ReadFromFile(reader);
    movie.AddImportFont(font.release(), tagCode);
}

}  // namespace

void flaMovie::ParseDefineFont(flaRead& reader) { ReadImportFont<ImportDefineFont>(*this, reader, flaFormat::DefineFont); }

void flaMovie::ParseDefineFont2(flaRead& reader) {
    ReadImportFont<ImportDefineFont2>(*this, reader, flaFormat::DefineFont2);
}

void flaMovie::ParseDefineFontInfo(flaRead& reader) {
    ReadImportFont<ImportDefineFontInfo>(*this, reader, flaFormat::DefineFontInfo);
}

void flaMovie::ParseDefineFontInfo2(flaRead& reader) {
    ReadImportFont<ImportDefineFontInfo2>(*this, reader, flaFormat::DefineFontInfo2);
}

void flaMovie::ParseDefineText(flaRead& reader) {
    const int id = reader.GetWord();
    auto text = std::make_unique<flaTextGeometry>(id, reader);
    characters.push_back(text.get());
    text.release();
}

void flaMovie::ParseDefineText2(flaRead& reader) {
    const int id = reader.GetWord();
    auto text = std::make_unique<flaTextGeometry>(id, reader, true);
    characters.push_back(text.get());
    text.release();
}

// Filed with the DefineFont2s, whose layout it has; buildBloatedFonts knows it by its
// class and decodes its finer outlines into DefineFont2's units.
void flaMovie::ParseDefineFont3(flaRead& reader) {
    ReadImportFont<ImportDefineFont3>(*this, reader, flaFormat::DefineFont2);
}
