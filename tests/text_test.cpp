// Static text: the DefineText writer, the fonts and frame size it writes against,
// and the bloating of a DefineText read back into glyph outlines.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "flio/flaFont.h"
#include "flio/flaFrame.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "flio/flaText.h"
#include "test_util.h"

using namespace flio_test;

namespace {

class TextMovie : public flaMovie {
public:
    using flaMovie::flaMovie;
    using flaMovie::DumpMovieToBuffer;
    using flaMovie::ParseDefineFont2;
    using flaMovie::ParseDefineText;
};

// A square of 10 x 10 model units and one curve, filled on the right.
void DrawSample(flaGlyphGeometry& glyph) {
    flaSubGeometry* sub = glyph.AddChildGeometry();
    const flaColor* fill = sub->CreateSolidColour(FLIO::flaRGBA(0, 0, 0, 255), 0);
    auto* square = new flaStroke;
    for (const flaPoint& p : {flaPoint(0, 0), flaPoint(10, 0), flaPoint(10, -10), flaPoint(0, -10), flaPoint(0, 0)})
        square->AddPoint(p);
    sub->AddStroke(square, new flaStyle(flaStyle::Straight, nullptr, fill, nullptr));
    auto* curve = new flaStroke;
    for (const flaPoint& p : {flaPoint(2, -2), flaPoint(5, -4.5f), flaPoint(8, -2)}) curve->AddPoint(p);
    sub->AddStroke(curve, new flaStyle(flaStyle::Curved, nullptr, fill, nullptr));
}

// The face used by the byte tests: 'A' (advance 512) and 'B' (advance 256).
flaFont& SampleFont(flaMovie& movie, flaGlyphGeometry* glyph) {
    flaFont& font = movie.getFont(fontInfo("Sans", false, false));
    font.addCode('A', glyph, 512);
    font.addCode('B', glyph, 256);
    return font;
}

struct TextCase {
    const char* what;
    int frameWidth;
    int id;
    double xMin, xMax, yMin, yMax;
    unsigned char r, g, b;
    flaPoint offset;
    unsigned int size;
    const char* text;
    std::vector<int> kerning;
    const char* hex;
};

std::unique_ptr<flaTextGeometry> MakeText(const TextCase& c, int fontId) {
    auto t = std::make_unique<flaTextGeometry>(c.id);
    t->UpdateBBox(static_cast<float>(c.xMin), static_cast<float>(c.yMin));
    t->UpdateBBox(static_cast<float>(c.xMax), static_cast<float>(c.yMax));
    t->setFontId(fontId);
    t->setFontSize(c.size);
    t->setColor(c.r, c.g, c.b, 255);
    t->setRecordOffset(c.offset, flaPoint(0, 0));
    t->setText(c.text);
    for (std::size_t i = 0; i < c.kerning.size(); ++i) t->setKerning(static_cast<unsigned int>(i), c.kerning[i]);
    return t;
}

std::string TextHex(const flaCharacter& text, flaDump& dump) {
    text.DumpInFile(dump);
    return ToHex(Flushed(dump));
}

const TextCase kTextCases[] = {
    {"two glyphs, y offset from the bounds, height 370 for size 32", 1, 7, 0, 10, 0, 2, 1, 2, 3, {0, 0}, 32, "AB", {},
     "FF 02 1B 00 00 00 07 00 48 01 90 00 14 00 04 00 02 07 8E 01 00 01 02 03 28 00 72 01 02 10 24 00 00"},
    {"kerning skips the first entry; a missing character writes nothing", 1, 7, 0, 10, 0, 2, 1, 2, 3, {0, 0}, 32,
     "ACB", {5, 400},
     "FF 02 1B 00 00 00 07 00 48 01 90 00 14 00 04 00 02 07 8E 01 00 01 02 03 28 00 72 01 03 10 A4 00 00"},
    {"one kerning entry, no offsets", 1, 7, 0, 10, -1, 0, 1, 2, 3, {0, 0}, 32, "AB", {9},
     "FF 02 19 00 00 00 07 00 48 01 90 00 0A 00 04 00 02 07 8C 01 00 01 02 03 72 01 02 10 24 00 00"},
    {"x offset only, negative bound, size 12", 1, 7, -2, 10, -1, 0, 1, 2, 3, {1.5f, 0}, 12, "B", {},
     "FF 02 19 00 00 00 07 00 4F 61 90 00 0A 00 04 00 02 05 8D 01 00 01 02 03 1E 00 8A 00 01 4C 00"},
    {"wide stage, negative kerning widens the advance field", 100, 3, 0, 0.5, 0, 0.25, 255, 0, 0, {0, 0}, 32, "A",
     {0, -3}, "FF 02 1B 00 00 00 03 00 58 00 7D 00 00 FA 00 04 00 02 0D 8E 01 00 FF 00 00 F4 01 72 01 01 19 98 00"},
};

}  // namespace

