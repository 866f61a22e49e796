// Fonts: face ordering and ids, the DefineFont2 writer, and the rebuilding of fonts
// from DefineFont, DefineFont2, DefineFontInfo and DefineFontInfo2 bodies.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "flio/flaFont.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "flio/flaText.h"
#include "movie_test_util.h"
#include "test_util.h"

using namespace flio_test;

namespace {

// A closed square and one curve, filled on the right: how a glyph outline is
// usually made. Coordinates are multiples of 1/20 (whole twips on a 1-pixel stage).
std::unique_ptr<flaGlyphGeometry> SampleGlyph() {
    auto glyph = std::make_unique<flaGlyphGeometry>();
    flaSubGeometry* sub = glyph->AddChildGeometry();
    const flaColor* fill = sub->CreateSolidColour(FLIO::flaRGBA(0, 0, 0, 255), 0);
    auto* square = new flaStroke;
    for (const flaPoint& p : {flaPoint(0, 0), flaPoint(10, 0), flaPoint(10, -10), flaPoint(0, -10), flaPoint(0, 0)})
        square->AddPoint(p);
    sub->AddStroke(square, new flaStyle(flaStyle::Straight, nullptr, fill, nullptr));
    auto* curve = new flaStroke;
    for (const flaPoint& p : {flaPoint(2, -2), flaPoint(5, -4.5f), flaPoint(8, -2)}) curve->AddPoint(p);
    sub->AddStroke(curve, new flaStyle(flaStyle::Curved, nullptr, fill, nullptr));
    return glyph;
}

template <class T>
Bytes Written(const T& item) {
    flaDump dump(1, nullptr);
    item.DumpCharacterInFile(dump);
    return Flushed(dump);
}

// A written DefineFont2 tag as the body that follows its header and id.
std::string BodyOf(const Bytes& tag) { return ToHex(Bytes(tag.begin() + 8, tag.end())); }

// Reads a tag of the given code (id, body) into the matching import object, as the
// importer does, and files it in the table.
void File(flaFontTable& table, unsigned code, int id, const std::string& bodyHex) {
    std::unique_ptr<ImportFont> f;
    if (code == 10) f = std::make_unique<ImportDefineFont>();
    if (code == 48) f = std::make_unique<ImportDefineFont2>();
    if (code == 13) f = std::make_unique<ImportDefineFontInfo>();
    if (code == 62) f = std::make_unique<ImportDefineFontInfo2>();
    const Bytes idBytes{static_cast<unsigned char>(id), static_cast<unsigned char>(id >> 8)};
    const Bytes tag = Hex(LongTag(code, Join(ToHex(idBytes), bodyHex)));
    flaRead in(static_cast<int>(tag.size()), tag.data());
    in.SetScaling(0.05f);
    EXPECT_EQ(in.GetTag(), code);
    EXPECT_TRUE(f->ReadFromFile(in));
    EXPECT_EQ(in.DataSize(), 0);
    table.AddImportFont(f.release(), static_cast<int>(code));
}

std::vector<unsigned short> Codes(const flaFont& f) {
    std::vector<unsigned short> codes;
    for (unsigned int i = 0; i < f.getCodeCnt(); ++i) codes.push_back(f.getCodeByIndex(i));
    return codes;
}

// The strokes of a glyph as (curved, fill0, fill1, points), for comparison.
using StrokeView = std::tuple<bool, int, int, std::vector<flaPoint>>;
std::vector<StrokeView> Strokes(const flaGeometry& g) {
    std::vector<StrokeView> out;
    for (std::size_t s = 0; s < g.GetSubGeometryCount(); ++s)
        for (std::size_t i = 0; i < g.GetSubGeometry(s)->GetStrokeCount(); ++i) {
            const auto& r = g.GetSubGeometry(s)->GetStrokeRecord(i);
            out.emplace_back(r.style->IsCurved(), r.fill0Index, r.fill1Index, r.stroke->GetPoints());
        }
    return out;
}

// DefineFont body: offsets for two glyphs, an empty glyph, the sample glyph.
std::string DefineFontBody() { return Join("04 00 06 00 10 00", ToHex(Written(*SampleGlyph()))); }

// DefineFont2 body with no glyphs: wide codes, the name, count 0, code-table offset.
std::string EmptyFont2Body(const std::string& nameHex) {
    return Join(Join("04 00", ToHex({static_cast<unsigned char>(Hex(nameHex).size())})), Join(nameHex, "00 00 02 00"));
}

}  // namespace

