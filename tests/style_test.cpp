#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
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

std::string Written(const flaColor& c, int frameSizeX = 1) {
    flaDump d(frameSizeX, nullptr);
    c.DumpColorInFile(d);
    return ToHex(Flushed(d));
}

flaGradientSteps TwoStops() {
    flaGradientSteps g;
    g.Add(kRed, 0);
    g.Add(kBlue, 255);
    return g;
}

}  // namespace

TEST(flaColor, FillAndLineStyleRecords) {
    // The identity MATRIX is 0, 0, 00010, 00, 00: bytes 04 00.
    flaMatrix scaled;
    scaled.SetA(2.0f);
    scaled.SetD(2.0f);
    struct Case {
        flaColor colour;
        int frameSizeX;
        const char* bytes;
    } cases[] = {
        {flaColor(1, 0, 0, flaColor::Solid, kRed), 1, "00 FF 00 00 FF"},
        {flaColor(1, 0, 0, flaColor::Line, kBlue, 0.0f), 550, "01 00 00 00 FF 80"},     // hairline: 1 twip
        {flaColor(1, 0, 0, flaColor::Line, kBlue, 0.04f), 1, "00 00 00 00 FF 80"},      // trunc(0.8)
        {flaColor(1, 0, 0, flaColor::Line, kRed, 0.1f), 550, "4C 04 FF 00 00 FF"},      // 1100 twips
        {flaColor(1, 0, 0, flaColor::Line, kRed, 6.0f), 1000, "C0 D4 FF 00 00 FF"},     // 120000: low 16 bits
        {flaColor(1, 0, 0, flaColor::LinearGradient, TwoStops(), flaMatrix()), 1,
         "10 04 00 02 00 FF 00 00 FF FF 00 00 FF 80"},
        {flaColor(1, 0, 0, flaColor::RadialGradient, flaGradientSteps(), flaMatrix()), 1, "12 04 00 00"},
        {flaColor(1, 0, 0, flaColor::Bitmap, true, 0x1234, flaMatrix()), 1, "40 34 12 04 00"},
        {flaColor(1, 0, 0, flaColor::Bitmap, false, 7, flaMatrix()), 1, "41 07 00 04 00"},
    };
    for (const Case& c : cases) EXPECT_EQ(Written(c.colour, c.frameSizeX), c.bytes) << c.bytes;
}

TEST(flaColor, KeysCombineCharacterStyleIndexAndLineBit) {
    EXPECT_EQ(flaColor(0x12345, 3, 0, flaColor::Solid, kRed).GetFlashKey(), 0x2345u + (3u << 17));
    EXPECT_EQ(flaColor(7, 2, 0, flaColor::Line, kRed, 1.0f).GetFlashKey(), 7u + 0x10000u + (2u << 17));
    EXPECT_EQ(flaColor(7, 1, 0, flaColor::Bitmap, true, 3, flaMatrix()).GetFlashKey(), 7u + (1u << 17));
}

TEST(flaColorList, StyleArrayCountsAndIndexBits) {
    struct Case {
        unsigned int count;
        const char* head;  // the count bytes
        int bits;
    } cases[] = {{0, "00", 1}, {1, "01", 1}, {3, "03", 2}, {254, "FE", 8}, {255, "FF FF 00", 8}, {300, "FF 2C 01", 9}};
    for (const Case& c : cases) {
        flaColorList list;
        for (unsigned int i = 0; i < c.count; ++i) list.Add(new flaColor(1, 0, 0, flaColor::Solid, kRed));
        flaDump d(1, nullptr);
        EXPECT_EQ(list.DumpStyleArray(d), c.bits) << c.count;
        const std::string hex = ToHex(Flushed(d));
        const std::string head = c.head;
        EXPECT_EQ(hex.substr(0, head.size()), head) << c.count;
        EXPECT_EQ(d.GetBuffer().size(), (head.size() + 1) / 3 + 5u * c.count);
    }
}

