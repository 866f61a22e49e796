// The flio tool's roundtrip command and `info --model`: arguments, exit status,
// messages, and what the model report says; the progress bar.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "cli_util.h"
#include "corpus_util.h"
#include "flio/PL_FileSpec.h"
#include "flio/flaFont.h"
#include "flio/flaMovie.h"
#include "json_mini.h"

#ifdef FLIO_HAVE_REWRITE
#include "model_util.h"
#include "progress_bar.h"
#endif

using namespace flio_test;

namespace {

std::string Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

}  // namespace

#ifdef FLIO_CLI_PATH

namespace {

const std::string kTool = FLIO_CLI_PATH;

// Runs the tool; its standard error is kept in `err`.
RunResult Tool(const std::string& args, std::string* err = nullptr) {
    const std::string errFile = testing::TempDir() + "flio_cli_roundtrip.err";
    // Grouped, so that this redirection wins over the one RunCommand appends.
    RunResult r = RunCommand("{ '" + kTool + "' " + args + " 2>'" + errFile + "'; }");
    if (err) *err = Slurp(errFile);
    std::remove(errFile.c_str());
    return r;
}

}  // namespace

TEST(CliRoundtrip, ArgumentsAndExitStatus) {
    const std::string dir = testing::TempDir();
    const std::string text = dir + "flio_cli_not_swf.txt";
    std::ofstream(text) << "hello";
    const std::string demo = dir + "flio_cli_rt_demo.swf";
    ASSERT_EQ(Tool("demo '" + demo + "'").status, 0);
    struct Case {
        std::string args;
        int status;
        std::string stderrHas;  // standard error holds this
    };
    const Case cases[] = {
        {"roundtrip", 2, "usage: flio roundtrip"},
        {"roundtrip '" + demo + "'", 2, "give one input and one output file"},
        {"roundtrip a b c", 2, "give one input and one output file"},
        {"roundtrip --bogus a b", 2, "unknown option '--bogus'"},
        {"roundtrip '" + dir + "missing.swf' '" + dir + "o.swf'", 1, "cannot read " + dir + "missing.swf: no such file"},
        {"roundtrip '" + text + "' '" + dir + "o.swf'", 1, ": not an SWF file"},
        {"roundtrip '" + dir + "' '" + dir + "o.swf'", 1, ": is a directory"},
        {"roundtrip '" + demo + "' '" + dir + "no/such/dir/o.swf'", 1, "cannot write"},
        {"info '" + text + "' --model", 1, ": not an SWF file"},
        {"info --model", 2, "usage: flio info"},
    };
    for (const Case& c : cases) {
        std::string err;
        const RunResult r = Tool(c.args, &err);
        EXPECT_EQ(r.status, c.status) << c.args;
        EXPECT_NE(err.find(c.stderrHas), std::string::npos) << c.args << "\n" << err;
        if (c.status == 1) {  // one clear line, the library's own messages kept away
            EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << c.args << "\n" << err;
            EXPECT_EQ(r.out, "") << c.args;
        }
    }
    for (const char* command : {"roundtrip --help", "info --help"}) {
        const RunResult r = Tool(command);
        EXPECT_EQ(r.status, 0) << command;
        EXPECT_NE(r.out.find("usage: flio"), std::string::npos) << command;
    }
    EXPECT_NE(Tool("roundtrip --help").out.find("stop flag"), std::string::npos);
    EXPECT_NE(Tool("--help").out.find("roundtrip IN.swf OUT.swf"), std::string::npos);
    std::remove(text.c_str());
    std::remove(demo.c_str());
}

TEST(CliRoundtrip, WritesAMovieThatImportsAgain) {
    const std::string dir = testing::TempDir();
    const std::string in = dir + "flio_cli_rt_in.swf", out = dir + "flio_cli_rt_out.swf";
    ASSERT_EQ(Tool("demo '" + in + "'").status, 0);
    std::string err;
    const RunResult r = Tool("roundtrip '" + in + "' '" + out + "' --compress", &err);
    ASSERT_EQ(r.status, 0) << err;
    EXPECT_NE(r.out.find("wrote " + out + " (60 frames"), std::string::npos) << r.out;
    EXPECT_EQ(err, "");  // nothing left out of the demo but what import drops silently
    EXPECT_EQ(Slurp(out).substr(0, 3), "CWS");
    flaMovie movie;
    EXPECT_TRUE(movie.ReadMovieFromFile(PL_FileSpec(out.c_str()), nullptr));
    EXPECT_EQ(movie.GetFrameCount(), 60u);
    std::remove(in.c_str());
    std::remove(out.c_str());
}

