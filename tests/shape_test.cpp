// Shapes: fill and line style records and arrays, the DefineShape3 writer checked
// bit by bit, the DefineShape parser on hand-made and on written tags, and the
// geometry model's colour sharing and transformations.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "flio/flaStyle.h"
#include "cli_util.h"
#include "test_util.h"

using namespace flio_test;
using FLIO::flaRGBA;

namespace {

const flaRGBA kRed(255, 0, 0, 255), kGreen(0, 255, 0, 200), kBlue(0, 0, 255, 128);

// n-bit two's complement field, most significant bit first.
std::string F(std::int64_t v, int n) {
    std::string s;
    for (int i = n - 1; i >= 0; --i) s += ((static_cast<std::uint64_t>(v) >> i) & 1) ? '1' : '0';
    return s;
}
std::string BitsOf(const Bytes& bytes) {
    std::string s;
    for (unsigned char b : bytes) s += F(b, 8);
    return s;
}
// Bits padded like the stream pads them.
std::string Pad(std::string bits) { return bits.append((8 - bits.size() % 8) % 8, '0'); }

// What `write` puts in a stream on a 1-pixel stage (a model unit is 20 twips), as bits.
std::string BitsWritten(const std::function<void(flaDump&)>& write) { return BitsOf(Hex(Written(write, 1))); }

Bytes ShapeBytes(const flaGeometry& g, int frameSizeX = 1) {
    return Hex(Written([&](flaDump& d) { g.DumpCharacterInFile(d); }, frameSizeX));
}

// A DefineShape tag (code 2, 22, 32 or 83) of character 1 with the given body.
Bytes ShapeTag(unsigned code, const std::string& hex) { return LongTag(code, Hex("01 00 " + hex)); }

// The shape of a tag, read at `scale` model units per twip and decoded unless `build` is false.
std::unique_ptr<flaGeometry> Decode(const Bytes& tag, float scale = 1.0f, bool build = true) {
    flaRead r(static_cast<int>(tag.size()), tag.data());
    r.SetScaling(scale);
    const unsigned code = r.GetTag();
    const int id = r.GetWord(), version = code == 2 ? 0 : code == 22 ? 1 : code == 32 ? 2 : 3;
    auto g = std::make_unique<flaGeometry>(id, r, code >= 32, static_cast<flaShape::ShapeVersion>(version));
    if (build) g->BuildBloated();
    return g;
}

flaGradientSteps Stops(bool three = false) {
    flaGradientSteps g;
    g.Add(kRed, 0);
    if (three) g.Add(kGreen, 128);
    g.Add(kBlue, 255);
    return g;
}

}  // namespace

// ---- style records and arrays -------------------------------------------------------

