// flio demo: builds a movie through the public API, as a host would, and writes it.
#include <cstdio>
#include <string>

#include "commands.h"
#include "demo_movie.h"
#include "flio/PL_File.h"
#include "flio/flaDump.h"
#include "flio/flaMovie.h"

namespace flio_cli {

namespace {

const char* kDemoHelp =
    "usage: flio demo OUT.swf [--compress]\n"
    "\n"
    "Writes the built-in demo movie: 60 frames on a 640 x 520 stage with vector shapes\n"
    "(solid, gradient and bitmap fills, lines and hairlines, straight and curved edges)\n"
    "that move, scale, rotate, change colour, are replaced and removed; a background\n"
    "colour change; lossless and JPEG bitmaps; an event sound; the eight filters and\n"
    "several blend modes; static text in a bold and a regular face of a font whose\n"
    "glyphs the demo draws itself. The same file is written on every run.\n"
    "\n"
    "  --compress   write a zlib-compressed (CWS) file when that is smaller\n";

}  // namespace

int RunDemo(const Args& args) {
    if (WantsHelp(args)) {
        std::fputs(kDemoHelp, stdout);
        return 0;
    }
    std::string path;
    bool compress = false;
    for (const std::string& a : args) {
        if (a == "--compress") compress = true;
        else if (!a.empty() && a[0] == '-') {
            std::fprintf(stderr, "flio demo: unknown option '%s'\n", a.c_str());
            return 2;
        } else if (path.empty()) path = a;
        else {
            std::fprintf(stderr, "flio demo: more than one output file given\n");
            return 2;
        }
    }
    if (path.empty()) {
        std::fputs(kDemoHelp, stderr);
        return 2;
    }

    // The glyphs the movie's fonts refer to outlive the movie and its writing.
    flio_demo::DemoHostData host;
    flaMovie movie(flio_demo::kStageWidth, flio_demo::kStageHeight);
    flio_demo::BuildDemoMovie(movie, host);
    flaDump dump(flio_demo::kStageWidth, nullptr);
    if (!movie.DumpMovieToFile(PL_FileSpec(path.c_str()), dump, compress)) {
        std::fprintf(stderr, "flio demo: cannot write %s\n", path.c_str());
        return 1;
    }
    std::printf("flio demo: wrote %s (%llu frames, %zu bytes before compression)\n", path.c_str(),
                movie.GetFrameCount(), dump.GetSize());
    return 0;
}

}  // namespace flio_cli