TEST(Text, DefineTextBytesAgainstTheStreamsFontTable) {
    for (const TextCase& c : kTextCases) {
        SCOPED_TRACE(c.what);
        flaMovie movie(c.frameWidth, 100);
        flaGlyphGeometry glyph;
        const flaFont& font = SampleFont(movie, &glyph);
        auto text = MakeText(c, font.getId());
        flaDump dump(c.frameWidth, nullptr);
        dump.SetFontTable(&movie.GetFontTable());
        EXPECT_EQ(TextHex(*text, dump), c.hex);

        // On its own (no table in the stream) the text uses the current movie.
        auto alone = MakeText(c, font.getId());
        flaDump plain(c.frameWidth, nullptr);
        EXPECT_EQ(TextHex(*alone, plain), c.hex);
    }
}

TEST(Text, TwoMoviesAliveWriteTextAgainstTheirOwnFonts) {
    const TextCase& c = kTextCases[0];
    TextMovie first(1, 100);
    flaGlyphGeometry glyph;
    SampleFont(first, &glyph);
    first.CreateFrames(1);
    flaTextGeometry* text = MakeText(c, 1).release();
    first.AddNewCharacter(text);
    first.GetFrame(0)->PlaceNewCharacterInFrame(flaCharacterInfo(text, 1));

    // A second movie, constructed later (so the current one), with another face
    // under the same font id and a wider stage.
    TextMovie second(3, 100);
    flaFont& other = second.getFont(fontInfo("Serif", false, false));
    other.addCode('A', &glyph, 1000);
    ASSERT_EQ(other.getId(), 1);
    ASSERT_EQ(flaMovie::pCurrentMovie, &second);

    flaDump dump(1, nullptr);
    ASSERT_TRUE(first.DumpMovieToBuffer(dump));
    const std::string file = ToHex(Flushed(dump));
    EXPECT_NE(file.find(c.hex), std::string::npos) << file;
    EXPECT_EQ(dump.GetFontTable(), nullptr);  // the stream is left as it was

    // The first movie's DefineFont2 ("Sans", two glyphs) precedes the text.
    const std::size_t fontAt = file.find("3F 0C");
    ASSERT_NE(fontAt, std::string::npos);
    EXPECT_LT(fontAt, file.find(c.hex));
    EXPECT_EQ(file.find("53 65 72 69 66"), std::string::npos);  // no "Serif" anywhere
}