TEST(FontTable, FaceOrderIdsAndLookups) {
    // By name, then non-bold first, then non-italic first.
    EXPECT_LT(fontInfo("Arial", true, true), fontInfo("Courier", false, false));
    EXPECT_LT(fontInfo("Arial", false, true), fontInfo("Arial", true, false));
    EXPECT_LT(fontInfo("Arial", true, false), fontInfo("Arial", true, true));
    EXPECT_FALSE(fontInfo("Arial", true, true) < fontInfo("Arial", true, true));

    flaMovie movie(100, 100);
    EXPECT_EQ(movie.GetNewCharacterId(), 1);
    const fontInfo bold("Arial", true, false), plain("Arial", false, false);
    flaFont& b = movie.getFont(bold);
    flaFont& p = movie.getFont(plain);
    EXPECT_EQ(b.getId(), 2);  // ids from the movie's counter, in order of first use
    EXPECT_EQ(p.getId(), 3);
    EXPECT_EQ(&movie.getFont(bold), &b);
    EXPECT_EQ(movie.GetNewCharacterId(), 4);
    const flaMovie& constMovie = movie;
    EXPECT_EQ(constMovie.getFont(fontInfo("Arial", true, true)), nullptr);
    EXPECT_EQ(constMovie.getFont(2), &b);
    // Written in face order: the plain face (id 3) before the bold one (id 2).
    flaDump dump(1, nullptr);
    movie.GetFontTable().DumpAllFonts(dump);
    const Bytes out = Flushed(dump);
    ASSERT_EQ(out.size(), 40u);
    EXPECT_EQ(out[6], 3);
    EXPECT_EQ(out[20 + 6], 2);

    flaFont font(4, fontInfo("F", false, false));
    flaGlyphGeometry g1, g2;
    font.addCode(65, &g1, 512);
    font.addCode(66, &g2, 700);
    font.addCode(65, &g2, 100);  // stored twice, found first
    EXPECT_EQ(font.getGlyph(65), &g1);
    EXPECT_FLOAT_EQ(font.getLargestAdvance(2.0f), 1400.0f);
}

// One table drives the DefineFont2 writer and, reading the written tag back, the
// DefineFont2 import.
TEST(Font, DefineFont2BytesAndReadBack) {
    const struct {
        int id;
        fontInfo face;
        std::vector<unsigned short> codes;  // one empty glyph each
        const char* hex;
    } cases[] = {
        {5, {"Ab", true, false}, {}, "3F 0C 0B 00 00 00 05 00 05 00 02 41 62 00 00 02 00"},
        {1, {"F", false, true}, {65}, "3F 0C 10 00 00 00 01 00 06 00 01 46 01 00 04 00 06 00 10 00 41 00"},
        {0x1234, {"", true, true}, {0x263A, 0x42},
         "3F 0C 15 00 00 00 34 12 07 00 00 02 00 06 00 08 00 0A 00 10 00 10 00 3A 26 42 00"},
    };
    for (const auto& c : cases) {
        flaFont font(c.id, c.face);
        for (unsigned short code : c.codes) font.addCode(code, nullptr, 0.0f);
        EXPECT_EQ(ToHex(Written(font)), c.hex);
        flaFontTable table;
        File(table, 48, c.id, BodyOf(Hex(c.hex)));
        table.buildBloatedFonts();
        const flaFont* back = table.getBloatedFont(c.id);
        ASSERT_NE(back, nullptr) << c.hex;
        EXPECT_EQ(back->getInfo(), c.face);
        EXPECT_EQ(back->getGlyphCnt(), c.codes.size());
        EXPECT_EQ(Codes(*back), c.codes);
    }
    // A name of 300 characters: the length byte is truncated, every character written.
    const std::string name(300, 'x');
    const Bytes out = Written(flaFont(1, fontInfo(name.c_str(), false, false)));
    ASSERT_EQ(out.size(), 8u + 3 + 300 + 4);
    EXPECT_EQ(out[10], 44);  // 300 & 0xFF
    EXPECT_EQ(std::string(out.begin() + 11, out.begin() + 311), name);
}

