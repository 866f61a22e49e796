// flio info: the header of an SWF file and the count of its tags by name (tags nested
// in sprites included).
#include <cstdio>
#include <fstream>
#include <map>
#include <string>

#include "commands.h"
#include "flio/flaRead.h"
#include "io/flaFormat.h"
#include "json.h"

namespace flio_cli {
namespace {

const char* kInfoHelp =
    "usage: flio info FILE.swf [--model] [--json]\n"
    "\n"
    "Prints the header of an SWF file (signature, version, file length, stage size in pixels,\n"
    "frame rate, frame count) and the number of each tag by its SWF name, tags inside sprites\n"
    "included. Uncompressed (FWS) and zlib-compressed (CWS) files are read.\n"
    "\n"
    "  --model  import the file and print what the movie model holds instead: frames, stage,\n"
    "           frame rate, characters by kind (shapes, sprites, texts), event sounds,\n"
    "           lossless and JPEG bitmaps, fonts (rebuilt from the font tags), the streamed\n"
    "           sound, the palette, and the elements the model cannot hold, by name\n"
    "  --json   print one JSON object; its keys are signature, version, fileLength,\n"
    "           stage {width, height}, frameRate, frameCount, tags {name: count}; with\n"
    "           --model: frames, stage {width, height}, frameRate,\n"
    "           characters {shapes, sprites, texts, other}, sounds,\n"
    "           bitmaps {lossless, lossless2, jpeg}, fonts, streamedSound (null or\n"
    "           {format, rate, size, channels, samplesPerBlock}), palette (null or\n"
    "           {colours, keys}), unsupported [names]\n"
    "\n"
    "Exit status: 0 done, 1 the file cannot be read, 2 bad arguments.\n";

struct Header {
    std::string signature;
    unsigned version = 0;
    unsigned long fileLength = 0;
    double width = 0, height = 0, frameRate = 0;
    unsigned frameCount = 0;
};

std::string TagName(unsigned code) {
    const char* name = flaFormat::TagName(code);
    return name ? name : "Unknown_" + std::to_string(code);
}

void CountTags(flaRead& reader, std::map<std::string, unsigned long>& counts, int depth) {
    reader.WalkTags([&](unsigned short code) {
        ++counts[TagName(code)];
        if (code == flaFormat::DefineSprite && depth < 32 && reader.DataSize() >= 4) {  // its own tags
            flaRead::ContainerScope scope(reader);
            reader.GetWord();  // sprite id
            reader.GetWord();  // frame count
            CountTags(reader, counts, depth + 1);
        }
    });
}

}  // namespace

int RunInfo(const Args& args) {
    if (WantsHelp(args)) {
        std::fputs(kInfoHelp, stdout);
        return 0;
    }
    std::string path;
    bool json = false, model = false;
    for (const std::string& a : args) {
        if (a == "--json") json = true;
        else if (a == "--model") model = true;
        else if (!a.empty() && a[0] == '-') {
            std::fprintf(stderr, "flio info: unknown option '%s'\n", a.c_str());
            return 2;
        } else if (path.empty()) path = a;
        else {
            std::fprintf(stderr, "flio info: more than one file given\n");
            return 2;
        }
    }
    if (path.empty()) {
        std::fputs(kInfoHelp, stderr);
        return 2;
    }
    if (model) return RunInfoModel(path, json);
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "flio info: cannot open %s\n", path.c_str());
        return 1;
    }
    char raw[3] = {0, 0, 0};
    in.read(raw, 3);
    in.clear();
    in.seekg(0);
    Header h;
    h.signature.assign(raw, static_cast<std::size_t>(in.gcount() > 0 ? 3 : 0));
    if (h.signature != "FWS" && h.signature != "CWS") {
        std::fprintf(stderr, "flio info: %s: %s\n", path.c_str(),
                     h.signature == "ZWS" ? "LZMA-compressed SWF files are not supported"
                                          : "not an SWF file");
        return 1;
    }
    std::map<std::string, unsigned long> counts;
    try {
        flaRead reader(in);
        const flaRead::FileHeader file = reader.GetFileHeader();
        h.version = file.version;
        h.fileLength = file.fileLength;
        const flaRead::MovieHeader movie = reader.GetMovieHeader();
        h.width = (static_cast<double>(movie.stage.xmax) - movie.stage.xmin) / 20.0;
        h.height = (static_cast<double>(movie.stage.ymax) - movie.stage.ymin) / 20.0;
        h.frameRate = movie.frameRate / 256.0;
        h.frameCount = movie.frameCount;
        CountTags(reader, counts, 0);
    } catch (const flaRead::dekompressError&) {
        std::fprintf(stderr, "flio info: %s: compressed data does not inflate to the announced length\n",
                     path.c_str());
        return 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "flio info: %s: %s\n", path.c_str(), e.what());
        return 1;
    }

    if (json) {
        std::string out = "{\"signature\":" + JsonString(h.signature) + ",\"version\":" + std::to_string(h.version) +
                          ",\"fileLength\":" + std::to_string(h.fileLength) + ",\"stage\":{\"width\":" +
                          JsonNumber(h.width) + ",\"height\":" + JsonNumber(h.height) +
                          "},\"frameRate\":" + JsonNumber(h.frameRate) +
                          ",\"frameCount\":" + std::to_string(h.frameCount) + ",\"tags\":{";
        bool first = true;
        for (const auto& [name, n] : counts) {
            out += (first ? "" : ",") + JsonString(name) + ":" + std::to_string(n);
            first = false;
        }
        std::printf("%s}}\n", out.c_str());
        return 0;
    }
    std::printf("signature:   %s\nversion:     %u\nfile length: %lu bytes\nstage:       %s x %s pixels\n"
                "frame rate:  %s per second\nframe count: %u\ntags:\n",
                h.signature.c_str(), h.version, h.fileLength, JsonNumber(h.width).c_str(),
                JsonNumber(h.height).c_str(), JsonNumber(h.frameRate).c_str(), h.frameCount);
    for (const auto& [name, n] : counts) std::printf("  %-28s %lu\n", name.c_str(), n);
    return 0;
}

}  // namespace flio_cli
