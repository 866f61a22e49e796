// Fill and line styles: their records, the style arrays, and how a shape's layer
// shares, orders and transforms its colours.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "flio/flaStyle.h"
#include "test_util.h"

using flio_test::Flushed;
using flio_test::ToHex;
using FLIO::flaRGBA;

namespace {

const flaRGBA kRed(255, 0, 0, 255);
const flaRGBA kBlue(0, 0, 255, 128);

flaGradientSteps TwoStops() {
    flaGradientSteps g;
    g.Add(kRed, 0);
    g.Add(kBlue, 255);
    return g;
}

}  // namespace

TEST(flaColor, FillAndLineStyleRecords) {
    // Line widths are model units times 20 twips times the frame width.
    const struct { flaColor colour; int frameSizeX; const char* bytes; } cases[] = {
        {flaColor(1, 0, 0, flaColor::Solid, kRed), 1, "00 FF 00 00 FF"},
        {flaColor(1, 0, 0, flaColor::Line, kBlue, 0.0f), 550, "01 00 00 00 FF 80"},  // hairline: 1 twip
        {flaColor(1, 0, 0, flaColor::Line, kBlue, 0.04f), 1, "00 00 00 00 FF 80"},   // trunc(0.8)
        {flaColor(1, 0, 0, flaColor::Line, kRed, 0.1f), 550, "4C 04 FF 00 00 FF"},   // 1100 twips
        {flaColor(1, 0, 0, flaColor::Line, kRed, 6.0f), 1000, "C0 D4 FF 00 00 FF"},  // 120000: low 16 bits
        {flaColor(1, 0, 0, flaColor::LinearGradient, TwoStops(), flaMatrix()), 1,
         "10 04 00 02 00 FF 00 00 FF FF 00 00 FF 80"},  // identity MATRIX: 04 00
        {flaColor(1, 0, 0, flaColor::RadialGradient, flaGradientSteps(), flaMatrix()), 1, "12 04 00 00"},
        {flaColor(1, 0, 0, flaColor::Bitmap, true, 0x1234, flaMatrix()), 1, "40 34 12 04 00"},
        {flaColor(1, 0, 0, flaColor::Bitmap, false, 7, flaMatrix()), 1, "41 07 00 04 00"},
    };
    for (const auto& c : cases) {
        flaDump d(c.frameSizeX, nullptr);
        c.colour.DumpColorInFile(d);
        EXPECT_EQ(ToHex(Flushed(d)), c.bytes);
    }
}