TEST(Font, GlyphWrittenInDefineFont2DecodesToTheSameStrokes) {
    const auto glyph = SampleGlyph();
    flaFont font(9, fontInfo("G", false, false));
    font.addCode('G', glyph.get(), 600);
    font.addCode('H', glyph.get(), 600);
    flaFontTable table;
    File(table, 48, 9, BodyOf(Written(font)));
    table.buildBloatedFonts();
    const flaFont* back = table.getBloatedFont(9);
    ASSERT_NE(back, nullptr);
    ASSERT_EQ(back->getGlyphCnt(), 2u);
    for (unsigned int i = 0; i < 2; ++i) {
        ASSERT_EQ(back->getGlyphByIndex(i)->GetSubGeometryCount(), 1u);
        EXPECT_EQ(back->getGlyphByIndex(i)->GetSubGeometry(0)->GetFills().GetSize(), 2u);  // 2^1 for one fill bit
        EXPECT_EQ(Strokes(*back->getGlyphByIndex(i)), Strokes(*glyph)) << "glyph " << i;
    }
}

TEST(FontTable, DefineFontAndInfosGiveNamesFlagsAndCodes) {
    const struct {
        unsigned infoCode;
        const char* infoBody;
        const char* name;
        bool bold, italic;
        std::vector<unsigned short> codes;
    } cases[] = {
        {13, "03 46 6F 6F 05 41 00 42 00", "Foo", false, true, {65, 66}},  // wide codes, italic
        {13, "01 5A 02 61 62", "Z", true, false, {97, 98}},                // narrow codes, bold
        {62, "02 48 69 07 01 3A 26 43 00", "Hi", true, true, {0x263A, 67}},  // info2 skips the language
        {13, "03 46 6F 6F 05 41 00 42", "", false, false, {}},              // damaged: changes nothing
    };
    for (const auto& c : cases) {
        flaFontTable table;
        File(table, 10, 3, DefineFontBody());
        File(table, c.infoCode, 3, c.infoBody);
        EXPECT_EQ(table.GetPendingImportCount(), 2u);
        table.buildBloatedFonts();
        EXPECT_EQ(table.GetPendingImportCount(), 0u);
        const flaFont* font = table.getBloatedFont(3);
        ASSERT_NE(font, nullptr);
        ASSERT_EQ(font->getGlyphCnt(), 2u);
        EXPECT_TRUE(Strokes(*font->getGlyphByIndex(0)).empty());
        EXPECT_EQ(Strokes(*font->getGlyphByIndex(1)), Strokes(*SampleGlyph()));
        EXPECT_EQ(font->getInfo(), fontInfo(c.name, c.bold, c.italic)) << c.infoBody;
        EXPECT_EQ(Codes(*font), c.codes);
        float advance = 0;
        EXPECT_FALSE(font->getAdvance(c.codes.empty() ? 0 : c.codes[0], advance, 1.0f));  // no advances
    }
}

