// Decoding DefineShape tags: writer and parser driven from one table of shapes, and
// the parser's own rules on hand-built tags.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "test_util.h"

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
    Bytes Tag(int code) {
        d.PadLastByte();
        const Bytes& b = d.GetBuffer();
        const unsigned length = static_cast<unsigned>(b.size()) + 2;
        // Sized up front: growing an 8-byte vector by insert trips a false
        // -Warray-bounds in GCC 12 at -O2.
        Bytes out(8 + b.size());
        const unsigned char head[8] = {static_cast<unsigned char>((code << 6) | 63), static_cast<unsigned char>(code >> 2),
                                       static_cast<unsigned char>(length), static_cast<unsigned char>(length >> 8), 0, 0, 1, 0};
        std::copy(head, head + 8, out.begin());
        std::copy(b.begin(), b.end(), out.begin() + 8);
        return out;
    }

private:
    flaDump d{1, nullptr};
};

std::unique_ptr<flaGeometry> Import(const Bytes& tag, bool alpha, flaShape::ShapeVersion version, float scale = 1.0f) {
    flaRead r(static_cast<int>(tag.size()), tag.data());
    r.SetScaling(scale);
    r.GetTag();
    const int id = r.GetWord();
    return std::make_unique<flaGeometry>(id, r, alpha, version);
}

std::unique_ptr<flaGeometry> Decode(const Bytes& tag, bool alpha, flaShape::ShapeVersion version, float scale = 1.0f) {
    auto g = Import(tag, alpha, version, scale);
    g->BuildBloated();
    return g;
}

Bytes Written(const flaGeometry& g, int frameSizeX) {
    flaDump d(frameSizeX, nullptr);
    g.DumpCharacterInFile(d);
    return d.GetBuffer();
}

flaStroke* Path(std::initializer_list<flaPoint> points) {
    auto* s = new flaStroke;
    for (const flaPoint& p : points) s->AddPoint(p);
    return s;
}

void Add(flaSubGeometry* sub, flaStyle::EdgeType e, std::initializer_list<flaPoint> pts, const flaColor* left,
         const flaColor* right, const flaColor* line) {
    sub->AddStroke(Path(pts), new flaStyle(e, left, right, line));
}

const flaStyle::EdgeType S = flaStyle::Straight, C = flaStyle::Curved;

struct ShapeCase {
    const char* name;
    std::function<void(flaGeometry&)> build;
    // A clipped bitmap fill (type 0x41) reads back as tiled, so writing the decoded
    // shape again gives 0x40 there.
    bool hasClippedBitmap = false;
};

flaGradientSteps Stops() {
    flaGradientSteps g;
    g.Add(kRed, 0);
    g.Add(kGreen, 128);
    g.Add(kBlue, 255);
    return g;
}

