// Sound and bitmap tags: DefineSound, the sound stream tags, StartSound, the
// lossless and JPEG bitmaps, written and read from the same vectors; the readers
// against short or lying tags; DefineBits joined with the movie's JPEG tables, and
// where each kind's JPEG stream starts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <tuple>
#include <vector>

#include "cli_util.h"
#include "flio/flaBits.h"
#include "flio/flaDump.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "flio/flaSound.h"
#include "test_util.h"

using namespace flio_test;

namespace {

std::string HexOf(const flaBuffer& b) { return ToHex(Bytes(b.GetPtr(), b.GetPtr() + b.GetSize())); }
Bytes DataOf(const flaBitsLossless& b) { return Bytes(b.data, b.data + b.dataSize); }

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

TEST(flaSound, RateCodeSnapsToTheFourRates) {
    const unsigned int cases[][2] = {{0, 0},     {8250, 0},  {8251, 1},  {16537, 1},
                                     {16538, 2}, {33075, 2}, {33076, 3}, {0xFFFFFFFF, 3}};
    for (const auto& c : cases) EXPECT_EQ(flaSound::RateCode(c[0]), c[1]) << c[0];
}

// One DefineSound as written (once, however often asked) and as read back. An
// unknown format is written without its samples and reads as format 0.
TEST(flaSound, DefineSoundWritesAndReadsTheVectors) {
    const struct {
        int id;
        unsigned int format, rate;
        unsigned short sampleSize, channels;
        unsigned int count;
        const char *samples, *tag;
    } cases[] = {
        {3, 0, 11025, 16, 1, 2, "01 02 03 04", "BF 03 0B 00 00 00 03 00 06 02 00 00 00 01 02 03 04"},
        {0x0102, 1, 22050, 16, 2, 100, "AA BB", "BF 03 09 00 00 00 02 01 1B 64 00 00 00 AA BB"},
        {5, 2, 44100, 16, 2, 1152, "FF FB 90", "BF 03 0C 00 00 00 05 00 2F 80 04 00 00 00 00 FF FB 90"},
        {6, 3, 5500, 8, 1, 9, "11 22", "BF 03 07 00 00 00 06 00 30 09 00 00 00"},
    };
    for (const auto& v : cases) {
        flaSound s;
        s.SetSoundID(v.id);
        s.SetCompressFormat(static_cast<flaSound::CompressFormat_e>(v.format));
        s.SetSampleRate(v.rate);
        s.SetSampleSize(v.sampleSize);
        s.SetChannels(v.channels);
        s.SetSampleCount(v.count);
        const Bytes samples = Hex(v.samples);
        s.SetSamples(NewCopy(samples), static_cast<unsigned int>(samples.size()));
        EXPECT_EQ(Written([&](flaDump& d) { s.DumpSoundInFile(d), s.DumpSoundInFile(d); }), v.tag);

        flaSound read;
        read.ReadSoundFromFile(*OpenTag(Hex(v.tag)));
        EXPECT_EQ(Nums(read.GetSoundID(), read.GetCompressFormat(), read.GetSampleRate(), read.GetSampleSize(),
                       read.GetChannels(), read.GetSampleCount()),
                  Nums(v.id, v.format < 3 ? v.format : 0, v.rate, v.sampleSize, v.channels, v.count));
        EXPECT_EQ(HexOf(read.GetBuffer()), v.format < 3 ? v.samples : "") << v.tag;
    }
}

// An uncompressed event sound gets its declared length (16-bit stereo: ten samples
// are 40 bytes), padded with zeros, and an absurd count is capped past the tag; a
// stream takes only what the tag holds.
TEST(flaSound, UncompressedSoundsGetTheirDeclaredLength) {
    const struct { bool stream; const char* count; unsigned int size; } cases[] = {
        {false, "0A 00 00 00", 40}, {true, "0A 00 00 00", 4}, {false, "FF FF FF FF", 4 + flaBuffer::MaxBytesBeyondTag}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.count);
        flaSound s;
        if (c.stream) s.ConvertToStream();
        s.ReadSoundFromFile(*OpenTag(LongTag(14, Hex(std::string("01 00 03 ") + c.count + " 01 02 03 04"))));
        ASSERT_EQ(s.GetSize(), c.size);
        const unsigned char* p = s.GetSamplePtr();
        EXPECT_EQ(ToHex(Bytes(p, p + 4)), "01 02 03 04");
        EXPECT_EQ(std::count(p + 4, p + c.size, 0), static_cast<long>(c.size) - 4);
    }
}

