// The flio tool's demo command: it writes the same bytes on every run, those bytes
// are the movie that the demo builder makes in process, and its arguments are
// checked. What the demo movie holds is checked against an independent parser in
// swfcheck_test.cpp.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "cli_util.h"

#if defined(FLIO_CLI_PATH) && defined(FLIO_HAVE_DEMO)

#include "demo_movie.h"
#include "flio/PL_FileSpec.h"
#include "flio/flaDump.h"
#include "flio/flaMovie.h"

namespace {

using flio_test::RunCommand;

std::vector<unsigned char> ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<unsigned char>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

std::string Demo(const std::string& args) { return std::string("'") + FLIO_CLI_PATH + "' demo " + args; }

// The file image of the demo built in this process.
std::vector<unsigned char> InProcessImage(bool compress) {
    flio_demo::DemoHostData host;
    flaMovie movie(flio_demo::kStageWidth, flio_demo::kStageHeight);
    flio_demo::BuildDemoMovie(movie, host);
    flaDump dump(flio_demo::kStageWidth, nullptr);
    // DumpMovieToFile is the only public writer; go through a file.
    const std::string path = testing::TempDir() + (compress ? "flio_demo_inproc_c.swf" : "flio_demo_inproc.swf");
    EXPECT_TRUE(movie.DumpMovieToFile(PL_FileSpec(path.c_str()), dump, compress));
    return ReadFile(path);
}

TEST(CliDemo, WritesTheSameBytesOnEveryRunAndMatchesTheBuilder) {
    for (const bool compress : {false, true}) {
        SCOPED_TRACE(compress ? "--compress" : "plain");
        const std::string flag = compress ? " --compress" : "";
        const std::string a = testing::TempDir() + "flio_demo_a.swf", b = testing::TempDir() + "flio_demo_b.swf";
        ASSERT_EQ(RunCommand(Demo("'" + a + "'" + flag)).status, 0);
        ASSERT_EQ(RunCommand(Demo("'" + b + "'" + flag)).status, 0);
        const std::vector<unsigned char> first = ReadFile(a), second = ReadFile(b);
        ASSERT_GT(first.size(), 8u);
        EXPECT_EQ(first, second);
        EXPECT_EQ(first, InProcessImage(compress));
        EXPECT_EQ(std::string(first.begin(), first.begin() + 3), compress ? "CWS" : "FWS");
    }
}

TEST(CliDemo, ChecksItsArguments) {
    struct Case {
        std::string args;
        int status;
    };
    const std::string out = "'" + testing::TempDir() + "flio_demo_args.swf'";
    const Case cases[] = {
        {"--help", 0},
        {"", 2},                                    // no output file
        {out + " --fast", 2},                       // unknown option
        {out + " " + out, 2},                       // two output files
        {"'/nonexistent-folder/demo.swf'", 1},      // cannot be written
    };
    for (const Case& c : cases) EXPECT_EQ(RunCommand(Demo(c.args)).status, c.status) << c.args;
    EXPECT_NE(RunCommand(Demo("--help")).out.find("usage: flio demo OUT.swf"), std::string::npos);
}

}  // namespace

#endif
