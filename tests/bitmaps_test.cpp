// Bitmap tags: the lossless and JPEG writers and readers driven from the same vectors,
// DefineBits joined with the movie's JPEG tables, and where each kind's stream starts.
#include <gtest/gtest.h>

#include <memory>
#include <tuple>

#include "flio/flaBits.h"
#include "flio/flaDump.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "tag_test_util.h"

using namespace flio_test;

namespace {

Bytes DataOf(const flaBitsLossless& b) { return Bytes(b.data, b.data + b.dataSize); }

}  // namespace

// One lossless bitmap as written and as read back. One object reads every tag in
// turn from one stream: each read stays in its tag and replaces what it held.
TEST(flaBitsLossless, WritesAndReadsTheVectors) {
    const struct {
        bool alpha;  // DefineBitsLossless2
        unsigned int id, format, width, height;
        unsigned int colorTableSize;      // the value the writer is given: it writes the low byte
        unsigned int readColorTableSize;  // the colour count that reading the written tag gives
        const char* data;                 // null: no buffer behind a size of 5
        const char* tag;
    } cases[] = {
        {false, 1, 3, 2, 3, 0xFF, 256, "78 9C", "3F 05 0A 00 00 00 01 00 03 02 00 03 00 FF 78 9C"},
        {true, 0x1234, 5, 300, 1, 9, 1, "", "3F 09 07 00 00 00 34 12 05 2C 01 01 00"},
        {false, 2, 4, 1, 1, 77, 1, "01 02 03", "3F 05 0A 00 00 00 02 00 04 01 00 01 00 01 02 03"},
        {true, 5, 3, 1, 1, 0, 1, "AA", "3F 09 09 00 00 00 05 00 03 01 00 01 00 00 AA"},
        {false, 1, 5, 1, 1, 0, 1, nullptr, "3F 05 07 00 00 00 01 00 05 01 00 01 00"},
    };
    Bytes file;
    for (const auto& v : cases) {
        const Bytes tag = Hex(v.tag);
        file.insert(file.end(), tag.begin(), tag.end());
    }
    flaRead reader(static_cast<int>(file.size()), file.data());
    flaBitsLossless read;
    for (const auto& v : cases) {
        SCOPED_TRACE(v.tag);
        flaBitsLossless2 bits;  // same fields for both tags; the flag picks the writer
        bits.id = v.id;
        bits.format = v.format;
        bits.width = v.width;
        bits.height = v.height;
        bits.colorTableSize = v.colorTableSize;
        const Bytes data = Hex(v.data ? v.data : "");
        bits.dataSize = v.data ? static_cast<unsigned int>(data.size()) : 5;
        bits.data = v.data ? NewCopy(data) : nullptr;
        EXPECT_EQ(Written([&](flaDump& d) { v.alpha ? bits.DumpInFile(d) : bits.flaBitsLossless::DumpInFile(d); }),
                  v.tag);

        reader.GetTag();
        ASSERT_TRUE(read.ReadFromFile(reader));
        EXPECT_EQ(std::make_tuple(read.id, read.format, read.width, read.height, read.colorTableSize),
                  std::make_tuple(v.id, v.format, v.width, v.height, v.readColorTableSize));
        EXPECT_EQ(ToHex(DataOf(read)), ToHex(data));
    }
}

TEST(flaBitsLossless, ShortTagsThrowAndLeaveTheBitmapAlone) {
    // Nothing; width cut short; colour-mapped without its colour-table byte.
    for (const char* body : {"", "01 00 05 01", "01 00 03 01 00 01 00"}) {
        SCOPED_TRACE(body);
        flaBitsLossless bits;
        bits.id = 42;
        bits.dataSize = 1;
        bits.data = NewCopy(Hex("EE"));
        EXPECT_THROW(bits.ReadFromFile(*OpenTag(LongTag(20, Hex(body)))), flaRead::readError);
        EXPECT_EQ(bits.id, 42u);
        EXPECT_EQ(ToHex(DataOf(bits)), "EE");
    }
}

namespace {

// Reaches the movie's JPEGTables reader, which the importer normally calls.
class TablesMovie : public flaMovie {
public:
    TablesMovie() : flaMovie(550, 400) {}
    void SetTables(const char* tables) { ParseJPEGTables(*OpenTag(LongTag(8, Hex(tables)))); }
};

// A JPEG bitmap of the given kind (1: DefineBits, 2: DefineBitsJPEG2, 3: DefineBitsJPEG3).
std::unique_ptr<flaBitsJpegBase> MakeJpeg(int kind, const flaMovie& movie, char* data = nullptr,
                                          unsigned int size = 0) {
    if (kind == 1) return std::make_unique<flaBitsJpeg>(movie);
    if (kind == 2) return std::make_unique<flaBitsJpeg2>(0, data, size);
    return std::make_unique<flaBitsJpeg3>(0, data, size);
}

}  // namespace

