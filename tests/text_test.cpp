// Fonts and static text: font ids, the DefineFont2 and DefineText writers, fonts
// rebuilt from DefineFont, DefineFont2, DefineFontInfo and DefineFontInfo2 bodies,
// and DefineText bodies bloated into glyph outlines.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "flio/flaFont.h"
#include "flio/flaMovie.h"
#include "flio/flaText.h"
#include "test_util.h"

using namespace flio_test;

namespace {

struct TextMovie : flaMovie {
    using flaMovie::flaMovie;
    using flaMovie::ParseDefineText;
};

// A closed square, (0, 0) to (10, -10), and one curve, filled on the right: how a
// glyph outline is usually made. Coordinates are whole twips on a 1-pixel stage.
std::unique_ptr<flaGlyphGeometry> SampleGlyph() {
    auto glyph = std::make_unique<flaGlyphGeometry>();
    flaSubGeometry* sub = glyph->AddChildGeometry();
    const flaColor* fill = sub->CreateSolidColour(FLIO::flaRGBA(0, 0, 0, 255), 0);
    AddStroke(sub, {{0, 0}, {10, 0}, {10, -10}, {0, -10}, {0, 0}}, false, nullptr, fill, nullptr);
    AddStroke(sub, {{2, -2}, {5, -4.5f}, {8, -2}}, true, nullptr, fill, nullptr);
    return glyph;
}

// The strokes of a drawing as (curved, fill0, fill1, points), for comparison.
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

template <class T>
Bytes Written(const T& item) {
    flaDump dump(1, nullptr);
    item.DumpCharacterInFile(dump);
    return Flushed(dump);
}

// A reader over a long-form tag of the given code, id and body, standing at the id.
std::unique_ptr<flaRead> TagReader(unsigned code, int id, const std::string& body) {
    auto in = OpenTag(LongTag(code, Hex(ToHex({static_cast<unsigned char>(id), static_cast<unsigned char>(id >> 8)}) +
                                        " " + body)));
    in->SetScaling(0.05f);
    return in;
}

// Reads a font tag into the matching import object, as the importer does, and files it.
void File(flaFontTable& table, unsigned code, int id, const std::string& body) {
    std::unique_ptr<ImportFont> f;
    if (code == 10) f = std::make_unique<ImportDefineFont>();
    if (code == 48) f = std::make_unique<ImportDefineFont2>();
    if (code == 13) f = std::make_unique<ImportDefineFontInfo>();
    if (code == 62) f = std::make_unique<ImportDefineFontInfo2>();
    const auto in = TagReader(code, id, body);
    EXPECT_TRUE(f->ReadFromFile(*in));
    EXPECT_EQ(in->DataSize(), 0);
    table.AddImportFont(f.release(), static_cast<int>(code));
}

std::vector<unsigned short> Codes(const flaFont& f) {
    std::vector<unsigned short> codes;
    for (unsigned int i = 0; i < f.getCodeCnt(); ++i) codes.push_back(f.getCodeByIndex(i));
    return codes;
}

// DefineFont body: offsets for two glyphs, an empty glyph, the sample glyph.
std::string DefineFontBody() { return "04 00 06 00 10 00 " + ToHex(Written(*SampleGlyph())); }

struct TextCase {
    int frameWidth, id;
    float xMin, xMax, yMin, yMax;
    unsigned char r;
    float xOffset;
    unsigned int size;
    const char* text;
    std::vector<int> kerning;
    const char* hex;
};

std::unique_ptr<flaTextGeometry> MakeText(const TextCase& c, int fontId) {
    auto t = std::make_unique<flaTextGeometry>(c.id);
    t->UpdateBBox(c.xMin, c.yMin);
    t->UpdateBBox(c.xMax, c.yMax);
    t->setFontId(fontId);
    t->setFontSize(c.size);
    t->setColor(c.r, 2, 3, 255);
    t->setRecordOffset(flaPoint(c.xOffset, 0), flaPoint(0, 0));
    t->setText(c.text);
    for (std::size_t i = 0; i < c.kerning.size(); ++i) t->setKerning(static_cast<unsigned int>(i), c.kerning[i]);
    return t;
}

const TextCase kTextCases[] = {
    // Two glyphs, y offset from the bounds, height 370 for size 32.
    {1, 7, 0, 10, 0, 2, 1, 0, 32, "AB", {},
     "FF 02 1B 00 00 00 07 00 48 01 90 00 14 00 04 00 02 07 8E 01 00 01 02 03 28 00 72 01 02 10 24 00 00"},
    // Kerning skips the first entry; a character missing from the font writes nothing.
    {1, 7, 0, 10, 0, 2, 1, 0, 32, "ACB", {5, 400},
     "FF 02 1B 00 00 00 07 00 48 01 90 00 14 00 04 00 02 07 8E 01 00 01 02 03 28 00 72 01 03 10 A4 00 00"},
    // One kerning entry, no offsets.
    {1, 7, 0, 10, -1, 0, 1, 0, 32, "AB", {9},
     "FF 02 19 00 00 00 07 00 48 01 90 00 0A 00 04 00 02 07 8C 01 00 01 02 03 72 01 02 10 24 00 00"},
    // X offset only, negative bound, size 12.
    {1, 7, -2, 10, -1, 0, 1, 1.5f, 12, "B", {},
     "FF 02 19 00 00 00 07 00 4F 61 90 00 0A 00 04 00 02 05 8D 01 00 01 02 03 1E 00 8A 00 01 4C 00"},
    // Wide stage; negative kerning widens the advance field.
    {100, 3, 0, 0.5f, 0, 0.25f, 255, 0, 32, "A", {0, -3},
     "FF 02 1B 00 00 00 03 00 58 00 7D 00 00 FA 00 04 00 02 0D 8E 01 00 FF 02 03 F4 01 72 01 01 19 98 00"},
};

}  // namespace

