// Core records: MATRIX, CXFORMWITHALPHA and RECT encodings (written and read from
// the same vectors), colour ordering, point geometry, matrix and transform algebra.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "flio/flaColorXForm.h"
#include "flio/flaDump.h"
#include "flio/flaMatrix.h"
#include "flio/flaRead.h"
#include "flio/flaRecords.h"
#include "test_util.h"

using flio_test::Bytes;
using flio_test::Flushed;
using flio_test::Hex;
using flio_test::ToHex;

namespace {

Bytes Written(void (*write)(flaDump&, const void*), const void* value, int frameSizeX = 1) {
    flaDump d(frameSizeX, nullptr);
    write(d, value);
    return Flushed(d);
}

struct MatrixCase {
    const char* name;
    flaMatrix m;
    const char* bytes;
    bool readsBackExactly;
};

// Frame width 1 pixel, so a translation of 1.0 model unit is 20 twips.
const MatrixCase kMatrices[] = {
    {"identity: 11 bits", flaMatrix(), "04 00", true},
    {"nearly identity still counts as identity", flaMatrix(1.0f, 0, 0, 1.0000001f, 0, 0), "04 00", false},
    {"scale 0.99999 truncates to 65535", flaMatrix(0.99999f, 0, 0, 1.0f, 0, 0), "C8 FF FF 40 00 02 00", false},
    {"mirror: -65536 in 18 bits", flaMatrix(-1.0f, 0, 0, 1.0f, 0, 0), "CB 00 00 40 00 02 00", true},
    {"tiny rotation is no rotation", flaMatrix(1, 0.00001f, 0, 1, 0, 0), "04 00", false},
    {"rotation terms", flaMatrix(1, 0.5f, -0.5f, 1, 0, 0), "62 80 00 C0 00 08 00", true},
    {"translation truncates toward zero", flaMatrix(1, 0, 0, 1, 0.645f, -0.645f), "0A CA 00", false},
    {"translation", flaMatrix(1, 0, 0, 1, 1.0f, -2.0f), "0E 52 C0", true},
};

void WriteMatrix(flaDump& d, const void* m) { static_cast<const flaMatrix*>(m)->DumpInFile(d); }

}  // namespace

TEST(flaMatrix, EncodesAndReadsBack) {
    for (const MatrixCase& c : kMatrices) {
        const Bytes bytes = Written(WriteMatrix, &c.m);
        EXPECT_EQ(ToHex(bytes), ToHex(Hex(c.bytes))) << c.name;
        flaRead r(static_cast<int>(bytes.size()), bytes.data());
        r.SetScreenSizeX(1.0f);
        flaMatrix back;
        back.ReadFromFile(r);
        EXPECT_EQ(r.GetPosition(), bytes.size()) << c.name;
        if (c.readsBackExactly) {
            EXPECT_EQ(back, c.m) << c.name;
        }
    }
}

TEST(flaMatrix, TranslationUsesTheFrameWidth) {
    const flaMatrix m(1, 0, 0, 1, 0.5f, 0.25f);  // 550 px wide: 5500 and 2750 twips
    const Bytes bytes = Written(WriteMatrix, &m, 550);
    flaRead r(static_cast<int>(bytes.size()), bytes.data());
    MATRIX raw;
    r.GetMatrix(&raw);
    EXPECT_EQ(raw.translateX, 5500);
    EXPECT_EQ(raw.translateY, 2750);
}

// A translation read from a file is written back as the same twips: the import
// factor 1 / (width x 20) is a float, and without care the product of the twips and
// that factor lands just short of the quotient, so that the writer's truncation
// gives one twip less on every import and write.
// Reading keeps the format's conversion, twips times the float import factor; a
// value read and written again is never more than one twip nearer zero.
TEST(flaMatrix, TranslationsReadAsTwipsTimesTheFactor) {
    const int widths[] = {1, 3, 100, 400, 550, 640, 1024, 12345};
    for (int width : widths) {
        for (std::int32_t t = -40000; t <= 40000; t += 37) {
            flaDump raw(width, nullptr);
            raw.Bit(false);
            raw.Bit(false);
            const int nbits = flaDump::GetBitNumber(std::abs(t)) + 1;
            raw.Bits(static_cast<std::uint32_t>(nbits), 5);
            raw.Bits(static_cast<std::uint32_t>(t), nbits);
            raw.Bits(0, nbits);
            raw.PadLastByte();
            const Bytes bytes = Flushed(raw);

            flaRead r(static_cast<int>(bytes.size()), bytes.data());
            r.SetScreenSizeX(static_cast<float>(width));
            flaMatrix m;
            m.ReadFromFile(r);
            ASSERT_EQ(m.GetTX(), static_cast<float>(t) * r.GetScaling()) << width << " " << t;

            const Bytes again = Written(WriteMatrix, &m, width);
            flaRead back(static_cast<int>(again.size()), again.data());
            MATRIX written;
            back.GetMatrix(&written);
            ASSERT_LE(std::abs(written.translateX), std::abs(t)) << width << " " << t;
            ASSERT_GE(std::abs(written.translateX), std::abs(t) - 1) << width << " " << t;
        }
    }
}

