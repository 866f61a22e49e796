// Every third-party file of the shared corpus through the file importer, checked
// against what an independent scan of the file says.
#include <gtest/gtest.h>
#include <zlib.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "corpus_util.h"
#include "flio/PL_File.h"
#include "flio/flaMovie.h"
#include "test_util.h"

using namespace flio_test;

namespace {

// The uncompressed image of an "FWS" or "CWS" file; empty for anything else.
Bytes LoadImage(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    Bytes raw((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (raw.size() < 8 || raw[1] != 'W' || raw[2] != 'S' || (raw[0] != 'F' && raw[0] != 'C')) return Bytes();
    if (raw[0] == 'F') return raw;
    const uLongf length = raw[4] | (raw[5] << 8) | (raw[6] << 16) | (static_cast<uLongf>(raw[7]) << 24);
    if (length < 8) return Bytes();
    Bytes out(raw.begin(), raw.begin() + 8);
    out.resize(length);
    uLongf produced = length - 8;
    if (uncompress(out.data() + 8, &produced, raw.data() + 8, static_cast<uLong>(raw.size() - 8)) != Z_OK ||
        produced != length - 8)
        return Bytes();
    return out;
}

struct Expected {
    int width = 0, height = 0, rate = 0;
    unsigned frames = 0;
    std::set<int> unsupported;
};

unsigned Word(const Bytes& b, std::size_t at) { return b[at] | (b[at + 1] << 8); }

// The unsupported kinds in the tags from `at` to `end`; a sprite's tags only
// report DoAction.
void ScanTags(const Bytes& b, std::size_t at, std::size_t end, bool nested, std::set<int>& out) {
    while (at + 2 <= end) {
        const unsigned word = Word(b, at), code = word >> 6;
        std::size_t length = word & 63;
        at += 2;
        if (length == 63) {
            if (at + 4 > end) return;
            length = Word(b, at) | (static_cast<std::size_t>(Word(b, at + 2)) << 16);
            at += 4;
        }
        const std::size_t next = std::min(end, at + length);
        if (code == 12) out.insert(2);
        if (!nested) {
            if (code == 7 || code == 17 || code == 23 || code == 34) out.insert(3);
            if (code == 46) out.insert(1);
            if (code == 33 || code == 37) out.insert(0);
            if (code == 20 || code == 36) out.insert(5);
            if (code == 39 && at + 4 <= end) ScanTags(b, at + 4, next, true, out);
        }
        at = next;
        if (code == 0) return;
    }
}

Expected Scan(const Bytes& image) {
    Expected e;
    const unsigned nbits = image[8] >> 3;
    std::int32_t fields[4] = {};
    std::size_t bit = 8 * 8 + 5;
    for (auto& f : fields) {
        std::uint32_t v = 0;
        for (unsigned i = 0; i < nbits; ++i, ++bit) v = (v << 1) | ((image[bit / 8] >> (7 - bit % 8)) & 1u);
        if (nbits && (v & (1u << (nbits - 1)))) v |= ~0u << nbits;
        f = static_cast<std::int32_t>(v);
    }
    e.width = (fields[1] - fields[0]) / 20;
    e.height = (fields[3] - fields[2]) / 20;
    const std::size_t at = (bit + 7) / 8;
    const unsigned rate = Word(image, at) >> 8;
    e.rate = rate >= 1 && rate <= 100 ? static_cast<int>(rate) : 24;
    e.frames = Word(image, at + 2);
    ScanTags(image, at + 4, image.size(), false, e.unsupported);
    return e;
}

TEST(ImportCorpus, EveryFileImportsAndMatchesItsHeader) {
    const std::vector<std::string> files = CorpusFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus";
    int imported = 0, rejected = 0;
    for (const std::string& path : files) {
        const Bytes image = LoadImage(path);
        flaMovie movie;
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        const bool ok = movie.ReadMovieFromFile(PL_FileSpec(path.c_str()), nullptr);
        ::testing::internal::GetCapturedStdout();
        ::testing::internal::GetCapturedStderr();
        if (image.empty()) {  // LZMA files and files that do not inflate
            EXPECT_FALSE(ok) << path;
            ++rejected;
            continue;
        }
        ASSERT_TRUE(ok) << "not imported: " << path;
        ++imported;
        const Expected e = Scan(image);
        int width = 0, height = 0;
        movie.GetFrameSize(width, height);
        if (e.width >= 1 && e.height >= 1) {
            EXPECT_EQ(width, e.width) << path;
            EXPECT_EQ(height, e.height) << path;
        }
        EXPECT_EQ(movie.GetFrameRate(), e.rate) << path;
        EXPECT_GE(movie.GetFrameCount(), e.frames) << path;
        const flaUnsupported* u = movie.GetUnsupported();
        EXPECT_EQ(std::set<int>(u->GetUnsupportedElementBegin(), u->GetUnsupportedElementEnd()), e.unsupported) << path;
    }
    EXPECT_GT(imported, 300);
    EXPECT_LT(rejected, 10);
}

}  // namespace
