// DefineShape3 writing, checked bit by bit, and the geometry model's operations.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "test_util.h"

using flio_test::Bytes;
using flio_test::Flushed;
using flio_test::Hex;
using FLIO::flaRGBA;

namespace {

const flaRGBA kRed(255, 0, 0, 255);
const flaRGBA kGreen(0, 255, 0, 255);

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

// Expected bits padded like the stream pads them.
std::string Pad(std::string bits) { return bits.append((8 - bits.size() % 8) % 8, '0'); }

flaStroke* Path(std::initializer_list<flaPoint> points) {
    auto* s = new flaStroke;
    for (const flaPoint& p : points) s->AddPoint(p);
    return s;
}

void Add(flaSubGeometry* sub, std::initializer_list<flaPoint> points, const flaColor* left, const flaColor* right = nullptr,
         const flaColor* line = nullptr, flaStyle::EdgeType edge = flaStyle::Straight) {
    sub->AddStroke(Path(points), new flaStyle(edge, left, right, line));
}

// The stroke records of one layer at frame width 1 (one model unit = 20 twips).
std::string StrokeBits(const flaSubGeometry& sub, int fillBits = 1, int lineBits = 1) {
    flaDump d(1, nullptr);
    sub.DumpStrokeList(d, fillBits, lineBits);
    return BitsOf(Flushed(d));
}

std::string TagBits(const flaGeometry& g) {
    flaDump d(1, nullptr);
    g.DumpCharacterInFile(d);
    return BitsOf(d.GetBuffer());
}

// Style change that sets only the left fill to index 1, without moving.
const std::string kLeftFill1 = "000010" + F(1, 1);

}  // namespace

TEST(flaGeometryWriter, EdgeRecords) {
    // The bits that follow the style change.
    const struct { const char* name; flaStyle::EdgeType edge; std::vector<flaPoint> points; std::string bits; } cases[] = {
        {"horizontal then vertical", flaStyle::Straight, {{0, 0}, {1, 0}, {1, 1}},
         "11" + F(4, 4) + "00" + F(20, 6) + "11" + F(4, 4) + "01" + F(20, 6)},
        {"general line", flaStyle::Straight, {{0, 0}, {0.05f, -0.1f}}, "11" + F(1, 4) + "1" + F(1, 3) + F(-2, 3)},
        {"repeated point writes nothing", flaStyle::Straight, {{0, 0}, {0, 0}, {0.05f, 0}}, "11" + F(0, 4) + "00" + F(1, 2)},
        // Rounded on absolute positions: 0.52 twips -> 1, then -0.52 -> -1 (delta -2).
        {"rounding", flaStyle::Straight, {{0, 0}, {0.026f, 0}, {-0.026f, 0}},
         "11" + F(0, 4) + "00" + F(1, 2) + "11" + F(1, 4) + "00" + F(-2, 3)},
        // 70000 twips needs 18 bits: the field stays at 17.
        {"17-bit clamp", flaStyle::Straight, {{0, 0}, {3500, 0}}, "11" + F(15, 4) + "00" + F(70000, 17)},
        {"curve", flaStyle::Curved, {{0, 0}, {1, 0}, {1, 1}}, "10" + F(4, 4) + F(20, 6) + F(0, 6) + F(0, 6) + F(20, 6)},
        {"control on the anchor", flaStyle::Curved, {{0, 0}, {1, 1}, {1, 1}}, "11" + F(4, 4) + "1" + F(20, 6) + F(20, 6)},
        {"control on the start", flaStyle::Curved, {{0, 0}, {0, 0}, {0, 1}}, "11" + F(4, 4) + "01" + F(20, 6)},
    };
    for (const auto& c : cases) {
        flaGeometry g(1);
        flaSubGeometry* sub = g.AddChildGeometry();
        auto* stroke = new flaStroke;
        for (const flaPoint& p : c.points) stroke->AddPoint(p);
        sub->AddStroke(stroke, new flaStyle(c.edge, sub->CreateSolidColour(kRed, 0), nullptr, nullptr));
        EXPECT_EQ(StrokeBits(*sub), Pad(kLeftFill1 + c.bits)) << c.name;
    }
}

TEST(flaGeometryWriter, StyleChangeRecords) {
    flaGeometry g(1);
    flaSubGeometry* sub = g.AddChildGeometry();
    const flaColor* red = sub->CreateSolidColour(kRed, 0);
    const flaColor* green = sub->CreateSolidColour(kGreen, 0);
    const flaColor* line = sub->CreateLineColour(0.0f, kRed, 0);
    Add(sub, {{5, 5}, {6, 6}}, green, green);         // same fill both sides, no line: never written
    Add(sub, {{1, 1}, {1, 2}}, red);                  // moves to (1, 1): MoveBits 6; fill0 = 1
    Add(sub, {{1, 2}, {2, 2}}, red);                  // continues at the pen: no style change
    Add(sub, {{2, 2}, {2, 3}}, red, green, line);     // same start: fill1 = 2, line = 1
    Add(sub, {{0, 0}, {0, 1}}, nullptr, green, line);  // elsewhere, no left fill
    const std::string expected = "000011" + F(6, 5) + F(20, 6) + F(20, 6) + F(1, 2) +  // move, fill0 = 1
                                 "11" + F(4, 4) + "01" + F(20, 6) +                   // to (1, 2)
                                 "11" + F(4, 4) + "00" + F(20, 6) +                   // to (2, 2)
                                 "001100" + F(2, 2) + F(1, 1) +                       // fill1 = 2, line = 1
                                 "11" + F(4, 4) + "01" + F(20, 6) +                   // to (2, 3)
                                 "000011" + F(2, 5) + F(0, 2) + F(0, 2) + F(0, 2) +   // move (0, 0), fill0 = 0
                                 "11" + F(4, 4) + "01" + F(20, 6);
    EXPECT_EQ(StrokeBits(*sub, 2, 1), Pad(expected));
}

