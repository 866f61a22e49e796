#include <gtest/gtest.h>

#include <cstring>

#include "flio/flaBits.h"
#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "media_test_util.h"
#include "test_util.h"

using namespace flio_test;

namespace {

// One lossless bitmap as written and as read back.
struct LosslessVector {
    const char* name;
    bool alpha;  // DefineBitsLossless2
    unsigned int id, format, width, height;
    unsigned int colorTableSize;      // the value the writer is given
    unsigned int readColorTableSize;  // what reading the written tag gives
    const char* data;
    const char* tag;
};

const LosslessVector kLossless[] = {
    {"colour-mapped", false, 1, 3, 2, 3, 0xFF, 256, "78 9C",
     "3F 05 0A 00 00 00 01 00 03 02 00 03 00 FF 78 9C"},
    {"argb-no-data", true, 0x1234, 5, 300, 1, 9, 1, "",
     "3F 09 07 00 00 00 34 12 05 2C 01 01 00"},
    {"rgb15", false, 2, 4, 1, 1, 77, 1, "01 02 03",
     "3F 05 0A 00 00 00 02 00 04 01 00 01 00 01 02 03"},
    {"colour-mapped-alpha-one-colour", true, 5, 3, 1, 1, 0, 1, "AA",
     "3F 09 09 00 00 00 05 00 03 01 00 01 00 00 AA"},
};

Bytes WriteLossless(flaBitsLossless& bits, bool alpha, CountingCallback* callback = nullptr) {
    flaDump dump(550, callback);
    if (alpha)
        static_cast<flaBitsLossless2&>(bits).DumpInFile(dump);
    else
        bits.DumpInFile(dump);
    EXPECT_EQ(dump.GetCostCode(), 0u);
    return Flushed(dump);
}

Bytes DataOf(const flaBitsLossless& b) { return Bytes(b.data, b.data + b.dataSize); }

}  // namespace

TEST(flaBitsLossless, WritesAndReadsTheVectors) {
    for (const LosslessVector& v : kLossless) {
        SCOPED_TRACE(v.name);
        flaBitsLossless2 bits;  // same layout for both tags; the flag picks the writer
        bits.id = v.id;
        bits.format = v.format;
        bits.width = v.width;
        bits.height = v.height;
        bits.colorTableSize = v.colorTableSize;
        const Bytes data = Hex(v.data);
        bits.dataSize = static_cast<unsigned int>(data.size());
        bits.data = NewCopy(data);
        EXPECT_EQ(ToHex(WriteLossless(bits, v.alpha)), ToHex(Hex(v.tag)));

        flaBitsLossless read;
        auto reader = OpenTag(Hex(v.tag));
        ASSERT_TRUE(read.ReadFromFile(*reader));
        EXPECT_EQ(read.id, v.id);
        EXPECT_EQ(read.format, v.format);
        EXPECT_EQ(read.width, v.width);
        EXPECT_EQ(read.height, v.height);
        EXPECT_EQ(read.colorTableSize, v.readColorTableSize);
        EXPECT_EQ(ToHex(DataOf(read)), ToHex(data));
        EXPECT_EQ(read.GetCostCode(), 0u);
    }
}

TEST(flaBitsLossless, ReadColourCountIsWrittenBackOneLarger) {
    // The reader stores the colour count, the writer emits the field's low byte.
    auto reader = OpenTag(LongTag(20, Hex("01 00 03 01 00 01 00 07 00")));
    flaBitsLossless bits;
    bits.ReadFromFile(*reader);
    EXPECT_EQ(bits.colorTableSize, 8u);
    EXPECT_EQ(ToHex(WriteLossless(bits, false)), "3F 05 09 00 00 00 01 00 03 01 00 01 00 08 00");
}

TEST(flaBitsLossless, ReportsEveryByteUnderItsCostCode) {
    flaBitsLossless bits;
    bits.SetCostCode(3);
    bits.id = 1;
    bits.format = 3;
    bits.width = bits.height = 1;
    bits.colorTableSize = 0;
    bits.dataSize = 4;
    bits.data = NewCopy(Hex("01 02 03 04"));
    CountingCallback callback;
    const Bytes out = WriteLossless(bits, false, &callback);
    ASSERT_EQ(out.size(), 6u + 8u + 4u);
    ASSERT_GE(callback.bits.size(), 4u);
    EXPECT_EQ(callback.bits[3], static_cast<long long>(out.size() * 8));
    EXPECT_EQ(callback.Total(), callback.bits[3]);
}