TEST(flaMatrix, AlgebraAndBitwiseEquality) {
    flaMatrix scale(2, 0, 0, 2, 0, 0), move(1, 0, 0, 1, 3, 4), both;
    both.Multiply(scale, move);  // scale first, then move
    const flaPoint p = both.Transform(flaPoint(1, 1));
    EXPECT_FLOAT_EQ(p.x, 5);
    EXPECT_FLOAT_EQ(p.y, 6);
    flaMatrix zero(1, 0, 0, 1, 0, 0), negZero(1, 0, 0, 1, -0.0f, 0);
    EXPECT_NE(zero, negZero);
    EXPECT_EQ(zero, flaMatrix());
}

namespace {

struct CxCase {
    const char* name;
    flaColorXForm cx;
    const char* bytes;
    int bits;
};

const CxCase kCxforms[] = {
    {"no terms: six bits", flaColorXForm(), "08", 6},
    {"multipliers only", flaColorXForm(256, 256, 256, 128, 0, 0, 0, 0), "69 00 40 10 02 00", 46},
    {"offsets only", flaColorXForm(256, 256, 256, 256, 1, -1, 0, 3), "8C F0 C0", 18},
    {"both groups", flaColorXForm(300, 256, 256, 256, 10, 0, 0, 0), "E9 2C 40 10 04 00 0A 00 00 00 00", 86},
    {"offsets alone keep multipliers off", flaColorXForm(256, 256, 256, 256, 10, 0, 0, 0), "95 40 00 00", 26},
};

void WriteCx(flaDump& d, const void* cx) { static_cast<const flaColorXForm*>(cx)->DumpInFile(d); }

}  // namespace

TEST(flaColorXForm, EncodesAndReadsBack) {
    for (const CxCase& c : kCxforms) {
        flio_test::CountingCallback counter;
        flaDump d(1, &counter);
        c.cx.DumpInFile(d);
        EXPECT_EQ(counter.Total(), c.bits) << c.name;
        const Bytes bytes = Flushed(d);
        EXPECT_EQ(ToHex(bytes), ToHex(Hex(c.bytes))) << c.name;
        flaRead r(static_cast<int>(bytes.size()), bytes.data());
        flaColorXForm back;
        back.ReadFromFile(r, true);
        EXPECT_EQ(back, c.cx) << c.name;
    }
    EXPECT_EQ(ToHex(Written(WriteCx, &kCxforms[0].cx)), "08");
}

TEST(flaColorXForm, EqualityIgnoresGroupsThatAreOff) {
    flaColorXForm a(300, 256, 256, 256, 0, 0, 0, 0), b(400, 256, 256, 256, 0, 0, 0, 0);
    EXPECT_NE(a, b);
    a.Reset();
    b.Reset();
    EXPECT_EQ(a, b);
}

TEST(flaColorXForm, ComposeWrapsWithoutRescaling) {
    flaColorXForm base;
    base.Compose(flaColorXForm(256, 256, 256, 256, 5, 6, 7, 8));  // offsets only: copied
    EXPECT_TRUE(base.GetIsAdd());
    EXPECT_FALSE(base.GetIsMult());
    EXPECT_EQ(base.GetaG(), 6);
    EXPECT_EQ(base.GetmR(), 1);

    flaColorXForm m(256, 256, 256, 256, 1, 1, 1, 1);
    m.Compose(flaColorXForm(512, 256, 256, 256, 0, 0, 0, 0));  // m had no multiply: copied
    EXPECT_EQ(m.GetmR(), 512);
    m.Compose(flaColorXForm(256, 256, 256, 256, 10, 0, 0, 0));
    EXPECT_EQ(m.GetaR(), 1 + 10 * 512 % 65536);
    m.Compose(flaColorXForm(256, 512, 256, 256, 0, 0, 0, 0));
    EXPECT_EQ(m.GetmR(), static_cast<short>(512 * 256));  // wraps to 0
    EXPECT_EQ(m.GetmG(), static_cast<short>(256 * 512));
}