TEST(Text, Setters) {
    flaTextGeometry t(1);
    EXPECT_EQ(t.getFontSize(), 32u);
    t.setFontSize(0);
    EXPECT_EQ(t.getFontSize(), 32u);
    t.setFontSize(12);
    EXPECT_EQ(t.getFontSize(), 12u);
    unsigned char r, g, b, a;
    t.getColor(&r, &g, &b, &a);
    EXPECT_EQ((std::vector<int>{r, g, b, a}), (std::vector<int>{0, 0, 0, 255}));
    t.setRecordOffset(flaPoint(1, 2), flaPoint(30, 40));
    EXPECT_EQ(t.getRecordOffsetNative(), flaPoint(30, 40));
    t.SetTransformation(flaMatrix(2, 0, 0, 2, 1, 1));
    EXPECT_TRUE(t.HasTransformation());

    struct Case {
        std::vector<std::pair<unsigned int, int>> sets;
        std::vector<int> expected;
        int largest;
    };
    const Case cases[] = {
        {{}, {}, 0},
        {{{5, -3}}, {0, 0, 0, 0, 0, -3}, 3},
        {{{0, 4}, {1, -2}}, {4, -2}, 4},
        {{{2, 1}, {0, 2}}, {2, 0, 1}, 2},
        {{{1, -7}, {1, 6}}, {0, 6}, 6},
    };
    for (const Case& c : cases) {
        flaTextGeometry k(2);
        for (const auto& s : c.sets) k.setKerning(s.first, s.second);
        EXPECT_EQ(k.getKerning(), c.expected);
        EXPECT_EQ(k.getLargestKerning(), c.largest);
    }
}

// A font and a text written by the library and read back: the text's drawing is
// the glyph outline scaled by height / 1024, moved by the offsets and advances,
// and coloured with the text colour.
TEST(Text, BloatedTextCopiesGlyphOutlinesFromTheBloatedFonts) {
    const TextCase& c = kTextCases[0];
    Bytes file;
    {
        flaMovie movie(1, 100);
        flaGlyphGeometry glyph;
        DrawSample(glyph);
        const flaFont& font = SampleFont(movie, &glyph);
        auto text = MakeText(c, font.getId());
        flaDump dump(1, nullptr);
        dump.SetFontTable(&movie.GetFontTable());
        movie.GetFontTable().DumpAllFonts(dump);
        text->DumpInFile(dump);
        file = Flushed(dump);
    }

    TextMovie imported(1, 100);
    flaRead in(static_cast<int>(file.size()), file.data());
    in.SetScreenSizeX(1.0f);
    ASSERT_EQ(in.GetTag(), 48);
    imported.ParseDefineFont2(in);
    ASSERT_EQ(in.GetTag(), 11);
    imported.ParseDefineText(in);
    imported.buildBloatedFonts();
    auto* text = dynamic_cast<flaTextGeometry*>(imported.GetCharacter(7));
    ASSERT_NE(text, nullptr);
    ASSERT_TRUE(text->HasStoredData());
    text->BuildBloated(imported);

    flaGlyphGeometry reference;
    DrawSample(reference);
    const flaGeometry& drawing = text->getDrawing();
    ASSERT_EQ(drawing.GetSubGeometryCount(), 2u);  // 'A' and 'B'
    const float k = 370.0f / 1024.0f;
    const float advance = 32 * 0.05f;  // int(32 * 512 / 500) twips
    for (std::size_t s = 0; s < 2; ++s) {
        const flaSubGeometry& sub = *drawing.GetSubGeometry(s);
        const flaSubGeometry& ref = *reference.GetSubGeometry(0);
        ASSERT_EQ(sub.GetStrokeCount(), ref.GetStrokeCount());
        ASSERT_EQ(sub.GetFills().GetSize(), 1u);
        EXPECT_EQ(sub.GetFillColorByIndex(0)->GetColor(), FLIO::flaRGBA(1, 2, 3, 255));
        for (std::size_t i = 0; i < sub.GetStrokeCount(); ++i) {
            const auto& got = sub.GetStrokeRecord(i);
            const auto& want = ref.GetStrokeRecord(i);
            EXPECT_EQ(got.style->IsCurved(), want.style->IsCurved());
            EXPECT_EQ(got.fill1Index, 1);
            ASSERT_EQ(got.stroke->GetSize(), want.stroke->GetSize());
            for (std::size_t p = 0; p < got.stroke->GetSize(); ++p) {
                const flaPoint& q = (*want.stroke)[p];
                EXPECT_NEAR((*got.stroke)[p].x, q.x * k + advance * static_cast<float>(s), 1e-4);
                EXPECT_NEAR((*got.stroke)[p].y, q.y * k + 2.0f, 1e-4);  // y offset: 40 twips
            }
        }
    }

    text->DestroyBloated();
    EXPECT_EQ(text->getDrawing().GetSubGeometryCount(), 0u);
}

