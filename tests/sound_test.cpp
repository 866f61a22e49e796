#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "flio/flaSound.h"
#include "media_test_util.h"
#include "test_util.h"

using namespace flio_test;

namespace {

Bytes BufferBytes(const flaBuffer& b) { return Bytes(b.GetPtr(), b.GetPtr() + b.GetSize()); }

void SetSamples(flaSound& s, const Bytes& b) {
    if (!b.empty()) s.SetSamples(NewCopy(b), static_cast<unsigned int>(b.size()));
}

}  // namespace

TEST(flaSound, RateCodeSnapsToTheFourRates) {
    const struct {
        unsigned int rate, code;
    } cases[] = {{0, 0},      {5500, 0},  {8250, 0},  {8251, 1},  {11025, 1}, {16400, 1}, {16537, 1},
                 {16538, 2}, {22050, 2}, {33075, 2}, {33076, 3}, {44100, 3}, {0xFFFFFFFF, 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rate);
        EXPECT_EQ(flaSound::RateCode(c.rate), c.code);
        // The DefineSound writer packs the same code into bits 3-2 of the format byte.
        flaSound s;
        s.SetSampleRate(c.rate);
        flaDump dump(550, nullptr);
        s.DumpSoundInFile(dump);
        EXPECT_EQ((Flushed(dump).at(8) >> 2) & 3u, c.code);
    }
}

namespace {

// One DefineSound as written and as read back.
struct DefineSoundVector {
    const char* name;
    int id;
    unsigned int format, rate;
    unsigned short sampleSize, channels;
    unsigned int count;
    const char* samples;
    const char* tag;
    unsigned int readFormat;  // a fresh sound keeps 0 for an unknown format
    const char* readSamples;
};

const DefineSoundVector kDefineSound[] = {
    {"pcm-16-mono", 3, 0, 11025, 16, 1, 2, "01 02 03 04",
     "BF 03 0B 00 00 00 03 00 06 02 00 00 00 01 02 03 04", 0, "01 02 03 04"},
    {"pcm-8-stereo", 7, 0, 5500, 8, 2, 2, "80 80 80 80",
     "BF 03 0B 00 00 00 07 00 01 02 00 00 00 80 80 80 80", 0, "80 80 80 80"},
    {"adpcm-stereo", 0x0102, 1, 22050, 16, 2, 100, "AA BB",
     "BF 03 09 00 00 00 02 01 1B 64 00 00 00 AA BB", 1, "AA BB"},
    {"mp3-event", 5, 2, 44100, 16, 2, 1152, "FF FB 90",
     "BF 03 0C 00 00 00 05 00 2F 80 04 00 00 00 00 FF FB 90", 2, "FF FB 90"},
    {"unknown-format", 6, 3, 5500, 8, 1, 9, "11 22",
     "BF 03 07 00 00 00 06 00 30 09 00 00 00", 0, ""},
};

}  // namespace

TEST(flaSound, DefineSoundWritesAndReadsTheVectors) {
    for (const DefineSoundVector& v : kDefineSound) {
        SCOPED_TRACE(v.name);
        flaSound s;
        s.SetSoundID(v.id);
        s.SetCompressFormat(static_cast<flaSound::CompressFormat_e>(v.format));
        s.SetSampleRate(v.rate);
        s.SetSampleSize(v.sampleSize);
        s.SetChannels(v.channels);
        s.SetSampleCount(v.count);
        SetSamples(s, Hex(v.samples));
        flaDump dump(550, nullptr);
        s.DumpSoundInFile(dump);
        EXPECT_EQ(ToHex(Flushed(dump)), ToHex(Hex(v.tag)));
        EXPECT_TRUE(s.IsAlreadyDump());

        flaSound read;
        auto reader = OpenTag(Hex(v.tag));
        read.ReadSoundFromFile(*reader);
        EXPECT_EQ(read.GetSoundID(), v.id);
        EXPECT_EQ(static_cast<unsigned int>(read.GetCompressFormat()), v.readFormat);
        EXPECT_EQ(read.GetSampleRate(), v.rate);
        EXPECT_EQ(read.GetSampleSize(), v.sampleSize);
        EXPECT_EQ(read.GetChannels(), v.channels);
        EXPECT_EQ(read.GetSampleCount(), v.count);
        EXPECT_EQ(ToHex(BufferBytes(read.GetBuffer())), ToHex(Hex(v.readSamples)));
        EXPECT_FALSE(read.GetIsStream());
    }
}

