// Decoding DefineShape tags: writer and parser driven from one table of shapes, and
// the parser's own rules on hand-built tags.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "media_test_util.h"

using flio_test::Bytes;
using FLIO::flaRGBA;

namespace {

const flaRGBA kRed(255, 0, 0, 255);
const flaRGBA kGreen(0, 255, 0, 200);
const flaRGBA kBlue(0, 0, 255, 255);

// A tag body assembled field by field (bit fields packed, whole values aligned).
class Body {
public:
    Body& U8(unsigned v) { return d.DataU8(static_cast<unsigned char>(v)), *this; }
    Body& U16(unsigned v) { return d.DataU16(static_cast<unsigned short>(v)), *this; }
    Body& Rgb(const flaRGBA& c) { return U8(c.r).U8(c.g).U8(c.b); }
    Body& Rgba(const flaRGBA& c) { return Rgb(c).U8(c.a); }
    Body& Bits(long long v, int n) {
        for (int i = n - 1; i >= 0; --i) d.Bit(((static_cast<unsigned long long>(v) >> i) & 1) != 0);
        return *this;
    }
    Body& Identity() { return Bits(0, 2).Bits(2, 5).Bits(0, 4).Align(); }  // MATRIX
    Body& EmptyRect() { return Bits(0, 5).Align(); }
    Body& Align() { return d.PadLastByte(), *this; }
    // The body as a long-form tag with the given code, led by character id 1.
    Bytes Tag(unsigned code) {
        Bytes body = {1, 0};
        const Bytes& b = flio_test::Flushed(d);
        body.insert(body.end(), b.begin(), b.end());
        return flio_test::LongTag(code, body);
    }

private:
    flaDump d{1, nullptr};
};

// The shape of a tag, decoded unless `build` is false.
std::unique_ptr<flaGeometry> Decode(const Bytes& tag, bool alpha, flaShape::ShapeVersion version, float scale = 1.0f,
                                    bool build = true) {
    flaRead r(static_cast<int>(tag.size()), tag.data());
    r.SetScaling(scale);
    r.GetTag();
    const int id = r.GetWord();
    auto g = std::make_unique<flaGeometry>(id, r, alpha, version);
    if (build) g->BuildBloated();
    return g;
}

Bytes Written(const flaGeometry& g, int frameSizeX) {
    flaDump d(frameSizeX, nullptr);
    g.DumpCharacterInFile(d);
    return d.GetBuffer();
}

const flaStyle::EdgeType S = flaStyle::Straight, C = flaStyle::Curved;

void Add(flaSubGeometry* sub, flaStyle::EdgeType e, std::initializer_list<flaPoint> pts, const flaColor* left,
         const flaColor* right, const flaColor* line) {
    auto* s = new flaStroke;
    for (const flaPoint& p : pts) s->AddPoint(p);
    sub->AddStroke(s, new flaStyle(e, left, right, line));
}

flaGradientSteps Stops() {
    flaGradientSteps g;
    g.Add(kRed, 0);
    g.Add(kGreen, 128);
    g.Add(kBlue, 255);
    return g;
}

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
         Add(s, S, {{3, 3}, {4, 3}}, red, green, nullptr);
         Add(s, S, {{-3, 1}, {-3, 2}, {-2.5f, 2.25f}}, nullptr, nullptr, hair);
         Add(s, S, {{0.1f, 0.2f}, {0.3f, 0.4f}}, green, nullptr, wide);
         Add(s, C, {{0.3f, 0.4f}, {1, 1}, {2, 0.4f}}, green, nullptr, wide);
         Add(s, C, {{10, -10}, {12, -12}, {14, -10}}, red, red, hair);
     }},
    {"gradients and bitmaps",  // a clipped bitmap (0x41) would read back tiled
     [](flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         const flaMatrix m(0.5f, 0.25f, -0.25f, 0.5f, 1.0f, -2.0f);
         Add(s, S, {{0, 0}, {1, 0}}, s->CreateGradientColour(flaColor::LinearGradient, m, Stops(), 0),
             s->CreateGradientColour(flaColor::RadialGradient, flaMatrix(), Stops(), 0), nullptr);
         Add(s, S, {{0, 1}, {1, 1}}, s->CreateBitmapColour(true, 12, m, 0), s->CreateBitmapColour(true, 13, flaMatrix(), 0),
             nullptr);
     }},
    {"three layers",
     [](flaGeometry& g) {
         for (int i = 0; i < 3; ++i) {
             flaSubGeometry* s = g.AddChildGeometry();
             const flaColor* fill = s->CreateSolidColour(i == 1 ? kGreen : kRed, 0);
             const flaColor* line = i == 2 ? s->CreateLineColour(0.05f, kBlue, 0) : nullptr;
             Add(s, S, {{0, 0}, {1.0f + i, 0}, {1, 1}}, fill, nullptr, line);
             Add(s, C, {{5, 5}, {6, 7}, {7, 5}}, nullptr, fill, line);
         }
     }},
};

