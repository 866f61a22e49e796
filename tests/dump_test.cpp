// Output stream: bit packing, whole integers, fixed point, size reports, copies and
// the file image (compression and its fallback). Length fix-ups are checked by every
// long-form tag and file length of the movie and frame tests.
#include <gtest/gtest.h>
#include <zlib.h>

#include <functional>
#include <string>

#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "test_util.h"

using namespace flio_test;

namespace {

void U16Field(flaDump& d, int value, int bits, bool packed) {
    unsigned short v = static_cast<unsigned short>(value);
    d.DataU16(reinterpret_cast<const char*>(&v), bits, packed);
}

// An SWF-like image: "FWS", version, length, then a body.
flaDump MakeImage(const std::string& body, unsigned char version = 9) {
    flaDump d(550, nullptr);
    d.ChunkDump("FWS", 3);
    d.DataU8(version);
    d.DataU32(static_cast<unsigned long>(8 + body.size()));
    d.ChunkDump(body.data(), static_cast<unsigned int>(body.size()));
    return d;
}

}  // namespace

TEST(flaDump, WritesExactBytesAndReportsEveryBit) {
    using W = std::function<void(flaDump&)>;
    const struct { const char* name; W write; const char* bytes; long long bits; } cases[] = {
        {"bits then aligned byte", [](flaDump& d) { d.Bits(7, 3); d.DataU8((unsigned char)0xAB); }, "E0 AB", 16},
        {"u32 keeps the low 32 bits", [](flaDump& d) { d.DataU32(0x1FFFFFFFFUL); }, "FF FF FF FF", 32},
        {"packed crosses a byte", [](flaDump& d) { d.Bits(0, 6); U16Field(d, 5, 3, true); }, "02 80", 16},
        {"packed 5 then 9 bits; zero width",
         [](flaDump& d) { U16Field(d, 0x1F, 5, true); U16Field(d, 0x101, 9, true); U16Field(d, 7, 0, true); },
         "FC 04", 16},
        {"unpacked: full width, narrow keeps the first bits",
         [](flaDump& d) { U16Field(d, 0xBEEF, 16, false); U16Field(d, 0xAB, 8, false); }, "EF BE 00", 24},
        {"fixed 1.5, saturated", [](flaDump& d) { d.DataFixed(1.5); d.DataFixed(70000.0); },
         "00 80 01 00 FF FF FF FF", 64},
        {"fixed8 2.25, saturated", [](flaDump& d) { d.DataFixed8(2.25); d.DataFixed8(300.0); }, "40 02 FF FF", 32},
        {"byte caps and truncates", [](flaDump& d) { d.DataUnsigedChar(300.7); d.DataUnsigedChar(12.9); }, "FF 0C", 16},
        {"float", [](flaDump& d) { d.DataFloat(1.0f); }, "00 00 80 3F", 32},
        {"strings with terminator", [](flaDump& d) { d.StringPrint("AB"); d.StringPrint(""); }, "41 42 00 00", 32},
        {"null chunk; chunk aligns first",
         [](flaDump& d) { d.ChunkDump(nullptr, 10); d.Bit(true); d.ChunkDump("xy", 2); }, "80 78 79", 24},
    };
    for (const auto& c : cases) {
        CountingCallback counter;
        flaDump d(550, &counter);
        c.write(d);
        EXPECT_EQ(ToHex(Flushed(d)), ToHex(Hex(c.bytes))) << c.name;
        EXPECT_EQ(counter.Total(), c.bits) << c.name;
    }
    // The width of an unsigned field for a value; none for a negative one.
    for (auto [value, bits] : {std::make_pair(0, 1), {1, 1}, {2, 2}, {255, 8}, {256, 9}, {0x7FFFFFFF, 31}, {-5, 0}})
        EXPECT_EQ(flaDump::GetBitNumber(value), bits) << value;
}

TEST(flaDump, CompressedImageAndItsFallback) {
    const std::string body(1000, 'a');
    bool compress = true;
    const auto image = MakeImage(body, 4).GetFileImage(compress);
    ASSERT_TRUE(compress);
    EXPECT_EQ(ToHex({image.begin(), image.begin() + 8}), "43 57 53 06 F0 03 00 00");  // version raised to 6
    std::string inflated(body.size(), '\0');
    uLongf n = inflated.size();
    ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(&inflated[0]), &n, image.data() + 8, image.size() - 8), Z_OK);
    EXPECT_EQ(inflated, body);
    // Nothing after the header; a tiny body that grows; compression not asked.
    for (const auto& [content, asked] : {std::make_pair(std::string(), true), {"xq", true}, {body, false}}) {
        flaDump d = MakeImage(content);
        compress = asked;
        EXPECT_EQ(d.GetFileImage(compress), d.GetBuffer());
        EXPECT_FALSE(compress);
    }
}

TEST(flaDump, CopiesCarryPendingBitsAndAreIndependent) {
    flaDump a(550, nullptr);
    a.DataU16((unsigned short)0x0201);
    a.Bit(true);
    flaDump b(a), c(1, nullptr);
    b.DataU8((unsigned char)0xFF);
    c = b;
    a.DataU8((unsigned char)0x11);
    EXPECT_EQ(ToHex(Flushed(a)) + " / " + ToHex(Flushed(c)), "01 02 80 11 / 01 02 80 FF");
}

TEST(flaDump, LargeImagesReadBackBitForBit) {
    flaDump d(550, nullptr);
    for (int i = 0; i < 100000; ++i) {
        d.Bits(static_cast<std::uint32_t>(i), 17);
        if (i % 7 == 0) d.DataU8(static_cast<unsigned char>(i));
    }
    const auto bytes = Flushed(d);
    flaRead r(static_cast<int>(bytes.size()), bytes.data());
    for (int i = 0; i < 100000; ++i) {
        ASSERT_EQ(r.GetBits(17), static_cast<std::uint32_t>(i) & 0x1FFFF) << i;
        if (i % 7 == 0) {
            ASSERT_EQ(r.GetByte(), static_cast<unsigned char>(i)) << i;
        }
    }
}
