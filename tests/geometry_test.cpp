// DefineShape3 writing, checked bit by bit, and the geometry model's operations.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "test_util.h"

using flio_test::Bytes;
using flio_test::Flushed;
using flio_test::ToHex;
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

Bytes BytesOf(std::string bits) {
    while (bits.size() % 8) bits += '0';
    Bytes out;
    for (std::size_t i = 0; i < bits.size(); i += 8) out.push_back(static_cast<unsigned char>(std::stoi(bits.substr(i, 8), nullptr, 2)));
    return out;
}

flaStroke* Path(std::initializer_list<flaPoint> points) {
    auto* s = new flaStroke;
    for (const flaPoint& p : points) s->AddPoint(p);
    return s;
}

// The stroke records of one layer at frame width 1 (one model unit = 20 twips).
std::string StrokeBits(const flaSubGeometry& sub, int fillBits = 1, int lineBits = 1) {
    flaDump d(1, nullptr);
    sub.DumpStrokeList(d, fillBits, lineBits);
    return BitsOf(Flushed(d));
}

// Expected bits padded like the stream pads them.
std::string Padded(std::string bits) {
    while (bits.size() % 8) bits += '0';
    return bits;
}

Bytes Tag(const flaGeometry& g, int frameSizeX = 1) {
    flaDump d(frameSizeX, nullptr);
    g.DumpCharacterInFile(d);
    return d.GetBuffer();
}

// Style change that sets only the left fill to index 1, without moving.
const std::string kLeftFill1 = "000010" + F(1, 1);

}  // namespace

TEST(flaGeometryWriter, EdgeRecords) {
    struct Case {
        const char* name;
        flaStyle::EdgeType edge;
        std::vector<flaPoint> points;
        std::string bits;  // after the style change
    } cases[] = {
        {"horizontal then vertical", flaStyle::Straight, {{0, 0}, {1, 0}, {1, 1}},
         "11" + F(4, 4) + "00" + F(20, 6) + "11" + F(4, 4) + "01" + F(20, 6)},
        {"general line", flaStyle::Straight, {{0, 0}, {0.05f, -0.1f}}, "11" + F(1, 4) + "1" + F(1, 3) + F(-2, 3)},
        {"repeated point writes nothing", flaStyle::Straight, {{0, 0}, {0, 0}, {0.05f, 0}},
         "11" + F(0, 4) + "00" + F(1, 2)},
        // Rounded on absolute positions: 0.52 twips -> 1, then -0.52 -> -1 (delta -2).
        {"rounding", flaStyle::Straight, {{0, 0}, {0.026f, 0}, {-0.026f, 0}},
         "11" + F(0, 4) + "00" + F(1, 2) + "11" + F(1, 4) + "00" + F(-2, 3)},
        // 70000 twips needs 18 bits: the field stays at 17.
        {"17-bit clamp", flaStyle::Straight, {{0, 0}, {3500, 0}}, "11" + F(15, 4) + "00" + F(70000, 17)},
        {"curve", flaStyle::Curved, {{0, 0}, {1, 0}, {1, 1}},
         "10" + F(4, 4) + F(20, 6) + F(0, 6) + F(0, 6) + F(20, 6)},
        {"control on the anchor", flaStyle::Curved, {{0, 0}, {1, 1}, {1, 1}}, "11" + F(4, 4) + "1" + F(20, 6) + F(20, 6)},
        {"control on the start", flaStyle::Curved, {{0, 0}, {0, 0}, {0, 1}}, "11" + F(4, 4) + "01" + F(20, 6)},
        {"two segments", flaStyle::Curved, {{0, 0}, {1, 0}, {1, 1}, {1, 1}, {0, 1}, {0, 0}},
         "10" + F(4, 4) + F(20, 6) + F(0, 6) + F(0, 6) + F(20, 6) + "10" + F(4, 4) + F(-20, 6) + F(0, 6) + F(0, 6) +
             F(-20, 6)},
    };
    for (const Case& c : cases) {
        flaGeometry g(1);
        flaSubGeometry* sub = g.AddChildGeometry();
        const flaColor* red = sub->CreateSolidColour(kRed, 0);
        auto* stroke = new flaStroke;
        for (const flaPoint& p : c.points) stroke->AddPoint(p);
        sub->AddStroke(stroke, new flaStyle(c.edge, red, nullptr, nullptr));
        EXPECT_EQ(StrokeBits(*sub), Padded(kLeftFill1 + c.bits)) << c.name;
    }
}