TEST(flaSound, DefineSoundIsWrittenOnceUnderItsCostCode) {
    flaSound s;
    s.SetSoundID(1);
    s.SetCostCode(4);
    SetSamples(s, Hex("01 02"));
    CountingCallback callback;
    flaDump dump(550, &callback);
    s.DumpSoundInFile(dump);
    const std::size_t once = Flushed(dump).size();
    s.DumpSoundInFile(dump);
    s.DumpSoundStreamInFile(dump);  // the same written-once flag
    EXPECT_EQ(Flushed(dump).size(), once);
    EXPECT_EQ(dump.GetCostCode(), 0u);
    ASSERT_GE(callback.bits.size(), 5u);
    EXPECT_EQ(callback.bits[4], static_cast<long long>(once * 8));
}

TEST(flaSound, Mp3EventSoundWritesSeekSamplesAsZero) {
    flaSound s;
    auto reader = OpenTag(LongTag(14, Hex("05 00 2F 80 04 00 00 E8 03 FF FB")));
    s.ReadSoundFromFile(*reader);
    EXPECT_EQ(s.GetBuffer().GetDelay(), 1000u);
    flaDump dump(550, nullptr);
    s.DumpSoundInFile(dump);
    EXPECT_EQ(ToHex(Flushed(dump)), "BF 03 0B 00 00 00 05 00 2F 80 04 00 00 00 00 FF FB");
}

TEST(flaSound, Mp3StreamSoundCarriesBothCounters) {
    // A stream's DefineSound body holds SeekSamples, then SampleCount and the delay.
    flaSound s;
    s.ConvertToStream();
    auto reader = OpenTag(LongTag(14, Hex("05 00 2F 80 04 00 00 E8 03 40 02 0A 00 FF")));
    s.ReadSoundFromFile(*reader);
    EXPECT_EQ(s.GetBuffer().GetSamplePerFrame(), 576u);
    EXPECT_EQ(s.GetBuffer().GetDelay(), 10u);
    flaDump dump(550, nullptr);
    s.DumpSoundInFile(dump);
    EXPECT_EQ(ToHex(Flushed(dump)), "BF 03 0C 00 00 00 05 00 2F 80 04 00 00 40 02 0A 00 FF");
}

TEST(flaSound, UncompressedEventSoundGetsItsDeclaredLength) {
    // 16-bit stereo, 10 samples: 40 bytes declared, 4 in the tag.
    const Bytes tag = LongTag(14, Hex("01 00 03 0A 00 00 00 01 02 03 04"));
    flaSound event;
    auto reader = OpenTag(tag);
    event.ReadSoundFromFile(*reader);
    ASSERT_EQ(event.GetSize(), 40u);
    Bytes expected = Hex("01 02 03 04");
    expected.resize(40, 0);
    EXPECT_EQ(ToHex(BufferBytes(event.GetBuffer())), ToHex(expected));

    flaSound stream;  // a stream takes only what the tag holds
    stream.ConvertToStream();
    auto again = OpenTag(tag);
    stream.ReadSoundFromFile(*again);
    EXPECT_EQ(stream.GetSize(), 4u);
}

TEST(flaSound, AbsurdDeclaredLengthIsCapped) {
    // 0xFFFFFFFF 16-bit stereo samples would be 16 GB.
    flaSound s;
    auto reader = OpenTag(LongTag(14, Hex("01 00 03 FF FF FF FF 01 02 03 04")));
    s.ReadSoundFromFile(*reader);
    EXPECT_EQ(s.GetSize(), 4u + flaBuffer::MaxBytesBeyondTag);
    EXPECT_EQ(s.GetSamplePtr()[3], 4);
}

TEST(flaBuffer, ReadTakesAtLeastTheRestOfTheTag) {
    flaBuffer b;
    b.SetData(NewCopy(Hex("EE")), 1);
    auto reader = OpenTag(LongTag(19, Hex("01 02 03")));
    b.Read(*reader, 1);  // smaller than the tag: the block still holds the tag's bytes
    EXPECT_EQ(ToHex(BufferBytes(b)), "01 02 03");
    EXPECT_EQ(reader->DataSize(), 0);
    b.SetData(nullptr, 9);
    EXPECT_EQ(b.GetSize(), 0u);
}

