// The flio tool's demo command writes the same bytes on every run, those of the
// movie the demo builder makes in process, and checks its arguments. What the demo
// holds is checked against an independent parser in swfcheck_test.cpp.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "cli_util.h"

#if defined(FLIO_CLI_PATH) && defined(FLIO_HAVE_DEMO)

#include "demo_movie.h"
#include "flio/PL_File.h"
#include "flio/flaDump.h"
#include "flio/flaMovie.h"

namespace {

using flio_test::RunCommand;

std::string Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

std::string Demo(const std::string& args) { return std::string("'") + FLIO_CLI_PATH + "' demo " + args; }

TEST(CliDemo, WritesTheSameBytesOnEveryRunAndMatchesTheBuilder) {
    for (const bool compress : {false, true}) {
        const std::string flag = compress ? " --compress" : "", dir = flio_test::RunDir();
        ASSERT_EQ(RunCommand(Demo("'" + dir + "flio_demo_a.swf'" + flag)).status, 0);
        ASSERT_EQ(RunCommand(Demo("'" + dir + "flio_demo_b.swf'" + flag)).status, 0);
        flio_demo::DemoHostData host;
        flaMovie movie(flio_demo::kStageWidth, flio_demo::kStageHeight);
        flio_demo::BuildDemoMovie(movie, host);
        flaDump dump(flio_demo::kStageWidth, nullptr);
        ASSERT_TRUE(movie.DumpMovieToFile(PL_FileSpec((dir + "flio_demo_c.swf").c_str()), dump, compress));
        const std::string a = Slurp(dir + "flio_demo_a.swf");
        EXPECT_EQ(a.substr(0, 3), compress ? "CWS" : "FWS");
        EXPECT_EQ(a, Slurp(dir + "flio_demo_b.swf"));
        EXPECT_EQ(a, Slurp(dir + "flio_demo_c.swf"));
    }
}

TEST(CliDemo, ChecksItsArguments) {
    const std::string out = "'" + flio_test::RunDir() + "flio_demo_args.swf'";
    const std::pair<std::string, int> cases[] = {
        {"--help", 0}, {"", 2}, {out + " --fast", 2}, {out + " " + out, 2}, {"'/nonexistent-folder/demo.swf'", 1}};
    for (const auto& [args, status] : cases) EXPECT_EQ(RunCommand(Demo(args)).status, status) << args;
    EXPECT_NE(RunCommand(Demo("--help")).out.find("usage: flio demo OUT.swf"), std::string::npos);
}

}  // namespace

#endif
