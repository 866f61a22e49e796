// Input stream: bit reader, sign extension, byte reads, records, tag headers,
// inflation, and what a truncated or lying file gets.
#include <gtest/gtest.h>
#include <zlib.h>

#include <sstream>
#include <string>

#include "flio/flaColorXForm.h"
#include "flio/flaDump.h"
#include "flio/flaMatrix.h"
#include "flio/flaRead.h"
#include "test_util.h"

using flio_test::Bytes;
using flio_test::Hex;

namespace {

flaRead Over(const Bytes& b) { return flaRead(static_cast<int>(b.size()), b.data()); }

}  // namespace

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
}

// Fields that reach over several bytes are taken whole when the bytes are there,
// and byte by byte at the end of the data: both give the same bits.
TEST(flaRead, WideFieldsAfterInitBitsAndAtTheEnd) {
    const Bytes b = Hex("FF 80 00 00 01 C3");
    flaRead r = Over(b);
    EXPECT_EQ(r.GetBits(3), 7u);
    r.InitBits();  // the five bits left of 0xFF are dropped
    EXPECT_EQ(r.GetBits(32), 0x80000001u);
    EXPECT_EQ(r.GetBits(2), 3u);
    EXPECT_EQ(r.GetSBits(6), 3);                          // 000011: the last bits of the data
    EXPECT_THROW(r.GetBits(1), flaRead::readError);
    flaRead tail = Over(b);
    tail.GetBits(12);
    EXPECT_EQ(tail.GetBits(28), 1u);                      // up to the last byte
    EXPECT_THROW(tail.GetBits(9), flaRead::readError);    // one bit more than is left
}

TEST(flaRead, ByteReadsDiscardPendingBits) {
    const Bytes b = Hex("FF 34 12 80 FF 00 00 FF FF 0A 0B 0C 0D 0E 0F 10");
    flaRead r = Over(b);
    r.GetBits(3);
    EXPECT_EQ(r.GetWord(), 0x1234);
    EXPECT_DOUBLE_EQ(r.GetFixed8(), 255.5);  // no sign extension
    EXPECT_DOUBLE_EQ(r.GetFixed(), 65535.0);
    FLIO::flaRGBA rgb = r.GetColor(false);
    EXPECT_EQ(rgb, FLIO::flaRGBA(0x0A, 0x0B, 0x0C, 255));
    EXPECT_EQ(r.GetPosition(), 12u);
    EXPECT_EQ(r.GetDWord(), 0x100F0E0Du);
}

TEST(flaRead, NBitsOfAByte) {
    EXPECT_EQ(flaRead::getNBits(static_cast<unsigned char>(0xB4), 0, 3), 5);  // 101
    EXPECT_EQ(flaRead::getNBits(static_cast<unsigned char>(0xB4), 3, 5), 0x14);
    EXPECT_EQ(flaRead::getNBits(static_cast<unsigned char>(0xB4), 2, 0), 0);
    EXPECT_EQ(flaRead::getNBits(static_cast<unsigned short>(0x8001), 15, 1), 1);
}

TEST(flaRead, FloatIsReadMostSignificantByteFirst) {
    const Bytes b = Hex("3F 80 00 00");
    flaRead r = Over(b);
    EXPECT_EQ(r.GetFloat(), 1.0f);
}

TEST(flaRead, TagHeaders) {
    const struct { const char* bytes; unsigned code; unsigned length; } cases[] = {
        {"40 00", 1, 0},                      // ShowFrame
        {"43 02 00 00 00", 9, 3},             // SetBackgroundColor, short form
        {"3F 03 05 00 00 00 00 00 00 00 00", 12, 5},  // long form with a length below 63
        {"00 00", 0, 0},                      // End
    };
    for (const auto& c : cases) {
        const Bytes b = Hex(c.bytes);
        flaRead r = Over(b);
        EXPECT_EQ(r.GetTag(), c.code) << c.bytes;
        EXPECT_EQ(r.GetTagLength(), c.length) << c.bytes;
        EXPECT_EQ(r.DataSize(), static_cast<int>(c.length)) << c.bytes;
        EXPECT_EQ(r.GetTagEnd(), r.GetPosition() + c.length) << c.bytes;
    }
}

TEST(flaRead, ReadsStopAtTheEndOfTheTag) {
    // A 2-byte tag followed by more data: its body may not be read past its end.
    const Bytes b = Hex("02 00 AA BB 40 00");
    flaRead r = Over(b);
    r.GetTag();
    EXPECT_EQ(r.GetWord(), 0xBBAA);
    EXPECT_THROW(r.GetByte(), flaRead::readError);
    r.Seek(r.GetTagEnd());
    EXPECT_EQ(r.GetTag(), 1u);
}

TEST(flaRead, LyingTagLengthIsCutToTheData) {
    const Bytes b = Hex("3F 00 FF FF FF 7F 01 02");
    flaRead r = Over(b);
    r.GetTag();
    EXPECT_EQ(r.GetTagLength(), 2u);
    EXPECT_EQ(r.GetTagEnd(), 8u);
    Bytes rest(2);
    r.ReadRestOfTagData(rest.data());
    EXPECT_EQ(rest, Hex("01 02"));
}

