// The movie's font state: output fonts by face, bloated fonts by id, and the
// rebuilding of bloated fonts from the font tags of an imported file.
#include <cstdio>
#include <string>

#include "flio/flaDump.h"
#include "flio/flaFont.h"
#include "flio/flaRead.h"
#include "flio/flaText.h"
#include "io/flaFormat.h"

flaFontTable::flaFontTable() = default;

flaFontTable::~flaFontTable() {
    for (flaFont* f : bloated) delete f;
}

flaFont& flaFontTable::getFont(const fontInfo& face, unsigned int& nextId) {
    auto found = table.find(face);
    if (found != table.end()) return found->second;
    const int id = static_cast<int>(nextId++);
    return table.emplace(face, flaFont(id, face)).first->second;
}

const flaFont* flaFontTable::getFont(const fontInfo& face) const {
    auto found = table.find(face);
    return found == table.end() ? nullptr : &found->second;
}

const flaFont* flaFontTable::getFont(int id) const {
    for (const auto& entry : table)
        if (entry.second.getId() == id) return &entry.second;
    return nullptr;
}

void flaFontTable::AddFont(flaFont* font) {
    if (font) bloated.push_back(font);
}

const flaFont* flaFontTable::getBloatedFont(int id) const {
    for (const flaFont* f : bloated)
        if (f->getId() == id) return f;
    return nullptr;
}

void flaFontTable::AddImportFont(ImportFont* font, int tagCode) {
    if (!font) return;
    switch (tagCode) {
        case flaFormat::DefineFont: pendingFont.emplace_back(font); break;
        case flaFormat::DefineFont2: pendingFont2.emplace_back(font); break;
        case flaFormat::DefineFontInfo: pendingInfo.emplace_back(font); break;
        case flaFormat::DefineFontInfo2: pendingInfo2.emplace_back(font); break;
        default: std::fprintf(stderr, "Invalid SWF font tag code\n"); break;
    }
}

std::size_t flaFontTable::GetPendingImportCount() const {
    return pendingFont.size() + pendingFont2.size() + pendingInfo.size() + pendingInfo2.size();
}

void flaFontTable::DumpAllFonts(flaDump& dump) const {
    for (const auto& entry : table) entry.second.DumpCharacterInFile(dump);
}

namespace {

// A byte taken as a signed 8-bit value and widened, as the name bytes are read.
char16_t NameUnit(unsigned char b) { return static_cast<char16_t>(static_cast<signed char>(b)); }

}  // namespace

// Builds one bloated font from a DefineFont, DefineFont2 or DefineFont3 body. The font joins
// the bloated fonts before its body is read; damage met while reading leaves it
// with no glyphs and no codes.
void flaFontTable::BuildFont(ImportFont& import, bool defineFont2) {
    std::unique_ptr<flaRead> body = import.takeReader();
    auto owned = std::make_unique<flaFont>();
    flaFont& font = *owned;
    font.id = import.getId();
    bloated.push_back(owned.release());
    if (!body) return;

    std::vector<std::unique_ptr<flaGlyphGeometry>> glyphs;
    std::vector<unsigned short> codes;
    font.reader = body.get();
    if (dynamic_cast<const ImportDefineFont3*>(&import))
        body->SetScaling(body->GetScaling() / static_cast<float>(flaFormat::Font3UnitsPerFont2Unit));
    try {
        flaRead& in = *body;
        unsigned int count = 0;
        bool wideCodes = false;
        if (defineFont2) {
            namespace Font2 = flaFormat::Font2;
            const unsigned char flags = in.GetByte();  // layout, Shift-JIS, small text, ANSI are not used
            const bool wideOffsets = (flags & Font2::WideOffsets) != 0;
            wideCodes = (flags & Font2::WideCodes) != 0;
            font.info.italic = (flags & Font2::Italic) != 0;
            font.info.bold = (flags & Font2::Bold) != 0;
            in.GetByte();  // language code
            const unsigned int nameLength = in.GetByte();
            for (unsigned int i = 0; i < nameLength; ++i) font.info.name.append(NameUnit(in.GetByte()));
            count = in.GetWord();
            // The offsets and the code-table offset are not needed: glyphs follow
            // one another.
            in.SkipBytes(static_cast<int>((count + 1) * (wideOffsets ? 4u : 2u)));
        } else if (in.bytesLeft() > 0) {
            // The first offset tells where the glyphs start, behind the table.
            count = in.GetWord() / 2u;
            if (count > 0) in.SkipBytes(static_cast<int>(2 * (count - 1)));
        }
        for (unsigned int i = 0; i < count; ++i) {
            auto glyph = std::make_unique<flaGlyphGeometry>();
            glyph->setFlaReader(&in);
            glyph->buildBloated();
            glyph->setFlaReader(nullptr);
            glyphs.push_back(std::move(glyph));
        }
        if (defineFont2)
            for (unsigned int i = 0; i < count; ++i) codes.push_back(wideCodes ? in.GetWord() : in.GetByte());
    } catch (const flaRead::readError&) {
        glyphs.clear();
        codes.clear();
    }
    font.reader = nullptr;

    for (auto& g : glyphs) {
        font.glyphs.push_back(g.get());
        ownedGlyphs.push_back(std::move(g));
    }
    font.codes = std::move(codes);
}

