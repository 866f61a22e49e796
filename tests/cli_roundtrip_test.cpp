// The flio tool's roundtrip command and `info --model`: exit status and one-line
// errors, what the model report says, and the progress bar.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>

#include "cli_util.h"
#include "corpus_util.h"
#include "flio/PL_File.h"
#include "flio/flaFont.h"
#include "flio/flaMovie.h"
#include "json_mini.h"

#ifdef FLIO_HAVE_REWRITE
#include "model_util.h"
#include "progress_bar.h"
#endif

using namespace flio_test;

#ifdef FLIO_CLI_PATH

namespace {

// Runs the tool; its standard error is kept in `err`.
RunResult Tool(const std::string& args, std::string* err = nullptr) {
    const std::string errFile = flio_test::RunDir() + "flio_cli_roundtrip.err";
    // Grouped, so that this redirection wins over the one RunCommand appends.
    RunResult r = RunCommand("{ '" FLIO_CLI_PATH "' " + args + " 2>'" + errFile + "'; }");
    std::ifstream in(errFile, std::ios::binary);
    if (err) *err = std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return r;
}

TEST(CliRoundtrip, ExitStatusAndOneLineErrors) {
    const std::string dir = flio_test::RunDir(), text = dir + "flio_cli_not_swf.txt", demo = dir + "flio_cli_demo.swf";
    std::ofstream(text) << "hello";
    ASSERT_EQ(Tool("demo '" + demo + "'").status, 0);
    const std::tuple<std::string, int, std::string> cases[] = {
        {"roundtrip", 2, "usage: flio roundtrip"},
        {"roundtrip '" + demo + "'", 2, "give one input and one output file"},
        {"roundtrip --bogus a b", 2, "unknown option '--bogus'"},
        {"roundtrip '" + dir + "missing.swf' '" + dir + "o.swf'", 1, "cannot read " + dir + "missing.swf: no such file"},
        {"roundtrip '" + text + "' '" + dir + "o.swf'", 1, ": not an SWF file"},
        {"roundtrip '" + dir + "' '" + dir + "o.swf'", 1, ": is a directory"},
        {"roundtrip '" + demo + "' '" + dir + "no/such/dir/o.swf'", 1, "cannot write"},
        {"info '" + text + "' --model", 1, ": not an SWF file"},
        {"info --model", 2, "usage: flio info"},
    };
    for (const auto& [args, status, message] : cases) {
        std::string err;
        const RunResult r = Tool(args, &err);
        EXPECT_EQ(r.status, status) << args;
        EXPECT_NE(err.find(message), std::string::npos) << args << "\n" << err;
        if (status == 1) {  // one clear line, the library's own messages kept away
            EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << args << "\n" << err;
            EXPECT_EQ(r.out, "") << args;
        }
    }
    EXPECT_NE(Tool("--help").out.find("roundtrip IN.swf OUT.swf"), std::string::npos);

    const std::string out = dir + "flio_cli_rt_out.swf";
    std::string err;
    const RunResult r = Tool("roundtrip '" + demo + "' '" + out + "' --compress", &err);
    ASSERT_EQ(r.status, 0) << err;
    EXPECT_NE(r.out.find("wrote " + out + " (60 frames"), std::string::npos) << r.out;
    EXPECT_EQ(err, "");  // nothing left out of the demo but what import drops silently
    flaMovie movie;
    EXPECT_TRUE(movie.ReadMovieFromFile(PL_FileSpec(out.c_str()), nullptr));
    EXPECT_EQ(movie.GetFrameCount(), 60u);
}

#ifdef FLIO_HAVE_REWRITE
// `info --model --json` against the same file imported in process.
TEST(CliModel, ReportsWhatTheModelHolds) {
    int reported = 0;
    for (const std::string& path : CorpusFiles()) {
        if (path.find("/format-tests/") == std::string::npos && path.find("/text/") == std::string::npos) continue;
        flaMovie movie;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const bool ok = movie.ReadMovieFromFile(PL_FileSpec(path.c_str()), nullptr);
        if (ok) movie.buildBloatedFonts();
        testing::internal::GetCapturedStdout();
        testing::internal::GetCapturedStderr();
        std::string err;
        const RunResult r = Tool("info '" + path + "' --model --json", &err);
        EXPECT_EQ(r.status, ok ? 0 : 1) << path << "\n" << err;
        if (!ok || r.status != 0) continue;
        const Json j = Json::Parse(r.out), &c = j["characters"], &b = j["bitmaps"];
        const flio_cli::CharacterCounts n = flio_cli::CountCharacters(movie);
        EXPECT_EQ(Nums(j["frames"].Int(), c["shapes"].Int(), c["sprites"].Int(), c["texts"].Int(), j["sounds"].Int(),
                       b["lossless"].Int(), b["lossless2"].Int(), b["jpeg"].Int(), j["fonts"].Int()),
                  Nums(movie.GetFrameCount(), n.shapes, n.sprites, n.texts, movie.GetSoundList().size(),
                       movie.GetBitsLosslessList().size(), movie.GetBitsLossless2List().size(),
                       movie.GetJPEGContainer().size(), movie.GetFontTable().GetBloatedFonts().size()))
            << path;
        EXPECT_EQ(j["unsupported"].Size(), movie.GetUnsupported()->GetUnsupportedElementCount()) << path;
        ++reported;
    }
    if (reported == 0) GTEST_SKIP() << "no corpus";
    EXPECT_GT(reported, 40);
}
#endif  // FLIO_HAVE_REWRITE

}  // namespace

#endif  // FLIO_CLI_PATH

#ifdef FLIO_HAVE_REWRITE
// The bar, drawn into a pipe: nothing before the delay, nor off a terminal when so
// asked; else one line redrawn in place, finished with 100% and a newline.
TEST(ProgressBar, DrawsAfterTheDelayAndFinishesTheLine) {
    const std::pair<double, bool> cases[] = {{0.0, false}, {3600.0, false}, {0.0, true}};
    for (const auto& [delay, onlyOnTerminal] : cases) {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        {
            flio_cli::ProgressBar bar(fds[1], delay, onlyOnTerminal);
            bar.SetPhase("importing", 0.0f, 0.5f);
            bar.Update(0.5f);
            bar.Update(0.5f);  // unchanged: not drawn again
            bar.SetPhase("writing", 0.5f, 1.0f);
            bar.Update(0.2f);
        }  // finished by the destructor
        close(fds[1]);
        std::string out;
        char buf[512];
        for (ssize_t n; (n = read(fds[0], buf, sizeof buf)) > 0;) out.append(buf, static_cast<std::size_t>(n));
        close(fds[0]);
        auto line = [](const char* label, int done, const char* percent) {  // blanks over the longer label
            return "\r" + std::string(label) + " [" + std::string(done, '#') + std::string(30 - done, '-') + "] " +
                   percent;
        };
        const std::string drawn = line("importing", 0, "  0%") + line("importing", 7, " 25%") +
                                  line("writing", 15, " 50%  ") + line("writing", 18, " 60%  ") +
                                  line("writing", 30, "100%  \n");
        EXPECT_EQ(out, delay > 0 || onlyOnTerminal ? "" : drawn);
    }
}
#endif  // FLIO_HAVE_REWRITE