// Every stroke here differs from the one before in style, start or edge type, so
// that the file holds exactly one run of edges per stroke.
const ShapeCase kShapes[] = {
    {"filled square",
     [](flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         Add(s, S, {{0, 0}, {1, 0}, {1, 1}, {0, 1}, {0, 0}}, s->CreateSolidColour(kRed, 0), nullptr, nullptr);
     }},
    {"curves with a line",
     [](flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         const flaColor* line = s->CreateLineColour(0.1f, kBlue, 0);
         Add(s, C, {{0, 0}, {0.5f, -0.3f}, {1, 0}, {1, 0}, {1.4f, 0.5f}, {1, 1}}, nullptr,
             s->CreateSolidColour(kGreen, 0), line);
     }},
    {"straight then curved from the same pen",
     [](flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         const flaColor* red = s->CreateSolidColour(kRed, 0);
         Add(s, S, {{-2, -2}, {-1, -2}, {-1, -1.5f}}, red, nullptr, nullptr);
         Add(s, C, {{-1, -1.5f}, {-1.5f, -1}, {-2, -2}}, red, nullptr, nullptr);
     }},
    {"moves, hairlines and several colours",
     [](flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         const flaColor* red = s->CreateSolidColour(kRed, 0);
         const flaColor* green = s->CreateSolidColour(kGreen, 0);
         const flaColor* hair = s->CreateLineColour(0.0f, kBlue, 0);
         const flaColor* wide = s->CreateLineColour(0.25f, kRed, 0);
         Add(s, S, {{3, 3}, {4, 3}}, red, green, nullptr);
         Add(s, S, {{-3, 1}, {-3, 2}, {-2.5f, 2.25f}}, nullptr, nullptr, hair);
         Add(s, S, {{0.1f, 0.2f}, {0.3f, 0.4f}}, green, nullptr, wide);
         Add(s, C, {{10, -10}, {12, -12}, {14, -10}}, red, red, hair);
     }},
    {"gradients and bitmaps",
     [](flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         const flaMatrix m(0.5f, 0.25f, -0.25f, 0.5f, 1.0f, -2.0f);
         const flaColor* linear = s->CreateGradientColour(flaColor::LinearGradient, m, Stops(), 0);
         const flaColor* radial = s->CreateGradientColour(flaColor::RadialGradient, flaMatrix(), Stops(), 0);
         const flaColor* tiled = s->CreateBitmapColour(true, 12, m, 0);
         const flaColor* clipped = s->CreateBitmapColour(false, 13, flaMatrix(), 0);
         Add(s, S, {{0, 0}, {1, 0}}, linear, radial, nullptr);
         Add(s, S, {{0, 1}, {1, 1}}, tiled, clipped, nullptr);
     },
     true},
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

void ExpectSameColour(const flaColor* a, const flaColor* b, double twip, const std::string& where) {
    ASSERT_EQ(a == nullptr, b == nullptr) << where;
    if (!a) return;
    EXPECT_EQ(a->GetColorType(), b->GetColorType()) << where;
    EXPECT_EQ(a->GetColor(), b->GetColor()) << where;
    EXPECT_NEAR(a->GetLineWidth(), b->GetLineWidth(), twip) << where;
    EXPECT_EQ(a->GetGradientSteps(), b->GetGradientSteps()) << where;
    EXPECT_EQ(a->GetBitmapID(), b->GetBitmapID()) << where;
    // Every bitmap fill reads back tiled, the clipped type 0x41 included.
    EXPECT_EQ(b->GetFillBitsTiled(), a->GetColorType() == flaColor::Bitmap) << where;
    const flaMatrix &ma = a->GetMatrix(), &mb = b->GetMatrix();
    EXPECT_NEAR(ma.GetA(), mb.GetA(), 1e-4) << where;
    EXPECT_NEAR(ma.GetB(), mb.GetB(), 1e-4) << where;
    EXPECT_NEAR(ma.GetC(), mb.GetC(), 1e-4) << where;
    EXPECT_NEAR(ma.GetD(), mb.GetD(), 1e-4) << where;
    EXPECT_NEAR(ma.GetTX(), mb.GetTX(), twip) << where;
    EXPECT_NEAR(ma.GetTY(), mb.GetTY(), twip) << where;
}

}  // namespace