// A DefineText body made by hand: a translating text matrix, two records (the
// second inheriting font and height, with its own colour left black), and a glyph
// index past the font's glyphs.
TEST(Text, BloatedTextRecordsInheritFontAndHeightAndApplyTheTextMatrix) {
    TextMovie movie(1, 100);
    auto* font = new flaFont(4, fontInfo("F", false, false));
    auto glyph = std::make_unique<flaGlyphGeometry>();
    DrawSample(*glyph);
    font->addCode('A', glyph.get(), 0);
    movie.AddFont(font);

    // RECT (nbits 1: all zero) | MATRIX: no scale, no rotate, translate bits 8:
    // tx 100, ty -20 | GlyphBits 1, AdvanceBits 8.
    // Record 1: type 1, has font, has colour, has x: font 4, colour 10 20 30,
    // x 40, height 1024, two glyphs: (0, +50), (1, 0) -> index 1 does not exist.
    // Record 2: type 1, has y: y 60, one glyph (0, 0). End.
    const std::string body =
        "08 00"                    // RECT: nbits 1, four zero fields, padded
        "10 C9 D8"                 // MATRIX 0 0 01000 01100100 11101100 + padding
        "01 08"                    // GlyphBits, AdvanceBits
        "8D 04 00 0A 14 1E 28 00 00 04 02 19 40 00"
        "82 3C 00 01 00 00"
        "00";
    const Bytes tag = Hex("FF 02 " + ToHex(Bytes{static_cast<unsigned char>(Hex(body).size() + 2), 0, 0, 0}) +
                          " 09 00 " + body);
    flaRead in(static_cast<int>(tag.size()), tag.data());
    in.SetScaling(1.0f);
    ASSERT_EQ(in.GetTag(), 11);
    movie.ParseDefineText(in);
    auto* text = dynamic_cast<flaTextGeometry*>(movie.GetCharacter(9));
    ASSERT_NE(text, nullptr);
    text->BuildBloated(movie);

    const flaGeometry& drawing = text->getDrawing();
    ASSERT_EQ(drawing.GetSubGeometryCount(), 2u);  // the index past the glyphs draws nothing
    // Height 1024 and a scaling of 1: the outline at its own size.
    const flaPoint first = (*drawing.GetSubGeometry(0)->GetStrokeRecord(0).stroke)[1];   // (10, 0)
    const flaPoint second = (*drawing.GetSubGeometry(1)->GetStrokeRecord(0).stroke)[1];  // (10, 0)
    EXPECT_NEAR(first.x, 10 + 40 + 100, 1e-3);
    EXPECT_NEAR(first.y, 0 - 20, 1e-3);
    EXPECT_NEAR(second.x, 10 + 100, 1e-3);  // x offset back to 0
    EXPECT_NEAR(second.y, 0 + 60 - 20, 1e-3);
    EXPECT_EQ(drawing.GetSubGeometry(0)->GetFillColorByIndex(0)->GetColor(), FLIO::flaRGBA(10, 20, 30, 255));
    EXPECT_EQ(drawing.GetSubGeometry(1)->GetFillColorByIndex(0)->GetColor(), FLIO::flaRGBA(0, 0, 0, 255));

    // Cut short anywhere, the body throws and leaves the drawing empty.
    for (std::size_t cut = 0; cut + 1 < Hex(body).size(); ++cut) {
        const Bytes b = Hex(body);
        const Bytes shortTag = Hex("FF 02 " + ToHex(Bytes{static_cast<unsigned char>(cut + 2), 0, 0, 0}) + " 0A 00 " +
                                   ToHex(Bytes(b.begin(), b.begin() + static_cast<long>(cut))));
        flaRead r(static_cast<int>(shortTag.size()), shortTag.data());
        r.GetTag();
        flaTextGeometry damaged(r.GetWord(), r);
        EXPECT_THROW(damaged.BuildBloated(movie), flaRead::readError) << cut;
        EXPECT_EQ(damaged.getDrawing().GetSubGeometryCount(), 0u);
    }
}