// Font ids come from the movie's counter, which other characters share, in order of
// first use of a face.
TEST(FontTable, IdsFromTheMoviesCounter) {
    flaMovie movie(100, 100);
    std::vector<int> ids = {movie.GetNewCharacterId()};
    for (const fontInfo& face : {fontInfo("Arial", true, false), fontInfo("Arial", false, true),
                                 fontInfo("Arial", false, false), fontInfo("Aria", true, true),
                                 fontInfo("Arial", true, false)})
        ids.push_back(movie.getFont(face).getId());
    ids.push_back(movie.GetNewCharacterId());
    EXPECT_EQ(ids, (std::vector<int>{1, 2, 3, 4, 5, 2, 6}));
}

// One table drives the DefineFont2 writer and, reading the written tag back, the
// DefineFont2 import. The last font has real outlines, which decode to the strokes
// they were written from.
TEST(Font, DefineFont2BytesAndReadBack) {
    const auto glyph = SampleGlyph();
    const struct {
        int id;
        fontInfo face;
        std::vector<unsigned short> codes;  // the sample glyph when there is no hex
        const char* hex;
    } cases[] = {
        {5, {"Ab", true, false}, {}, "3F 0C 0B 00 00 00 05 00 05 00 02 41 62 00 00 02 00"},
        {1, {"F", false, true}, {65}, "3F 0C 10 00 00 00 01 00 06 00 01 46 01 00 04 00 06 00 10 00 41 00"},
        {0x1234, {"", true, true}, {0x263A, 0x42},
         "3F 0C 15 00 00 00 34 12 07 00 00 02 00 06 00 08 00 0A 00 10 00 10 00 3A 26 42 00"},
        {9, {"G", false, false}, {'G', 'H'}, nullptr},
    };
    for (const auto& c : cases) {
        flaFont font(c.id, c.face);
        for (unsigned short code : c.codes) font.addCode(code, c.hex ? nullptr : glyph.get(), 600.0f);
        const Bytes written = Written(font);
        if (c.hex) {
            EXPECT_EQ(ToHex(written), c.hex);
        }
        flaFontTable table;
        File(table, 48, c.id, ToHex(Bytes(written.begin() + 8, written.end())));
        table.buildBloatedFonts();
        const flaFont* back = table.getBloatedFont(c.id);
        ASSERT_NE(back, nullptr) << c.id;
        EXPECT_EQ(back->getInfo(), c.face);
        EXPECT_EQ(Codes(*back), c.codes);
        ASSERT_EQ(back->getGlyphCnt(), c.codes.size());
        for (unsigned int i = 0; i < c.codes.size(); ++i)
            EXPECT_EQ(Strokes(*back->getGlyphByIndex(i)), c.hex ? std::vector<StrokeView>() : Strokes(*glyph));
    }
}

