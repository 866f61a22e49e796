// flio roundtrip: imports a movie and writes it again.
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "flio/PL_File.h"
#include "flio/flaDump.h"
#include "flio/flaMovie.h"
#include "flio/flaRewrite.h"
#include "model_util.h"
#include "progress_bar.h"

namespace flio_cli {
namespace {

const char* kRoundtripHelp =
    "usage: flio roundtrip IN.swf OUT.swf [--compress] [--classic]\n"
    "\n"
    "Imports IN.swf into the movie model and writes the model again as OUT.swf, so that\n"
    "OUT.swf shows what IN.swf showed as far as the model holds it:\n"
    "  - the stage, the file's version and exact frame rate, frames and background colour;\n"
    "  - every shape, decoded and written in the file's own coordinates (exact twips) with\n"
    "    every style detail (as DefineShape4 where DefineShape3 cannot hold it);\n"
    "  - every static text as its glyph outlines (a shape under the text's id; the fonts\n"
    "    themselves are not written);\n"
    "  - sprites (DefineSprite), each playing its own frames as in the file;\n"
    "  - placements with their matrices, colour transforms, clip depths, blend modes,\n"
    "    filters, names, ratios and visibility;\n"
    "  - lossless and JPEG bitmaps with the JPEG tables;\n"
    "  - event sounds in their own format with their start and stop records. An event\n"
    "    sound that no frame starts is kept by a start record with the stop flag in the\n"
    "    first frame: its definition is written only before a start, and a stop of a\n"
    "    sound that is not playing plays nothing;\n"
    "  - the streamed sound in its own format.\n"
    "Not written: what the model does not hold (buttons, morph shapes, actions, edit\n"
    "texts: 'flio info IN.swf --model' lists them) and characters that no frame places.\n"
    "Notes about what was left out go to standard error; a progress bar is drawn there\n"
    "for files that take more than a moment.\n"
    "\n"
    "  --compress   write a zlib-compressed (CWS) file when that is smaller\n"
    "  --classic    run the classic import and writer instead: blend modes, filters,\n"
    "               names, style details, sound stops and the file's header values are\n"
    "               dropped, the streamed sound is kept only when it is ADPCM, 22 kHz,\n"
    "               16-bit, stereo, and the timeline is extended until every sprite has\n"
    "               played once\n"
    "\n"
    "Exit status: 0 written, 1 IN.swf cannot be read or OUT.swf cannot be written,\n"
    "2 bad arguments.\n";

void Note(bool cond, const std::string& what) {
    if (cond) std::fprintf(stderr, "flio roundtrip: note: %s\n", what.c_str());
}

}  // namespace

int RunRoundtrip(const Args& args) {
    if (WantsHelp(args)) {
        std::fputs(kRoundtripHelp, stdout);
        return 0;
    }
    std::vector<std::string> paths;
    bool compress = false, classic = false;
    for (const std::string& a : args) {
        if (a == "--compress") {
            compress = true;
        } else if (a == "--classic") {
            classic = true;
        } else if (!a.empty() && a[0] == '-') {
            std::fprintf(stderr, "flio roundtrip: unknown option '%s'\n", a.c_str());
            return 2;
        } else {
            paths.push_back(a);
        }
    }
    if (paths.size() != 2) {
        if (!paths.empty()) std::fprintf(stderr, "flio roundtrip: give one input and one output file\n");
        std::fputs(kRoundtripHelp, stderr);
        return 2;
    }
    const std::string& in = paths[0];
    const std::string& out = paths[1];

    ProgressBar bar;
    flaMovie movie;
    flaRewrite::PrepareImport(movie, classic ? flaRewrite::Classic : flaRewrite::Faithful);
    bar.SetPhase("importing", 0.0f, 0.5f);
    if (!ImportQuietly(movie, in, "flio roundtrip", &bar)) {
        bar.Finish();
        return 1;
    }
    bar.SetPhase("decoding ", 0.5f, 0.9f);
    flaRewrite::Report report;
    {
        QuietStdio quiet;
        report = flaRewrite::Prepare(movie, &bar);
    }
    bar.SetPhase("writing  ", 0.9f, 1.0f);
    int width = 0, height = 0;
    movie.GetFrameSize(width, height);
    flaDump dump(width, nullptr);
    dump.SetWriteOptions(flaRewrite::WriteOptionsFor(movie));
    bool written;
    {
        QuietStdio quiet;
        written = movie.DumpMovieToFile(PL_FileSpec(out.c_str()), dump, compress);
    }
    bar.Finish();
    if (!written) {
        std::fprintf(stderr, "flio roundtrip: cannot write %s\n", out.c_str());
        return 1;
    }

    std::vector<std::string> unsupported;
    for (auto it = movie.GetUnsupported()->GetUnsupportedElementBegin();
         it != movie.GetUnsupported()->GetUnsupportedElementEnd(); ++it)
        if (*it != flaUnsupported::LosslessBitmap)  // reported by the import, yet held and written
            unsupported.push_back(flaUnsupported::GetElementName(*it));
    std::string names;
    for (std::size_t i = 0; i < unsupported.size(); ++i) names += (i ? ", " : "") + unsupported[i];
    Note(!unsupported.empty(), "not held by the model, not written: " + names);
    Note(report.undecodedShapes > 0,
         std::to_string(report.undecodedShapes) + " shape(s) with malformed records written empty");
    Note(report.undecodedTexts > 0,
         std::to_string(report.undecodedTexts) + " text(s) with malformed records written empty");
    Note(report.unplacedCharacters > 0,
         std::to_string(report.unplacedCharacters) + " character(s) that no frame places not written");
    Note(report.droppedStreams > 0, std::to_string(report.droppedStreams) +
                                        " streamed sound(s) not written: only ADPCM, 22 kHz, 16-bit, stereo is");
    Note(report.lostSounds > 0, std::to_string(report.lostSounds) + " sound(s) not written: the movie has no frame");

    std::printf("flio roundtrip: wrote %s (%llu frames, %d shapes, %d texts as outlines, %zu bitmaps, %zu sounds, "
                "%zu bytes before compression)\n",
                out.c_str(), movie.GetFrameCount(), report.shapes + report.undecodedShapes,
                report.texts + report.undecodedTexts,
                movie.GetBitsLosslessList().size() + movie.GetBitsLossless2List().size() +
                    movie.GetJPEGContainer().size(),
                movie.GetSoundList().size() - static_cast<std::size_t>(report.lostSounds), dump.GetSize());
    return 0;
}

}  // namespace flio_cli
