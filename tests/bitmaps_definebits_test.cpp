// DefineBits: the JPEG image whose tables live in the movie.
#include <gtest/gtest.h>

#include <memory>

#include "flio/flaBits.h"
#include "flio/flaDump.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "media_test_util.h"
#include "test_util.h"

using namespace flio_test;

namespace {

// Reaches the movie's JPEGTables reader, which the importer normally calls.
class TablesMovie : public flaMovie {
public:
    TablesMovie() : flaMovie(550, 400) {}
    void SetTables(const Bytes& tables) {
        auto reader = OpenTag(LongTag(8, tables));
        ParseJPEGTables(*reader);
    }
};

struct Joined {
    bool ok;
    Bytes stream;
    bool owns;
};

Joined Join(const flaMovie& movie, const Bytes& image) {
    Bytes body = Hex("01 00");
    body.insert(body.end(), image.begin(), image.end());
    flaBitsJpeg bits(movie);
    auto reader = OpenTag(LongTag(6, body));
    bits.ReadFromFile(*reader);
    flaBitsJpegBase::JPEGData out;
    Joined j{bits.InitJpegData(out), {}, out.ownsBuffer};
    if (j.ok) {
        j.stream.assign(out.jpeg, out.jpeg + out.jpegSize);
        if (out.ownsBuffer) delete[] out.jpeg;
    }
    return j;
}

}  // namespace

TEST(flaBitsJpegDefineBits, WritesAndReadsTheTag) {
    TablesMovie movie;
    const Bytes tag = Hex("BF 01 06 00 00 00 03 00 FF D8 AA FF");
    flaBitsJpeg bits(movie);
    auto reader = OpenTag(tag);
    ASSERT_TRUE(bits.ReadFromFile(*reader));
    EXPECT_EQ(bits.id, 3u);
    EXPECT_TRUE(bits.CheckBeginOfStreamTag());
    flaDump dump(550, nullptr);
    EXPECT_TRUE(bits.DumpInFile(dump));
    EXPECT_EQ(ToHex(Flushed(dump)), ToHex(tag));

    flaBitsJpeg empty(movie);
    EXPECT_FALSE(empty.CheckBeginOfStreamTag());
}

TEST(flaBitsJpegDefineBits, InitJpegDataJoinsTheMovieTables) {
    const struct {
        const char* name;
        const char* tables;  // null: the movie read no tables
        const char* image;
        bool ok;
        const char* stream;
    } cases[] = {
        {"no tables: copied", nullptr, "FF D8 AA BB FF D9", true, "FF D8 AA BB FF D9"},
        {"two-byte tables: copied", "FF D9", "FF D8 AA BB FF D9", true, "FF D8 AA BB FF D9"},
        {"tables joined", "FF D8 DB 00 FF D9", "FF D8 AA BB FF D9", true, "FF D8 DB 00 AA BB FF D9"},
        {"three-byte tables", "FF D8 D9", "FF D8 AA", true, "FF AA"},
        {"three-byte image", "FF D8 DB 00 FF D9", "FF D8 AA", true, "FF D8 DB 00 AA"},
        {"two-byte image", "FF D8 DB 00 FF D9", "FF D8", false, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TablesMovie movie;
        if (c.tables) movie.SetTables(Hex(c.tables));
        const Joined j = Join(movie, Hex(c.image));
        ASSERT_EQ(j.ok, c.ok);
        if (!c.ok) continue;
        EXPECT_EQ(ToHex(j.stream), ToHex(Hex(c.stream)));
        EXPECT_TRUE(j.owns);  // always a new buffer, joined or copied
    }
}