TEST(flaColorList, StyleArrayCountsAndIndexBits) {
    // Colour count, the count bytes, the index bits.
    const struct { unsigned int count; const char* head; int bits; } cases[] = {{0, "00", 1}, {3, "03", 2}, {254, "FE", 8}, {255, "FF FF 00", 8}, {300, "FF 2C 01", 9}};
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

TEST(flaGradientSteps, KeepsEightStops) {
    flaGradientSteps g;
    EXPECT_TRUE(g.Add(kRed, 300));
    EXPECT_EQ(g.Pos(0), 44);  // 300 mod 256
    for (int i = 1; i < 8; ++i) g.Add(kBlue, i);
    const flaGradientSteps before = g;
    EXPECT_FALSE(g.Add(kRed, 9));
    EXPECT_EQ(g, before);
}

TEST(flaColor, CompatibilityAndOrderIgnoreMatricesAndWidths) {
    flaMatrix moved;
    moved.SetTX(1.0f);
    EXPECT_TRUE(flaColor(1, 0, 0, flaColor::Line, kRed, 1.0f).IsCompatible(flaColor(2, 3, 0, flaColor::Line, kRed, 5.0f)));
    EXPECT_FALSE(flaColor(1, 0, 1, flaColor::Solid, kRed).IsCompatible(flaColor(1, 0, 2, flaColor::Solid, kRed)));
    EXPECT_TRUE(flaColor(1, 0, 0, flaColor::Bitmap, true, 4, flaMatrix())
                    .IsCompatible(flaColor(1, 0, 0, flaColor::Bitmap, false, 4, moved)));

    // Host id first (equal non-zero ids are equivalent whatever the content), then the
    // type, then RGBA, stop count, bitmap id; a fill and a line of one RGBA are equivalent.
    const flaColor::LessIgnoreMatrix less;
    const flaColor redFill(1, 0, 0, flaColor::Solid, kRed), blueFill(1, 0, 0, flaColor::Solid, kBlue);
    const flaColor host5(1, 0, 5, flaColor::Solid, kRed), host5blue(1, 0, 5, flaColor::Solid, kBlue);
    EXPECT_FALSE(less(redFill, flaColor(1, 0, 0, flaColor::Line, kRed, 2.0f)));
    EXPECT_FALSE(less(host5blue, host5));
    flaGradientSteps three = TwoStops();
    three.Add(kRed, 10);
    const flaColor lin(1, 0, 0, flaColor::LinearGradient, TwoStops(), flaMatrix());
    const flaColor linLonger(1, 0, 0, flaColor::LinearGradient, three, flaMatrix());
    const flaColor bmp3(1, 0, 0, flaColor::Bitmap, true, 3, moved), bmp4(1, 0, 0, flaColor::Bitmap, false, 4, flaMatrix());
    std::vector<const flaColor*> all = {&host5, &bmp4, &linLonger, &redFill, &bmp3, &blueFill, &lin};
    std::sort(all.begin(), all.end(), less);
    EXPECT_EQ(all, (std::vector<const flaColor*>{&blueFill, &redFill, &lin, &linLonger, &bmp3, &bmp4, &host5}));
}

TEST(flaColor, TransformScalesLinesAndAppliesTheMatrixAfterTheFillsOwn) {
    const flaMatrix twice(2.0f, 0.0f, 0.0f, 2.0f, 0.0f, 0.0f);
    flaColor line(1, 0, 0, flaColor::Line, kRed, 1.5f);
    line.Transform(twice);
    line.Transform(flaMatrix(-1.0f, 0.0f, 0.0f, 1.0f, 0.5f, 0.0f));  // a mirror keeps the width
    EXPECT_FLOAT_EQ(line.GetLineWidth(), 3.0f);
    flaColor bitmap(1, 0, 0, flaColor::Bitmap, true, 1, flaMatrix(1.0f, 0.0f, 0.0f, 1.0f, 0.25f, 0.0f));
    bitmap.Transform(twice);
    EXPECT_EQ(bitmap.GetMatrix(), flaMatrix(2.0f, 0.0f, 0.0f, 2.0f, 0.5f, 0.0f));
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
    EXPECT_NE(first->CreateGradientColour(flaColor::LinearGradient, moved, TwoStops(), 0),
              first->CreateGradientColour(flaColor::LinearGradient, flaMatrix(), TwoStops(), 0));
    // Tiling is not part of the match: the first colour comes back with its own tiling.
    flaColor* tiled = first->CreateBitmapColour(true, 3, flaMatrix(), 0);
    EXPECT_EQ(first->CreateBitmapColour(false, 3, flaMatrix(), 0), tiled);
    EXPECT_TRUE(tiled->GetFillBitsTiled());
    EXPECT_NE(first->CreateBitmapColour(true, 3, moved, 0), tiled);
    EXPECT_EQ(first->GetFills().GetSize(), 6u);
    EXPECT_EQ(first->GetLines().GetSize(), 2u);

    // Keys hold the character id, the line bit and the style index, which a
    // later layer continues.
    EXPECT_EQ(tiled->GetFlashKey(), 9u + (4u << 17));
    EXPECT_EQ(thin->GetFlashKey(), 9u + 0x10000u);
    flaSubGeometry* second = g.AddChildGeometry();
    EXPECT_EQ(second->CreateSolidColour(kRed, 0)->GetFlashKey(), 9u + (6u << 17));
    EXPECT_EQ(second->CreateLineColour(0.0f, kRed, 0)->GetFlashKey(), 9u + 0x10000u + (2u << 17));
    EXPECT_EQ(g.AddChildGeometry()->GetFillIndexBase(), 7);
}