TEST(flaGeometryWriter, WholeTagOfTheBackground) {
    const std::string rect = F(6, 5) + F(-20, 6) + F(20, 6) + F(-20, 6) + F(20, 6);
    const std::string records = F(1, 4) + F(1, 4) + "000011" + F(6, 5) + F(-20, 6) + F(20, 6) + F(1, 1) +  // move, fill0
                                "11" + F(5, 4) + "01" + F(-40, 7) + "11" + F(5, 4) + "00" + F(40, 7) +    // down, right
                                "11" + F(5, 4) + "01" + F(40, 7) + "000000";                           // up, left open
    EXPECT_EQ(TagBits(flaGeometryBackground(7)),
              BitsOf(Hex("3F 08 18 00 00 00 07 00")) + Pad(rect) + BitsOf(Hex("01 00 00 00 00 00 00")) + Pad(records));
}

TEST(flaGeometryWriter, BoundsWidenedByHalfTheWidestLine) {
    flaGeometry g(1);
    flaSubGeometry* first = g.AddChildGeometry();
    Add(first, {{-1, 0}, {1, 1}}, nullptr, nullptr, first->CreateLineColour(0.05f, kRed, 0));
    g.AddChildGeometry()->CreateLineColour(0.1f, kRed, 0);  // 2 twips wide: one twip each side
    // x: -20 - 1 and 20 + 1. y: a bound of 0 rounds up by its own sign, so 0 - 1 + 0.5
    // truncates to 0.
    const std::string rect = F(6, 5) + F(-21, 6) + F(21, 6) + F(0, 6) + F(21, 6);
    EXPECT_EQ(TagBits(g).substr(8 * 8, rect.size()), rect);
}

TEST(flaGeometryWriter, LaterLayersStartWithNewStyles) {
    flaGeometry g(3);
    for (int i = 0; i < 3; ++i) {
        flaSubGeometry* sub = g.AddChildGeometry();
        Add(sub, {{0, 0}, {1, 0}}, sub->CreateSolidColour(i == 1 ? kGreen : kRed, 0));
    }
    // After the header, id, RECT (0..20 x 0..0: 4 bytes) and the first layer's arrays.
    const std::string layer = F(1, 4) + F(1, 4) + kLeftFill1 + "11" + F(4, 4) + "00" + F(20, 6);
    const std::string newStyles = "011111" + F(2, 5) + F(0, 2) + F(0, 2) + F(0, 1) + F(0, 1) + F(0, 1);
    const std::string expected = Pad(layer + newStyles) + BitsOf(Hex("01 00 00 FF 00 FF 00")) + Pad(layer + newStyles) +
                                 BitsOf(Hex("01 00 FF 00 00 FF 00")) + Pad(layer + "000000");
    EXPECT_EQ(TagBits(g).substr((6 + 2 + 4 + 7) * 8), expected);
}

TEST(flaGeometry, TransformCopyAndRecolour) {
    flaGeometry g(2);
    flaSubGeometry* sub = g.AddChildGeometry();
    const flaColor* red = sub->CreateSolidColour(kRed, 0);
    Add(sub, {{0, 0}, {1, 2}}, red, nullptr, sub->CreateLineColour(0.5f, kRed, 0), flaStyle::Curved);
    // Transform maps the points, widens (never resets) the bounds, scales the line.
    g.Transform(flaMatrix(2.0f, 0.0f, 0.0f, 2.0f, -1.0f, 0.0f));
    EXPECT_EQ(sub->GetStrokeRecord(0).stroke->GetPoints()[1], flaPoint(1.0f, 4.0f));
    EXPECT_EQ(std::make_tuple(g.GetBBox().xMin, g.GetBBox().xMax, g.GetBBox().yMax), std::make_tuple(-1.0, 1.0, 4.0));
    EXPECT_FLOAT_EQ(g.GetMaxLineWidth(), 1.0f);

    // Copied into another shape: new colours, same drawing. resetColor then leaves one
    // solid fill on the right and no lines, with the edge kind and the line index kept.
    flaGeometry copy(3);
    flaSubGeometry* into = copy.AddChildGeometry();
    into->CopyStrokesFrom(*sub);
    const flaSubGeometry::StrokeRecord& r = into->GetStrokeRecord(0);
    EXPECT_NE(r.style->LeftColor(), red);
    EXPECT_EQ(r.style->LeftColor()->GetColor(), kRed);
    EXPECT_EQ(r.stroke->GetPoints(), sub->GetStrokeRecord(0).stroke->GetPoints());
    const flaRGBA blue(0, 0, 255, 255);
    into->resetColor(&blue);
    EXPECT_EQ(into->GetFills().GetSize(), 1u);
    EXPECT_EQ(into->GetLines().GetSize(), 0u);
    const flaSubGeometry::StrokeRecord& q = into->GetStrokeRecord(0);
    EXPECT_EQ(q.style->RightColor()->GetColor(), blue);
    EXPECT_TRUE(q.style->LeftColor() == nullptr && q.style->LineColor() == nullptr);
    EXPECT_EQ(q.style->edgeType(), flaStyle::Curved);
    EXPECT_EQ(std::make_tuple(q.fill0Index, q.fill1Index, q.lineIndex), std::make_tuple(0, 1, 1));

    g.DestroyBloated();
    EXPECT_EQ(g.GetSubGeometryCount(), 0u);
    EXPECT_TRUE(g.GetBBox().IsEmpty());
}