TEST(flaGeometryWriter, StyleChangeRecords) {
    flaGeometry g(1);
    flaSubGeometry* sub = g.AddChildGeometry();
    const flaColor* red = sub->CreateSolidColour(kRed, 0);
    const flaColor* green = sub->CreateSolidColour(kGreen, 0);
    const flaColor* line = sub->CreateLineColour(0.0f, kRed, 0);
    // Same fill on both sides and no line: never written.
    sub->AddStroke(Path({{5, 5}, {6, 6}}), new flaStyle(flaStyle::Straight, green, green, nullptr));
    // Moves to (1, 1): MoveBits 6; fill 0 = red.
    sub->AddStroke(Path({{1, 1}, {1, 2}}), new flaStyle(flaStyle::Straight, red, nullptr, nullptr));
    // Continues at the pen with the same colours: no style change at all.
    sub->AddStroke(Path({{1, 2}, {2, 2}}), new flaStyle(flaStyle::Straight, red, nullptr, nullptr));
    // Same start, new right fill and a line: fill 1 = 2, line = 1.
    sub->AddStroke(Path({{2, 2}, {2, 3}}), new flaStyle(flaStyle::Straight, red, green, line));
    // Back to no fill on the left, elsewhere.
    sub->AddStroke(Path({{0, 0}, {0, 1}}), new flaStyle(flaStyle::Straight, nullptr, green, line));

    const std::string expected = "000011" + F(6, 5) + F(20, 6) + F(20, 6) + F(1, 2) +  // move, fill0 = 1
                                 "11" + F(4, 4) + "01" + F(20, 6) +                   // to (1, 2)
                                 "11" + F(4, 4) + "00" + F(20, 6) +                   // to (2, 2)
                                 "001100" + F(2, 2) + F(1, 1) +                       // fill1 = 2, line = 1
                                 "11" + F(4, 4) + "01" + F(20, 6) +                   // to (2, 3)
                                 "000011" + F(2, 5) + F(0, 2) + F(0, 2) + F(0, 2) +   // move (0, 0), fill0 = 0
                                 "11" + F(4, 4) + "01" + F(20, 6);
    EXPECT_EQ(StrokeBits(*sub, 2, 1), Padded(expected));
    EXPECT_EQ(sub->GetStrokeRecord(3).fill1Index, 2);
    EXPECT_EQ(sub->GetStrokeRecord(3).lineIndex, 1);
}

TEST(flaGeometryWriter, WholeTagOfTheBackground) {
    const flaGeometryBackground background(7);
    const std::string body = F(6, 5) + F(-20, 6) + F(20, 6) + F(-20, 6) + F(20, 6);  // RECT
    Bytes expected = {0x3F, 0x08, 0, 0, 0, 0, 0x07, 0x00};
    for (unsigned char b : BytesOf(body)) expected.push_back(b);
    for (unsigned char b : flio_test::Hex("01 00 00 00 00 00  00")) expected.push_back(b);  // fills, lines
    const std::string records = F(1, 4) + F(1, 4) +                                       // index bits
                                "000011" + F(6, 5) + F(-20, 6) + F(20, 6) + F(1, 1) +     // move, fill0
                                "11" + F(5, 4) + "01" + F(-40, 7) +                       // down
                                "11" + F(5, 4) + "00" + F(40, 7) +                        // right
                                "11" + F(5, 4) + "01" + F(40, 7) +                        // up, left open
                                "000000";
    for (unsigned char b : BytesOf(records)) expected.push_back(b);
    const std::uint32_t length = static_cast<std::uint32_t>(expected.size() - 6);
    expected[2] = static_cast<unsigned char>(length);
    expected[3] = static_cast<unsigned char>(length >> 8);
    EXPECT_EQ(ToHex(Tag(background)), ToHex(expected));
}

