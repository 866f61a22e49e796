// The byte streams. Output: bit packing, whole integers, fixed point, size reports
// and the file image (compression and its fallback); length fix-ups are checked by
// every long-form tag and file length of the movie tests. Input: the bit reader,
// sign extension, byte reads, tag headers, inflation, and what a truncated or lying
// file gets.
#include <gtest/gtest.h>
#include <zlib.h>

#include <functional>
#include <sstream>
#include <string>

#include "flio/flaColorXForm.h"
#include "flio/flaDump.h"
#include "flio/flaMatrix.h"
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

flaRead Over(const Bytes& b) { return flaRead(static_cast<int>(b.size()), b.data()); }

std::string Compressed(const std::string& body, unsigned announced) {
    std::string out = "CWS\x0a";
    for (int i = 0; i < 4; ++i) out += static_cast<char>((announced >> (8 * i)) & 0xFF);
    uLongf n = compressBound(body.size());
    std::string z(n, '\0');
    compress(reinterpret_cast<Bytef*>(&z[0]), &n, reinterpret_cast<const Bytef*>(body.data()), body.size());
    return out + z.substr(0, n);
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
    std::istringstream in(std::string(image.begin(), image.end()));  // which the reader inflates again
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(flaRead(in).GetBuffer()) + 8, body.size()), body);
    // Nothing after the header; a tiny body that grows; compression not asked.
    for (const auto& [content, asked] : {std::make_pair(std::string(), true), {"xq", true}, {body, false}}) {
        flaDump d = MakeImage(content);
        compress = asked;
        EXPECT_EQ(d.GetFileImage(compress), d.GetBuffer());
        EXPECT_FALSE(compress);
    }
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

TEST(flaRead, BitReaderAndSignExtension) {
    const Bytes b = Hex("B5 0F F0 12 34 56 78 9A");
    flaRead r = Over(b);
    EXPECT_EQ(r.GetBits(0), 0u);
    EXPECT_EQ(r.GetBits(1), 1u);
    EXPECT_EQ(r.GetBits(3), 3u);   // 011
    EXPECT_EQ(r.GetSBits(4), 5);   // 0101
    EXPECT_EQ(r.GetSBits(4), 0);   // 0000
    EXPECT_EQ(r.GetSBits(8), -1);  // 1111 1111 across the byte boundary
    EXPECT_EQ(r.GetBits(4), 0u);
    EXPECT_EQ(r.GetBits(32), 0x12345678u);  // five bytes touched with bits pending
    EXPECT_EQ(r.GetPosition(), 7u);
    // Wide fields are taken whole when the bytes are there and byte by byte at the end.
    const Bytes b2 = Hex("FF 80 00 00 01 C3");
    flaRead w = Over(b2);
    EXPECT_EQ(w.GetBits(3), 7u);
    w.InitBits();  // the five bits left of 0xFF are dropped
    EXPECT_EQ(w.GetBits(32), 0x80000001u);
    EXPECT_EQ(w.GetBits(2), 3u);
    EXPECT_EQ(w.GetSBits(6), 3);  // the last bits of the data
    EXPECT_THROW(w.GetBits(1), flaRead::readError);
    flaRead tail = Over(b2);
    tail.GetBits(12);
    EXPECT_EQ(tail.GetBits(28), 1u);
    EXPECT_THROW(tail.GetBits(9), flaRead::readError);  // one bit more than is left
}

TEST(flaRead, ByteReadsDiscardPendingBits) {
    const Bytes b = Hex("FF 34 12 80 FF 00 00 FF FF 0A 0B 0C 0D 0E 0F 10 3F 80 00 00 41 42 00");
    flaRead r = Over(b);
    r.GetBits(3);
    EXPECT_EQ(r.GetWord(), 0x1234);
    EXPECT_DOUBLE_EQ(r.GetFixed8(), 255.5);  // no sign extension
    EXPECT_DOUBLE_EQ(r.GetFixed(), 65535.0);
    EXPECT_EQ(r.GetColor(false), FLIO::flaRGBA(0x0A, 0x0B, 0x0C, 255));
    EXPECT_EQ(r.GetDWord(), 0x100F0E0Du);
    EXPECT_EQ(r.GetFloat(), 1.0f);  // most significant byte first
    EXPECT_STREQ(r.GetString(), "AB");
    EXPECT_THROW(r.GetString(), flaRead::readError);
}

