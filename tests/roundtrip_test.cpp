// Round trips over the shared corpus: each file imported and written again (the steps
// of `flio roundtrip`, run in process) imports to the same timeline. Each file is
// also checked against an independent scan of its header and tags, and against what
// `flio info` says of it.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cmath>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "corpus_util.h"
#include "flio/flaRewrite.h"
#include "flio/flaSprite.h"
#include "movie_test_util.h"
#include "swfcheck_util.h"
#ifdef FLIO_HAVE_REWRITE
#include "model_util.h"
#endif

using namespace flio_test;

namespace {

// Runs f with the library's diagnostics hidden.
template <class F>
auto Quiet(F f) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const auto result = f();
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    return result;
}

// Imports as the tool does (static pass off).
bool Import(flaMovie& movie, const std::string& path) {
    flaRewrite::PrepareImport(movie);
    return Quiet([&] { return movie.ReadMovieFromFile(PL_FileSpec(path.c_str()), nullptr); });
}

bool Write(flaMovie& movie, const std::string& path) {
    flaDump dump(FrameWidth(movie), nullptr);
    return Quiet([&] { return movie.DumpMovieToFile(PL_FileSpec(path.c_str()), dump, false); });
}

// ---- an independent scan of a corpus file -------------------------------------------------

// The uncompressed image of an "FWS" or "CWS" file; empty for anything else and for
// data that does not inflate to the announced length.
Bytes LoadImage(const std::string& path) {
    const Bytes raw = FileBytes(path);
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

struct Scanned {
    long stage[4] = {};  // xMin, xMax, yMin, yMax in twips
    unsigned rateWord = 0, frames = 0;
    std::set<int> unsupported;  // flaUnsupported kinds
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

Scanned Scan(const Bytes& image) {
    Scanned s;
    const unsigned nbits = image[8] >> 3;
    std::size_t bit = 8 * 8 + 5;
    for (long& field : s.stage) {
        std::uint32_t v = 0;
        for (unsigned i = 0; i < nbits; ++i, ++bit) v = (v << 1) | ((image[bit / 8] >> (7 - bit % 8)) & 1u);
        if (nbits && (v & (1u << (nbits - 1)))) v |= ~0u << nbits;
        field = static_cast<std::int32_t>(v);
    }
    const std::size_t at = (bit + 7) / 8;
    s.rateWord = Word(image, at);
    s.frames = Word(image, at + 2);
    ScanTags(image, at + 4, image.size(), false, s.unsupported);
    return s;
}

// The import keeps the stage in whole pixels (when it has some), the rate's whole
// part (24 outside 1..100) and at least the frames announced.
void ExpectImportedAsScanned(flaMovie& movie, const Scanned& s) {
    int width = 0, height = 0;
    movie.GetFrameSize(width, height);
    const long w = (s.stage[1] - s.stage[0]) / 20, h = (s.stage[3] - s.stage[2]) / 20;
    if (w >= 1 && h >= 1) {
        EXPECT_EQ(Nums(width, height), Nums(w, h));
    }
    const unsigned rate = s.rateWord >> 8;
    EXPECT_EQ(movie.GetFrameRate(), rate >= 1 && rate <= 100 ? static_cast<int>(rate) : 24);
    EXPECT_GE(movie.GetFrameCount(), s.frames);
    const flaUnsupported* u = movie.GetUnsupported();
    EXPECT_EQ(std::set<int>(u->GetUnsupportedElementBegin(), u->GetUnsupportedElementEnd()), s.unsupported);
}

#ifdef FLIO_CLI_PATH
// `flio info --json` gives the scanned header; a file that the scan cannot read
// gets status 1 and no output. `info --model --json` (asked of the files in the
// folders given) gives what the movie, imported and prepared, holds.
void ExpectInfoReports(const std::string& path, const Bytes& image, flaMovie* movie) {
    const RunResult r = RunCommand("'" FLIO_CLI_PATH "' info --json '" + path + "'");
    EXPECT_EQ(Nums(r.status, r.out.empty()), image.empty() ? "1,1" : "0,0");
    if (image.empty() || r.status != 0) return;
    const Scanned s = Scan(image);
    const Json j = Json::Parse(r.out);
    EXPECT_DOUBLE_EQ(j["stage"]["width"].number, (s.stage[1] - s.stage[0]) / 20.0);
    EXPECT_DOUBLE_EQ(j["stage"]["height"].number, (s.stage[3] - s.stage[2]) / 20.0);
    EXPECT_DOUBLE_EQ(j["frameRate"].number, s.rateWord / 256.0);
    EXPECT_EQ(j["frameCount"].Int(), s.frames);
#ifdef FLIO_HAVE_REWRITE
    if (path.find("/format-tests/") == std::string::npos && path.find("/text/") == std::string::npos) return;
    const RunResult model = RunCommand("'" FLIO_CLI_PATH "' info --model --json '" + path + "'");
    ASSERT_EQ(model.status, 0);
    const Json m = Json::Parse(model.out), &c = m["characters"], &b = m["bitmaps"];
    const flio_cli::CharacterCounts n = flio_cli::CountCharacters(*movie);
    EXPECT_EQ(Nums(m["frames"].Int(), c["shapes"].Int(), c["sprites"].Int(), c["texts"].Int(), m["sounds"].Int(),
                   b["lossless"].Int(), b["lossless2"].Int(), b["jpeg"].Int(), m["fonts"].Int()),
              Nums(movie->GetFrameCount(), n.shapes, n.sprites, n.texts, movie->GetSoundList().size(),
                   movie->GetBitsLosslessList().size(), movie->GetBitsLossless2List().size(),
                   movie->GetJPEGContainer().size(), movie->GetFontTable().GetBloatedFonts().size()));
    EXPECT_EQ(m["unsupported"].Size(), movie->GetUnsupported()->GetUnsupportedElementCount());
#endif
}
#endif  // FLIO_CLI_PATH

// ---- what a round trip keeps --------------------------------------------------------------

// A text read from a file is written as its outlines, so it comes back a shape.
int KindOf(const flaCharacter* c) {
    return c->IsSprite() ? 1 : dynamic_cast<const flaGeometry*>(c) || dynamic_cast<const flaTextGeometry*>(c) ? 0 : 2;
}

// What a written movie must keep besides its timelines: the characters the writer
// writes (those placed somewhere) by kind, the bitmaps and sounds, and each frame's
// background as a player shows it (white until a frame sets a colour, which stays).
std::string Summary(const flaMovie& movie) {
    int kinds[3] = {};
    for (const flaCharacter* c : flaRewrite::PlacedCharacters(movie)) ++kinds[KindOf(c)];
    std::string summary = Nums(kinds[0], kinds[1], kinds[2], movie.GetBitsLosslessList().size(),
                               movie.GetBitsLossless2List().size(), movie.GetJPEGContainer().size(),
                               movie.GetSoundList().size());
    std::string shown = "255,255,255,255";
    for (unsigned long long f = 0; f < movie.GetFrameCount(); ++f) {
        const flaFrame* frame = movie.GetFrame(static_cast<int>(f));
        if (frame->IsBackGroundColorValid()) shown = Rgba(frame->GetBackGroundColor());
        summary += " " + shown;
    }
    return summary;
}

// Placements agree when they have the same depth, character (id and kind), clip
// depth and colour transform, the translation within one twip (plus the float error
// of a value read as twips times the factor) and the other terms within one step
// of their 16.16 encoding.
void ExpectSameTimeline(const flaMovie& a, const flaMovie& b, int width, int id) {
    SCOPED_TRACE("timeline " + Nums(id));
    ASSERT_EQ(b.GetFrameCount(), a.GetFrameCount());
    const double twip = 1.0 / (20.0 * width), fixed = 1.0 / 65536.0;
    auto near = [](float x, float y, double tolerance) { return std::fabs(double(x) - y) <= tolerance; };
    for (int f = 0; f < static_cast<int>(a.GetFrameCount()); ++f) {
        const auto &one = a.GetFrame(f)->GetDisplayList(), &two = b.GetFrame(f)->GetDisplayList();
        ASSERT_EQ(two.size(), one.size()) << "frame " << f;
        for (auto i = one.begin(), j = two.begin(); i != one.end(); ++i, ++j) {
            const flaCharacterInfo &p = i->second, &q = j->second;
            const flaMatrix &m = p.GetMatrix(), &n = q.GetMatrix();
            SCOPED_TRACE("frame " + Nums(f) + " depth " + Nums(i->first));
            ASSERT_EQ(Nums(j->first, q.GetCharacter()->GetId(), KindOf(q.GetCharacter()), q.GetClipDepth()),
                      Nums(i->first, p.GetCharacter()->GetId(), KindOf(p.GetCharacter()), p.GetClipDepth()));
            ASSERT_TRUE(p.GetColorXForm() == q.GetColorXForm());
            ASSERT_TRUE(near(m.GetTX(), n.GetTX(), twip * 1.001 + std::fabs(m.GetTX()) * 1e-6) &&
                        near(m.GetTY(), n.GetTY(), twip * 1.001 + std::fabs(m.GetTY()) * 1e-6) &&
                        near(m.GetA(), n.GetA(), fixed) && near(m.GetB(), n.GetB(), fixed) &&
                        near(m.GetC(), n.GetC(), fixed) && near(m.GetD(), n.GetD(), fixed))
                << ModelMatrix(m, width) << " became " << ModelMatrix(n, width);
        }
    }
}

// Each file is imported (as the scan says, or rejected when the scan cannot read
// it), written, imported to the same movie and written again tag for tag the same;
// swfcheck, when there, must accept every written file.
TEST(RoundTrip, EveryCorpusFileImportsAgainToTheSameTimeline) {
    const std::vector<std::string> files = CorpusFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus";
    std::vector<std::string> written;
    for (std::size_t i = 0; i < files.size(); ++i) {
        SCOPED_TRACE(files[i]);
        const std::string out = flio_test::RunDir() + "flio_roundtrip_" + std::to_string(i) + ".swf";
        const Bytes image = LoadImage(files[i]);
        flaMovie movie;
        ASSERT_EQ(Import(movie, files[i]), !image.empty());  // LZMA and damaged files: nothing to write
        if (!image.empty()) {
            ExpectImportedAsScanned(movie, Scan(image));
            Quiet([&] { return flaRewrite::Prepare(movie); });
        }
#ifdef FLIO_CLI_PATH
        ExpectInfoReports(files[i], image, &movie);
#endif
        if (image.empty()) continue;
        ASSERT_TRUE(Write(movie, out));
        written.push_back(out);
        flaMovie again;
        ASSERT_TRUE(Import(again, out));
        // Sprites are written without start actions: the file holds no DoAction.
        EXPECT_FALSE(again.GetUnsupported()->UnsupportedElementAlreadyInserted(flaUnsupported::Action));
        Quiet([&] { return flaRewrite::Prepare(again); });
        EXPECT_EQ(Summary(again), Summary(movie));
        EXPECT_EQ(flaRewrite::PlacedCharacters(again).size(), again.GetCharacterList().size());  // all placed
        ExpectSameTimeline(movie, again, FrameWidth(movie), 0);
        for (const flaCharacter* c : flaRewrite::PlacedCharacters(movie)) {  // and each placed sprite's
            if (!c->IsSprite()) continue;
            const auto* sprite = dynamic_cast<const flaSprite*>(again.GetCharacter(c->GetId()));
            ASSERT_NE(sprite, nullptr) << "sprite " << c->GetId();
            ExpectSameTimeline(*dynamic_cast<const flaSprite*>(c), *sprite, FrameWidth(movie), c->GetId());
        }
        ASSERT_TRUE(Write(again, out + "2"));
        EXPECT_EQ(TagCodes(FileBytes(out)), TagCodes(FileBytes(out + "2")));
    }
    EXPECT_GT(written.size(), files.size() - 10);
    if (SwfCheckTool().empty()) return;
    // swfcheck over all files in one call (starting node once per file would
    // dominate), into a file (node may exit before a pipe has drained).
    const std::string reportFile = flio_test::RunDir() + "flio_roundtrip_check.json";
    std::string command = "'" + SwfCheckTool() + "'";
    for (const std::string& path : written) command += " '" + path + "'";
    RunCommand(command + " > '" + reportFile + "'");
    std::ifstream report(reportFile);
    std::set<std::string> accepted;
    for (std::string line; std::getline(report, line);)
        if (!line.empty() && Json::Parse(line)["ok"].boolean) accepted.insert(Json::Parse(line)["file"].text);
    for (const std::string& path : written)
        EXPECT_TRUE(accepted.count(path) || accepted.count(path.substr(path.rfind('/') + 1)))
            << "swfcheck rejects the round trip of " << path;
}

}  // namespace
