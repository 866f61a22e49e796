// FILTER records read faithfully and written with every field as it stands: one
// table of records per filter type (bytes in, fields, the same bytes out), values
// that come from no file, and what the classic reader makes of the same bytes.
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaFilter.h"
#include "flio/flaRead.h"
#include "test_util.h"

using namespace FLIO;
using flio_test::Bytes;
using flio_test::Hex;
using flio_test::ToHex;

namespace {

typedef UT_SharedPtr<flaFilter> FilterPtr;

const double kStep = 1.0 / 65536;  // one step of a FIXED value

Bytes WrittenAsItStands(const flaFilter& f) {
    flaDump dump(550, nullptr);
    flaDump::WriteOptions options;
    options.fullStyles = true;
    dump.SetWriteOptions(options);
    f.DumpInFile(dump);
    return flio_test::Flushed(dump);
}

// The filter of the record at the reader's position, type byte first.
FilterPtr ReadRecord(flaRead& reader, bool faithful) {
    reader.SetFaithful(faithful);
    FilterPtr f = flaFilter::CreateFilter(static_cast<flaFilter::FilterType>(reader.GetByte()));
    if (f) f->ReadFromFile(reader);
    return f;
}

}  // namespace

TEST(FilterFaithful, RecordsReadToTheirFieldsAndWriteBackToTheirBytes) {
    const flaRGBA red(255, 0, 0, 255);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<float> colorMatrix(20, 0.0f);
    colorMatrix[0] = 1.25f;
    colorMatrix[4] = -123.5f;
    const struct {
        const char* name;
        FilterPtr fields;
        std::string bytes;
        bool fromFile;  // the bytes also read back to the fields
    } cases[] = {
        {"Blur", flaFilter::CreateFilter_Blur(-kStep, -32768.0, 31), "01 FFFFFFFF 00000080 F8", true},
        // The colour first; negative angle, distance and strength; knockout without
        // composite source, 31 passes.
        {"DropShadow", flaFilter::CreateFilter_DropShadow(flaRGBA(0x33, 0, 0xFF, 0x80), 0.5, 5, -102943 * kStep, -21,
                                                          -0.5f, 31, false, true, false),
         "00 3300FF80 00800000 00000500 E16DFEFF 0000EBFF 80FF 5F", true},
        {"Glow", flaFilter::CreateFilter_Glow(flaRGBA(0x33, 0x33, 0xCC, 0x3F), 0x5555 * kStep, 0xFFFFFF * kStep,
                                              1.0f / 256, 31, true, true, false),
         "02 3333CC3F 55550000 FFFFFF00 0100 DF", true},
        {"Bevel", flaFilter::CreateFilter_Bevel(red, flaRGBA(0, 0x33, 0xCC, 255), 10, 10, -205887 * kStep, -10, -128.0f,
                                                15, false, false, true, true),
         "03 FF0000FF 0033CCFF 00000A00 00000A00 C1DBFCFF 0000F6FF 0080 3F", true},
        // As PlaceObject3-theworks.swf of the corpus has it.
        {"GradientGlow",
         flaFilter::CreateFilter_GradientGlow({flaRGBA(255, 255, 255, 0), flaRGBA(0, 0, 0, 255)}, {0, 255}, 30, 30,
                                              11438 * kStep, 5, 51.0f / 256, 1, false, false, true, true),
         "04 02 FFFFFF00 000000FF 00FF 00001E00 00001E00 AE2C0000 00000500 3300 31", true},
        {"GradientBevel", flaFilter::CreateFilter_GradientBevel({red, flaRGBA(0, 255, 0, 0), flaRGBA(0, 0, 255, 0)},
                                                                {0, 128, 255}, 5, 5, -51471 * kStep, -5, 1.0f, 3, true,
                                                                true, true, false),
         "07 03 FF0000FF 00FF0000 0000FF00 0080FF 00000500 00000500 F136FFFF 0000FBFF 0001 E3", true},
        // FLOAT is little-endian: 9, -0.5, then 1, -1, 0.25, -0.125.
        {"Convolution", flaFilter::CreateFilter_Convolution(2, 2, 9.0f, -0.5f, {1, -1, 0.25f, -0.125f},
                                                            flaRGBA(0x11, 0x22, 0x33, 0x44), true, true),
         "05 02 02 00001041 000000BF 0000803F 000080BF 0000803E 000000BE 11223344 03", true},
        {"ColorMatrix", flaFilter::CreateFilter_ColorMatrix(colorMatrix),
         "06 0000A03F 00000000 00000000 00000000 0000F7C2" + std::string(15 * 8, '0'), true},
        // Values from no file: rounded to the nearest step (1/3, -2.5 steps), held to
        // the field's range (1e6, -1e6, strength 200 and -200), NaN as 0; pass
        // counts keep their field's bits (0x45 -> 5, 40 -> 8, 31 -> 15 without
        // setting the bevel's on-top bit).
        {"ShadowRoundedAndSaturated", flaFilter::CreateFilter_DropShadow(red, 1.0 / 3, -2.5 * kStep, 1e6, -1e6, 200.0f,
                                                                         0x45, false, false, false),
         "00 FF0000FF 55550000 FDFFFFFF FFFFFF7F 00000080 FF7F 05", false},
        {"BlurNaN", flaFilter::CreateFilter_Blur(nan, 0.75, 40), "01 00000000 00C00000 40", false},
        {"BevelPasses", flaFilter::CreateFilter_Bevel(red, red, 1, 1, 0, 0, -200.0f, 31, false, false, false, false),
         "03 FF0000FF FF0000FF 00000100 00000100 00000000 00000000 0080 0F", false},
        // As many stops and values as the record's counts say: a stop is a colour
        // and its ratio; a matrix holds matrixX * matrixY values, or 20.
        {"GradientColoursBeyondTheRatios",
         flaFilter::CreateFilter_GradientGlow({red, red}, {7}, 0, 0, 0, 0, 0, 0, false, false, true, false),
         "04 01 FF0000FF 07 00000000 00000000 00000000 00000000 0000 20", false},
        {"GradientRatiosBeyondTheColours",
         flaFilter::CreateFilter_GradientBevel({red}, {7, 9}, 0, 0, 0, 0, 0, 0, false, false, true, false),
         "07 01 FF0000FF 07 00000000 00000000 00000000 00000000 0000 20", false},
        {"ConvolutionFilled", flaFilter::CreateFilter_Convolution(1, 2, 1, 0, {1}, red, false, true),
         "05 01 02 0000803F 00000000 0000803F 00000000 FF0000FF 01", false},
        {"ColorMatrixFilled", flaFilter::CreateFilter_ColorMatrix({1}), "06 0000803F" + std::string(19 * 8, '0'),
         false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Bytes record = Hex(c.bytes);
        EXPECT_EQ(ToHex(WrittenAsItStands(*c.fields)), ToHex(record));
        if (!c.fromFile) continue;
        flaRead reader(static_cast<int>(record.size()), record.data());
        const FilterPtr read = ReadRecord(reader, true);
        EXPECT_EQ(reader.bytesLeft(), 0);
        EXPECT_TRUE(read->IsEqual(c.fields.get()));
        EXPECT_EQ(ToHex(WrittenAsItStands(*read)), ToHex(record));
    }
}

// A drop shadow read both ways (an inner shadow of the corpus's drop_shadow_angles
// movie): the classic reader takes its colour for its blur, reads FIXED halves
// unsigned and stops four bytes short.
TEST(FilterFaithful, DropShadowReadBothWays) {
    const Bytes shadow = Hex("00 000000FF 00000500 00000500 7E480600 0000EBFF 0001 A1");
    const int size = static_cast<int>(shadow.size());
    flaRead reader(size, shadow.data()), again(size, shadow.data());
    const FilterPtr c = ReadRecord(reader, false), f = ReadRecord(again, true);
    const auto& classic = dynamic_cast<const flaFilterDropShadow&>(*c);
    const auto& faithful = dynamic_cast<const flaFilterDropShadow&>(*f);
    EXPECT_EQ(reader.bytesLeft(), 4);
    EXPECT_EQ(classic.blurX, 65280.0);
    EXPECT_EQ(classic.distance, 6 + 0x487E * kStep);
    EXPECT_EQ(classic.passes, 11);  // from the distance's high byte, 0xEB
    EXPECT_EQ(faithful.distance, -21.0);
    EXPECT_TRUE(faithful.IsEqual(flaFilter::CreateFilter_DropShadow(flaRGBA(0, 0, 0, 255), 5, 5, 411774 * kStep, -21,
                                                                    1.0f, 1, true, false, true).get()));
}