TEST(flaBitsLossless, NullDataIsWrittenAsEmpty) {
    flaBitsLossless bits;
    bits.id = 1;
    bits.format = 5;
    bits.width = bits.height = 1;
    bits.dataSize = 5;  // no data behind it
    EXPECT_EQ(ToHex(WriteLossless(bits, false)), "3F 05 07 00 00 00 01 00 05 01 00 01 00");
}

TEST(flaBitsLossless, ShortTagsThrowAndLeaveTheBitmapAlone) {
    const char* bodies[] = {
        "",                    // nothing
        "01 00 05 01",         // width cut short
        "01 00 03 01 00 01 00",  // colour-mapped without its colour-table byte
    };
    for (const char* body : bodies) {
        SCOPED_TRACE(body);
        flaBitsLossless bits;
        bits.id = 42;
        bits.dataSize = 1;
        bits.data = NewCopy(Hex("EE"));
        auto reader = OpenTag(LongTag(20, Hex(body)));
        EXPECT_THROW(bits.ReadFromFile(*reader), flaRead::readError);
        EXPECT_EQ(bits.id, 42u);
        EXPECT_EQ(ToHex(DataOf(bits)), "EE");
    }
}

TEST(flaBitsLossless, ReadingAgainReplacesTheData) {
    flaBitsLossless bits;
    auto first = OpenTag(LongTag(20, Hex("01 00 05 01 00 01 00 AA BB")));
    bits.ReadFromFile(*first);
    auto second = OpenTag(LongTag(20, Hex("02 00 05 01 00 01 00 CC")));
    bits.ReadFromFile(*second);
    EXPECT_EQ(bits.id, 2u);
    EXPECT_EQ(ToHex(DataOf(bits)), "CC");
}

TEST(flaBitsLossless, ReadStopsAtTheTagEnd) {
    // A second tag follows; the data must not reach into it.
    Bytes file = LongTag(36, Hex("01 00 05 01 00 01 00 AA"));
    const Bytes next = LongTag(1, Hex("BB BB"));
    file.insert(file.end(), next.begin(), next.end());
    auto reader = OpenTag(file);
    flaBitsLossless2 bits;
    bits.ReadFromFile(*reader);
    EXPECT_EQ(ToHex(DataOf(bits)), "AA");
}

namespace {

struct JpegVector {
    const char* name;
    int kind;  // 2: DefineBitsJPEG2, 3: DefineBitsJPEG3
    unsigned int id;
    const char* body;
    const char* tag;
};

const JpegVector kJpeg[] = {
    {"jpeg2", 2, 4, "FF D8 FF D9", "7F 05 06 00 00 00 04 00 FF D8 FF D9"},
    {"jpeg2-empty", 2, 1, "", "7F 05 02 00 00 00 01 00"},
    {"jpeg3", 3, 9, "01 00 00 00 AB CD", "FF 08 08 00 00 00 09 00 01 00 00 00 AB CD"},
};

std::unique_ptr<flaBitsJpegBase> MakeJpeg(int kind, unsigned int cost, char* data, unsigned int size) {
    if (kind == 2) return std::make_unique<flaBitsJpeg2>(cost, data, size);
    return std::make_unique<flaBitsJpeg3>(cost, data, size);
}

Bytes WriteJpeg(const flaBitsJpegBase& bits) {
    flaDump dump(550, nullptr);
    EXPECT_TRUE(bits.DumpInFile(dump));
    EXPECT_EQ(dump.GetCostCode(), 0u);
    return Flushed(dump);
}

}  // namespace

TEST(flaBitsJpeg, WritesAndReadsTheVectors) {
    for (const JpegVector& v : kJpeg) {
        SCOPED_TRACE(v.name);
        const Bytes body = Hex(v.body);
        auto bits = MakeJpeg(v.kind, 0, NewCopy<char>(body), static_cast<unsigned int>(body.size()));
        EXPECT_EQ(bits->id, 0xFFFFFFFFu);
        bits->id = v.id;
        EXPECT_EQ(ToHex(WriteJpeg(*bits)), ToHex(Hex(v.tag)));

        auto read = MakeJpeg(v.kind, 0, nullptr, 0);
        auto reader = OpenTag(Hex(v.tag));
        ASSERT_TRUE(read->ReadFromFile(*reader));
        EXPECT_EQ(read->id, v.id);
        EXPECT_EQ(ToHex(WriteJpeg(*read)), ToHex(Hex(v.tag)));
    }
}

TEST(flaBitsJpeg, ShortTagThrows) {
    flaBitsJpeg2 bits;
    auto reader = OpenTag(LongTag(21, Hex("01")));
    EXPECT_THROW(bits.ReadFromFile(*reader), flaRead::readError);
}