TEST(flaRead, TagHeadersAndTheirBounds) {
    const struct { const char* bytes; unsigned code, length; } cases[] = {
        {"40 00", 1, 0},
        {"43 02 00 00 00", 9, 3},
        {"3F 03 05 00 00 00 00 00 00 00 00", 12, 5},  // long form with a length below 63
        {"3F 00 FF FF FF 7F 01 02", 0, 2},            // a lying length is cut to the data
    };
    for (const auto& c : cases) {
        const Bytes b = Hex(c.bytes);
        flaRead r = Over(b);
        EXPECT_EQ(r.GetTag(), c.code) << c.bytes;
        EXPECT_EQ(r.GetTagLength(), c.length) << c.bytes;
        EXPECT_EQ(r.GetTagEnd(), r.GetPosition() + c.length) << c.bytes;
    }
    // A body may not be read past its tag; a nested tag stays inside its container.
    const Bytes b = Hex("04 00 0A 00 01 02 40 00");
    flaRead r = Over(b);
    r.GetTag();
    {
        flaRead::ContainerScope scope(r);
        r.GetTag();
        EXPECT_EQ(r.GetTagEnd(), 6u);
        EXPECT_EQ(r.ContainerBytesLeft(), 2);
        EXPECT_EQ(r.GetWord(), 0x0201);
        EXPECT_THROW(r.GetByte(), flaRead::readError);
    }
    r.Seek(r.GetTagEnd());
    EXPECT_EQ(r.GetTag(), 1u);
}

TEST(flaRead, EveryPrimitiveThrowsOnTruncatedData) {
    const Bytes one = Hex("FF");
    void (*const reads[])(flaRead&) = {
        [](flaRead& r) { r.GetWord(); },         [](flaRead& r) { r.GetDWord(); },
        [](flaRead& r) { r.GetFixed(); },        [](flaRead& r) { r.GetFixed8(); },
        [](flaRead& r) { r.GetColor(false); },   [](flaRead& r) { r.GetBits(9); },
        [](flaRead& r) { r.GetFloat(); },        [](flaRead& r) { r.GetString(); },
        [](flaRead& r) { unsigned char h[8]; r.GetHeader(h); },
        [](flaRead& r) { char x[2]; r.GetNBytes(2, x); },
        [](flaRead& r) { r.SkipBytes(2); },      [](flaRead& r) { r.GetTag(); },
        [](flaRead& r) { SRECT s; r.GetRect(&s); },
        [](flaRead& r) { MATRIX m; r.GetMatrix(&m); },
        [](flaRead& r) { CXFORM c; bool a, b; r.GetCxform(&c, true, a, b); },
    };
    for (std::size_t i = 0; i < sizeof reads / sizeof reads[0]; ++i) {
        flaRead r = Over(one);
        EXPECT_THROW(reads[i](r), flaRead::readError) << i;
    }
    flaRead empty(0, nullptr);
    EXPECT_THROW(empty.GetByte(), flaRead::readError);
}

TEST(flaRead, InflatesCompressedStreamsToTheAnnouncedLength) {
    const std::string body = "0123456789abcdef";
    // Whole, with its checksum damaged, without its checksum: the same image.
    std::string damaged = Compressed(body, 8 + 16), cut = damaged.substr(0, damaged.size() - 4);
    damaged.back() ^= 1;
    for (const std::string& file : {Compressed(body, 8 + 16), damaged, cut}) {
        std::istringstream in(file);
        flaRead r(in);
        ASSERT_EQ(r.GetSize(), 24u);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(r.GetBuffer()), 24), "FWS\x0a\x18" + std::string(3, 0) + body);
    }
    std::istringstream more(Compressed(std::string(100, 'q'), 8 + 50));
    EXPECT_EQ(flaRead(more).GetSize(), 58u);  // inflating more keeps the announced bytes
    // Short and uncompressed streams are kept as read.
    for (const std::string& file : {std::string("CWS\x01\x02", 5), std::string("FWS\x09\x0b\0\0\0\0\0\0", 11)}) {
        std::istringstream raw(file);
        EXPECT_EQ(flaRead(raw).GetSize(), file.size());
    }
    // Refused: inflating short; announcing 4 GB (must not allocate it); not zlib at all.
    for (const std::string& file : {Compressed(std::string(100, 'q'), 8 + 200), Compressed(body, 0xFFFFFFF0u),
                                    std::string("CWS\x0a\x10\0\0\0garbage!", 16)}) {
        std::istringstream bad(file);
        EXPECT_THROW(flaRead reader(bad), flaRead::dekompressError);
    }
}
