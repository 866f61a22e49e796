// The flio tool's info command over every corpus file: it never crashes, and the
// stage, frame rate and frame count it reports agree with the header bytes.
#include <gtest/gtest.h>
#include <zlib.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "cli_util.h"
#include "corpus_util.h"
#include "json_mini.h"

#ifdef FLIO_CLI_PATH

namespace {

using namespace flio_test;

// The first bytes of the uncompressed file image (inflated for CWS files).
std::vector<unsigned char> HeaderBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<unsigned char> raw((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (raw.size() < 8 || raw[0] != 'C') return raw;
    std::vector<unsigned char> out(raw.begin(), raw.begin() + 8);
    uLongf size = 64;  // uncompress fills what fits and says how much
    out.resize(8 + size);
    uncompress(out.data() + 8, &size, raw.data() + 8, static_cast<uLong>(raw.size() - 8));
    out.resize(8 + size);
    return out;
}

TEST(CliInfo, EveryCorpusFileReportsItsHeader) {
    const auto files = CorpusFiles();
    if (files.empty()) GTEST_SKIP() << "corpus folder not found";
    int checked = 0;
    for (const std::string& path : files) {
        SCOPED_TRACE(path);
        const RunResult r = RunCommand(std::string(FLIO_CLI_PATH) + " info --json '" + path + "'");
        ASSERT_GE(r.status, 0) << "crashed";
        const std::vector<unsigned char> h = HeaderBytes(path);
        if (r.status != 0 || h.size() < 3 || h[0] == 'Z') {  // LZMA or malformed: one clean error, no output
            EXPECT_EQ(r.status, 1);
            EXPECT_EQ(r.out, "");
            continue;
        }
        std::size_t bit = 64;  // the stage RECT after the 8-byte header
        auto get = [&](int n) {
            long v = 0;
            for (int i = 0; i < n; ++i, ++bit) v = (v << 1) | ((h.at(bit / 8) >> (7 - bit % 8)) & 1);
            return n > 0 && (v >> (n - 1)) ? v - (1L << n) : v;
        };
        const int nbits = static_cast<int>(get(5) & 31);
        const long xmin = get(nbits), xmax = get(nbits), ymin = get(nbits), ymax = get(nbits);
        const std::size_t at = (bit + 7) / 8;
        ASSERT_GE(h.size(), at + 4);
        const Json j = Json::Parse(r.out);
        EXPECT_DOUBLE_EQ(j["stage"]["width"].number, (xmax - xmin) / 20.0);
        EXPECT_DOUBLE_EQ(j["stage"]["height"].number, (ymax - ymin) / 20.0);
        EXPECT_DOUBLE_EQ(j["frameRate"].number, h[at + 1] + h[at] / 256.0);
        EXPECT_EQ(j["frameCount"].Int(), h[at + 2] | (h[at + 3] << 8));
        ++checked;
    }
    EXPECT_GT(checked, 300);
}

}  // namespace

#endif  // FLIO_CLI_PATH