TEST(flaColorList, LookupsByPointerAndByRgba) {
    flaColorList list;
    auto* red = new flaColor(1, 0, 0, flaColor::Solid, kRed);
    list.Add(red);
    const flaColor redLine(1, 0, 5, flaColor::Line, kRed, 3.0f);
    const flaColor blue(1, 0, 0, flaColor::Solid, kBlue);
    EXPECT_TRUE(list.CheckPtrInList(red));
    EXPECT_FALSE(list.CheckPtrInList(&redLine));
    EXPECT_TRUE(list.CheckColorAlreadyExist(&redLine));  // only the RGBA is compared
    EXPECT_FALSE(list.CheckColorAlreadyExist(&blue));
    EXPECT_EQ(list.IndexOf(red), 1);
    EXPECT_EQ(list.IndexOf(nullptr), 0);
}

TEST(flaGradientSteps, KeepsEightStopsInOrder) {
    flaGradientSteps g;
    EXPECT_TRUE(g.Add(kRed, 300));
    EXPECT_EQ(g.Pos(0), 44);  // 300 mod 256
    for (int i = 1; i < 8; ++i) EXPECT_TRUE(g.Add(kBlue, i));
    EXPECT_TRUE(g.Full());
    const flaGradientSteps before = g;
    EXPECT_FALSE(g.Add(kRed, 9));
    EXPECT_EQ(g, before);
    int pos = -1;
    EXPECT_EQ(g.GetTick(3, pos), kBlue);
    EXPECT_EQ(pos, 3);
    flaGradientSteps other = before;
    EXPECT_NE(other, TwoStops());
}

TEST(flaColor, CompatibilityIgnoresMatricesAndWidths) {
    flaMatrix moved;
    moved.SetTX(1.0f);
    EXPECT_TRUE(flaColor(1, 0, 0, flaColor::Line, kRed, 1.0f).IsCompatible(flaColor(2, 3, 0, flaColor::Line, kRed, 5.0f)));
    EXPECT_FALSE(flaColor(1, 0, 1, flaColor::Solid, kRed).IsCompatible(flaColor(1, 0, 2, flaColor::Solid, kRed)));
    EXPECT_FALSE(flaColor(1, 0, 0, flaColor::Solid, kRed).IsCompatible(flaColor(1, 0, 0, flaColor::Line, kRed, 0.0f)));
    EXPECT_TRUE(flaColor(1, 0, 0, flaColor::LinearGradient, TwoStops(), flaMatrix())
                    .IsCompatible(flaColor(1, 0, 0, flaColor::LinearGradient, TwoStops(), moved)));
    EXPECT_FALSE(flaColor(1, 0, 0, flaColor::LinearGradient, TwoStops(), flaMatrix())
                     .IsCompatible(flaColor(1, 0, 0, flaColor::LinearGradient, flaGradientSteps(), flaMatrix())));
    EXPECT_TRUE(flaColor(1, 0, 0, flaColor::Bitmap, true, 4, flaMatrix())
                    .IsCompatible(flaColor(1, 0, 0, flaColor::Bitmap, false, 4, moved)));
}

TEST(flaColor, LessIgnoreMatrixOrdering) {
    const flaColor::LessIgnoreMatrix less;
    const flaColor redFill(1, 0, 0, flaColor::Solid, kRed);
    const flaColor redLine(1, 0, 0, flaColor::Line, kRed, 2.0f);
    const flaColor blueFill(1, 0, 0, flaColor::Solid, kBlue);
    const flaColor host5a(1, 0, 5, flaColor::Solid, kRed), host5b(1, 0, 5, flaColor::Solid, kBlue);
    const flaColor lin(1, 0, 0, flaColor::LinearGradient, TwoStops(), flaMatrix());
    flaGradientSteps later = TwoStops();
    later.Add(kRed, 10);
    const flaColor linLonger(1, 0, 0, flaColor::LinearGradient, later, flaMatrix());
    const flaColor bmp3(1, 0, 0, flaColor::Bitmap, true, 3, flaMatrix()), bmp4(1, 0, 0, flaColor::Bitmap, false, 4, flaMatrix());

    // A red fill and a red line are equivalent without host ids.
    EXPECT_FALSE(less(redFill, redLine));
    EXPECT_FALSE(less(redLine, redFill));
    // Equal non-zero host ids are equivalent whatever the content; smaller id first.
    EXPECT_FALSE(less(host5a, host5b));
    EXPECT_FALSE(less(host5b, host5a));
    EXPECT_TRUE(less(redFill, host5a));
    // Same type: RGBA order, stop count, bitmap id; different types by type.
    EXPECT_TRUE(less(blueFill, redFill));
    EXPECT_TRUE(less(lin, linLonger));
    EXPECT_TRUE(less(bmp3, bmp4));
    EXPECT_TRUE(less(redFill, lin));
    EXPECT_TRUE(less(lin, bmp3));

    std::vector<const flaColor*> all = {&bmp4, &linLonger, &redFill, &bmp3, &blueFill, &lin};
    std::sort(all.begin(), all.end(), less);
    EXPECT_EQ(all, (std::vector<const flaColor*>{&blueFill, &redFill, &lin, &linLonger, &bmp3, &bmp4}));
}