TEST(flaGeometryWriter, BoundsWidenedByHalfTheWidestLine) {
    flaGeometry g(1);
    flaSubGeometry* first = g.AddChildGeometry();
    flaSubGeometry* second = g.AddChildGeometry();
    first->AddStroke(Path({{-1, 0}, {1, 1}}), new flaStyle(flaStyle::Straight, nullptr, nullptr,
                                                           first->CreateLineColour(0.05f, kRed, 0)));
    second->CreateLineColour(0.1f, kRed, 0);  // 2 twips wide: one twip each side
    EXPECT_FLOAT_EQ(g.GetMaxLineWidth(), 0.1f);
    const Bytes tag = Tag(g);
    // x: -20 - 1 and 20 + 1. y: a bound of 0 rounds up by its own sign, so
    // 0 - 1 + 0.5 truncates to 0.
    const std::string rect = F(6, 5) + F(-21, 6) + F(21, 6) + F(0, 6) + F(21, 6);
    EXPECT_EQ(BitsOf(tag).substr(8 * 8, rect.size()), rect);
}

TEST(flaGeometryWriter, LaterLayersStartWithNewStyles) {
    flaGeometry g(3);
    for (int i = 0; i < 3; ++i) {
        flaSubGeometry* sub = g.AddChildGeometry();
        const flaColor* fill = sub->CreateSolidColour(i == 1 ? kGreen : kRed, 0);
        sub->AddStroke(Path({{0, 0}, {1, 0}}), new flaStyle(flaStyle::Straight, fill, nullptr, nullptr));
    }
    const Bytes tag = Tag(g);
    // After the header, id, RECT (0..20 x 0..0: Nbits 6, 29 bits -> 4 bytes) and the
    // first layer's arrays.
    const std::string layer = "11" + F(4, 4) + "00" + F(20, 6);
    const std::string newStyles = "011111" + F(2, 5) + F(0, 2) + F(0, 2) + F(0, 1) + F(0, 1) + F(0, 1);
    std::string expected = F(1, 4) + F(1, 4) + kLeftFill1 + layer + newStyles;
    expected = Padded(expected) + BitsOf(flio_test::Hex("01 00 00 FF 00 FF 00")) + F(1, 4) + F(1, 4) + kLeftFill1 +
               layer + newStyles;
    expected = Padded(expected) + BitsOf(flio_test::Hex("01 00 FF 00 00 FF 00")) + F(1, 4) + F(1, 4) + kLeftFill1 +
               layer + "000000";
    const std::size_t start = (6 + 2 + 4 + 7) * 8;
    EXPECT_EQ(BitsOf(tag).substr(start), Padded(expected));

    // One layer: no new-styles record at all.
    flaGeometry single(4);
    flaSubGeometry* sub = single.AddChildGeometry();
    sub->AddStroke(Path({{0, 0}, {1, 0}}), new flaStyle(flaStyle::Straight, sub->CreateSolidColour(kRed, 0), nullptr, nullptr));
    EXPECT_EQ(BitsOf(Tag(single)).substr(start), Padded(F(1, 4) + F(1, 4) + kLeftFill1 + layer + "000000"));
}

namespace {
// Exposes the SHAPE body as a glyph writes it.
struct GlyphBody : flaGeometry {
    GlyphBody() : flaGeometry(0) {}
    using flaGeometry::DumpShapeBody;
};
}  // namespace

TEST(flaGeometryWriter, GlyphBodyHasNoStyleArrays) {
    GlyphBody glyph;
    for (int i = 0; i < 2; ++i) {
        flaSubGeometry* sub = glyph.AddChildGeometry();
        sub->AddStroke(Path({{0, 0}, {1, 0}}), new flaStyle(flaStyle::Straight, sub->CreateSolidColour(kRed, 0), nullptr, nullptr));
    }
    flaDump d(1, nullptr);
    glyph.DumpShapeBody(d, true);
    const std::string layer = kLeftFill1 + "11" + F(4, 4) + "00" + F(20, 6);
    // Fill bits 1, line bits 0; the second layer only resets the pen and the styles.
    const std::string expected = F(1, 4) + F(0, 4) + layer + "001111" + F(2, 5) + F(0, 2) + F(0, 2) + F(0, 1) +
                                 F(0, 1) + layer + "000000";
    EXPECT_EQ(BitsOf(Flushed(d)), Padded(expected));
}

