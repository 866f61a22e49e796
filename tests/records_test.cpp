// Core records: MATRIX, CXFORMWITHALPHA and RECT encodings, written and read from
// the same vectors.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

#include "flio/flaColorXForm.h"
#include "flio/flaDump.h"
#include "flio/flaMatrix.h"
#include "flio/flaRead.h"
#include "flio/flaRecords.h"
#include "tag_test_util.h"

using namespace flio_test;

namespace {

template <class Record>
std::string RecordHex(const Record& r, int frameSizeX) {
    return Written([&](flaDump& d) { r.DumpInFile(d); }, frameSizeX);
}

}  // namespace

// Frame width 1 pixel, so a translation of 1.0 model unit is 20 twips.
TEST(flaMatrix, EncodesAndReadsBack) {
    const struct { const char* name; flaMatrix m; const char* bytes; bool exact; } cases[] = {
        {"identity: 11 bits", flaMatrix(), "04 00", true},
        {"nearly identity is identity", flaMatrix(1.0f, 0, 0, 1.0000001f, 0, 0), "04 00", false},
        {"scale 0.99999 truncates to 65535", flaMatrix(0.99999f, 0, 0, 1.0f, 0, 0), "C8 FF FF 40 00 02 00", false},
        {"mirror: -65536 in 18 bits", flaMatrix(-1.0f, 0, 0, 1.0f, 0, 0), "CB 00 00 40 00 02 00", true},
        {"tiny rotation is no rotation", flaMatrix(1, 0.00001f, 0, 1, 0, 0), "04 00", false},
        {"rotation terms", flaMatrix(1, 0.5f, -0.5f, 1, 0, 0), "62 80 00 C0 00 08 00", true},
        {"translation truncates toward zero", flaMatrix(1, 0, 0, 1, 0.645f, -0.645f), "0A CA 00", false},
        {"translation", flaMatrix(1, 0, 0, 1, 1.0f, -2.0f), "0E 52 C0", true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(RecordHex(c.m, 1), c.bytes) << c.name;
        const Bytes bytes = Hex(c.bytes);
        flaRead r(static_cast<int>(bytes.size()), bytes.data());
        r.SetScreenSizeX(1.0f);
        flaMatrix back;
        back.ReadFromFile(r);
        EXPECT_EQ(r.GetPosition(), bytes.size()) << c.name;
        if (c.exact) {
            EXPECT_EQ(back, c.m) << c.name;
        }
    }
    // Equality is bitwise; products apply the first matrix, then the second.
    EXPECT_NE(flaMatrix(), flaMatrix(1, 0, 0, 1, -0.0f, 0));
    flaMatrix both;
    both.Multiply(flaMatrix(2, 0, 0, 2, 0, 0), flaMatrix(1, 0, 0, 1, 3, 4));
    EXPECT_EQ(both, flaMatrix(2, 0, 0, 2, 3, 4));
}

// Reading keeps the format's conversion, twips times the float import factor; a
// translation read and written again is never more than one twip nearer zero.
TEST(flaMatrix, TranslationsReadAsTwipsTimesTheFactor) {
    for (int width : {1, 3, 400, 550, 1024, 12345}) {
        for (std::int32_t t = -40000; t <= 40000; t += 37) {
            flaDump raw(width, nullptr);
            const int nbits = flaDump::GetBitNumber(std::abs(t)) + 1;
            raw.Bits(static_cast<std::uint32_t>(nbits), 7);  // no scale, no rotation, Nbits
            raw.Bits(static_cast<std::uint32_t>(t), nbits);
            raw.Bits(0, nbits);
            const Bytes bytes = Flushed(raw);
            flaRead r(static_cast<int>(bytes.size()), bytes.data());
            r.SetScreenSizeX(static_cast<float>(width));
            flaMatrix m;
            m.ReadFromFile(r);
            ASSERT_EQ(m.GetTX(), static_cast<float>(t) * r.GetScaling()) << width << " " << t;
            const Bytes again = Hex(RecordHex(m, width));
            flaRead back(static_cast<int>(again.size()), again.data());
            MATRIX written;
            back.GetMatrix(&written);
            ASSERT_LE(std::abs(written.translateX), std::abs(t)) << width << " " << t;
            ASSERT_GE(std::abs(written.translateX), std::abs(t) - 1) << width << " " << t;
        }
    }
}

TEST(flaColorXForm, EncodesAndReadsBack) {
    const struct { const char* name; flaColorXForm cx; const char* bytes; int bits; } cases[] = {
        {"no terms: six bits", flaColorXForm(), "08", 6},
        {"multipliers only", flaColorXForm(256, 256, 256, 128, 0, 0, 0, 0), "69 00 40 10 02 00", 46},
        {"offsets only", flaColorXForm(256, 256, 256, 256, 1, -1, 0, 3), "8C F0 C0", 18},
        {"both groups", flaColorXForm(300, 256, 256, 256, 10, 0, 0, 0), "E9 2C 40 10 04 00 0A 00 00 00 00", 86},
        {"offsets alone keep multipliers off", flaColorXForm(256, 256, 256, 256, 10, 0, 0, 0), "95 40 00 00", 26},
    };
    for (const auto& c : cases) {
        CountingCallback counter;
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
    // Groups that are off take no part in equality.
    flaColorXForm a(300, 256, 256, 256, 0, 0, 0, 0), b(400, 256, 256, 256, 0, 0, 0, 0);
    EXPECT_NE(a, b);
    a.Reset();
    b.Reset();
    EXPECT_EQ(a, b);
}

TEST(flaBoundingBox, ShapeRectEncoding) {
    const struct { const char* name; double xMin, xMax, yMin, yMax; float line; int s[4]; int bits; } cases[] = {
        {"all zero: Nbits 2", 0, 0, 0, 0, 0, {0, 0, 0, 0}, 13},
        {"rounds half away from zero", 0.03, 0.0375, -0.03, -0.0375, 0, {1, 1, -1, -1}, 13},
        {"a zero bound widened by a line still rounds up", 0, 1, 0, 1, 0.1f, {0, 21, 0, 21}, 29},
        {"negative bounds round down", -0.01, 1, -0.5, 1, 0.1f, {-1, 21, -11, 21}, 29},
    };
    for (const auto& c : cases) {
        flaBoundingBox box;
        box.xMin = c.xMin, box.xMax = c.xMax, box.yMin = c.yMin, box.yMax = c.yMax;
        CountingCallback counter;
        flaDump d(1, &counter);
        box.DumpInFile(d, c.line);
        EXPECT_EQ(counter.Total(), c.bits) << c.name;
        const Bytes bytes = Flushed(d);
        flaRead r(static_cast<int>(bytes.size()), bytes.data());
        SRECT s;
        r.GetRect(&s);
        EXPECT_EQ((std::vector<int>{s.xmin, s.xmax, s.ymin, s.ymax}), std::vector<int>(c.s, c.s + 4)) << c.name;
    }
}