// Fonts rebuilt from a DefineFont (10) or DefineFont2 (48) body and, when given, a
// DefineFontInfo (13) or DefineFontInfo2 (62). A damaged info changes nothing; a
// damaged font keeps its name without glyphs or codes, and the font filed after it
// is built all the same.
TEST(FontTable, RebuildsFontsFromTheirTags) {
    const Bytes g = Written(*SampleGlyph());
    const std::string font = DefineFontBody(), cut = ToHex(Bytes(g.begin(), g.end() - 2));
    const std::string codesMissing = "04 00 01 4E 01 00 04 00 " + ToHex({static_cast<unsigned char>(4 + g.size()), 0});
    const fontInfo none, n("N", false, false);
    const struct {
        unsigned code;
        std::string body;
        unsigned infoCode;
        const char* infoBody;
        fontInfo face;
        std::vector<unsigned short> codes;
    } cases[] = {
        {10, font, 13, "03 46 6F 6F 05 41 00 42 00", {"Foo", false, true}, {65, 66}},     // wide codes, italic
        {10, font, 13, "01 5A 02 61 62", {"Z", true, false}, {97, 98}},                   // narrow codes, bold
        {10, font, 62, "02 48 69 07 01 3A 26 43 00", {"Hi", true, true}, {0x263A, 67}},  // info2 skips the language
        {10, font, 13, "03 46 6F 6F 05 41 00 42", none, {}},                              // damaged info
        {10, "04 00 06 00 10 00 " + cut, 0, "", none, {}},                                 // glyph cut short
        {10, "FE FF 00 00", 0, "", none, {}},                                              // offsets cut short
        {10, "04", 0, "", none, {}},
        {48, "04 00 01 4E FF FF 00 00 00 00", 0, "", n, {}},  // 65535 glyphs announced
        {48, "0C 00 01 4E 01 00 00 00 00", 0, "", n, {}},     // wide offsets cut short
        {48, codesMissing + " " + ToHex(g), 0, "", n, {}},
        {48, "04 00 05 4E", 0, "", n, {}},  // name cut short
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body.substr(0, 20));
        flaFontTable table;
        File(table, c.code, 3, c.body);
        if (c.infoCode) File(table, c.infoCode, 3, c.infoBody);
        File(table, 10, 5, font);
        EXPECT_NO_THROW(table.buildBloatedFonts());
        EXPECT_EQ(table.GetPendingImportCount(), 0u);
        const flaFont* built = table.getBloatedFont(3);
        ASSERT_NE(built, nullptr);
        EXPECT_EQ(built->getInfo(), c.face);
        EXPECT_EQ(Codes(*built), c.codes);
        ASSERT_EQ(built->getGlyphCnt(), c.body == font ? 2u : 0u);
        if (c.body == font) {
            EXPECT_TRUE(Strokes(*built->getGlyphByIndex(0)).empty());
            EXPECT_EQ(Strokes(*built->getGlyphByIndex(1)), Strokes(*SampleGlyph()));
        }
        EXPECT_EQ(table.getBloatedFont(5)->getGlyphCnt(), 2u);
    }
}

// A text is written against the font table its stream carries or, without one,
// against the current movie's.
TEST(Text, DefineTextBytesAgainstTheStreamsFontTable) {
    for (const TextCase& c : kTextCases) {
        TextMovie movie(c.frameWidth, 100);
        flaGlyphGeometry glyph;
        flaFont& font = movie.getFont(fontInfo("Sans", false, false));
        font.addCode('A', &glyph, 512);
        font.addCode('B', &glyph, 256);
        const int fontId = font.getId();
        flaDump dump(c.frameWidth, nullptr);
        dump.SetFontTable(&movie.GetFontTable());
        MakeText(c, fontId)->DumpInFile(dump);
        EXPECT_EQ(ToHex(Flushed(dump)), c.hex);
        EXPECT_EQ(Written([&](flaDump& d) { MakeText(c, fontId)->DumpInFile(d); }, c.frameWidth), c.hex);
    }
}