// Colours compare by kind, RGBA and key (character, line bit, index); their matrices,
// stops and widths are checked by writing the decoded shape again.
bool SameColours(const flaColorList& a, const flaColorList& b) {
    if (a.GetSize() != b.GetSize()) return false;
    for (unsigned i = 0; i < a.GetSize(); ++i)
        if (a[i]->GetColorType() != b[i]->GetColorType() || !(a[i]->GetColor() == b[i]->GetColor()) ||
            a[i]->GetFlashKey() != b[i]->GetFlashKey())
            return false;
    return true;
}

}  // namespace

TEST(ShapeParse, WrittenShapesReadBack) {
    const int frameSizeX = 2;
    const float twip = 1.0f / (frameSizeX * 20.0f);  // scales twips back to model units
    for (const ShapeCase& c : kShapes) {
        SCOPED_TRACE(c.name);
        flaGeometry original(42);
        c.build(original);
        const Bytes tag = Written(original, frameSizeX);
        const auto back = Decode(tag, true, flaShape::DefineShape3, twip);
        EXPECT_EQ(back->GetId(), 42);
        ASSERT_EQ(back->GetSubGeometryCount(), original.GetSubGeometryCount());
        for (std::size_t s = 0; s < original.GetSubGeometryCount(); ++s) {
            const flaSubGeometry &a = *original.GetSubGeometry(s), &b = *back->GetSubGeometry(s);
            ASSERT_EQ(b.GetStrokeCount(), a.GetStrokeCount());
            EXPECT_TRUE(SameColours(a.GetFills(), b.GetFills()));
            EXPECT_TRUE(SameColours(a.GetLines(), b.GetLines()));
            for (std::size_t k = 0; k < a.GetStrokeCount(); ++k) {
                const auto &ra = a.GetStrokeRecord(k), &rb = b.GetStrokeRecord(k);
                EXPECT_EQ(rb.style->edgeType(), ra.style->edgeType()) << k;
                EXPECT_EQ(std::tie(rb.fill0Index, rb.fill1Index, rb.lineIndex), std::tie(ra.fill0Index, ra.fill1Index, ra.lineIndex));
                ASSERT_EQ(rb.stroke->GetSize(), ra.stroke->GetSize()) << k;
                for (std::size_t p = 0; p < ra.stroke->GetSize(); ++p) {
                    EXPECT_NEAR((*rb.stroke)[p].x, (*ra.stroke)[p].x, twip) << k << " point " << p;
                    EXPECT_NEAR((*rb.stroke)[p].y, (*ra.stroke)[p].y, twip) << k << " point " << p;
                }
            }
        }
        EXPECT_EQ(Written(*back, frameSizeX), tag);  // and written again, the same tag
    }
}