TEST(ShapeParse, WrittenShapesReadBack) {
    const int frameSizeX = 2;
    const float scale = 1.0f / (frameSizeX * 20.0f);  // twips back to model units
    for (const ShapeCase& c : kShapes) {
        flaGeometry original(42);
        c.build(original);
        const Bytes tag = Written(original, frameSizeX);
        const auto back = Decode(tag, true, flaShape::DefineShape3, scale);
        ASSERT_TRUE(back->IsBloated()) << c.name;
        EXPECT_EQ(back->GetId(), 42) << c.name;
        ASSERT_EQ(back->GetSubGeometryCount(), original.GetSubGeometryCount()) << c.name;
        for (std::size_t s = 0; s < original.GetSubGeometryCount(); ++s) {
            const flaSubGeometry& a = *original.GetSubGeometry(s);
            const flaSubGeometry& b = *back->GetSubGeometry(s);
            ASSERT_EQ(b.GetStrokeCount(), a.GetStrokeCount()) << c.name;
            ASSERT_EQ(b.GetFills().GetSize(), a.GetFills().GetSize()) << c.name;
            ASSERT_EQ(b.GetLines().GetSize(), a.GetLines().GetSize()) << c.name;
            EXPECT_EQ(b.GetFillIndexBase(), a.GetFillIndexBase()) << c.name;
            for (unsigned i = 0; i < a.GetFills().GetSize(); ++i) {
                ExpectSameColour(a.GetFills()[i], b.GetFills()[i], scale, c.name);
                EXPECT_EQ(a.GetFills()[i]->GetFlashKey(), b.GetFills()[i]->GetFlashKey()) << c.name;
            }
            for (unsigned i = 0; i < a.GetLines().GetSize(); ++i)
                ExpectSameColour(a.GetLines()[i], b.GetLines()[i], scale, c.name);
            for (std::size_t k = 0; k < a.GetStrokeCount(); ++k) {
                const auto &ra = a.GetStrokeRecord(k), &rb = b.GetStrokeRecord(k);
                const std::string where = std::string(c.name) + " stroke " + std::to_string(k);
                EXPECT_EQ(rb.style->edgeType(), ra.style->edgeType()) << where;
                EXPECT_EQ(rb.fill0Index, ra.fill0Index) << where;
                EXPECT_EQ(rb.fill1Index, ra.fill1Index) << where;
                EXPECT_EQ(rb.lineIndex, ra.lineIndex) << where;
                ASSERT_EQ(rb.stroke->GetSize(), ra.stroke->GetSize()) << where;
                for (std::size_t p = 0; p < ra.stroke->GetSize(); ++p) {
                    EXPECT_NEAR((*rb.stroke)[p].x, (*ra.stroke)[p].x, scale) << where << " point " << p;
                    EXPECT_NEAR((*rb.stroke)[p].y, (*ra.stroke)[p].y, scale) << where << " point " << p;
                }
            }
        }
        // Written again, the decoded shape gives the same tag.
        if (!c.hasClippedBitmap) {
            EXPECT_EQ(Written(*back, frameSizeX), tag) << c.name;
        }
    }
}

