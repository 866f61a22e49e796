// Faithful round trips: a movie imported with flaRewrite's faithful mode and
// written with the faithful options keeps its timing, and a second cycle writes
// the same bytes; the options also serve a movie built from scratch.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "corpus_util.h"
#include "flio/flaRewrite.h"
#include "flio/flaSprite.h"
#include "handmade_movies.h"
#include "io/flaFormat.h"
#include "swfcheck_util.h"

using namespace flio_test;

namespace {

struct OpenMovie : flaMovie {
    using flaMovie::DumpMovieToBuffer;
};

// Writes a prepared movie with the options for it; the file image.
Bytes Write(OpenMovie& movie, const flaDump::WriteOptions& options) {
    flaDump dump(FrameWidth(movie), nullptr);
    dump.SetWriteOptions(options);
    movie.DumpMovieToBuffer(dump);
    return dump.GetBuffer();
}

// One faithful cycle: import (a file when path is given, else the image), prepare,
// write. Empty when the import fails.
Bytes Cycle(const Bytes& image, const std::string& path = "") {
    OpenMovie movie;
    flaRewrite::PrepareImport(movie, flaRewrite::Faithful);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    bool ok = false;
    try {
        ok = path.empty() ? movie.ReadMovieFromBuffer(image.data(), static_cast<int>(image.size()), nullptr)
                          : movie.ReadMovieFromFile(PL_FileSpec(path.c_str()), nullptr);
    } catch (const flaRead::readError&) {
    }
    if (ok) flaRewrite::Prepare(movie);
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    return ok ? Write(movie, flaRewrite::WriteOptionsFor(movie)) : Bytes();
}

// The top-level tag codes of a file image, with "|" for each ShowFrame's end of frame.
std::vector<unsigned> Codes(const Bytes& image) {
    flaRead in(static_cast<int>(image.size()), image.data());
    in.GetFileHeader();
    in.GetMovieHeader();
    std::vector<unsigned> codes;
    in.WalkTags([&](unsigned short code) { codes.push_back(code); });
    return codes;
}

int Count(const std::vector<unsigned>& codes, unsigned code) {
    return static_cast<int>(std::count(codes.begin(), codes.end(), code));
}

}  // namespace

TEST(Faithful, HandmadeMoviesKeepTheirTiming) {
    for (const flio_handmade::Movie& m : flio_handmade::All()) {
        SCOPED_TRACE(m.name);
        const Bytes once = Cycle(m.bytes);
        ASSERT_FALSE(once.empty());
        EXPECT_EQ(Cycle(once), once);  // a second cycle writes the same bytes
        const std::vector<unsigned> codes = Codes(once), original = Codes(m.bytes);
        EXPECT_EQ(Count(codes, flaFormat::ShowFrame), Count(original, flaFormat::ShowFrame));
        EXPECT_EQ(Count(codes, flaFormat::RemoveObject2), Count(original, flaFormat::RemoveObject2));
        EXPECT_EQ(Count(codes, flaFormat::PlaceObject2), Count(original, flaFormat::PlaceObject2));
        EXPECT_EQ(once[3], m.bytes[3]);  // the file's version
        // The frame rate and count follow the stage RECT, whose width is in the
        // first 5 bits after the 8-byte header.
        const std::size_t rect = (5 + 4 * (m.bytes[8] >> 3) + 7) / 8;
        EXPECT_EQ(Bytes(once.begin() + 8 + rect, once.begin() + 12 + rect),
                  Bytes(m.bytes.begin() + 8 + rect, m.bytes.begin() + 12 + rect));
    }
}

// The classic writer places a sprite anew when its colour transform changes; a
// host building a movie can ask for moves instead.
TEST(Faithful, ColourTransformMovesForAMovieBuiltFromScratch) {
    for (bool moves : {false, true}) {
        OpenMovie movie;
        movie.SetFrameSize(100, 100);
        auto* shape = new flaGeometry(movie.GetNewCharacterId());
        movie.AddNewCharacter(shape);
        auto* sprite = new flaSprite(movie.GetNewCharacterId(), &movie);
        movie.AddNewCharacter(sprite);
        sprite->CreateFrames(4);
        for (int f = 0; f < 4; ++f) sprite->GetFrame(f)->PlaceNewCharacterInFrame(flaCharacterInfo(shape, 1));
        movie.CreateFrames(4);
        for (int f = 0; f < 4; ++f) {
            flaCharacterInfo info(sprite, 1, flaMatrix(), flaCharacterInfo::NoStartAction);
            info.SetColorXForm(flaColorXForm(256, 256, 256, static_cast<short>(256 - 50 * f), 0, 0, 0, 0));
            movie.GetFrame(f)->PlaceNewCharacterInFrame(info);
        }
        flaDump::WriteOptions options;
        options.colorTransformMoves = moves;
        const std::vector<unsigned> codes = Codes(Write(movie, options));
        EXPECT_EQ(Count(codes, flaFormat::RemoveObject2), moves ? 0 : 3) << moves;
        EXPECT_EQ(Count(codes, flaFormat::PlaceObject2), 4) << moves;
    }
}
TEST(Faithful, SecondCycleOfEveryCorpusFileWritesTheSameBytes) {
    const std::vector<std::string> files = CorpusFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus";
    std::vector<std::string> unstable, written;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const Bytes once = Cycle(Bytes(), files[i]);
        if (once.empty()) continue;  // LZMA and damaged files
        if (Cycle(once) != once) unstable.push_back(files[i]);
        const std::string out = RunDir() + "faithful_" + std::to_string(i) + ".swf";
        std::ofstream(out, std::ios::binary).write(reinterpret_cast<const char*>(once.data()),
                                                   static_cast<std::streamsize>(once.size()));
        written.push_back(out);
    }
    EXPECT_GT(written.size(), files.size() - 10);
    for (const std::string& f : unstable) ADD_FAILURE() << "a second cycle changes " << f;
    if (SwfCheckTool().empty()) return;
    const std::string reportFile = RunDir() + "faithful_check.json";
    std::string command = "'" + SwfCheckTool() + "'";
    for (const std::string& path : written) command += " '" + path + "'";
    RunCommand(command + " > '" + reportFile + "'");
    std::ifstream report(reportFile);
    std::set<std::string> accepted;
    for (std::string line; std::getline(report, line);)
        if (!line.empty() && Json::Parse(line)["ok"].boolean) accepted.insert(Json::Parse(line)["file"].text);
    for (const std::string& path : written)
        EXPECT_TRUE(accepted.count(path) || accepted.count(path.substr(path.rfind('/') + 1)))
            << "swfcheck rejects the faithful round trip " << path;
}