TEST(flaRead, EveryPrimitiveThrowsOnTruncatedData) {
    const Bytes one = Hex("FF");
    const struct { const char* name; void (*read)(flaRead&); } cases[] = {
        {"word", [](flaRead& r) { r.GetWord(); }},
        {"dword", [](flaRead& r) { r.GetDWord(); }},
        {"fixed", [](flaRead& r) { r.GetFixed(); }},
        {"fixed8", [](flaRead& r) { r.GetFixed8(); }},
        {"colour", [](flaRead& r) { r.GetColor(false); }},
        {"bits", [](flaRead& r) { r.GetBits(9); }},
        {"float", [](flaRead& r) { r.GetFloat(); }},
        {"string", [](flaRead& r) { r.GetString(); }},
        {"header", [](flaRead& r) { unsigned char h[8]; r.GetHeader(h); }},
        {"bytes", [](flaRead& r) { char x[2]; r.GetNBytes(2, x); }},
        {"skip", [](flaRead& r) { r.SkipBytes(2); }},
        {"tag", [](flaRead& r) { r.GetTag(); }},
        {"rect", [](flaRead& r) { SRECT s; r.GetRect(&s); }},
        {"matrix", [](flaRead& r) { MATRIX m; r.GetMatrix(&m); }},
        {"cxform", [](flaRead& r) { CXFORM c; bool a, b; r.GetCxform(&c, true, a, b); }},
    };
    for (const auto& c : cases) {
        flaRead r = Over(one);
        EXPECT_THROW(c.read(r), flaRead::readError) << c.name;
    }
    flaRead empty(0, nullptr);
    EXPECT_THROW(empty.GetByte(), flaRead::readError);
}

TEST(flaRead, NestedTagsStayInsideTheirContainer) {
    // An outer tag of 4 bytes whose nested tag claims 10.
    const Bytes b = Hex("04 00 0A 00 01 02 40 00");
    flaRead r = Over(b);
    r.GetTag();
    {
        flaRead::ContainerScope scope(r);
        r.GetTag();
        EXPECT_EQ(r.GetTagEnd(), 6u);
        EXPECT_EQ(r.ContainerBytesLeft(), 2);
    }
    EXPECT_EQ(r.GetTagEnd(), 6u);
    r.Seek(6);
    EXPECT_EQ(r.GetTag(), 1u);
}

TEST(flaRead, StringsAreReturnedInPlace) {
    const Bytes b = Hex("41 42 00 43 00");
    flaRead r = Over(b);
    EXPECT_STREQ(r.GetString(), "AB");
    EXPECT_STREQ(r.GetString(), "C");
    EXPECT_THROW(r.GetString(), flaRead::readError);
}

namespace {

std::string Compressed(const std::string& body, unsigned announced) {
    std::string out = "CWS";
    out += static_cast<char>(10);
    for (int i = 0; i < 4; ++i) out += static_cast<char>((announced >> (8 * i)) & 0xFF);
    uLongf n = compressBound(body.size());
    std::string z(n, '\0');
    compress(reinterpret_cast<Bytef*>(&z[0]), &n, reinterpret_cast<const Bytef*>(body.data()), body.size());
    z.resize(n);
    return out + z;
}

}  // namespace

TEST(flaRead, InflatesCompressedStreams) {
    const std::string body = "0123456789abcdef";
    std::istringstream in(Compressed(body, 8 + 16));
    flaRead r(in);
    EXPECT_EQ(r.GetSize(), 24u);
    unsigned char h[8];
    r.GetHeader(h);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(h), 8), std::string("FWS\x0a\x18\x00\x00\x00", 8));
    char rest[16];
    r.GetNBytes(16, rest);
    EXPECT_EQ(std::string(rest, 16), body);
}

TEST(flaRead, RejectsStreamsThatDoNotInflateToTheirLength) {
    const std::string body(100, 'q');
    const struct { std::string file; } cases[] = {
        {Compressed(body, 8 + 200)},       // inflates short
        {Compressed(body, 0xFFFFFFF0u)},   // announces 4 GB: must not allocate it
        {std::string("CWS\x0a\x10\x00\x00\x00garbage!", 16)},
    };
    for (const auto& c : cases) {
        std::istringstream in(c.file);
        EXPECT_THROW(flaRead r(in), flaRead::dekompressError);
    }
}

TEST(flaRead, InflatingMoreThanAnnouncedKeepsTheAnnouncedBytes) {
    const std::string body(100, 'q');
    std::istringstream in(Compressed(body, 8 + 50));
    flaRead r(in);
    EXPECT_EQ(r.GetSize(), 58u);
}

TEST(flaRead, ShortAndUncompressedStreamsAreKeptAsRead) {
    for (const std::string& file : {std::string("CWS\x01\x02", 5), std::string("FWS\x09\x0b\x00\x00\x00\x00\x00\x00", 11)}) {
        std::istringstream in(file);
        flaRead r(in);
        EXPECT_EQ(r.GetSize(), file.size());
        EXPECT_EQ(r.GetBuffer()[0], static_cast<unsigned char>(file[0]));
    }
}
