// Writes the hand-built movies into a folder, one "<name>.swf" each, and prints
// each file with the frames worth comparing ("path 1,6,13"), for the render check.
#include <cstdio>
#include <string>

#include "handmade_movies.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: handmade_movies OUT_DIR\n");
        return 2;
    }
    for (const flio_handmade::Movie& m : flio_handmade::All()) {
        const std::string path = std::string(argv[1]) + "/" + m.name + ".swf";
        std::FILE* f = std::fopen(path.c_str(), "wb");
        if (!f || std::fwrite(m.bytes.data(), 1, m.bytes.size(), f) != m.bytes.size() || std::fclose(f) != 0) {
            std::fprintf(stderr, "handmade_movies: cannot write %s\n", path.c_str());
            return 1;
        }
        std::string frames;
        for (int n : m.frames) frames += (frames.empty() ? "" : ",") + std::to_string(n);
        std::printf("%s %s\n", path.c_str(), frames.c_str());
    }
    return 0;
}
