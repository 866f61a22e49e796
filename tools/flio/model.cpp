// flio info --model: imports a file and reports what the movie model holds.
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "flio/flaFont.h"
#include "flio/flaMovie.h"
#include "flio/flaPalette.h"
#include "flio/flaSound.h"
#include "json.h"
#include "model_util.h"

namespace flio_cli {

int RunInfoModel(const std::string& path, bool json) {
    flaMovie movie;
    if (!ImportQuietly(movie, path, "flio info", nullptr)) return 1;
    movie.buildBloatedFonts();

    const CharacterCounts counts = CountCharacters(movie);
    const flaSound* stream = movie.GetImportedStreamedSound();
    const flaPalette* palette = movie.GetExistingPaletteInformation();
    std::vector<std::string> unsupported;
    for (auto it = movie.GetUnsupported()->GetUnsupportedElementBegin();
         it != movie.GetUnsupported()->GetUnsupportedElementEnd(); ++it)
        unsupported.push_back(flaUnsupported::GetElementName(*it));
    int width = 0, height = 0;
    movie.GetFrameSize(width, height);
    const std::size_t sounds = movie.GetSoundList().size();
    const std::size_t lossless = movie.GetBitsLosslessList().size();
    const std::size_t lossless2 = movie.GetBitsLossless2List().size();
    const std::size_t jpegs = movie.GetJPEGContainer().size();
    const std::size_t fonts = movie.GetFontTable().GetBloatedFonts().size();

    if (json) {
        std::string out = "{\"frames\":" + std::to_string(movie.GetFrameCount()) +
                          ",\"stage\":{\"width\":" + std::to_string(width) + ",\"height\":" + std::to_string(height) +
                          "},\"frameRate\":" + std::to_string(movie.GetFrameRate()) +
                          ",\"characters\":{\"shapes\":" + std::to_string(counts.shapes) +
                          ",\"sprites\":" + std::to_string(counts.sprites) +
                          ",\"texts\":" + std::to_string(counts.texts) + ",\"other\":" + std::to_string(counts.other) +
                          "},\"sounds\":" + std::to_string(sounds) +
                          ",\"bitmaps\":{\"lossless\":" + std::to_string(lossless) +
                          ",\"lossless2\":" + std::to_string(lossless2) + ",\"jpeg\":" + std::to_string(jpegs) +
                          "},\"fonts\":" + std::to_string(fonts) + ",\"streamedSound\":";
        if (stream)
            out += "{\"format\":" + std::to_string(stream->GetCompressFormat()) +
                   ",\"rate\":" + std::to_string(stream->GetSampleRate()) +
                   ",\"size\":" + std::to_string(stream->GetSampleSize()) +
                   ",\"channels\":" + std::to_string(stream->GetChannels()) +
                   ",\"samplesPerBlock\":" + std::to_string(stream->GetSampleCount()) + "}";
        else
            out += "null";
        out += ",\"palette\":";
        out += palette ? "{\"colours\":" + std::to_string(palette->GetColourCount()) +
                             ",\"keys\":" + std::to_string(palette->GetKeyCount()) + "}"
                       : std::string("null");
        out += ",\"unsupported\":[";
        for (std::size_t i = 0; i < unsupported.size(); ++i) out += (i ? "," : "") + JsonString(unsupported[i]);
        std::printf("%s]}\n", out.c_str());
        return 0;
    }

    std::printf("frames:         %llu\nstage:          %d x %d pixels\nframe rate:     %d per second\n",
                static_cast<unsigned long long>(movie.GetFrameCount()), width, height, movie.GetFrameRate());
    std::printf("characters:     %d shapes, %d sprites, %d texts", counts.shapes, counts.sprites, counts.texts);
    if (counts.other) std::printf(", %d other", counts.other);
    std::printf("\nsounds:         %zu\nbitmaps:        %zu lossless, %zu lossless with alpha, %zu JPEG\n"
                "fonts:          %zu\n",
                sounds, lossless, lossless2, jpegs, fonts);
    if (stream)
        std::printf("streamed sound: format %d, %u Hz, %u-bit, %u channel(s), %u samples per block\n",
                    static_cast<int>(stream->GetCompressFormat()), stream->GetSampleRate(), stream->GetSampleSize(),
                    stream->GetChannels(), stream->GetSampleCount());
    else
        std::printf("streamed sound: none\n");
    if (palette)
        std::printf("palette:        %zu colours, %zu keys\n", palette->GetColourCount(), palette->GetKeyCount());
    else
        std::printf("palette:        none\n");
    std::printf("unsupported:   ");
    if (unsupported.empty()) std::printf(" none");
    for (std::size_t i = 0; i < unsupported.size(); ++i) std::printf("%s %s", i ? "," : "", unsupported[i].c_str());
    std::printf("\n");
    return 0;
}

}  // namespace flio_cli