TEST(flaColor, TransformScalesLinesAndMapsFillMatrices) {
    flaMatrix twice(2.0f, 0.0f, 0.0f, 2.0f, 0.0f, 0.0f);
    flaMatrix mirror(-1.0f, 0.0f, 0.0f, 1.0f, 0.5f, 0.0f);
    flaColor line(1, 0, 0, flaColor::Line, kRed, 1.5f);
    line.Transform(twice);
    EXPECT_FLOAT_EQ(line.GetLineWidth(), 3.0f);
    line.Transform(mirror);
    EXPECT_FLOAT_EQ(line.GetLineWidth(), 3.0f);

    flaColor bitmap(1, 0, 0, flaColor::Bitmap, true, 1, flaMatrix(1.0f, 0.0f, 0.0f, 1.0f, 0.25f, 0.0f));
    bitmap.Transform(twice);
    EXPECT_FLOAT_EQ(bitmap.GetMatrix().GetA(), 2.0f);
    EXPECT_FLOAT_EQ(bitmap.GetMatrix().GetTX(), 0.5f);  // the old matrix first, then m

    flaColor solid(1, 0, 0, flaColor::Solid, kRed);
    solid.Transform(twice);
    EXPECT_EQ(solid.GetMatrix(), flaMatrix());
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

    flaColor* grad = first->CreateGradientColour(flaColor::LinearGradient, flaMatrix(), TwoStops(), 0);
    EXPECT_EQ(first->CreateGradientColour(flaColor::LinearGradient, flaMatrix(), TwoStops(), 0), grad);
    EXPECT_NE(first->CreateGradientColour(flaColor::RadialGradient, flaMatrix(), TwoStops(), 0), grad);
    EXPECT_NE(first->CreateGradientColour(flaColor::LinearGradient, moved, TwoStops(), 0), grad);

    // Tiling is not part of the match: the first colour comes back with its own tiling.
    flaColor* tiled = first->CreateBitmapColour(true, 3, flaMatrix(), 0);
    flaColor* again = first->CreateBitmapColour(false, 3, flaMatrix(), 0);
    EXPECT_EQ(again, tiled);
    EXPECT_TRUE(again->GetFillBitsTiled());
    EXPECT_NE(first->CreateBitmapColour(true, 3, moved, 0), tiled);

    // Fills: red, red#4, grad, radial, moved grad, bitmap, moved bitmap. Lines: 2.
    EXPECT_EQ(first->GetFills().GetSize(), 7u);
    EXPECT_EQ(first->GetLines().GetSize(), 2u);
    EXPECT_EQ(tiled->GetFlashKey(), flaColor::MakeFlashKey(9, 5, false));

    // A later layer continues the style indices in its keys.
    flaSubGeometry* second = g.AddChildGeometry();
    EXPECT_EQ(second->GetFillIndexBase(), 7);
    EXPECT_EQ(second->GetLineIndexBase(), 2);
    EXPECT_EQ(second->CreateSolidColour(kRed, 0)->GetFlashKey(), flaColor::MakeFlashKey(9, 7, false));
    EXPECT_EQ(second->CreateLineColour(0.0f, kRed, 0)->GetFlashKey(), flaColor::MakeFlashKey(9, 2, true));
    EXPECT_EQ(g.AddChildGeometry()->GetFillIndexBase(), 8);
}