// Glyph entries of zero bits: two bytes of record copy a glyph 255 times. A text
// that would copy millions of points is refused.
TEST(Text, BloatingStopsAtTheOutlinePointBudget) {
    TextMovie movie(1, 100);
    auto* font = new flaFont(4, fontInfo("F", false, false));
    flaGlyphGeometry big;
    auto* line = new flaStroke;
    for (int i = 0; i < 20000; ++i) line->AddPoint(static_cast<float>(i), 0.0f);
    flaSubGeometry* sub = big.AddChildGeometry();
    sub->AddStroke(line, new flaStyle(flaStyle::Straight, nullptr, sub->CreateSolidColour({0, 0, 0, 255}, 0), nullptr));
    font->addCode('A', &big, 0);
    movie.AddFont(font);

    struct Case {
        const char* records;
        bool refused;
    };
    const Case cases[] = {
        {"88 04 00 00 04 FF 00", true},                     // 255 x 20001 points
        {"88 04 00 00 04 64 80 64 00", false},              // 200 copies in all
        {"88 04 00 00 04 C8 80 C8 00", true},               // 400 copies over two records
    };
    for (const Case& c : cases) {
        const std::string body = std::string("08 00 00 00 00 ") + c.records;
        const Bytes tag = Hex("FF 02 " + ToHex(Bytes{static_cast<unsigned char>(Hex(body).size() + 2), 0, 0, 0}) +
                              " 09 00 " + body);
        flaRead in(static_cast<int>(tag.size()), tag.data());
        in.GetTag();
        flaTextGeometry text(in.GetWord(), in);
        if (c.refused) {
            EXPECT_THROW(text.BuildBloated(movie), flaRead::readError) << c.records;
            EXPECT_EQ(text.getDrawing().GetSubGeometryCount(), 0u);
        } else {
            EXPECT_NO_THROW(text.BuildBloated(movie)) << c.records;
            EXPECT_EQ(text.getDrawing().GetSubGeometryCount(), 200u);
        }
    }
}

// Outlines copied through a matrix widen the bounds by the mapped points only: the
// glyph's own coordinates (em units, far larger than the text) must not leak into
// the bounds that a text written as its outlines carries.
TEST(Text, CopiedOutlinesBoundOnlyTheirMappedPoints) {
    flaGlyphGeometry glyph;
    DrawSample(glyph);  // x 0 to 10, y -10 to 0
    flaGlyphGeometry drawing;
    flaMatrix m(0.5f, 0.0f, 0.0f, 0.5f, 100.0f, 200.0f);
    const FLIO::flaRGBA red(255, 0, 0, 255);
    drawing.copyStrokeData(glyph, &m, &red);
    const flaBoundingBox b = drawing.GetBBox();
    EXPECT_FLOAT_EQ(b.xMin, 100.0f);
    EXPECT_FLOAT_EQ(b.xMax, 105.0f);
    EXPECT_FLOAT_EQ(b.yMin, 195.0f);
    EXPECT_FLOAT_EQ(b.yMax, 200.0f);
    ASSERT_EQ(drawing.GetSubGeometryCount(), 1u);
    const flaSubGeometry* sub = drawing.GetSubGeometry(0);
    EXPECT_EQ(sub->GetStrokeRecord(0).stroke->GetPoints()[1], flaPoint(105.0f, 200.0f));
    ASSERT_EQ(sub->GetFills().GetSize(), 1u);  // recoloured: one solid fill
    EXPECT_EQ(sub->GetFills()[0]->GetColor(), red);
}
