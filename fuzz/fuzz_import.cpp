// Imports the input as an uncompressed SWF file and decodes every shape, font and
// text of the movie. Malformed input may be rejected with the library's exceptions; anything
// else (a crash, a sanitizer report, an exception of another kind) is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>

#include "flio/flaGeometry.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "flio/flaSprite.h"
#include "flio/flaText.h"

namespace {

// The importer prints its diagnostics on stdout; keep the fuzzer's output readable.
struct QuietStdout {
    QuietStdout() { std::freopen("/dev/null", "w", stdout); }
} quiet;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > (1u << 24)) return 0;
    flaMovie movie;
    try {
        if (!movie.ReadMovieFromBuffer(data, static_cast<int>(size), nullptr)) return 0;
    } catch (const flaRead::readError&) {
        return 0;
    }
    for (flaCharacter* c : movie.GetCharacterList()) {
        if (auto* shape = dynamic_cast<flaGeometry*>(c)) {
            try {
                shape->BuildBloated();
            } catch (const flaRead::readError&) {
            }
        }
    }
    movie.buildBloatedFonts();
    for (flaCharacter* c : movie.GetCharacterList()) {
        if (auto* text = dynamic_cast<flaTextGeometry*>(c)) {
            try {
                text->BuildBloated(movie);
            } catch (const flaRead::readError&) {
            }
        }
    }
    return 0;
}