TEST(ShapeParse, StrokesFollowStyleChangesMovesAndEdgeKinds) {
    Body b;
    b.EmptyRect().U8(1).U8(0).Rgb(kRed).U8(0).U8(0x10);  // one solid fill, no lines; bits 1, 0
    b.Bits(0, 1).Bits(0x03, 5).Bits(6, 5).Bits(10, 6).Bits(10, 6).Bits(1, 1);  // move (10, 10), fill0 = 1
    b.Bits(0b11, 2).Bits(3, 4).Bits(0b00, 2).Bits(10, 5);                     // straight dx 10
    b.Bits(0b10, 2).Bits(3, 4).Bits(5, 5).Bits(5, 5).Bits(5, 5).Bits(-5, 5);   // curve c (25,15) a (30,10)
    b.Bits(0b10, 2).Bits(3, 4).Bits(0, 5).Bits(-5, 5).Bits(-5, 5).Bits(0, 5);  // curve c (30,5) a (25,5)
    b.Bits(0b11, 2).Bits(3, 4).Bits(0b01, 2).Bits(-5, 5);                     // straight dy -5
    b.Bits(0, 1).Bits(0x01, 5).Bits(6, 5).Bits(-20, 6).Bits(0, 6);              // move only to (-20, 0)
    b.Bits(0b11, 2).Bits(3, 4).Bits(1, 1).Bits(1, 5).Bits(1, 5);               // general (1, 1)
    b.Bits(0, 1).Bits(0x02, 5).Bits(0, 1);                                      // fill0 = 0, no edge
    b.Bits(0, 1).Bits(0x00, 5);                                                 // end
    const auto g = Decode(b.Tag(22), false, flaShape::DefineShape2);
    const flaSubGeometry& s = *g->GetSubGeometry(0);
    const std::vector<std::vector<flaPoint>> expected = {
        {{10, 10}, {20, 10}},
        {{20, 10}, {25, 15}, {30, 10}, {30, 10}, {30, 5}, {25, 5}},
        {{25, 5}, {25, 0}},
        {{-20, 0}, {-19, 1}},
    };
    ASSERT_EQ(s.GetStrokeCount(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(s.GetStrokeRecord(i).stroke->GetPoints(), expected[i]) << i;
    EXPECT_EQ(s.GetStrokeRecord(0).style->edgeType(), flaStyle::Straight);
    EXPECT_EQ(s.GetStrokeRecord(1).style->edgeType(), flaStyle::Curved);
    EXPECT_EQ(s.GetStrokeRecord(2).style->edgeType(), flaStyle::Straight);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(s.GetStrokeRecord(i).style->LeftColor(), s.GetFills()[0]);
        EXPECT_EQ(s.GetStrokeRecord(i).fill0Index, 1);
    }
    EXPECT_EQ(s.GetFills()[0]->GetColor(), kRed);  // RGB reads as opaque
    EXPECT_EQ(g->GetBBox().xMin, -20.0);
    EXPECT_EQ(g->GetBBox().yMax, 15.0);
}

TEST(ShapeParse, EndRecordFirstAndOutOfRangeIndices) {
    Body empty;
    empty.EmptyRect().U8(0).U8(0).U8(0).Bits(0, 6);
    const auto g = Decode(empty.Tag(2), false, flaShape::DefineShape);
    ASSERT_EQ(g->GetSubGeometryCount(), 1u);
    EXPECT_EQ(g->GetSubGeometry(0)->GetStrokeCount(), 0u);
    EXPECT_TRUE(g->GetBBox().IsEmpty());

    // Fill index 3 of a single fill: drawn with no colour.
    Body b;
    b.EmptyRect().U8(1).U8(0).Rgb(kRed).U8(0).U8(0x20);
    b.Bits(0, 1).Bits(0x02, 5).Bits(3, 2).Bits(0b11, 2).Bits(3, 4).Bits(0b00, 2).Bits(10, 5).Bits(0, 6);
    const auto h = Decode(b.Tag(2), false, flaShape::DefineShape);
    ASSERT_EQ(h->GetSubGeometry(0)->GetStrokeCount(), 1u);
    EXPECT_EQ(h->GetSubGeometry(0)->GetStrokeRecord(0).style->LeftColor(), nullptr);
    EXPECT_EQ(h->GetSubGeometry(0)->GetStrokeRecord(0).fill0Index, 0);
}

TEST(ShapeParse, FillStyleTypes) {
    struct Case {
        unsigned type;
        flaColor::ColorType expected;
        bool tiled;
    } cases[] = {{0x00, flaColor::Solid, false},          {0x10, flaColor::LinearGradient, false},
                 {0x12, flaColor::RadialGradient, false}, {0x13, flaColor::RadialGradient, false},
                 {0x40, flaColor::Bitmap, true},          {0x41, flaColor::Bitmap, true},
                 {0x42, flaColor::Bitmap, true},          {0x43, flaColor::Bitmap, true},
                 {0x11, flaColor::Bitmap, false}};
    for (const Case& c : cases) {
        Body b;
        b.EmptyRect().U8(2).U8(c.type);
        if (c.expected == flaColor::Solid) b.Rgba(kGreen);
        if (c.expected == flaColor::Bitmap) b.U16(77).Identity();
        if (c.expected == flaColor::LinearGradient || c.expected == flaColor::RadialGradient) {
            b.Identity().U8(2).U8(0).Rgba(kRed).U8(255).Rgba(kBlue);
            if (c.type == 0x13) b.U16(0x0180);  // focal point, dropped
        }
        b.U8(0x00).Rgba(kBlue);  // a second fill proves the first was read whole
        b.U8(0).U8(0x20).Bits(0, 6);
        const auto g = Decode(b.Tag(32), true, flaShape::DefineShape3);
        const flaColorList& fills = g->GetSubGeometry(0)->GetFills();
        ASSERT_EQ(fills.GetSize(), 2u) << std::hex << c.type;
        EXPECT_EQ(fills[0]->GetColorType(), c.expected) << std::hex << c.type;
        if (c.expected == flaColor::Bitmap) {
            EXPECT_EQ(fills[0]->GetFillBitsTiled(), c.tiled) << std::hex << c.type;
            EXPECT_EQ(fills[0]->GetBitmapID(), 77);
        }
        if (c.expected == flaColor::Solid) {
            EXPECT_EQ(fills[0]->GetColor(), kGreen);
        }
        EXPECT_EQ(fills[1]->GetColor(), kBlue) << std::hex << c.type;
        EXPECT_EQ(fills[1]->GetFlashKey(), flaColor::MakeFlashKey(1, 1, false));
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
    for (unsigned i = 0; i < 8; ++i) {
        EXPECT_EQ(steps.Pos(i), i * 10);
        EXPECT_EQ(steps.Colour(i), flaRGBA(static_cast<unsigned char>(i), 0, 0, 255));
    }
    EXPECT_EQ(fills[1]->GetColor(), kBlue);
}

TEST(ShapeParse, LineStyles) {
    // LINESTYLE: widths 0 and 1 twip are hairlines; 2 twips is 2 * factor.
    Body v1;
    v1.EmptyRect().U8(0).U8(0xFF).U16(3).U16(0).Rgb(kRed).U16(1).Rgb(kRed).U16(2).Rgb(kBlue).U8(0x02).Bits(0, 6);
    const auto a = Decode(v1.Tag(2), false, flaShape::DefineShape, 0.5f);
    const flaColorList& lines = a->GetSubGeometry(0)->GetLines();
    ASSERT_EQ(lines.GetSize(), 3u);
    EXPECT_TRUE(lines[0]->IsHairLine());
    EXPECT_TRUE(lines[1]->IsHairLine());
    EXPECT_FLOAT_EQ(lines[2]->GetLineWidth(), 1.0f);
    EXPECT_EQ(lines[2]->GetColor(), kBlue);
    EXPECT_EQ(lines[2]->GetFlashKey(), flaColor::MakeFlashKey(1, 2, true));

    // LINESTYLE2: a line with a fill puts the fill in the fill list and is black;
    // a miter join carries a limit factor; without a fill the colour is RGBA.
    Body v4;
    v4.EmptyRect().EmptyRect().U8(0).U8(1).U8(0x00).Rgba(kRed);  // one solid fill
    v4.U8(2);
    v4.U16(40).U8(0x08).U8(0x00).U8(0x00).Rgba(kGreen);        // width 40, fill
    v4.U16(60).U8(0x20).U8(0x01).U16(0x0300).Rgba(kBlue);      // miter, RGBA
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
    kShapes[3].build(original);
    kShapes[4].build(original);
    const Bytes tag = Written(original, 1);
    int throws = 0;
    for (std::size_t n = 8; n < tag.size(); ++n) {
        const Bytes cut(tag.begin(), tag.begin() + static_cast<long>(n));
        auto g = Import(cut, true, flaShape::DefineShape3);
        EXPECT_THROW(g->BuildBloated(), flaRead::readError) << n;
        EXPECT_FALSE(g->IsBloated());
        EXPECT_EQ(g->GetSubGeometryCount(), 0u);
        ++throws;
    }
    EXPECT_GT(throws, 50);
}

TEST(ShapeParse, DecodingIsRepeatableAndAppliesTheTransformation) {
    flaGeometry original(5);
    kShapes[0].build(original);
    const Bytes tag = Written(original, 1);
    auto g = Import(tag, true, flaShape::DefineShape3, 0.05f);
    // Never decoded: writing decodes a copy.
    EXPECT_EQ(Written(*g, 1), tag);
    EXPECT_FALSE(g->IsBloated());

    g->SetTransformation(flaMatrix(2, 0, 0, 2, 1, 0));
    g->BuildBloated();
    g->BuildBloated();  // already decoded: nothing more
    ASSERT_EQ(g->GetSubGeometryCount(), 1u);
    EXPECT_EQ(g->GetSubGeometry(0)->GetStrokeCount(), 1u);
    EXPECT_NEAR((*g->GetSubGeometry(0)->GetStrokeRecord(0).stroke)[2].x, 3.0f, 1e-5);
    EXPECT_NEAR(g->GetBBox().xMax, 3.0, 1e-5);
    EXPECT_NEAR(g->GetBBox().xMin, 0.0, 1e-5);  // the untransformed extent stays in the box

    g->DestroyBloated();
    EXPECT_EQ(g->GetSubGeometryCount(), 0u);
    g->BuildBloated();
    EXPECT_EQ(g->GetSubGeometry(0)->GetStrokeCount(), 1u);
}