TEST(flaSound, StreamHeadAndBlocksWriteAndRead) {
    const Bytes head = Hex("44 0B 06 1B 40 02");  // short form: ADPCM 22 kHz 16-bit stereo, 576 a block
    flaSound s;
    s.ReadSoundStreamFromFile(false, *OpenTag(head));
    EXPECT_EQ(Nums(s.GetIsStream(), s.GetStreamPlayback(), s.GetSampleCount()), "1,6,576");
    EXPECT_EQ(Written([&](flaDump& d) { s.DumpSoundStreamInFile(d), s.DumpSoundStreamInFile(d); }), ToHex(head));

    const struct { unsigned int format, samplePerFrame, delay; const char *data, *tag; } blocks[] = {
        {2, 576, 10, "FF FB 90", "FF 04 07 00 00 00 40 02 0A 00 FF FB 90"},  // MP3: counters first
        {1, 0, 0, "AA BB", "FF 04 02 00 00 00 AA BB"},
        {7, 0, 0, "", "FF 04 00 00 00 00"},
    };
    for (const auto& c : blocks) {
        SCOPED_TRACE(c.tag);
        s.SetCompressFormat(static_cast<flaSound::CompressFormat_e>(c.format));
        flaBuffer block;
        const Bytes data = Hex(c.data);
        if (!data.empty()) block.SetData(NewCopy(data), static_cast<unsigned int>(data.size()));
        block.SetSamplePerFrame(c.samplePerFrame);
        block.SetDelay(c.delay);
        EXPECT_EQ(Written([&](flaDump& d) { s.DumpSoundStreamBlockInFile(d, block); }), c.tag);

        std::unique_ptr<flaBuffer> read(s.ReadSoundStreamBlockFromFile(*OpenTag(Hex(c.tag))));
        ASSERT_NE(read, nullptr);
        EXPECT_EQ(HexOf(*read), c.data);
        EXPECT_EQ(Nums(read->GetSamplePerFrame(), read->GetDelay()), Nums(c.samplePerFrame, c.delay));
    }

    // The fixed stream of the writer: nothing until active, then its head and the
    // blocks that hold data.
    flaStreamedSound stream;
    EXPECT_EQ(Written([&](flaDump& d) { stream.DumpHeader(d); }), "");
    stream.Activate(static_cast<unsigned short>(70000));  // 4464
    flaBuffer block;
    block.SetData(NewCopy(Hex("01 02 03")), 3);
    EXPECT_EQ(Written([&](flaDump& d) {
                  stream.DumpHeader(d);
                  stream.DumpBlock(d, flaBuffer());
                  stream.DumpBlock(d, block);
              }),
              "44 0B 00 1B 70 11 FF 04 03 00 00 00 01 02 03");
}

// A lossless bitmap cut short is left as it was.
TEST(MediaTags, ShortTagsThrow) {
    enum Kind { Define = 14, Head = 45, Mp3Block = 19, Start = 15, Lossless = 20, Jpeg2 = 21 };
    const struct { Kind kind; const char* body; } cases[] = {
        {Define, ""}, {Define, "01 00 03 0A 00"}, {Define, "01 00 2F 00 00 00 00 01"},  // count, mp3 seek cut
        {Head, "00 1B 40"}, {Mp3Block, "40 02"},
        {Start, "07"}, {Start, "07 00 01 64 00"},                                     // id, in point cut
        {Start, "07 00 08 03 00 00 00 00 01 00 02 00 01"},                            // three points announced
        {Lossless, ""}, {Lossless, "01 00 05 01"},                                    // width cut short
        {Lossless, "01 00 03 01 00 01 00"},  // colour-mapped without its colour-table byte
        {Jpeg2, "01"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body);
        auto reader = OpenTag(LongTag(c.kind, Hex(c.body)));
        flaSound s;
        if (c.kind == Mp3Block) s.SetCompressFormat(flaSound::MP3), s.ConvertToStream();
        flaSoundInfo info;
        flaBitsLossless bits;
        bits.id = 42;
        bits.dataSize = 1;
        bits.data = NewCopy(Hex("EE"));
        switch (c.kind) {
            case Define: EXPECT_THROW(s.ReadSoundFromFile(*reader), flaRead::readError); break;
            case Head: EXPECT_THROW(s.ReadSoundStreamFromFile(true, *reader), flaRead::readError); break;
            case Mp3Block: EXPECT_THROW(delete s.ReadSoundStreamBlockFromFile(*reader), flaRead::readError); break;
            case Start: EXPECT_THROW(info.Read(*reader), flaRead::readError); break;
            case Lossless: EXPECT_THROW(bits.ReadFromFile(*reader), flaRead::readError); break;
            case Jpeg2: EXPECT_THROW(flaBitsJpeg2().ReadFromFile(*reader), flaRead::readError); break;
        }
        EXPECT_EQ(Nums(bits.id, bits.dataSize, bits.data[0]), "42,1,238");
    }
}

