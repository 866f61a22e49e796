// Every third-party file of the shared corpus through the file importer.
#include <gtest/gtest.h>
#include <zlib.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "corpus_util.h"
#include "flio/PL_FileSpec.h"
#include "flio/flaMovie.h"
#include "test_util.h"

using namespace flio_test;

namespace {

// The uncompressed image of an "FWS" or "CWS" file; empty for anything else.
Bytes LoadImage(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    Bytes raw((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (raw.size() < 8 || raw[1] != 'W' || raw[2] != 'S') return Bytes();
    if (raw[0] == 'F') return raw;
    if (raw[0] != 'C') return Bytes();
    uLongf length = raw[4] | (raw[5] << 8) | (raw[6] << 16) | (static_cast<uLongf>(raw[7]) << 24);
    if (length < 8) return Bytes();
    Bytes out(length);
    std::copy(raw.begin(), raw.begin() + 8, out.begin());
    uLongf produced = length - 8;
    if (uncompress(out.data() + 8, &produced, raw.data() + 8, static_cast<uLong>(raw.size() - 8)) != Z_OK ||
        produced != length - 8)
        return Bytes();
    return out;
}

// What the header says and which unsupported kinds the tags hold, read
// independently of the importer.
struct Expected {
    int width = 0, height = 0, rate = 0;
    unsigned frames = 0;
    std::set<int> unsupported;
};

class ByteCursor {
public:
    explicit ByteCursor(const Bytes& b) : bytes(b) {}
    bool Has(std::size_t n) const { return at + n <= bytes.size(); }
    unsigned Word() {
        const unsigned v = bytes[at] | (bytes[at + 1] << 8);
        at += 2;
        return v;
    }
    std::uint32_t DWord() {
        const std::uint32_t lo = Word();
        return lo | (static_cast<std::uint32_t>(Word()) << 16);
    }
    const Bytes& bytes;
    std::size_t at = 0;
};

void ScanTags(ByteCursor& c, std::size_t end, bool nested, std::set<int>& out) {
    while (c.at + 2 <= end && c.Has(2)) {
        const unsigned word = c.Word();
        std::size_t length = word & 63;
        if (length == 63) {
            if (!c.Has(4)) return;
            length = c.DWord();
        }
        const unsigned code = word >> 6;
        const std::size_t next = std::min(end, c.at + length);
        if (code == 12) out.insert(2);
        if (!nested) {
            if (code == 7 || code == 17 || code == 23 || code == 34) out.insert(3);
            if (code == 46) out.insert(1);
            if (code == 33 || code == 37) out.insert(0);
            if (code == 20 || code == 36) out.insert(5);
            if (code == 39 && c.Has(4)) {
                c.at += 4;
                ScanTags(c, next, true, out);
            }
        }
        c.at = next;
        if (code == 0) return;
    }
}

Expected Scan(const Bytes& image) {
    Expected e;
    const unsigned nbits = image[8] >> 3;
    std::uint32_t fields[4] = {};
    std::size_t bit = 8 * 8 + 5;
    for (auto& f : fields) {
        std::uint32_t v = 0;
        for (unsigned i = 0; i < nbits; ++i, ++bit) v = (v << 1) | ((image[bit / 8] >> (7 - bit % 8)) & 1u);
        if (nbits && (v & (1u << (nbits - 1)))) v |= ~0u << nbits;
        f = v;
    }
    e.width = (static_cast<std::int32_t>(fields[1]) - static_cast<std::int32_t>(fields[0])) / 20;
    e.height = (static_cast<std::int32_t>(fields[3]) - static_cast<std::int32_t>(fields[2])) / 20;
    ByteCursor c(image);
    c.at = (bit + 7) / 8;
    const unsigned rate = c.Word() >> 8;
    e.rate = rate >= 1 && rate <= 100 ? static_cast<int>(rate) : 24;
    e.frames = c.Word();
    ScanTags(c, image.size(), false, e.unsupported);
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
        if (!ok) {
            ADD_FAILURE() << "not imported: " << path;
            continue;
        }
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
        const std::set<int> got(u->GetUnsupportedElementBegin(), u->GetUnsupportedElementEnd());
        EXPECT_EQ(got, e.unsupported) << path;
    }
    EXPECT_GT(imported, 300);
    EXPECT_LT(rejected, 10);
}

}  // namespace