TEST(FontTable, BuildOrderAndInfoMatching) {
    // Filed in reverse order: built DefineFonts first, then DefineFont2s; the info
    // still finds its font. Name bytes are taken as signed characters.
    flaFontTable table;
    File(table, 13, 2, "01 49 00 30 31");
    File(table, 48, 1, EmptyFont2Body("E9 41"));
    File(table, 10, 2, DefineFontBody());
    table.buildBloatedFonts();
    ASSERT_EQ(table.GetBloatedFonts().size(), 2u);
    EXPECT_EQ(table.GetBloatedFonts()[0]->getId(), 2);
    EXPECT_EQ(table.GetBloatedFonts()[1]->getId(), 1);
    EXPECT_EQ(Codes(*table.getBloatedFont(2)), (std::vector<unsigned short>{0x30, 0x31}));
    EXPECT_EQ(table.getBloatedFont(2)->getInfo().name.utf8(), "I");
    const UT_String& name = table.getBloatedFont(1)->getInfo().name;
    ASSERT_EQ(name.length(), 2u);
    EXPECT_EQ(name[0], 0xFFE9);

    // No font at all: each kind of info reports its own message.
    flaFontTable none;
    File(none, 13, 7, "00 00");
    File(none, 62, 8, "00 00 00");
    testing::internal::CaptureStderr();
    none.buildBloatedFonts();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Cannot match DefineFontInfo (font id 7) to any previously defined font\n"
              "Cannot match DefineFontInfo2 (font id 8) to any previously defined font\n");
    EXPECT_TRUE(none.GetBloatedFonts().empty());
    // Fonts exist but none has the id: the last font gets the info, silently.
    flaFontTable other;
    File(other, 48, 1, EmptyFont2Body("41"));
    File(other, 48, 2, EmptyFont2Body("42"));
    File(other, 13, 9, "01 43 02");
    testing::internal::CaptureStderr();
    other.buildBloatedFonts();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(other.getBloatedFont(1)->getInfo(), fontInfo("A", false, false));
    EXPECT_EQ(other.getBloatedFont(2)->getInfo(), fontInfo("BC", true, false));
}

TEST(FontTable, DamagedBodiesKeepTheFontWithoutGlyphs) {
    const Bytes g = Written(*SampleGlyph());
    const std::string cut = ToHex(Bytes(g.begin(), g.end() - 2));
    const std::string codesMissing = "04 00 01 4E 01 00 04 00 " + ToHex({static_cast<unsigned char>(4 + g.size()), 0});
    const struct {
        unsigned code;
        std::string body;
        const char* name;
    } cases[] = {
        {10, Join("04 00 06 00 10 00", cut), ""},  // glyph cut short
        {10, "FE FF 00 00", ""},                   // offset table cut short
        {10, "04", ""},
        {48, "04 00 01 4E FF FF 00 00 00 00", "N"},  // 65535 glyphs announced
        {48, "0C 00 01 4E 01 00 00 00 00", "N"},     // wide offsets cut short
        {48, Join(codesMissing, ToHex(g)), "N"},
        {48, "04 00 05 4E", "N"},  // name cut short
    };
    for (const auto& c : cases) {
        flaFontTable table;
        File(table, c.code, 4, c.body);
        File(table, 10, 5, DefineFontBody());
        EXPECT_NO_THROW(table.buildBloatedFonts());
        const flaFont* font = table.getBloatedFont(4);
        ASSERT_NE(font, nullptr) << c.body;
        EXPECT_EQ(font->getGlyphCnt() + font->getCodeCnt(), 0u) << c.body;
        EXPECT_EQ(font->getInfo().name.utf8(), c.name);
        EXPECT_EQ(table.getBloatedFont(5)->getGlyphCnt(), 2u);  // the next font is built all the same
    }
}

TEST(FontTable, HostFontsAndImportCodes) {
    flaMovie movie(10, 10);
    auto* font = new flaFont(6, fontInfo("Host", false, false));
    movie.AddFont(font);
    movie.AddFont(nullptr);
    movie.AddFont(new flaFont(6, fontInfo("Second", false, false)));
    EXPECT_EQ(movie.getBloatedFont(6), font);
    EXPECT_EQ(movie.getFont(6), nullptr);  // bloated fonts are not output fonts
    // DefineFont3 is not one of the codes: reported, nothing filed, the object
    // stays the caller's.
    auto foreign = std::make_unique<ImportDefineFont>();
    testing::internal::CaptureStderr();
    movie.AddImportFont(foreign.get(), 75);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Invalid SWF font tag code\n");
    EXPECT_EQ(movie.GetFontTable().GetPendingImportCount(), 0u);
}
