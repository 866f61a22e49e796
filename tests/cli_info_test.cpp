// The flio tool's info command over every corpus file: it never crashes, and what it
// reports agrees with the header bytes.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "cli_util.h"
#include "corpus_util.h"

#ifdef FLIO_CLI_PATH

namespace {

// The first bytes of the uncompressed file image (inflated for CWS files).
std::vector<unsigned char> HeaderBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<unsigned char> raw((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (raw.size() < 8 || raw[0] != 'C') return raw;
    std::vector<unsigned char> out(raw.begin(), raw.begin() + 8);
    out.resize(8 + 64);
    z_stream zs{};
    inflateInit(&zs);
    zs.next_in = raw.data() + 8;
    zs.avail_in = static_cast<uInt>(raw.size() - 8);
    zs.next_out = out.data() + 8;
    zs.avail_out = 64;
    inflate(&zs, Z_SYNC_FLUSH);
    out.resize(8 + (64 - zs.avail_out));
    inflateEnd(&zs);
    return out;
}

struct Bits {
    const std::vector<unsigned char>& b;
    size_t bit = 64;
    long Get(int n, bool isSigned) {
        long v = 0;
        for (int i = 0; i < n; ++i, ++bit) v = (v << 1) | ((b.at(bit / 8) >> (7 - bit % 8)) & 1);
        if (isSigned && n > 0 && (v >> (n - 1)) & 1) v -= 1L << n;
        return v;
    }
};

double JsonField(const std::string& json, const std::string& key) {
    std::smatch m;
    if (!std::regex_search(json, m, std::regex("\"" + key + "\":(-?[0-9.eE+-]+)"))) return -1e300;
    return std::stod(m[1]);
}

}  // namespace

TEST(CliInfo, EveryCorpusFileReportsItsHeader) {
    const auto files = flio_test::CorpusFiles();
    if (files.empty()) GTEST_SKIP() << "corpus folder not found";
    int checked = 0;
    for (const std::string& path : files) {
        const flio_test::RunResult r = flio_test::RunCommand(std::string(FLIO_CLI_PATH) + " info --json '" + path + "'");
        ASSERT_GE(r.status, 0) << "crashed on " << path;
        const auto h = HeaderBytes(path);
        if (h.size() < 3 || h[0] == 'Z') {
            EXPECT_EQ(r.status, 1) << path;
            continue;
        }
        if (r.status != 0) {  // a malformed file: one clean error, no output
            EXPECT_EQ(r.status, 1) << path;
            EXPECT_TRUE(r.out.empty()) << path;
            continue;
        }
        Bits bits{h};
        const int nbits = static_cast<int>(bits.Get(5, false));
        const long xmin = bits.Get(nbits, true), xmax = bits.Get(nbits, true);
        const long ymin = bits.Get(nbits, true), ymax = bits.Get(nbits, true);
        const size_t after = (bits.bit + 7) / 8;
        ASSERT_GE(h.size(), after + 4) << path;
        const double rate = h[after + 1] + h[after] / 256.0;
        const unsigned frames = h[after + 2] | (h[after + 3] << 8);
        EXPECT_DOUBLE_EQ(JsonField(r.out, "width"), (xmax - xmin) / 20.0) << path;
        EXPECT_DOUBLE_EQ(JsonField(r.out, "height"), (ymax - ymin) / 20.0) << path;
        EXPECT_DOUBLE_EQ(JsonField(r.out, "frameRate"), rate) << path;
        EXPECT_EQ(JsonField(r.out, "frameCount"), frames) << path;
        ++checked;
    }
    EXPECT_GT(checked, 300);
}

TEST(CliInfo, UnreadableFilesGiveOneErrorLine) {
    const std::string missing = testing::TempDir() + "no-such-file.swf";
    EXPECT_EQ(flio_test::RunCommand(std::string(FLIO_CLI_PATH) + " info " + missing).status, 1);
    const std::string junk = testing::TempDir() + "flio-junk.swf";
    std::ofstream(junk) << "FWS";
    EXPECT_EQ(flio_test::RunCommand(std::string(FLIO_CLI_PATH) + " info " + junk).status, 1);
    std::remove(junk.c_str());
}

#endif  // FLIO_CLI_PATH
