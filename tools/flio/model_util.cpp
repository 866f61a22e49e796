#include "model_util.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "flio/PL_File.h"
#include "flio/flaGeometry.h"
#include "flio/flaText.h"

namespace flio_cli {

CharacterCounts CountCharacters(const flaMovie& movie) {
    CharacterCounts c;
    for (const flaCharacter* ch : movie.GetCharacterList()) {
        if (ch->IsSprite())
            ++c.sprites;
        else if (dynamic_cast<const flaGeometry*>(ch))
            ++c.shapes;
        else if (dynamic_cast<const flaTextGeometry*>(ch))
            ++c.texts;
        else
            ++c.other;
    }
    return c;
}

std::string DiagnoseUnreadable(const std::string& path) {
    std::error_code ec;
    const std::filesystem::file_status st = std::filesystem::status(path, ec);
    if (!std::filesystem::exists(st)) return "no such file";
    if (std::filesystem::is_directory(st)) return "is a directory";
    if (!std::filesystem::is_regular_file(st)) return "not a regular file";
    std::ifstream in(path, std::ios::binary);
    if (!in) return "cannot open the file";
    char sig[3] = {0, 0, 0};
    in.read(sig, 3);
    const std::string s(sig, static_cast<std::size_t>(in.gcount()));
    if (s == "ZWS") return "LZMA-compressed SWF files are not supported";
    if (s != "FWS" && s != "CWS") return "not an SWF file";
    return "the file is damaged or truncated";
}

namespace {

void Restore(int saved, int fd) {
    if (saved < 0) return;
    dup2(saved, fd);
    close(saved);
}

}  // namespace

QuietStdio::QuietStdio() {
    std::fflush(stdout);
    std::fflush(stderr);
    savedOut = dup(1);
    savedErr = dup(2);
    if (FILE* null = std::fopen("/dev/null", "w")) {
        dup2(fileno(null), 1);
        dup2(fileno(null), 2);
        std::fclose(null);
    }
}

QuietStdio::~QuietStdio() {
    std::fflush(stdout);
    std::fflush(stderr);
    Restore(savedOut, 1);
    Restore(savedErr, 2);
}

bool ImportQuietly(flaMovie& movie, const std::string& path, const char* who, flaMovie::Progress* progress) {
    bool ok;
    {
        QuietStdio quiet;
        ok = movie.ReadMovieFromFile(PL_FileSpec(path.c_str()), progress);
    }
    if (!ok) std::fprintf(stderr, "%s: cannot read %s: %s\n", who, path.c_str(), DiagnoseUnreadable(path).c_str());
    return ok;
}

}  // namespace flio_cli
