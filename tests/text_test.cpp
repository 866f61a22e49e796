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
#include "movie_test_util.h"
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

// A square of 10 x 10 model units, (0, 0) to (10, -10), and one curve, filled on the right.
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

// The face of the byte tests: 'A' (advance 512) and 'B' (advance 256).
flaFont& SampleFont(flaMovie& movie, flaGlyphGeometry* glyph) {
    flaFont& font = movie.getFont(fontInfo("Sans", false, false));
    font.addCode('A', glyph, 512);
    font.addCode('B', glyph, 256);
    return font;
}

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

std::string TextHex(const flaCharacter& text, flaDump& dump) {
    text.DumpInFile(dump);
    return ToHex(Flushed(dump));
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

// A DefineText tag of the given id and body, read up to its body.
struct TextTag {
    TextTag(int id, const std::string& body)
        : bytes(Hex(LongTag(11, Join(ToHex({static_cast<unsigned char>(id), 0}), body)))),
          in(static_cast<int>(bytes.size()), bytes.data()) {
        in.GetTag();
    }
    Bytes bytes;
    flaRead in;
};

}  // namespace

TEST(Text, DefineTextBytesAgainstTheStreamsFontTable) {
    for (const TextCase& c : kTextCases) {
        flaMovie movie(c.frameWidth, 100);
        flaGlyphGeometry glyph;
        const flaFont& font = SampleFont(movie, &glyph);
        flaDump dump(c.frameWidth, nullptr);
        dump.SetFontTable(&movie.GetFontTable());
        EXPECT_EQ(TextHex(*MakeText(c, font.getId()), dump), c.hex);
        // On its own (no table in the stream) the text uses the current movie.
        flaDump plain(c.frameWidth, nullptr);
        EXPECT_EQ(TextHex(*MakeText(c, font.getId()), plain), c.hex);
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
    EXPECT_EQ(dump.GetFontTable(), nullptr);  // the stream is left as it was
    const std::size_t textAt = file.find(c.hex), fontAt = file.find("3F 0C");
    ASSERT_NE(textAt, std::string::npos) << file;
    EXPECT_LT(fontAt, textAt);  // the first movie's DefineFont2 precedes the text
    EXPECT_EQ(file.find("53 65 72 69 66"), std::string::npos);  // no "Serif" anywhere
}

// A font and a text written by the library and read back: the drawing is the glyph
// outline scaled by height / 1024, moved by offsets and advances, in the text colour.
TEST(Text, WrittenTextBloatsIntoTheGlyphOutlines) {
    Bytes file;
    flaGlyphGeometry glyph;
    DrawSample(glyph);
    {
        flaMovie movie(1, 100);
        auto text = MakeText(kTextCases[0], SampleFont(movie, &glyph).getId());
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
    text->BuildBloated(imported);

    const flaGeometry& drawing = text->getDrawing();
    ASSERT_EQ(drawing.GetSubGeometryCount(), 2u);  // 'A' and 'B'
    const float k = 370.0f / 1024.0f, advance = 32 * 0.05f;  // advance: int(32 * 512 / 500) twips
    const flaSubGeometry& ref = *glyph.GetSubGeometry(0);
    for (std::size_t s = 0; s < 2; ++s) {
        const flaSubGeometry& sub = *drawing.GetSubGeometry(s);
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
                EXPECT_NEAR((*got.stroke)[p].x, (*want.stroke)[p].x * k + advance * static_cast<float>(s), 1e-4);
                EXPECT_NEAR((*got.stroke)[p].y, (*want.stroke)[p].y * k + 2.0f, 1e-4);  // y offset: 40 twips
            }
        }
    }
    text->DestroyBloated();
    EXPECT_EQ(text->getDrawing().GetSubGeometryCount(), 0u);
}

// A DefineText body made by hand: a translating text matrix, two records (the
// second inheriting font and height, its colour left black), and a glyph index
// past the font's glyphs.
TEST(Text, BloatedRecordsInheritFontAndHeightAndApplyTheTextMatrix) {
    TextMovie movie(1, 100);
    auto* font = new flaFont(4, fontInfo("F", false, false));
    flaGlyphGeometry glyph;
    DrawSample(glyph);
    font->addCode('A', &glyph, 0);
    movie.AddFont(font);
    // Record 1: font 4, colour 10 20 30, x 40, height 1024, glyphs (0, +50) and
    // (1, 0), which does not exist. Record 2: y 60, one glyph (0, 0). End.
    const std::string body =
        "08 00"     // RECT: nbits 1, four zero fields
        "10 C9 D8"  // MATRIX: translate bits 8: tx 100, ty -20
        "01 08"     // GlyphBits, AdvanceBits
        "8D 04 00 0A 14 1E 28 00 00 04 02 19 40 00"
        "82 3C 00 01 00 00"
        "00";
    TextTag tag(9, body);
    tag.in.SetScaling(1.0f);
    movie.ParseDefineText(tag.in);
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

    // Cut short anywhere, the body throws and leaves the drawing empty.
    const Bytes b = Hex(body);
    for (std::size_t cut = 0; cut + 1 < b.size(); ++cut) {
        TextTag shortTag(10, ToHex(Bytes(b.begin(), b.begin() + static_cast<long>(cut))));
        flaTextGeometry damaged(shortTag.in.GetWord(), shortTag.in);
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
    const std::pair<const char*, bool> cases[] = {
        {"88 04 00 00 04 FF 00", true},         // 255 copies of 20001 points
        {"88 04 00 00 04 64 80 64 00", false},  // 200 copies in all
        {"88 04 00 00 04 C8 80 C8 00", true},   // 400 copies over two records
    };
    for (const auto& c : cases) {
        TextTag tag(9, std::string("08 00 00 00 00 ") + c.first);
        flaTextGeometry text(tag.in.GetWord(), tag.in);
        if (c.second) EXPECT_THROW(text.BuildBloated(movie), flaRead::readError) << c.first;
        else EXPECT_NO_THROW(text.BuildBloated(movie)) << c.first;
        EXPECT_EQ(text.getDrawing().GetSubGeometryCount(), c.second ? 0u : 200u);
    }
}

// Outlines copied through a matrix widen the bounds by the mapped points only: the
// glyph's own coordinates (em units) must not leak into the text's bounds.
TEST(Text, CopiedOutlinesBoundOnlyTheirMappedPoints) {
    flaGlyphGeometry glyph, drawing;
    DrawSample(glyph);
    flaMatrix m(0.5f, 0.0f, 0.0f, 0.5f, 100.0f, 200.0f);
    const FLIO::flaRGBA red(255, 0, 0, 255);
    drawing.copyStrokeData(glyph, &m, &red);
    const flaBoundingBox b = drawing.GetBBox();
    EXPECT_EQ((std::vector<double>{b.xMin, b.xMax, b.yMin, b.yMax}), (std::vector<double>{100, 105, 195, 200}));
    ASSERT_EQ(drawing.GetSubGeometryCount(), 1u);
    ASSERT_EQ(drawing.GetSubGeometry(0)->GetFills().GetSize(), 1u);  // recoloured: one solid fill
    EXPECT_EQ(drawing.GetSubGeometry(0)->GetFills()[0]->GetColor(), red);
}