TEST(flaColor, FillAndLineStyleRecords) {
    // Line widths are model units times 20 twips times the frame width.
    const struct { flaColor colour; int frameSizeX; const char* bytes; } cases[] = {
        {flaColor(1, 0, 0, flaColor::Solid, kRed), 1, "00 FF 00 00 FF"},
        {flaColor(1, 0, 0, flaColor::Line, kBlue, 0.0f), 550, "01 00 00 00 FF 80"},  // hairline: 1 twip
        {flaColor(1, 0, 0, flaColor::Line, kBlue, 0.04f), 1, "00 00 00 00 FF 80"},   // trunc(0.8)
        {flaColor(1, 0, 0, flaColor::Line, kRed, 0.1f), 550, "4C 04 FF 00 00 FF"},   // 1100 twips
        {flaColor(1, 0, 0, flaColor::Line, kRed, 6.0f), 1000, "C0 D4 FF 00 00 FF"},  // 120000: low 16 bits
        {flaColor(1, 0, 0, flaColor::LinearGradient, Stops(), flaMatrix()), 1,
         "10 04 00 02 00 FF 00 00 FF FF 00 00 FF 80"},  // identity MATRIX: 04 00
        {flaColor(1, 0, 0, flaColor::RadialGradient, flaGradientSteps(), flaMatrix()), 1, "12 04 00 00"},
        {flaColor(1, 0, 0, flaColor::Bitmap, true, 0x1234, flaMatrix()), 1, "40 34 12 04 00"},
        {flaColor(1, 0, 0, flaColor::Bitmap, false, 7, flaMatrix()), 1, "41 07 00 04 00"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Written([&](flaDump& d) { c.colour.DumpColorInFile(d); }, c.frameSizeX), c.bytes);
}

TEST(flaColorList, StyleArrayCountsAndIndexBits) {
    // Colour count, the count bytes, the index bits.
    const struct { unsigned int count; const char* head; int bits; } cases[] = {
        {0, "00", 1}, {3, "03", 2}, {254, "FE", 8}, {255, "FF FF 00", 8}, {300, "FF 2C 01", 9}};
    for (const auto& c : cases) {
        flaColorList list;
        for (unsigned int i = 0; i < c.count; ++i) list.Add(new flaColor(1, 0, 0, flaColor::Solid, kRed));
        flaDump d(1, nullptr);
        EXPECT_EQ(list.DumpStyleArray(d), c.bits) << c.count;
        const std::string hex = ToHex(Flushed(d)), head = c.head;
        EXPECT_EQ(hex.substr(0, head.size()), head) << c.count;
        EXPECT_EQ(d.GetBuffer().size(), (head.size() + 1) / 3 + 5u * c.count);
    }
}

// At most eight stops are kept (read ones too: see FillStyleTypes).
TEST(flaGradientSteps, KeepsEightStops) {
    flaGradientSteps g;
    EXPECT_TRUE(g.Add(kRed, 300));
    EXPECT_EQ(g.Pos(0), 44);  // 300 mod 256
    for (int i = 1; i < 8; ++i) g.Add(kBlue, i);
    const flaGradientSteps before = g;
    EXPECT_FALSE(g.Add(kRed, 9));
    EXPECT_EQ(g, before);
}

TEST(flaSubGeometry, CreateColourDeduplicates) {
    flaGeometry g(9);
    flaSubGeometry* first = g.AddChildGeometry();
    flaMatrix moved;
    moved.SetTX(0.5f);
    flaColor* red = first->CreateSolidColour(kRed, 0);
    EXPECT_EQ(first->CreateSolidColour(kRed, 0), red);
    EXPECT_NE(first->CreateSolidColour(kRed, 4), red);  // another host id
    flaColor* thin = first->CreateLineColour(1.0f, kRed, 0);
    EXPECT_EQ(first->CreateLineColour(1.0f, kRed, 0), thin);
    EXPECT_NE(first->CreateLineColour(1.0001f, kRed, 0), thin);  // widths compare exactly
    EXPECT_NE(first->CreateGradientColour(flaColor::LinearGradient, moved, Stops(), 0),
              first->CreateGradientColour(flaColor::LinearGradient, flaMatrix(), Stops(), 0));
    flaColor* bitmap = first->CreateBitmapColour(true, 3, flaMatrix(), 0);
    EXPECT_EQ(first->CreateBitmapColour(true, 3, flaMatrix(), 0), bitmap);
    EXPECT_NE(first->CreateBitmapColour(true, 3, moved, 0), bitmap);
    EXPECT_EQ(first->GetFills().GetSize(), 6u);
    EXPECT_EQ(first->GetLines().GetSize(), 2u);
}

// ---- writing shapes -------------------------------------------------------------------

// Style change that sets only the left fill to index 1, without moving.
const std::string kLeftFill1 = "000010" + F(1, 1);

TEST(flaGeometryWriter, EdgeRecords) {
    // The bits that follow the style change.
    const struct { const char* name; bool curved; std::vector<flaPoint> points; std::string bits; } cases[] = {
        {"horizontal then vertical", false, {{0, 0}, {1, 0}, {1, 1}},
         "11" + F(4, 4) + "00" + F(20, 6) + "11" + F(4, 4) + "01" + F(20, 6)},
        {"general line", false, {{0, 0}, {0.05f, -0.1f}}, "11" + F(1, 4) + "1" + F(1, 3) + F(-2, 3)},
        {"repeated point writes nothing", false, {{0, 0}, {0, 0}, {0.05f, 0}}, "11" + F(0, 4) + "00" + F(1, 2)},
        // Rounded on absolute positions: 0.52 twips -> 1, then -0.52 -> -1 (delta -2).
        {"rounding", false, {{0, 0}, {0.026f, 0}, {-0.026f, 0}},
         "11" + F(0, 4) + "00" + F(1, 2) + "11" + F(1, 4) + "00" + F(-2, 3)},
        // 70000 twips needs 18 bits: the field stays at 17.
        {"17-bit clamp", false, {{0, 0}, {3500, 0}}, "11" + F(15, 4) + "00" + F(70000, 17)},
        {"curve", true, {{0, 0}, {1, 0}, {1, 1}}, "10" + F(4, 4) + F(20, 6) + F(0, 6) + F(0, 6) + F(20, 6)},
        {"control on the anchor", true, {{0, 0}, {1, 1}, {1, 1}}, "11" + F(4, 4) + "1" + F(20, 6) + F(20, 6)},
        {"control on the start", true, {{0, 0}, {0, 0}, {0, 1}}, "11" + F(4, 4) + "01" + F(20, 6)},
    };
    for (const auto& c : cases) {
        flaGeometry g(1);
        flaSubGeometry* sub = g.AddChildGeometry();
        AddStroke(sub, c.points, c.curved, sub->CreateSolidColour(kRed, 0), nullptr, nullptr);
        EXPECT_EQ(BitsWritten([&](flaDump& d) { sub->DumpStrokeList(d, 1, 1); }), Pad(kLeftFill1 + c.bits)) << c.name;
    }
}

TEST(flaGeometryWriter, StyleChangeRecords) {
    flaGeometry g(1);
    flaSubGeometry* sub = g.AddChildGeometry();
    const flaColor* red = sub->CreateSolidColour(kRed, 0);
    const flaColor* green = sub->CreateSolidColour(kGreen, 0);
    const flaColor* line = sub->CreateLineColour(0.0f, kRed, 0);
    AddStroke(sub, {{5, 5}, {6, 6}}, false, green, green, nullptr);   // same fill both sides, no line: never written
    AddStroke(sub, {{1, 1}, {1, 2}}, false, red, nullptr, nullptr);   // moves to (1, 1): MoveBits 6; fill0 = 1
    AddStroke(sub, {{1, 2}, {2, 2}}, false, red, nullptr, nullptr);   // continues at the pen: no style change
    AddStroke(sub, {{2, 2}, {2, 3}}, false, red, green, line);        // same start: fill1 = 2, line = 1
    AddStroke(sub, {{0, 0}, {0, 1}}, false, nullptr, green, line);    // elsewhere, no left fill
    const std::string expected = "000011" + F(6, 5) + F(20, 6) + F(20, 6) + F(1, 2) +  // move, fill0 = 1
                                 "11" + F(4, 4) + "01" + F(20, 6) +                   // to (1, 2)
                                 "11" + F(4, 4) + "00" + F(20, 6) +                   // to (2, 2)
                                 "001100" + F(2, 2) + F(1, 1) +                       // fill1 = 2, line = 1
                                 "11" + F(4, 4) + "01" + F(20, 6) +                   // to (2, 3)
                                 "000011" + F(2, 5) + F(0, 2) + F(0, 2) + F(0, 2) +   // move (0, 0), fill0 = 0
                                 "11" + F(4, 4) + "01" + F(20, 6);
    EXPECT_EQ(BitsWritten([&](flaDump& d) { sub->DumpStrokeList(d, 2, 1); }), Pad(expected));
}

TEST(flaGeometryWriter, WholeTagOfTheBackground) {
    const std::string rect = F(6, 5) + F(-20, 6) + F(20, 6) + F(-20, 6) + F(20, 6);
    const std::string records = F(1, 4) + F(1, 4) +                                                   // index bits
                                "000011" + F(6, 5) + F(-20, 6) + F(20, 6) + F(1, 1) +                   // move, fill0
                                "11" + F(5, 4) + "01" + F(-40, 7) + "11" + F(5, 4) + "00" + F(40, 7) +  // down, right
                                "11" + F(5, 4) + "01" + F(40, 7) + "000000";                         // up, left open
    EXPECT_EQ(BitsOf(ShapeBytes(flaGeometryBackground(7))),
              BitsOf(Hex("3F 08 18 00 00 00 07 00")) + Pad(rect) + BitsOf(Hex("01 00 00 00 00 00 00")) + Pad(records));
}

TEST(flaGeometryWriter, BoundsWidenedByHalfTheWidestLine) {
    flaGeometry g(1);
    flaSubGeometry* first = g.AddChildGeometry();
    AddStroke(first, {{-1, 0}, {1, 1}}, false, nullptr, nullptr, first->CreateLineColour(0.05f, kRed, 0));
    g.AddChildGeometry()->CreateLineColour(0.1f, kRed, 0);  // 2 twips wide: one twip each side
    // x: -20 - 1 and 20 + 1. y: a bound of 0 rounds up by its own sign, so 0 - 1 + 0.5
    // truncates to 0.
    const std::string rect = F(6, 5) + F(-21, 6) + F(21, 6) + F(0, 6) + F(21, 6);
    EXPECT_EQ(BitsOf(ShapeBytes(g)).substr(8 * 8, rect.size()), rect);
}

TEST(flaGeometryWriter, LaterLayersStartWithNewStyles) {
    flaGeometry g(3);
    for (int i = 0; i < 3; ++i) {
        flaSubGeometry* sub = g.AddChildGeometry();
        AddStroke(sub, {{0, 0}, {1, 0}}, false, sub->CreateSolidColour(i == 1 ? kGreen : kRed, 0), nullptr, nullptr);
    }
    // After the header, id, RECT (0..20 x 0..0: 4 bytes) and the first layer's arrays.
    const std::string layer = F(1, 4) + F(1, 4) + kLeftFill1 + "11" + F(4, 4) + "00" + F(20, 6);
    const std::string newStyles = "011111" + F(2, 5) + F(0, 2) + F(0, 2) + F(0, 1) + F(0, 1) + F(0, 1);
    const std::string expected = Pad(layer + newStyles) + BitsOf(Hex("01 00 00 FF 00 C8 00")) +
                                 Pad(layer + newStyles) + BitsOf(Hex("01 00 FF 00 00 FF 00")) + Pad(layer + "000000");
    EXPECT_EQ(BitsOf(ShapeBytes(g)).substr((6 + 2 + 4 + 7) * 8), expected);
}

// ---- reading shapes -------------------------------------------------------------------

// Every stroke here differs from the one before in style, start or edge type, so
// that the file holds exactly one run of edges per stroke.
const struct ShapeCase {
    const char* name;
    std::function<void(flaGeometry&)> build;
} kShapes[] = {
    {"moves, hairlines, several colours, straight then curved from the same pen",
     [](flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         const flaColor* red = s->CreateSolidColour(kRed, 0);
         const flaColor* green = s->CreateSolidColour(kGreen, 0);
         const flaColor* hair = s->CreateLineColour(0.0f, kBlue, 0);
         const flaColor* wide = s->CreateLineColour(0.25f, kRed, 0);
         AddStroke(s, {{3, 3}, {4, 3}}, false, red, green, nullptr);
         AddStroke(s, {{-3, 1}, {-3, 2}, {-2.5f, 2.25f}}, false, nullptr, nullptr, hair);
         AddStroke(s, {{0.1f, 0.2f}, {0.3f, 0.4f}}, false, green, nullptr, wide);
         AddStroke(s, {{0.3f, 0.4f}, {1, 1}, {2, 0.4f}}, true, green, nullptr, wide);
         AddStroke(s, {{10, -10}, {12, -12}, {14, -10}}, true, red, red, hair);
     }},
    {"gradients and bitmaps",  // a clipped bitmap (0x41) would read back tiled
     [](flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         const flaMatrix m(0.5f, 0.25f, -0.25f, 0.5f, 1.0f, -2.0f);
         AddStroke(s, {{0, 0}, {1, 0}}, false, s->CreateGradientColour(flaColor::LinearGradient, m, Stops(true), 0),
                   s->CreateGradientColour(flaColor::RadialGradient, flaMatrix(), Stops(true), 0), nullptr);
         AddStroke(s, {{0, 1}, {1, 1}}, false, s->CreateBitmapColour(true, 12, m, 0),
                   s->CreateBitmapColour(true, 13, flaMatrix(), 0), nullptr);
     }},
    {"three layers",
     [](flaGeometry& g) {
         for (int i = 0; i < 3; ++i) {
             flaSubGeometry* s = g.AddChildGeometry();
             const flaColor* fill = s->CreateSolidColour(i == 1 ? kGreen : kRed, 0);
             const flaColor* line = i == 2 ? s->CreateLineColour(0.05f, kBlue, 0) : nullptr;
             AddStroke(s, {{0, 0}, {1.0f + i, 0}, {1, 1}}, false, fill, nullptr, line);
             AddStroke(s, {{5, 5}, {6, 7}, {7, 5}}, true, nullptr, fill, line);
         }
     }},
};

// Read back, a written shape has its layers, strokes and style indices, and written
// again, it gives the same tag: the same styles, edges and points to the twip.
TEST(ShapeParse, WrittenShapesReadBack) {
    for (const ShapeCase& c : kShapes) {
        SCOPED_TRACE(c.name);
        flaGeometry original(42);
        c.build(original);
        const Bytes tag = ShapeBytes(original, 2);
        const auto back = Decode(tag, 1.0f / 40.0f);  // on a 2-pixel stage
        EXPECT_EQ(back->GetId(), 42);
        ASSERT_EQ(back->GetSubGeometryCount(), original.GetSubGeometryCount());
        for (std::size_t s = 0; s < original.GetSubGeometryCount(); ++s) {
            const flaSubGeometry &a = *original.GetSubGeometry(s), &b = *back->GetSubGeometry(s);
            ASSERT_EQ(b.GetStrokeCount(), a.GetStrokeCount());
            for (std::size_t k = 0; k < a.GetStrokeCount(); ++k) {
                const auto &ra = a.GetStrokeRecord(k), &rb = b.GetStrokeRecord(k);
                EXPECT_EQ(std::tie(rb.fill0Index, rb.fill1Index, rb.lineIndex),
                          std::tie(ra.fill0Index, ra.fill1Index, ra.lineIndex)) << k;
            }
        }
        EXPECT_EQ(ShapeBytes(*back, 2), tag);  // and written again, the same tag
    }
}

// Each fill style type read, with the stop count and last position of a gradient. A
// second fill proves the first was read whole, fifteen stops included (of a count
// whose high bits are not part of it), of which eight are kept.
TEST(ShapeParse, FillStyleTypes) {
    const std::string gradient = " 04 00 02 00 FF 00 00 FF FF 00 00 FF FF", bitmap = " 4D 00 04 00";
    std::string fifteen = "10 04 00 FF";  // positions i * 10
    for (int i = 0; i < 15; ++i) fifteen += " " + ToHex({static_cast<unsigned char>(i * 10), 1, 2, 3, 4});
    const struct { std::string fill; flaColor::ColorType expected; bool tiled; int stops, last; } cases[] = {
        {"00 00 FF 00 C8", flaColor::Solid, false, 0, 0},
        {"10" + gradient, flaColor::LinearGradient, false, 2, 255},
        {fifteen, flaColor::LinearGradient, false, 8, 70},
        {"12" + gradient, flaColor::RadialGradient, false, 2, 255},
        {"13" + gradient + " 80 01", flaColor::RadialGradient, false, 2, 255},  // focal point, dropped
        {"40" + bitmap, flaColor::Bitmap, true, 0, 0},
        {"41" + bitmap, flaColor::Bitmap, true, 0, 0},
        {"42" + bitmap, flaColor::Bitmap, true, 0, 0},
        {"43" + bitmap, flaColor::Bitmap, true, 0, 0},
        {"11" + bitmap, flaColor::Bitmap, false, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fill);
        // Two fills, the second one proving the first was read whole; no lines.
        const auto g = Decode(ShapeTag(32, "00 02 " + c.fill + " 00 00 00 FF 80 00 20 00"));
        const flaColorList& fills = g->GetSubGeometry(0)->GetFills();
        ASSERT_EQ(fills.GetSize(), 2u);
        EXPECT_EQ(fills[0]->GetColorType(), c.expected);
        EXPECT_EQ(fills[0]->GetFillBitsTiled(), c.tiled);
        if (c.expected == flaColor::Bitmap) {
            EXPECT_EQ(fills[0]->GetBitmapID(), 77);
        }
        const flaGradientSteps& steps = fills[0]->GetGradientSteps();
        if (c.stops) {
            EXPECT_EQ(Nums(steps.NbColours(), steps.Pos(steps.NbColours() - 1)), Nums(c.stops, c.last));
        }
        EXPECT_EQ(fills[1]->GetColor(), kBlue);
    }
}

TEST(ShapeParse, LineStyles) {
    // LINESTYLE (an extended count of three): widths 0 and 1 twip are hairlines;
    // 2 twips is 2 * factor.
    const auto a = Decode(ShapeTag(2, "00 00 FF 03 00 00 00 FF 00 00 01 00 FF 00 00 02 00 00 00 FF 02 00"), 0.5f);
    const flaColorList& lines = a->GetSubGeometry(0)->GetLines();
    ASSERT_EQ(lines.GetSize(), 3u);
    EXPECT_TRUE(lines[0]->IsHairLine() && lines[1]->IsHairLine());
    EXPECT_FLOAT_EQ(lines[2]->GetLineWidth(), 1.0f);
    EXPECT_EQ(lines[2]->GetColor(), flaRGBA(0, 0, 255, 255));

    // LINESTYLE2: a line with a fill puts the fill in the fill list and is black;
    // a miter join carries a limit factor; without a fill the colour is RGBA.
    const auto b = Decode(ShapeTag(83, "00 00 00 01 00 FF 00 00 FF 02"  // two RECTs, flags, one fill, two lines
                                       " 28 00 08 00 00 00 FF 00 C8"    // width 40, fill
                                       " 3C 00 20 01 00 03 00 00 FF 80"  // width 60, miter, RGBA
                                       " 22 00"));
    const flaSubGeometry& s = *b->GetSubGeometry(0);
    ASSERT_EQ(s.GetFills().GetSize(), 2u);
    EXPECT_EQ(s.GetFills()[1]->GetColor(), kGreen);
    ASSERT_EQ(s.GetLines().GetSize(), 2u);
    EXPECT_EQ(s.GetLines()[0]->GetColor(), flaRGBA(0, 0, 0, 255));
    EXPECT_FLOAT_EQ(s.GetLines()[0]->GetLineWidth(), 40.0f);
    EXPECT_EQ(s.GetLines()[1]->GetColor(), kBlue);
    EXPECT_FLOAT_EQ(s.GetLines()[1]->GetLineWidth(), 60.0f);
}

TEST(ShapeParse, TruncatedTagsThrowAndLeaveTheShapeEmpty) {
    flaGeometry original(5);
    kShapes[0].build(original);
    kShapes[1].build(original);
    const Bytes tag = ShapeBytes(original);
    ASSERT_GT(tag.size(), 60u);
    for (std::size_t n = 8; n < tag.size(); ++n) {
        auto g = Decode(Bytes(tag.begin(), tag.begin() + static_cast<long>(n)), 1.0f, false);
        EXPECT_THROW(g->BuildBloated(), flaRead::readError) << n;
        EXPECT_FALSE(g->IsBloated());
        EXPECT_EQ(g->GetSubGeometryCount(), 0u);
    }
}

// Transforming maps the points, scales a line by the root of the determinant (a
// mirror keeps it) and follows a fill's own matrix with the new one. A shape read
// from a tag applies the transformation set before it is decoded, once however
// often it is decoded; never decoded, it is written from a decoded copy.
TEST(flaGeometry, TransformsAndDecodesWithItsTransformation) {
    flaGeometry g(2);
    flaSubGeometry* sub = g.AddChildGeometry();
    const flaColor* bitmap = sub->CreateBitmapColour(true, 1, flaMatrix(1, 0, 0, 1, 0.25f, 0), 0);
    const flaColor* line = sub->CreateLineColour(0.5f, kRed, 0);
    AddStroke(sub, {{0, 0}, {1, 2}}, false, bitmap, nullptr, line);
    g.Transform(flaMatrix(2, 0, 0, 2, -1, 0));
    EXPECT_EQ(sub->GetStrokeRecord(0).stroke->GetPoints()[1], flaPoint(1, 4));
    EXPECT_FLOAT_EQ(g.GetMaxLineWidth(), 1.0f);
    EXPECT_EQ(bitmap->GetMatrix(), flaMatrix(2, 0, 0, 2, -0.5f, 0));
    g.Transform(flaMatrix(-1, 0, 0, 1, 0, 0));
    EXPECT_FLOAT_EQ(g.GetMaxLineWidth(), 1.0f);

    const Bytes tag = ShapeBytes(g);  // (1, 0) to (-1, 4)
    auto d = Decode(tag, 0.05f, false);
    EXPECT_EQ(ShapeBytes(*d), tag);
    EXPECT_FALSE(d->IsBloated());
    d->SetTransformation(flaMatrix(2, 0, 0, 2, 5, 0));
    d->BuildBloated();
    d->BuildBloated();
    ASSERT_EQ(d->GetSubGeometryCount(), 1u);
    ASSERT_EQ(d->GetSubGeometry(0)->GetStrokeCount(), 1u);
    EXPECT_NEAR((*d->GetSubGeometry(0)->GetStrokeRecord(0).stroke)[1].x, 3.0f, 1e-5);
    d->DestroyBloated();
    EXPECT_TRUE(d->GetBBox().IsEmpty());
}