TEST(flaSound, ShortTagsThrow) {
    const struct {
        const char* name;
        unsigned int code;
        const char* body;
        bool stream;  // read as a stream head
    } cases[] = {
        {"sample count cut", 14, "01 00 03 0A 00", false},
        {"mp3 without seek samples", 14, "01 00 2F 00 00 00 00 01", false},
        {"empty", 14, "", false},
        {"stream head cut", 45, "00 1B 40", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        flaSound s;
        auto reader = OpenTag(LongTag(c.code, Hex(c.body)));
        if (c.stream)
            EXPECT_THROW(s.ReadSoundStreamFromFile(true, *reader), flaRead::readError);
        else
            EXPECT_THROW(s.ReadSoundFromFile(*reader), flaRead::readError);
    }
    flaSound mp3;
    mp3.SetCompressFormat(flaSound::MP3);
    mp3.ConvertToStream();
    auto reader = OpenTag(LongTag(19, Hex("40 02")));
    EXPECT_THROW(delete mp3.ReadSoundStreamBlockFromFile(*reader), flaRead::readError);
}

TEST(flaSound, StreamHeadRoundTrips) {
    const Bytes tag = Hex("44 0B 06 1B 40 02");  // short form, length 4
    flaSound s;
    auto reader = OpenTag(tag);
    s.ReadSoundStreamFromFile(false, *reader);
    EXPECT_TRUE(s.GetIsStream());
    EXPECT_EQ(s.GetStreamPlayback(), 6);
    EXPECT_EQ(s.GetCompressFormat(), flaSound::ADPCM);
    EXPECT_EQ(s.GetSampleRate(), 22050u);
    EXPECT_EQ(s.GetSampleSize(), 16);
    EXPECT_EQ(s.GetChannels(), 2);
    EXPECT_EQ(s.GetSampleCount(), 576u);
    flaDump dump(550, nullptr);
    s.DumpSoundStreamInFile(dump);
    s.DumpSoundStreamInFile(dump);  // once only
    EXPECT_EQ(ToHex(Flushed(dump)), ToHex(tag));
}

TEST(flaSound, StreamBlocksWriteAndRead) {
    const struct {
        const char* name;
        unsigned int format;
        unsigned int samplePerFrame, delay;
        const char* data;
        const char* tag;
    } cases[] = {
        {"mp3", 2, 576, 10, "FF FB 90", "FF 04 07 00 00 00 40 02 0A 00 FF FB 90"},
        {"adpcm", 1, 0, 0, "AA BB", "FF 04 02 00 00 00 AA BB"},
        {"pcm", 0, 0, 0, "01", "FF 04 01 00 00 00 01"},
        {"unknown", 7, 0, 0, "", "FF 04 00 00 00 00"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        flaSound s;
        s.ConvertToStream();
        s.SetCompressFormat(static_cast<flaSound::CompressFormat_e>(c.format));
        flaBuffer block;
        const Bytes data = Hex(c.data);
        if (!data.empty()) block.SetData(NewCopy(data), static_cast<unsigned int>(data.size()));
        block.SetSamplePerFrame(c.samplePerFrame);
        block.SetDelay(c.delay);
        flaDump dump(550, nullptr);
        s.DumpSoundStreamBlockInFile(dump, block);
        EXPECT_EQ(ToHex(Flushed(dump)), ToHex(Hex(c.tag)));

        auto reader = OpenTag(Hex(c.tag));
        std::unique_ptr<flaBuffer> read(s.ReadSoundStreamBlockFromFile(*reader));
        ASSERT_NE(read, nullptr);
        EXPECT_EQ(ToHex(BufferBytes(*read)), ToHex(data));
        EXPECT_EQ(read->GetSamplePerFrame(), c.samplePerFrame);
        EXPECT_EQ(read->GetDelay(), c.delay);
    }
}

TEST(flaStreamedSound, WritesTheFixedHeadAndRawBlocks) {
    flaStreamedSound stream;
    flaBuffer block;
    block.SetData(NewCopy(Hex("01 02 03")), 3);
    flaDump off(550, nullptr);
    stream.DumpHeader(off);
    EXPECT_TRUE(Flushed(off).empty());

    stream.Activate(static_cast<unsigned short>(70000));  // 4464
    EXPECT_TRUE(stream.IsActive());
    flaDump on(550, nullptr);
    stream.DumpHeader(on);
    stream.DumpBlock(on, flaBuffer());  // an empty block writes nothing
    stream.DumpBlock(on, block);
    EXPECT_EQ(ToHex(Flushed(on)), "44 0B 00 1B 70 11 FF 04 03 00 00 00 01 02 03");

    stream.Activate(0);
    EXPECT_FALSE(stream.IsActive());
}

// --- Sound starts ------------------------------------------------------------

namespace {

flaSoundInfo::EnvelopePoint Point(unsigned int position, unsigned short left, unsigned short right) {
    flaSoundInfo::EnvelopePoint p;
    p.position = position;
    p.leftLevel = left;
    p.rightLevel = right;
    return p;
}

std::vector<flaSoundInfo::EnvelopePoint> Points(unsigned int n) {
    std::vector<flaSoundInfo::EnvelopePoint> v;
    for (unsigned int i = 0; i < n; ++i)
        v.push_back(Point(1000 * i + 1, static_cast<unsigned short>(i), static_cast<unsigned short>(32768 - i)));
    return v;
}

void ExpectSameInfo(const flaSoundInfo& a, const flaSoundInfo& b) {
    EXPECT_EQ(a.GetSoundId(), b.GetSoundId());
    EXPECT_EQ(a.GetSyncFlags(), b.GetSyncFlags());
    EXPECT_EQ(a.HasInPoint(), b.HasInPoint());
    EXPECT_EQ(a.HasOutPoint(), b.HasOutPoint());
    EXPECT_EQ(a.HasLoopCount(), b.HasLoopCount());
    EXPECT_EQ(a.HasEnvelope(), b.HasEnvelope());
    EXPECT_EQ(a.GetInPoint(), b.GetInPoint());
    EXPECT_EQ(a.GetOutPoint(), b.GetOutPoint());
    EXPECT_EQ(a.GetLoopCount(), b.GetLoopCount());
    ASSERT_EQ(a.GetEnvelopePointCount(), b.GetEnvelopePointCount());
    for (unsigned int i = 0; i < a.GetEnvelopePointCount(); ++i) {
        EXPECT_EQ(a.GetEnvelopePoint(i).position, b.GetEnvelopePoint(i).position);
        EXPECT_EQ(a.GetEnvelopePoint(i).leftLevel, b.GetEnvelopePoint(i).leftLevel);
        EXPECT_EQ(a.GetEnvelopePoint(i).rightLevel, b.GetEnvelopePoint(i).rightLevel);
    }
}

flaSoundInfo FullStart(unsigned int points) {
    flaSoundInfo info;
    info.SetSoundId(2);
    info.SetInPoint(1);
    info.SetOutPoint(2);
    info.SetLoopCount(3);
    const auto env = Points(points);
    info.SetEnvelope(env.data(), env.data() + env.size());
    return info;
}

struct StartVector {
    const char* name;
    std::function<void(flaSoundInfo&)> setup;
    const char* tag;  // the whole tag, or its first bytes when `prefixOnly`
    bool prefixOnly;
    std::size_t tagSize;
};

const StartVector kStarts[] = {
    {"plain", [](flaSoundInfo& s) { s.SetSoundId(7); }, "C3 03 07 00 00", false, 5},
    {"stop-nomultiple-in",
     [](flaSoundInfo& s) {
         s.SetSoundId(7);
         s.SetSyncFlag(flaSoundInfo::SyncStop);
         s.SetSyncFlag(flaSoundInfo::SyncNoMultiple);
         s.SetInPoint(100);
     },
     "C7 03 07 00 31 64 00 00 00", false, 9},
    {"out-loop-truncated",
     [](flaSoundInfo& s) {
         s.SetSoundId(1);
         s.SetOutPoint(0x01020304);
         s.SetLoopCount(70000);  // 4464 kept
     },
     "C9 03 01 00 06 04 03 02 01 70 11", false, 11},
    {"empty-envelope",
     [](flaSoundInfo& s) {
         s.SetSoundId(2);
         const flaSoundInfo::EnvelopePoint p;
         s.SetEnvelope(&p, &p);
     },
     "C4 03 02 00 08 00", false, 6},
    {"one-point",
     [](flaSoundInfo& s) {
         s.SetSoundId(3);
         const auto p = Point(44100, 32768, 0);
         s.SetEnvelope(&p, &p + 1);
     },
     "CC 03 03 00 08 01 44 AC 00 00 00 80 00 00", false, 14},
    // 3 + 4 + 4 + 2 + 1 + 48 = 62: still the short form.
    {"six-points", [](flaSoundInfo& s) { s = FullStart(6); }, "FE 03 02 00 0F 01 00 00 00 02 00 00 00 03 00 06", true,
     64},
    // 70: the long form.
    {"seven-points", [](flaSoundInfo& s) { s = FullStart(7); }, "FF 03 46 00 00 00 02 00 0F", true, 76},
    // Ten points keep eight: 3 + 1 + 64 = 68.
    {"ten-points-clamped",
     [](flaSoundInfo& s) {
         const auto env = Points(10);
         s.SetSoundId(4);
         s.SetEnvelope(env.data(), env.data() + env.size());
     },
     "FF 03 44 00 00 00 04 00 08 08", true, 74},
};

}  // namespace

TEST(flaSoundInfo, StartSoundWritesAndReadsTheVectors) {
    for (const StartVector& v : kStarts) {
        SCOPED_TRACE(v.name);
        flaSoundInfo info;
        v.setup(info);
        flaDump dump(550, nullptr);
        info.DumpSoundStartInFile(dump);
        const Bytes out = Flushed(dump);
        ASSERT_EQ(out.size(), v.tagSize);
        const Bytes expected = Hex(v.tag);
        if (v.prefixOnly)
            EXPECT_EQ(ToHex(Bytes(out.begin(), out.begin() + static_cast<long>(expected.size()))), ToHex(expected));
        else
            EXPECT_EQ(ToHex(out), ToHex(expected));

        flaSoundInfo read;
        auto reader = OpenTag(out);
        read.Read(*reader);
        EXPECT_EQ(reader->DataSize(), 0);
        ExpectSameInfo(read, info);
    }
}

TEST(flaSoundInfo, SyncFlagsAndEnvelopeLimits) {
    flaSoundInfo info;
    info.SetSyncFlag(flaSoundInfo::SyncStop);
    EXPECT_TRUE(info.IsSyncStop());
    EXPECT_FALSE(info.IsSyncNoMultiple());

    const auto env = Points(10);
    info.SetEnvelope(env.data(), env.data() + env.size());
    EXPECT_EQ(info.GetEnvelopePointCount(), 8);
    EXPECT_EQ(info.GetEnvelopePoint(7).position, env[7].position);
    info.SetEnvelope(env.data() + 2, env.data());  // begin after end
    EXPECT_TRUE(info.HasEnvelope());
    EXPECT_EQ(info.GetEnvelopePointCount(), 0);
}

TEST(flaSoundInfo, ReadKeepsEightPointsAndConsumesTheRest) {
    Bytes body = Hex("09 00 28 0A");  // flags 0x28: SyncStop, envelope; 10 points
    for (unsigned int i = 0; i < 10; ++i) {
        const Bytes point = {static_cast<unsigned char>(i), 0, 0, 0, 1, 0, 2, 0};
        body.insert(body.end(), point.begin(), point.end());
    }
    auto reader = OpenTag(LongTag(15, body));
    flaSoundInfo info;
    info.Read(*reader);
    EXPECT_TRUE(info.IsSyncStop());
    EXPECT_EQ(info.GetEnvelopePointCount(), 8);
    EXPECT_EQ(info.GetEnvelopePoint(7).position, 7u);
    EXPECT_EQ(reader->DataSize(), 0);
}

TEST(flaSoundInfo, ShortTagsThrow) {
    const char* bodies[] = {
        "07",                                       // id cut
        "07 00 01 64 00",                           // in point cut
        "07 00 08 03 00 00 00 00 01 00 02 00 01",  // three points announced, fewer present
    };
    for (const char* body : bodies) {
        SCOPED_TRACE(body);
        flaSoundInfo info;
        auto reader = OpenTag(LongTag(15, Hex(body)));
        EXPECT_THROW(info.Read(*reader), flaRead::readError);
    }
}