// DefineText bodies made by hand. The first has a translating text matrix, two
// records (the second inheriting font and height, its colour left black), and a
// glyph index past the font's glyphs; cut short anywhere, it throws and leaves the
// drawing empty. The outlines' own coordinates must not leak into the drawing's
// bounds. Glyph entries of zero bits copy a glyph 255 times in two bytes of record:
// a text that would copy millions of points is refused.
TEST(Text, HandMadeRecordsBloat) {
    TextMovie movie(1, 100);
    const auto glyph = SampleGlyph();
    flaGlyphGeometry big;
    std::vector<flaPoint> line;
    for (int i = 0; i < 20000; ++i) line.emplace_back(static_cast<float>(i), 0.0f);
    flaSubGeometry* sub = big.AddChildGeometry();
    AddStroke(sub, line, false, nullptr, sub->CreateSolidColour({0, 0, 0, 255}, 0), nullptr);
    for (int id : {4, 5}) {
        auto* font = new flaFont(id, fontInfo("F", id == 5, false));
        font->addCode('A', id == 4 ? glyph.get() : &big, 0);
        movie.AddFont(font);
    }
    // Record 1: font 4, colour 10 20 30, x 40, height 1024, glyphs (0, +50) and
    // (1, 0), which does not exist. Record 2: y 60, one glyph (0, 0). End.
    const std::string body =
        "08 00"     // RECT: nbits 1, four zero fields
        "10 C9 D8"  // MATRIX: translate bits 8: tx 100, ty -20
        "01 08"     // GlyphBits, AdvanceBits
        "8D 04 00 0A 14 1E 28 00 00 04 02 19 40 00"
        "82 3C 00 01 00 00"
        "00";
    const auto in = TagReader(11, 9, body);
    in->SetScaling(1.0f);
    movie.ParseDefineText(*in);
    auto* text = dynamic_cast<flaTextGeometry*>(movie.GetCharacter(9));
    ASSERT_NE(text, nullptr);
    text->BuildBloated(movie);
    const flaGeometry& drawing = text->getDrawing();
    ASSERT_EQ(drawing.GetSubGeometryCount(), 2u);  // the index past the glyphs draws nothing
    // Height 1024 and a scaling of 1: the outline at its own size; (10, 0) moved.
    EXPECT_EQ((*drawing.GetSubGeometry(0)->GetStrokeRecord(0).stroke)[1], flaPoint(10 + 40 + 100, -20));
    EXPECT_EQ((*drawing.GetSubGeometry(1)->GetStrokeRecord(0).stroke)[1], flaPoint(10 + 100, 60 - 20));
    EXPECT_EQ(drawing.GetSubGeometry(0)->GetFillColorByIndex(0)->GetColor(), FLIO::flaRGBA(10, 20, 30, 255));
    EXPECT_EQ(drawing.GetSubGeometry(1)->GetFillColorByIndex(0)->GetColor(), FLIO::flaRGBA(0, 0, 0, 255));
    const flaBoundingBox box = drawing.GetBBox();
    EXPECT_EQ((std::vector<double>{box.xMin, box.xMax, box.yMin, box.yMax}), (std::vector<double>{100, 150, -30, 40}));

    const Bytes b = Hex(body);
    for (std::size_t cut = 0; cut + 1 < b.size(); ++cut) {
        const auto cutIn = TagReader(11, 10, ToHex(Bytes(b.begin(), b.begin() + static_cast<long>(cut))));
        flaTextGeometry damaged(cutIn->GetWord(), *cutIn);
        EXPECT_THROW(damaged.BuildBloated(movie), flaRead::readError) << cut;
        EXPECT_EQ(damaged.getDrawing().GetSubGeometryCount(), 0u);
    }

    const std::pair<const char*, bool> budget[] = {
        {"88 05 00 00 04 FF 00", true},         // 255 copies of 20001 points
        {"88 05 00 00 04 64 80 64 00", false},  // 200 copies in all
        {"88 05 00 00 04 C8 80 C8 00", true},   // 400 copies over two records
    };
    for (const auto& [records, refused] : budget) {
        const auto bigIn = TagReader(11, 11, std::string("08 00 00 00 00 ") + records);
        flaTextGeometry copies(bigIn->GetWord(), *bigIn);
        if (refused) EXPECT_THROW(copies.BuildBloated(movie), flaRead::readError) << records;
        else EXPECT_NO_THROW(copies.BuildBloated(movie)) << records;
        EXPECT_EQ(copies.getDrawing().GetSubGeometryCount(), refused ? 0u : 200u);
    }
}
