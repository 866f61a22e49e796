// Records: MATRIX, CXFORMWITHALPHA, RECT and the FILTER records of every filter
// type, written and read from the same vectors; the filters' pass and colour-count
// caps, composite-source bit, the float byte order of their reader, and records cut
// by their tag.
#include <gtest/gtest.h>

#include "flio/flaColorXForm.h"
#include "flio/flaDump.h"
#include "flio/flaFilter.h"
#include "flio/flaMatrix.h"
#include "flio/flaRead.h"
#include "flio/flaRecords.h"
#include "test_util.h"

using namespace flio_test;
using namespace FLIO;

namespace {

typedef UT_SharedPtr<flaFilter> FilterPtr;
const flaRGBA kA(0x11, 0x22, 0x33, 0x44), kB(0x55, 0x66, 0x77, 0x88), kC(9, 8, 7, 6);

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

TEST(flaColorXForm, EncodesAndReadsBack) {
    const struct { const char* name; flaColorXForm cx; const char* bytes; } cases[] = {
        {"no terms: six bits", flaColorXForm(), "08"},
        {"multipliers only", flaColorXForm(256, 256, 256, 128, 0, 0, 0, 0), "69 00 40 10 02 00"},
        {"offsets only", flaColorXForm(256, 256, 256, 256, 1, -1, 0, 3), "8C F0 C0"},
        {"both groups", flaColorXForm(300, 256, 256, 256, 10, 0, 0, 0), "E9 2C 40 10 04 00 0A 00 00 00 00"},
        {"offsets alone keep multipliers off", flaColorXForm(256, 256, 256, 256, 10, 0, 0, 0), "95 40 00 00"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(RecordHex(c.cx, 1), c.bytes) << c.name;
        const Bytes bytes = Hex(c.bytes);
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

// What the reader takes in is checked by writing it again. The reader skips a drop
// shadow's colour (it reads the record four bytes early), and reads FLOAT values,
// which are written little-endian, most significant byte first.
TEST(FilterRecords, WriteAndReadFromOneTable) {
    const std::vector<flaRGBA> two = {flaRGBA(1, 2, 3, 4), flaRGBA(5, 6, 7, 8)};
    std::vector<float> colorMatrix(20, 0.0f);
    colorMatrix[0] = 1.0f;
    const struct {
        const char* name;
        FilterPtr filter;
        std::string bytes;
        std::string again;  // what the reader takes in, written again; empty when the same bytes
        int unread;         // bytes of the record the reader leaves
    } cases[] = {
        {"Blur", flaFilter::CreateFilter_Blur(1.5, 2.25, 3), "01 00800100 00400200 18", "", 0},
        {"BlurPassesCappedAt31", flaFilter::CreateFilter_Blur(0.5, 0, 40), "01 00800000 00000000 F8", "", 0},
        {"BlurPassesKeptIn8Bits", flaFilter::CreateFilter_Blur(0, 0, 0x105), "01 00000000 00000000 28", "", 0},
        {"DropShadow", flaFilter::CreateFilter_DropShadow(kA, 4, 5, 0.25, 2, 1.5f, 3, true, false, false),
         "00 11223344 00000400 00000500 00400000 00000200 8001 A3",
         "00 00000000 11223344 00000400 00000500 00400000 0000 22", 4},
        {"DropShadowPassesUncapped", flaFilter::CreateFilter_DropShadow(kB, 0, 0, 0, 0, 0, 0x44, false, true, true),
         "00 55667788 00000000 00000000 00000000 00000000 0000 64",
         "00 00000000 55667788 00000000 00000000 00000000 0000 20", 4},
        {"Glow", flaFilter::CreateFilter_Glow(flaRGBA(0xFF, 0, 0, 0x80), 2, 3, 0.5f, 40, true, true, false),
         "02 FF000080 00000200 00000300 8000 FF", "", 0},
        {"Bevel", flaFilter::CreateFilter_Bevel(kA, kB, 1, 1, 0.5, 3, 2.0f, 20, false, true, true, true),
         "03 11223344 55667788 00000100 00000100 00800000 00000300 0002 7F", "", 0},
        {"GradientGlow",
         flaFilter::CreateFilter_GradientGlow(two, {0, 255}, 1, 2, 0, 0, 1.0f, 2, false, false, true, false),
         "04 02 01020304 05060708 00FF 00000100 00000200 00000000 00000000 0001 22", "", 0},
        {"GradientBevel",
         flaFilter::CreateFilter_GradientBevel(two, {10, 20}, 0, 0, 1, 1, 0.25f, 1, true, false, false, true),
         "07 02 01020304 05060708 0A14 00000000 00000000 00000100 00000100 4000 B1", "", 0},
        {"Convolution", flaFilter::CreateFilter_Convolution(2, 1, 1.0f, 0.5f, {2.0f, -1.0f}, kC, true, false),
         "05 02 01 0000803F 0000003F 00000040 000080BF 09080706 02",
         "05 02 01 3F800000 3F000000 40000000 BF800000 09080706 02", 0},
        {"ConvolutionPreserveAlpha", flaFilter::CreateFilter_Convolution(0, 0, 0, 0, {}, {0, 0, 0, 0}, false, true),
         "05 00 00 00000000 00000000 00000000 01", "", 0},
        {"ColorMatrix", flaFilter::CreateFilter_ColorMatrix(colorMatrix), "06 0000803F" + std::string(19 * 8, '0'),
         "06 3F800000" + std::string(19 * 8, '0'), 0},
    };
    for (const auto& v : cases) {
        SCOPED_TRACE(v.name);
        const Bytes expected = Hex(v.bytes);
        ASSERT_EQ(RecordHex(*v.filter, 550), ToHex(expected));
        flaRead reader(static_cast<int>(expected.size()), expected.data());
        FilterPtr read = flaFilter::CreateFilter(static_cast<flaFilter::FilterType>(reader.GetByte()));
        ASSERT_TRUE(read);
        read->ReadFromFile(reader);
        EXPECT_EQ(RecordHex(*read, 550), ToHex(Hex(v.again.empty() ? v.bytes : v.again)));
        EXPECT_EQ(reader.bytesLeft(), v.unread);
        // One byte short of what the reader takes, at the end of a tag (a long-form
        // PlaceObject3) that more bytes follow: the read throws.
        const std::size_t n = expected.size() - 2 - static_cast<std::size_t>(v.unread);
        Bytes tag = Hex("BF 11");
        for (int i = 0; i < 4; ++i) tag.push_back(static_cast<unsigned char>(n >> (8 * i)));
        tag.insert(tag.end(), expected.begin() + 1, expected.begin() + 1 + static_cast<long>(n));
        tag.resize(tag.size() + 64, 0);
        flaRead cut(static_cast<int>(tag.size()), tag.data());
        ASSERT_EQ(cut.GetTag(), 70u);
        EXPECT_THROW(flaFilter::CreateFilter(static_cast<flaFilter::FilterType>(expected[0]))->ReadFromFile(cut),
                     flaRead::readError);
    }
    EXPECT_FALSE(flaFilter::CreateFilter(static_cast<flaFilter::FilterType>(8)));  // no such type
    // A gradient of 300 colours announces 255, the most its count byte holds.
    const std::vector<flaRGBA> many(300, kA);
    const std::vector<unsigned char> ratios(300, 0);
    const FilterPtr big = flaFilter::CreateFilter_GradientBevel(many, ratios, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(RecordHex(*big, 550).substr(0, 5), "07 FF");
}