TEST(flaGeometry, ModelOperations) {
    flaGeometry g(2);
    flaSubGeometry* sub = g.AddChildGeometry();
    const flaColor* red = sub->CreateSolidColour(kRed, 0);
    const flaColor* line = sub->CreateLineColour(0.5f, kRed, 0);
    sub->AddStroke(Path({{0, 0}, {1, 2}}), new flaStyle(flaStyle::Curved, red, nullptr, line));
    EXPECT_EQ(g.GetBBox().xMax, 1.0);
    EXPECT_EQ(g.GetBBox().yMax, 2.0);

    // Transform maps the points, widens (never resets) the bounds, scales the line.
    g.Transform(flaMatrix(2.0f, 0.0f, 0.0f, 2.0f, -1.0f, 0.0f));
    EXPECT_EQ(sub->GetStrokeRecord(0).stroke->GetPoints()[1], flaPoint(1.0f, 4.0f));
    EXPECT_EQ(g.GetBBox().xMin, -1.0);
    EXPECT_EQ(g.GetBBox().xMax, 1.0);
    EXPECT_EQ(g.GetBBox().yMax, 4.0);
    EXPECT_FLOAT_EQ(g.GetMaxLineWidth(), 1.0f);

    // Copy the layer's strokes into another shape: new colours, same drawing.
    flaGeometry copy(3);
    flaSubGeometry* into = copy.AddChildGeometry();
    into->CopyStrokesFrom(*sub);
    ASSERT_EQ(into->GetStrokeCount(), 1u);
    const flaSubGeometry::StrokeRecord& r = into->GetStrokeRecord(0);
    EXPECT_NE(r.style->LeftColor(), red);
    EXPECT_EQ(r.style->LeftColor()->GetColor(), kRed);
    EXPECT_EQ(r.style->edgeType(), flaStyle::Curved);
    EXPECT_EQ(r.fill0Index, 1);
    EXPECT_EQ(r.lineIndex, 1);
    EXPECT_EQ(r.stroke->GetPoints(), sub->GetStrokeRecord(0).stroke->GetPoints());

    // resetColor: one solid fill on the right, lines gone, line index kept.
    const flaRGBA blue(0, 0, 255, 255);
    into->resetColor(&blue);
    EXPECT_EQ(into->GetFills().GetSize(), 1u);
    EXPECT_EQ(into->GetLines().GetSize(), 0u);
    EXPECT_EQ(into->GetStrokeRecord(0).style->RightColor()->GetColor(), blue);
    EXPECT_EQ(into->GetStrokeRecord(0).style->LeftColor(), nullptr);
    EXPECT_EQ(into->GetStrokeRecord(0).style->LineColor(), nullptr);
    EXPECT_EQ(into->GetStrokeRecord(0).style->edgeType(), flaStyle::Curved);
    EXPECT_EQ(into->GetStrokeRecord(0).fill0Index, 0);
    EXPECT_EQ(into->GetStrokeRecord(0).fill1Index, 1);
    EXPECT_EQ(into->GetStrokeRecord(0).lineIndex, 1);
    into->resetColor(nullptr);
    EXPECT_EQ(into->GetFills()[0]->GetColor(), flaRGBA(0, 0, 0, 255));

    g.DestroyBloated();
    EXPECT_EQ(g.GetSubGeometryCount(), 0u);
    EXPECT_TRUE(g.GetBBox().IsEmpty());

    g.SetTransformation(flaMatrix(1, 0, 0, 1, 5, 5));
    EXPECT_TRUE(g.HasTransformation());
    EXPECT_EQ(g.GetVersion(), flaShape::InMemory);
}