// A StartSound (-1 leaves a field unset) as written; what the reader takes in,
// written again, gives the same tag.
TEST(flaSoundInfo, StartSoundWritesAndReadsTheVectors) {
    const struct {
        int id, flags;
        long in, out, loop;
        int points;
        const char* tag;  // the tag, or its first bytes
        std::size_t size;
    } cases[] = {
        {7, 0, -1, -1, -1, -1, "C3 03 07 00 00", 5},
        {7, flaSoundInfo::SyncStop | flaSoundInfo::SyncNoMultiple, 100, -1, -1, -1, "C7 03 07 00 31 64 00 00 00", 9},
        {1, 0, -1, 0x01020304, 70000, -1, "C9 03 01 00 06 04 03 02 01 70 11", 11},  // loop count: low 16 bits
        {2, 0, -1, -1, -1, 0, "C4 03 02 00 08 00", 6},
        {3, 0, -1, -1, -1, 1, "CC 03 03 00 08 01 01 00 00 00 00 00 00 80", 14},
        {2, 0, 1, 2, 3, 6, "FE 03 02 00 0F 01 00 00 00 02 00 00 00 03 00 06", 64},  // 62 bytes: still short
        {2, 0, 1, 2, 3, 7, "FF 03 46 00 00 00 02 00 0F", 76},                       // 70 bytes: long form
        {4, 0, -1, -1, -1, 10, "FF 03 44 00 00 00 04 00 08 08", 74},                // ten points keep eight
    };
    for (const auto& v : cases) {
        SCOPED_TRACE(v.tag);
        flaSoundInfo info;
        info.SetSoundId(v.id);
        if (v.flags) info.SetSyncFlag(static_cast<flaSoundInfo::SyncFlag>(v.flags));
        if (v.in >= 0) info.SetInPoint(static_cast<unsigned int>(v.in));
        if (v.out >= 0) info.SetOutPoint(static_cast<unsigned int>(v.out));
        if (v.loop >= 0) info.SetLoopCount(static_cast<unsigned int>(v.loop));
        std::vector<flaSoundInfo::EnvelopePoint> env(v.points < 0 ? 0 : v.points);
        for (unsigned int i = 0; i < env.size(); ++i)
            env[i] = {1000 * i + 1, static_cast<unsigned short>(i), static_cast<unsigned short>(32768 - i)};
        if (v.points >= 0) info.SetEnvelope(env.data(), env.data() + env.size());
        const std::string out = Written([&](flaDump& d) { info.DumpSoundStartInFile(d); });
        EXPECT_EQ(out.substr(0, std::strlen(v.tag)), v.tag);
        EXPECT_EQ(Hex(out).size(), v.size);

        flaSoundInfo read;
        auto reader = OpenTag(Hex(out));
        read.Read(*reader);
        EXPECT_EQ(reader->DataSize(), 0);
        EXPECT_EQ(Written([&](flaDump& d) { read.DumpSoundStartInFile(d); }), out);
    }
    // Read, an envelope of ten points keeps eight and the rest is consumed.
    std::string body = "09 00 28 0A";  // SyncStop, envelope of ten points
    for (unsigned char i = 0; i < 10; ++i) body += " " + ToHex({i, 0, 0, 0, 1, 0, 2, 0});
    auto reader = OpenTag(LongTag(15, Hex(body)));
    flaSoundInfo info;
    info.Read(*reader);
    EXPECT_EQ(Nums(info.IsSyncStop(), info.GetEnvelopePointCount(), info.GetEnvelopePoint(7).position,
                   reader->DataSize()),
              "1,8,7,0");
}

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
}

