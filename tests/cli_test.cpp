// The flio tool: exit statuses and one-line errors, the demo (the bytes of the builder
// run in process) and its round trip. What the demo holds is checked against an
// independent parser in swfcheck_test.cpp; `info` over the corpus in roundtrip_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <tuple>

#include "cli_util.h"
#include "flio/PL_File.h"
#include "flio/flaMovie.h"

#ifdef FLIO_HAVE_DEMO
#include "demo_movie.h"
#endif

using namespace flio_test;

namespace {

#if defined(FLIO_CLI_PATH) && defined(FLIO_HAVE_DEMO)
// Runs the tool; its standard error is kept in `err`.
RunResult Tool(const std::string& args, std::string* err = nullptr) {
    const std::string errFile = flio_test::RunDir() + "flio_cli.err";
    // Grouped, so that this redirection wins over the one RunCommand appends.
    RunResult r = RunCommand("{ '" FLIO_CLI_PATH "' " + args + " 2>'" + errFile + "'; }");
    const Bytes text = FileBytes(errFile);
    if (err) *err = std::string(text.begin(), text.end());
    return r;
}

TEST(Cli, ExitStatusAndOneLineErrors) {
    const std::string dir = flio_test::RunDir(), text = dir + "flio_cli_not_swf.txt", demo = dir + "flio_cli_demo.swf";
    std::ofstream(text) << "hello";
    ASSERT_EQ(Tool("demo '" + demo + "'").status, 0);
    const std::tuple<std::string, int, std::string> cases[] = {  // status 0: the message is on standard output
        {"--help", 0, "roundtrip IN.swf OUT.swf"},
        {"demo --help", 0, "usage: flio demo OUT.swf"},
        {"demo", 2, "usage: flio demo OUT.swf"},
        {"demo x.swf --fast", 2, "unknown option '--fast'"},
        {"demo x.swf y.swf", 2, "more than one output file given"},
        {"roundtrip", 2, "usage: flio roundtrip"},
        {"roundtrip '" + demo + "'", 2, "give one input and one output file"},
        {"roundtrip --bogus a b", 2, "unknown option '--bogus'"},
        {"roundtrip '" + dir + "missing.swf' x.swf", 1, "cannot read " + dir + "missing.swf: no such file"},
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
        EXPECT_NE((status ? err : r.out).find(message), std::string::npos) << args << "\n" << err;
        if (status == 1) {  // one clear line, the library's own messages kept away
            EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << args << "\n" << err;
            EXPECT_EQ(r.out, "") << args;
        }
    }
    EXPECT_EQ(Tool("demo '/nonexistent-folder/demo.swf'").status, 1);
}

// The demo, compressed or not, is the builder's in process, byte for byte; its round
// trip writes its 60 frames with nothing left out on the way.
TEST(Cli, DemoIsTheBuildersByteForByteAndRoundTrips) {
    for (const bool compress : {false, true}) {
        const std::string flag = compress ? " --compress" : "", base = flio_test::RunDir() + "flio_cli_demo_";
        ASSERT_EQ(Tool("demo '" + base + "a.swf'" + flag).status, 0);
        flio_demo::DemoHostData host;
        flaMovie movie(flio_demo::kStageWidth, flio_demo::kStageHeight);
        flio_demo::BuildDemoMovie(movie, host);
        flaDump dump(flio_demo::kStageWidth, nullptr);
        ASSERT_TRUE(movie.DumpMovieToFile(PL_FileSpec((base + "c.swf").c_str()), dump, compress));
        const Bytes a = FileBytes(base + "a.swf");
        EXPECT_EQ(std::string(a.begin(), a.begin() + 3), compress ? "CWS" : "FWS");
        EXPECT_TRUE(a == FileBytes(base + "c.swf"));

        const std::string out = base + "out.swf";
        std::string err;
        const RunResult r = Tool("roundtrip '" + base + "a.swf' '" + out + "'" + flag, &err);
        ASSERT_EQ(r.status, 0) << err;
        EXPECT_NE(r.out.find("wrote " + out + " (60 frames"), std::string::npos) << r.out;
        EXPECT_EQ(err, "");  // nothing left out of the demo but what import drops silently
        flaMovie again;
        EXPECT_TRUE(again.ReadMovieFromFile(PL_FileSpec(out.c_str()), nullptr) && again.GetFrameCount() == 60u);
    }
}
#endif  // FLIO_CLI_PATH && FLIO_HAVE_DEMO

}  // namespace
