// Helpers shared by the tool's commands that import movies (and by the tests that
// run the same steps in process).
#pragma once

#include <string>

#include "flio/flaMovie.h"

namespace flio_cli {

// The dictionary's characters by kind. A text read from a file counts as a text
// (it is written back as a shape); the background shape of a built movie counts as
// a shape.
struct CharacterCounts {
    int shapes = 0, sprites = 0, texts = 0, other = 0;
};
CharacterCounts CountCharacters(const flaMovie& movie);

// Why a file that did not import cannot be read, as a short phrase: "no such file",
// "not an SWF file", "LZMA-compressed SWF files are not supported", ...
std::string DiagnoseUnreadable(const std::string& path);

// Sends the process's standard output and error to /dev/null while alive, so that
// the library's fixed diagnostic lines stay off the terminal.
class QuietStdio {
public:
    QuietStdio();
    ~QuietStdio();
    QuietStdio(const QuietStdio&) = delete;
    QuietStdio& operator=(const QuietStdio&) = delete;

private:
    int savedOut = -1, savedErr = -1;
};

// Imports a file; on failure prints one line "<who>: cannot read <path>: <why>" on
// standard error and returns false. The library's own diagnostic lines (fixed
// English lines on standard output and error) are kept off the terminal while the
// import runs, so that they neither mix with the report on standard output nor
// repeat the one-line message.
bool ImportQuietly(flaMovie& movie, const std::string& path, const char* who, flaMovie::Progress* progress);

}  // namespace flio_cli