// Applies a DefineFontInfo or DefineFontInfo2 body to the first bloated font with
// its id (or to the last bloated font when none has it).
void flaFontTable::ApplyInfo(ImportFont& import, const char* kind, bool skipLanguage) {
    if (bloated.empty()) {
        std::fprintf(stderr, "Cannot match %s (font id %d) to any previously defined font\n", kind, import.getId());
        return;
    }
    flaFont* target = bloated.back();
    for (flaFont* f : bloated)
        if (f->getId() == import.getId()) {
            target = f;
            break;
        }
    flaRead* in = import.getReader();
    if (!in) return;

    // Read the whole body first so that a damaged one changes nothing.
    try {
        in->Seek(0);
        UT_String name;
        const unsigned int nameLength = in->GetByte();
        for (unsigned int i = 0; i < nameLength; ++i) name.append(NameUnit(in->GetByte()));
        const unsigned char flags = in->GetByte();  // small text, Shift-JIS and ANSI are not used
        const bool italic = (flags & flaFormat::FontInfo::Italic) != 0;
        const bool bold = (flags & flaFormat::FontInfo::Bold) != 0;
        const bool wideCodes = (flags & flaFormat::FontInfo::WideCodes) != 0;
        if (auto* info = dynamic_cast<ImportDefineFontInfo*>(&import))
            info->AfterFlags(*in);
        else if (skipLanguage)
            in->GetByte();  // a DefineFontInfo2 body of a foreign import class
        std::vector<unsigned short> codes;
        for (std::size_t i = 0; i < target->glyphs.size(); ++i) codes.push_back(wideCodes ? in->GetWord() : in->GetByte());

        target->info.name += name;
        target->info.italic = italic;
        target->info.bold = bold;
        target->codes.insert(target->codes.end(), codes.begin(), codes.end());
    } catch (const flaRead::readError&) {
    }
}

void flaFontTable::buildBloatedFonts() {
    // Each list is taken over before it is worked through, so the pending lists are
    // empty afterwards whatever happens.
    auto fonts = std::move(pendingFont);
    pendingFont.clear();
    for (auto& f : fonts) BuildFont(*f, false);
    fonts.clear();

    auto fonts2 = std::move(pendingFont2);
    pendingFont2.clear();
    for (auto& f : fonts2) BuildFont(*f, true);
    fonts2.clear();

    auto infos = std::move(pendingInfo);
    pendingInfo.clear();
    for (auto& f : infos) ApplyInfo(*f, "DefineFontInfo", false);
    infos.clear();

    auto infos2 = std::move(pendingInfo2);
    pendingInfo2.clear();
    for (auto& f : infos2) ApplyInfo(*f, "DefineFontInfo2", true);
}