TEST(ShapeParse, StrokesFollowStyleChangesMovesAndEdgeKinds) {
    Body b;  // DefineShape2: one solid RGB fill, no lines; index bits 2, 0
    b.EmptyRect().U8(1).U8(0).Rgb(kRed).U8(0).U8(0x20);
    b.Bits(0, 1).Bits(0x03, 5).Bits(6, 5).Bits(10, 6).Bits(10, 6).Bits(1, 2);  // move (10, 10), fill0 = 1
    b.Bits(0b11, 2).Bits(3, 4).Bits(0b00, 2).Bits(10, 5);                     // straight dx 10
    b.Bits(0b10, 2).Bits(3, 4).Bits(5, 5).Bits(5, 5).Bits(5, 5).Bits(-5, 5);   // curve c (25,15) a (30,10)
    b.Bits(0b10, 2).Bits(3, 4).Bits(0, 5).Bits(-5, 5).Bits(-5, 5).Bits(0, 5);  // curve c (30,5) a (25,5)
    b.Bits(0b11, 2).Bits(3, 4).Bits(0b01, 2).Bits(-5, 5);                     // straight dy -5
    b.Bits(0, 1).Bits(0x01, 5).Bits(6, 5).Bits(-20, 6).Bits(0, 6);              // move only to (-20, 0)
    b.Bits(0b11, 2).Bits(3, 4).Bits(1, 1).Bits(1, 5).Bits(1, 5);               // general (1, 1)
    b.Bits(0, 1).Bits(0x02, 5).Bits(3, 2);                                      // fill0 = 3: out of range
    b.Bits(0b11, 2).Bits(3, 4).Bits(0b00, 2).Bits(10, 5).Bits(0, 6);           // straight dx 10, end
    const auto g = Decode(b.Tag(22), false, flaShape::DefineShape2);
    const flaSubGeometry& s = *g->GetSubGeometry(0);
    const std::vector<std::vector<flaPoint>> expected = {
        {{10, 10}, {20, 10}}, {{20, 10}, {25, 15}, {30, 10}, {30, 10}, {30, 5}, {25, 5}}, {{25, 5}, {25, 0}},
        {{-20, 0}, {-19, 1}}, {{-19, 1}, {-9, 1}}};
    ASSERT_EQ(s.GetStrokeCount(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const flaSubGeometry::StrokeRecord& r = s.GetStrokeRecord(i);
        EXPECT_EQ(r.stroke->GetPoints(), expected[i]) << i;
        EXPECT_EQ(r.style->edgeType(), i == 1 ? C : S) << i;
        EXPECT_EQ(r.style->LeftColor(), i < 4 ? s.GetFills()[0] : nullptr) << i;  // out of range: no colour
        EXPECT_EQ(r.fill0Index, i < 4 ? 1 : 0) << i;
    }
    EXPECT_EQ(s.GetFills()[0]->GetColor(), kRed);  // RGB reads as opaque
    EXPECT_EQ(g->GetBBox().xMin, -20.0);
    EXPECT_EQ(g->GetBBox().yMax, 15.0);
}

TEST(ShapeParse, FillStyleTypes) {
    const struct { unsigned type; flaColor::ColorType expected; bool tiled; } cases[] = {{0x00, flaColor::Solid, false},          {0x10, flaColor::LinearGradient, false},
                 {0x12, flaColor::RadialGradient, false}, {0x13, flaColor::RadialGradient, false},
                 {0x40, flaColor::Bitmap, true},          {0x41, flaColor::Bitmap, true},
                 {0x42, flaColor::Bitmap, true},          {0x43, flaColor::Bitmap, true},
                 {0x11, flaColor::Bitmap, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        Body b;
        b.EmptyRect().U8(2).U8(c.type);
        if (c.expected == flaColor::Solid) b.Rgba(kGreen);
        if (c.expected == flaColor::Bitmap) b.U16(77).Identity();
        if (c.type == 0x10 || c.type == 0x12 || c.type == 0x13) b.Identity().U8(2).U8(0).Rgba(kRed).U8(255).Rgba(kBlue);
        if (c.type == 0x13) b.U16(0x0180);  // focal point, dropped
        b.U8(0x00).Rgba(kBlue);              // a second fill proves the first was read whole
        b.U8(0).U8(0x20).Bits(0, 6);
        const auto g = Decode(b.Tag(32), true, flaShape::DefineShape3);
        const flaColorList& fills = g->GetSubGeometry(0)->GetFills();
        ASSERT_EQ(fills.GetSize(), 2u);
        EXPECT_EQ(fills[0]->GetColorType(), c.expected);
        EXPECT_EQ(fills[0]->GetFillBitsTiled(), c.tiled);
        if (c.expected == flaColor::Bitmap) {
            EXPECT_EQ(fills[0]->GetBitmapID(), 77);
        }
        EXPECT_EQ(fills[1]->GetColor(), kBlue);
    }
}

TEST(ShapeParse, GradientOfFifteenRecordsKeepsEight) {
    Body b;
    b.EmptyRect().U8(2).U8(0x10).Identity().U8(0xFF);  // the high bits of the count are not part of it
    for (int i = 0; i < 15; ++i) b.U8(i * 10).Rgb(flaRGBA(static_cast<unsigned char>(i), 0, 0, 0));
    b.U8(0x00).Rgb(kBlue).U8(0).U8(0x20).Bits(0, 6);
    const auto g = Decode(b.Tag(2), false, flaShape::DefineShape);
    const flaColorList& fills = g->GetSubGeometry(0)->GetFills();
    ASSERT_EQ(fills.GetSize(), 2u);
    const flaGradientSteps& steps = fills[0]->GetGradientSteps();
    ASSERT_EQ(steps.NbColours(), 8);
    EXPECT_EQ(steps.Pos(7), 70);
    EXPECT_EQ(steps.Colour(7), flaRGBA(7, 0, 0, 255));
    EXPECT_EQ(fills[1]->GetColor(), kBlue);
}

TEST(ShapeParse, LineStyles) {
    // LINESTYLE: widths 0 and 1 twip are hairlines; 2 twips is 2 * factor.
    Body v1;
    v1.EmptyRect().U8(0).U8(0xFF).U16(3).U16(0).Rgb(kRed).U16(1).Rgb(kRed).U16(2).Rgb(kBlue).U8(0x02).Bits(0, 6);
    const auto a = Decode(v1.Tag(2), false, flaShape::DefineShape, 0.5f);
    const flaColorList& lines = a->GetSubGeometry(0)->GetLines();
    ASSERT_EQ(lines.GetSize(), 3u);
    EXPECT_TRUE(lines[0]->IsHairLine() && lines[1]->IsHairLine());
    EXPECT_FLOAT_EQ(lines[2]->GetLineWidth(), 1.0f);
    EXPECT_EQ(lines[2]->GetColor(), kBlue);

    // LINESTYLE2: a line with a fill puts the fill in the fill list and is black;
    // a miter join carries a limit factor; without a fill the colour is RGBA.
    Body v4;
    v4.EmptyRect().EmptyRect().U8(0).U8(1).U8(0x00).Rgba(kRed).U8(2);  // one solid fill, two lines
    v4.U16(40).U8(0x08).U8(0x00).U8(0x00).Rgba(kGreen);               // width 40, fill
    v4.U16(60).U8(0x20).U8(0x01).U16(0x0300).Rgba(kBlue);             // miter, RGBA
    v4.U8(0x22).Bits(0, 6);
    const auto b = Decode(v4.Tag(83), true, flaShape::DefineShape4);
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
    const Bytes tag = Written(original, 1);
    ASSERT_GT(tag.size(), 60u);
    for (std::size_t n = 8; n < tag.size(); ++n) {
        auto g = Decode(Bytes(tag.begin(), tag.begin() + static_cast<long>(n)), true, flaShape::DefineShape3, 1.0f, false);
        EXPECT_THROW(g->BuildBloated(), flaRead::readError) << n;
        EXPECT_FALSE(g->IsBloated());
        EXPECT_EQ(g->GetSubGeometryCount(), 0u);
    }
}

TEST(ShapeParse, DecodingIsRepeatableAndAppliesTheTransformation) {
    flaGeometry original(5);
    flaSubGeometry* s = original.AddChildGeometry();
    Add(s, S, {{0, 0}, {1, 0}, {1, 1}}, s->CreateSolidColour(kRed, 0), nullptr, nullptr);
    const Bytes tag = Written(original, 1);
    auto g = Decode(tag, true, flaShape::DefineShape3, 0.05f, false);
    EXPECT_EQ(Written(*g, 1), tag);  // never decoded: writing decodes a copy
    EXPECT_FALSE(g->IsBloated());
    g->SetTransformation(flaMatrix(2, 0, 0, 2, 1, 0));
    g->BuildBloated();
    g->BuildBloated();  // already decoded: nothing more
    ASSERT_EQ(g->GetSubGeometryCount(), 1u);
    EXPECT_EQ(g->GetSubGeometry(0)->GetStrokeCount(), 1u);
    EXPECT_NEAR((*g->GetSubGeometry(0)->GetStrokeRecord(0).stroke)[1].x, 3.0f, 1e-5);
    EXPECT_NEAR(g->GetBBox().xMin, 0.0, 1e-5);  // the untransformed extent stays in the box
}