TEST(flaBitsJpeg, CostCodeCoversTheTag) {
    CountingCallback callback;
    flaDump dump(550, &callback);
    flaBitsJpeg2 bits(5, NewCopy<char>(Hex("01 02 03")), 3);
    bits.id = 1;
    bits.DumpInFile(dump);
    ASSERT_GE(callback.bits.size(), 6u);
    EXPECT_EQ(callback.bits[5], (6 + 2 + 3) * 8);
    EXPECT_EQ(callback.Total(), callback.bits[5]);
}

TEST(flaBitsJpeg2, InitJpegDataSkipsALeadingEndStartPair) {
    struct Case {
        const char* body;
        bool ok;
        unsigned int offset, size;
        bool ownsAfter;  // the caller's structure starts with ownsBuffer = true
    };
    const Case cases[] = {
        {"FF D9 FF D8", false, 0, 0, true},       // below five bytes
        {"FF D9 FF D8 00", true, 4, 1, true},     // pair skipped, ownsBuffer untouched
        {"FF D8 FF E0 00", true, 0, 5, false},    // the stream as it is
        {"FF D9 FF D9 00 11", true, 0, 6, false},  // not the pair
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.body);
        const Bytes body = Hex(c.body);
        char* data = NewCopy<char>(body);
        flaBitsJpeg2 bits(0, data, static_cast<unsigned int>(body.size()));
        flaBitsJpegBase::JPEGData out;
        out.ownsBuffer = true;
        ASSERT_EQ(bits.InitJpegData(out), c.ok);
        if (!c.ok) continue;
        EXPECT_EQ(out.jpeg, reinterpret_cast<unsigned char*>(data) + c.offset);
        EXPECT_EQ(out.jpegSize, c.size);
        EXPECT_EQ(out.ownsBuffer, c.ownsAfter);
    }
}

TEST(flaBitsJpeg3, InitJpegDataSplitsStreamAndAlpha) {
    struct Case {
        const char* body;
        bool ok;
        unsigned int jpegSize, alphaSize;
    };
    const Case cases[] = {
        {"0A 00 00 00 01 02 03 04 05 06 07 08 09 0A", false, 0, 0},        // 14 bytes: no alpha byte
        {"0A 00 00 00 01 02 03 04 05 06 07 08 09 0A 0B", true, 10, 1},     // 15 bytes
        {"00 00 00 00 AA", true, 0, 1},
        {"FF FF FF FF 01 02 03 04", false, 0, 0},  // an offset that would wrap around
        {"0A 00 00", false, 0, 0},                 // not even the offset
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.body);
        const Bytes body = Hex(c.body);
        char* data = NewCopy<char>(body);
        flaBitsJpeg3 bits(0, data, static_cast<unsigned int>(body.size()));
        flaBitsJpegBase::JPEGData out;
        out.ownsBuffer = true;
        ASSERT_EQ(bits.InitJpegData(out), c.ok);
        if (!c.ok) continue;
        EXPECT_FALSE(out.ownsBuffer);
        EXPECT_EQ(out.jpeg, reinterpret_cast<unsigned char*>(data) + 4);
        EXPECT_EQ(out.jpegSize, c.jpegSize);
        EXPECT_EQ(out.alpha, out.jpeg + c.jpegSize);
        EXPECT_EQ(out.alphaSize, c.alphaSize);
    }
    flaBitsJpeg3 empty;
    flaBitsJpegBase::JPEGData out;
    EXPECT_FALSE(empty.InitJpegData(out));
}

TEST(flaBitsJpeg3, SetNewDataBufferLeavesTheOldBufferToTheCaller) {
    char* first = NewCopy<char>(Hex("01 02"));
    flaBitsJpeg3 bits(0, first, 2);
    bits.SetNewDataBuffer(NewCopy<char>(Hex("00 00 00 00 AA BB")), 6);
    delete[] first;  // still ours; the bitmap releases only the new buffer
    bits.id = 1;
    EXPECT_EQ(ToHex(WriteJpeg(bits)), "FF 08 08 00 00 00 01 00 00 00 00 00 AA BB");
}

TEST(flaJPEGContainer, FindsTheFirstBitmapWithTheId) {
    flaJPEGContainer container;
    EXPECT_EQ(container.Find(1), nullptr);
    auto* a = new flaBitsJpeg2;
    auto* b = new flaBitsJpeg3;
    a->id = 7;
    b->id = 7;
    container.push_back(a);
    container.push_back(b);  // the container owns both from here
    EXPECT_EQ(container.Find(7), a);
    EXPECT_EQ(container.Find(8), nullptr);
}