// Where InitJpegData finds each kind's stream, and when it finds none: DefineBits is
// joined with the movie's JPEG tables into a new buffer; the others point into their
// own data, DefineBitsJPEG3 with its alpha data after the stream. The caller's
// structure starts with ownsBuffer = true.
TEST(flaBitsJpeg, InitJpegDataFindsTheStream) {
    const std::string t = "FF D8 DB 00 FF D9";
    const struct {
        int kind;
        const char* tables;
        std::string body;
        const char* stream;  // null: none is found
        bool owns;
        unsigned int alphaSize;
    } cases[] = {
        {1, nullptr, "FF D8 AA BB FF D9", "FF D8 AA BB FF D9", true, 0},  // no tables: copied
        {1, "FF D9", "FF D8 AA BB FF D9", "FF D8 AA BB FF D9", true, 0},  // two-byte tables: copied
        {1, t.c_str(), "FF D8 AA BB FF D9", "FF D8 DB 00 AA BB FF D9", true, 0},
        {1, "FF D8 D9", "FF D8 AA", "FF AA", true, 0},
        {1, t.c_str(), "FF D8 AA", "FF D8 DB 00 AA", true, 0},
        {1, t.c_str(), "FF D8", nullptr, true, 0},
        {2, nullptr, "FF D9 FF D8", nullptr, true, 0},                         // below five bytes
        {2, nullptr, "FF D9 FF D8 00", "00", true, 0},                         // the leading end/start pair skipped
        {2, nullptr, "FF D8 FF E0 00", "FF D8 FF E0 00", false, 0},            // the stream as it is
        {2, nullptr, "FF D9 FF D9 00 11", "FF D9 FF D9 00 11", false, 0},      // not the pair
        {3, nullptr, "", nullptr, true, 0},                                    // no data
        {3, nullptr, "0A 00 00", nullptr, true, 0},                            // not even the offset
        {3, nullptr, "0A 00 00 00 01 02 03 04 05 06 07 08 09 0A", nullptr, true, 0},  // no alpha byte
        {3, nullptr, "0A 00 00 00 01 02 03 04 05 06 07 08 09 0A 0B", "01 02 03 04 05 06 07 08 09 0A", false, 1},
        {3, nullptr, "00 00 00 00 AA", "", false, 1},
        {3, nullptr, "FF FF FF FF 01 02 03 04", nullptr, true, 0},  // an offset that would wrap around
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body);
        TablesMovie movie;
        if (c.tables) movie.SetTables(c.tables);
        const Bytes body = Hex(c.body);
        char* data = body.empty() || c.kind == 1 ? nullptr : NewCopy<char>(body);
        auto bits = MakeJpeg(c.kind, movie, data, data ? static_cast<unsigned int>(body.size()) : 0);
        if (c.kind == 1) {
            bits->ReadFromFile(*OpenTag(LongTag(6, Hex("01 00 " + c.body))));
            EXPECT_TRUE(static_cast<flaBitsJpeg&>(*bits).CheckBeginOfStreamTag());
        }
        flaBitsJpegBase::JPEGData out;
        out.ownsBuffer = true;
        ASSERT_EQ(bits->InitJpegData(out), c.stream != nullptr);
        EXPECT_EQ(out.ownsBuffer, c.owns);
        if (!c.stream) continue;
        EXPECT_EQ(ToHex(Bytes(out.jpeg, out.jpeg + out.jpegSize)), ToHex(Hex(c.stream)));
        EXPECT_EQ(out.alphaSize, c.alphaSize);
        if (c.kind == 1) delete[] out.jpeg;
        const auto* own = reinterpret_cast<unsigned char*>(data);  // the others point into their data
        EXPECT_TRUE(c.kind == 1 || (out.jpeg >= own && (c.kind == 2 || out.alpha == out.jpeg + out.jpegSize)));
    }
    EXPECT_FALSE(flaBitsJpeg(TablesMovie()).CheckBeginOfStreamTag());
}