TEST(flaBitsJpeg, WritesAndReadsTheVectors) {
    const struct { int kind; unsigned int id; const char *body, *tag; } cases[] = {
        {1, 3, "FF D8 AA FF", "BF 01 06 00 00 00 03 00 FF D8 AA FF"},
        {2, 4, "FF D8 FF D9", "7F 05 06 00 00 00 04 00 FF D8 FF D9"},
        {2, 1, "", "7F 05 02 00 00 00 01 00"},
        {3, 9, "01 00 00 00 AB CD", "FF 08 08 00 00 00 09 00 01 00 00 00 AB CD"},
    };
    const TablesMovie movie;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tag);
        if (c.kind > 1) {  // only these take their data from the host
            const Bytes body = Hex(c.body);
            auto bits = MakeJpeg(c.kind, movie, body.empty() ? nullptr : NewCopy<char>(body),
                                 static_cast<unsigned int>(body.size()));
            EXPECT_EQ(bits->id, 0xFFFFFFFFu);
            bits->id = c.id;
            EXPECT_EQ(Written([&](flaDump& d) { EXPECT_TRUE(bits->DumpInFile(d)); }), c.tag);
        }
        auto read = MakeJpeg(c.kind, movie);
        ASSERT_TRUE(read->ReadFromFile(*OpenTag(Hex(c.tag))));
        EXPECT_EQ(read->id, c.id);
        EXPECT_EQ(Written([&](flaDump& d) { read->DumpInFile(d); }), c.tag);
    }
    flaBitsJpeg2 cut;
    EXPECT_THROW(cut.ReadFromFile(*OpenTag(LongTag(21, Hex("01")))), flaRead::readError);
}

TEST(flaBitsJpeg, CostCodeCoversTheTag) {
    CountingCallback callback;
    flaDump dump(550, &callback);
    flaBitsJpeg2(5, NewCopy<char>(Hex("01 02 03")), 3).DumpInFile(dump);
    EXPECT_EQ(callback.bits, std::vector<long long>({0, 0, 0, 0, 0, (6 + 2 + 3) * 8}));
}

TEST(flaBitsJpeg, InitJpegDataFindsTheStreamAndTheAlpha) {
    // The caller's structure starts with ownsBuffer = true.
    const struct {
        int kind;
        const char* body;
        bool ok;
        unsigned int offset, jpegSize, alphaSize;
        bool ownsAfter;
    } cases[] = {
        {2, "FF D9 FF D8", false, 0, 0, 0, false},          // below five bytes
        {2, "FF D9 FF D8 00", true, 4, 1, 0, true},         // the leading end/start pair skipped
        {2, "FF D8 FF E0 00", true, 0, 5, 0, false},        // the stream as it is
        {2, "FF D9 FF D9 00 11", true, 0, 6, 0, false},     // not the pair
        {3, "", false, 0, 0, 0, false},                     // no data
        {3, "0A 00 00", false, 0, 0, 0, false},             // not even the offset
        {3, "0A 00 00 00 01 02 03 04 05 06 07 08 09 0A", false, 0, 0, 0, false},  // no alpha byte
        {3, "0A 00 00 00 01 02 03 04 05 06 07 08 09 0A 0B", true, 4, 10, 1, false},
        {3, "00 00 00 00 AA", true, 4, 0, 1, false},
        {3, "FF FF FF FF 01 02 03 04", false, 0, 0, 0, false},  // an offset that would wrap around
    };
    const TablesMovie movie;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body);
        const Bytes body = Hex(c.body);
        char* data = body.empty() ? nullptr : NewCopy<char>(body);
        auto bits = MakeJpeg(c.kind, movie, data, static_cast<unsigned int>(body.size()));
        flaBitsJpegBase::JPEGData out;
        out.ownsBuffer = true;
        ASSERT_EQ(bits->InitJpegData(out), c.ok);
        if (!c.ok) continue;
        EXPECT_EQ(out.jpeg, reinterpret_cast<unsigned char*>(data) + c.offset);
        EXPECT_EQ(out.jpegSize, c.jpegSize);
        EXPECT_EQ(out.ownsBuffer, c.ownsAfter);
        EXPECT_EQ(out.alphaSize, c.alphaSize);
        if (c.kind == 3) {
            EXPECT_EQ(out.alpha, out.jpeg + c.jpegSize);
        }
    }
}

TEST(flaBitsJpeg, DefineBitsJoinsTheMovieTables) {
    // No tables: the movie read none; no stream: InitJpegData fails.
    const struct { const char *tables, *image, *stream; } cases[] = {
        {nullptr, "FF D8 AA BB FF D9", "FF D8 AA BB FF D9"},  // copied
        {"FF D9", "FF D8 AA BB FF D9", "FF D8 AA BB FF D9"},  // two-byte tables: copied
        {"FF D8 DB 00 FF D9", "FF D8 AA BB FF D9", "FF D8 DB 00 AA BB FF D9"},
        {"FF D8 D9", "FF D8 AA", "FF AA"},
        {"FF D8 DB 00 FF D9", "FF D8 AA", "FF D8 DB 00 AA"},
        {"FF D8 DB 00 FF D9", "FF D8", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.image);
        TablesMovie movie;
        if (c.tables) movie.SetTables(c.tables);
        flaBitsJpeg bits(movie);
        bits.ReadFromFile(*OpenTag(LongTag(6, Hex(std::string("01 00 ") + c.image))));
        EXPECT_TRUE(bits.CheckBeginOfStreamTag());
        flaBitsJpegBase::JPEGData out;
        ASSERT_EQ(bits.InitJpegData(out), c.stream != nullptr);
        if (!c.stream) continue;
        EXPECT_EQ(ToHex(Bytes(out.jpeg, out.jpeg + out.jpegSize)), ToHex(Hex(c.stream)));
        EXPECT_TRUE(out.ownsBuffer);  // always a new buffer, joined or copied
        delete[] out.jpeg;
    }
    EXPECT_FALSE(flaBitsJpeg(TablesMovie()).CheckBeginOfStreamTag());
}