TEST(flaBoundingBox, ShapeRectEncoding) {
    const struct {
        const char* name;
        double xMin, xMax, yMin, yMax;
        float lineWidth;
        int sx[4];
    } cases[] = {
        {"all zero: Nbits 2", 0, 0, 0, 0, 0, {0, 0, 0, 0}},
        {"rounds half away from zero", 0.03, 0.0375, -0.03, -0.0375, 0, {1, 1, -1, -1}},
        {"a zero bound widened by a line still rounds up", 0, 1, 0, 1, 0.1f, {0, 21, 0, 21}},
        {"negative bounds round down", -0.01, 1, -0.5, 1, 0.1f, {-1, 21, -11, 21}},
    };
    for (const auto& c : cases) {
        flaBoundingBox box;
        box.xMin = c.xMin;
        box.xMax = c.xMax;
        box.yMin = c.yMin;
        box.yMax = c.yMax;
        flaDump d(1, nullptr);
        box.DumpInFile(d, c.lineWidth);
        const Bytes bytes = Flushed(d);
        flaRead r(static_cast<int>(bytes.size()), bytes.data());
        SRECT s;
        r.GetRect(&s);
        EXPECT_EQ(s.xmin, c.sx[0]) << c.name;
        EXPECT_EQ(s.xmax, c.sx[1]) << c.name;
        EXPECT_EQ(s.ymin, c.sx[2]) << c.name;
        EXPECT_EQ(s.ymax, c.sx[3]) << c.name;
    }
    flaBoundingBox zero;
    zero.xMin = zero.xMax = zero.yMin = zero.yMax = 0;
    flio_test::CountingCallback counter;
    flaDump d(1, &counter);
    zero.DumpInFile(d, 0);
    EXPECT_EQ(counter.Total(), 13);
}

TEST(flaRGBA, OrderIsUnsignedAndLexicographic) {
    using FLIO::flaRGBA;
    EXPECT_LT(flaRGBA(100, 255, 255, 255), flaRGBA(200, 0, 0, 0));
    EXPECT_LT(flaRGBA(1, 2, 3, 4), flaRGBA(1, 2, 3, 5));
    EXPECT_NE(flaRGBA(1, 2, 3, 4), flaRGBA(1, 2, 3, 5));
    EXPECT_FALSE(flaRGBA(1, 2, 3, 4) < flaRGBA(1, 2, 3, 4));
}

TEST(flaPoint, Geometry) {
    flaPoint a(0, 0), b(1, 0), straight(2, 0), back(0, 0), up(1, 1);
    EXPECT_DOUBLE_EQ(b.GetDist(nullptr), 0.0);
    EXPECT_DOUBLE_EQ(a.GetDist(&up), std::sqrt(2.0));
    EXPECT_NEAR(straight.GetAngle(&a, &b), 0.0, 1e-9);
    EXPECT_NEAR(back.GetAngle(&a, &b), -3.141592654, 1e-9);
    EXPECT_NEAR(up.GetAngle(&a, &b), 3.141592654 / 2 - 3.141592654, 1e-6);
    EXPECT_DOUBLE_EQ(up.GetAngle(&b, &b), 1.0);
    flaPoint v1(2, 0), v2(2, 5), p(5, 100);
    EXPECT_DOUBLE_EQ(p.PointToLineDist(&v1, &v2), 3.0);
    flaPoint d1(0, 0), d2(1, 1), q(0, 2);
    EXPECT_NEAR(q.PointToLineDist(&d1, &d2), std::sqrt(2.0), 1e-6);
}

TEST(flaBoundingBox, GrowsFromEmpty) {
    flaBoundingBox box;
    EXPECT_TRUE(box.IsEmpty());
    box.UpdateBBox(flaPoint(2, -3));
    EXPECT_FALSE(box.IsEmpty());
    EXPECT_EQ(box.xMin, 2);
    EXPECT_EQ(box.xMax, 2);
    EXPECT_EQ(box.yMin, -3);
    EXPECT_EQ(box.yMax, -3);
}