#ifdef FLIO_HAVE_REWRITE
// `info --model --json` against the same file imported in process.
TEST(CliModel, ReportsWhatTheModelHolds) {
    std::vector<std::string> files;
    for (const std::string& f : CorpusFiles())
        if (f.find("/format-tests/") != std::string::npos || f.find("/text/") != std::string::npos) files.push_back(f);
    if (files.empty()) GTEST_SKIP() << "no corpus";
    int reported = 0;
    for (const std::string& path : files) {
        flaMovie movie;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const bool ok = movie.ReadMovieFromFile(PL_FileSpec(path.c_str()), nullptr);
        if (ok) movie.buildBloatedFonts();
        testing::internal::GetCapturedStdout();
        testing::internal::GetCapturedStderr();
        std::string err;
        const RunResult r = Tool("info '" + path + "' --model --json", &err);
        if (!ok) {
            EXPECT_EQ(r.status, 1) << path;
            EXPECT_NE(err.find("flio info: cannot read " + path + ": "), std::string::npos) << err;
            continue;
        }
        ASSERT_EQ(r.status, 0) << path << "\n" << err;
        const Json j = Json::Parse(r.out);
        const flio_cli::CharacterCounts c = flio_cli::CountCharacters(movie);
        EXPECT_EQ(j["frames"].Int(), static_cast<long>(movie.GetFrameCount())) << path;
        EXPECT_EQ(j["characters"]["shapes"].Int(), c.shapes) << path;
        EXPECT_EQ(j["characters"]["sprites"].Int(), c.sprites) << path;
        EXPECT_EQ(j["characters"]["texts"].Int(), c.texts) << path;
        EXPECT_EQ(c.shapes + c.sprites + c.texts + c.other, static_cast<int>(movie.GetCharacterList().size()));
        EXPECT_EQ(j["sounds"].Int(), static_cast<long>(movie.GetSoundList().size())) << path;
        EXPECT_EQ(j["bitmaps"]["lossless"].Int(), static_cast<long>(movie.GetBitsLosslessList().size())) << path;
        EXPECT_EQ(j["bitmaps"]["lossless2"].Int(), static_cast<long>(movie.GetBitsLossless2List().size())) << path;
        EXPECT_EQ(j["bitmaps"]["jpeg"].Int(), static_cast<long>(movie.GetJPEGContainer().size())) << path;
        EXPECT_EQ(j["fonts"].Int(), static_cast<long>(movie.GetFontTable().GetBloatedFonts().size())) << path;
        EXPECT_EQ(j["streamedSound"].kind == Json::Null, movie.GetImportedStreamedSound() == nullptr) << path;
        EXPECT_EQ(j["palette"].kind == Json::Null, movie.GetExistingPaletteInformation() == nullptr) << path;
        EXPECT_EQ(j["unsupported"].Size(), movie.GetUnsupported()->GetUnsupportedElementCount()) << path;
        ++reported;
    }
    EXPECT_GT(reported, 40);
}
#endif  // FLIO_HAVE_REWRITE

#endif  // FLIO_CLI_PATH

#ifdef FLIO_HAVE_REWRITE
// The bar, drawn into a pipe: nothing before the delay, then one line redrawn in
// place and finished with 100% and a newline.
TEST(ProgressBar, DrawsAfterTheDelayAndFinishesTheLine) {
    struct Case {
        double delay;
        bool onlyOnTerminal;
        bool drawn;
    };
    for (const Case& c : {Case{0.0, false, true}, Case{3600.0, false, false}, Case{0.0, true, false}}) {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        {
            flio_cli::ProgressBar bar(fds[1], c.delay, c.onlyOnTerminal);
            bar.SetPhase("importing", 0.0f, 0.5f);
            bar.Update(0.5f);
            bar.Update(0.5f);  // unchanged: not drawn again
            bar.SetPhase("writing", 0.5f, 1.0f);
            bar.Update(0.2f);
            EXPECT_EQ(bar.Drawn(), c.drawn);
        }  // finished by the destructor
        close(fds[1]);
        std::string out;
        char buf[512];
        for (ssize_t n; (n = read(fds[0], buf, sizeof buf)) > 0;) out.append(buf, static_cast<std::size_t>(n));
        close(fds[0]);
        if (!c.drawn) {
            EXPECT_EQ(out, "") << c.delay;
            continue;
        }
        const std::string bar25 = "\rimporting [" + std::string(7, '#') + std::string(23, '-') + "]  25%";
        EXPECT_EQ(out.find("\rimporting [" + std::string(30, '-') + "]   0%"), 0u) << out;
        EXPECT_EQ(out.find(bar25), out.rfind(bar25)) << "drawn once";
        EXPECT_NE(out.find("\rwriting [" + std::string(18, '#') + std::string(12, '-') + "]  60%"), std::string::npos) << out;
        // 100%, then blanks over what the longer first label left, and the newline.
        const std::size_t done = out.rfind("100%");
        ASSERT_NE(done, std::string::npos) << out;
        EXPECT_EQ(out.substr(done + 4), std::string(out.size() - done - 5, ' ') + "\n");
        EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1);
    }
}
#endif  // FLIO_HAVE_REWRITE
