// Writing a movie of 100 lossless bitmaps of 1024 x 1024 pixels (their zlib data
// made once, as a host makes it: the library never encodes pixels) into its file
// image, compared in the same run with memcpy of the same number of bytes.
//
// Run in Release: ./build/bench/bench_bitmaps
#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "bench/bench_util.h"
#include "flio/flaBits.h"
#include "flio/flaDump.h"
#include "flio/flaMovie.h"

namespace {

const unsigned kSide = 1024;
const int kBitmaps = 100;

// Format-5 pixels (reserved byte, red, green, blue): smooth ramps with a little
// noise, so that the data compresses like a photograph-ish picture, not like a
// flat colour.
const std::vector<unsigned char>& RawImage() {
    static const std::vector<unsigned char> raw = [] {
        std::vector<unsigned char> p;
        p.reserve(kSide * kSide * 4);
        std::uint32_t seed = 12345;
        for (unsigned y = 0; y < kSide; ++y)
            for (unsigned x = 0; x < kSide; ++x) {
                seed = seed * 1664525u + 1013904223u;
                const unsigned noise = (seed >> 24) & 7;
                p.push_back(255);
                p.push_back(static_cast<unsigned char>((x / 4 + noise) & 0xFF));
                p.push_back(static_cast<unsigned char>((y / 4 + noise) & 0xFF));
                p.push_back(static_cast<unsigned char>(((x + y) / 8) & 0xFF));
            }
        return p;
    }();
    return raw;
}

std::vector<unsigned char> CompressImage(const std::vector<unsigned char>& raw) {
    uLongf length = compressBound(static_cast<uLong>(raw.size()));
    std::vector<unsigned char> out(length);
    if (compress(out.data(), &length, raw.data(), static_cast<uLong>(raw.size())) != Z_OK)
        throw std::runtime_error("compress failed");
    out.resize(length);
    return out;
}

class BitmapMovie : public flaMovie {
public:
    BitmapMovie() : flaMovie(1024, 768) {
        const std::vector<unsigned char> data = CompressImage(RawImage());
        for (int i = 0; i < kBitmaps; ++i) {
            auto* bits = new flaBitsLossless;
            bits->format = 5;
            bits->width = kSide;
            bits->height = kSide;
            bits->colorTableSize = 0;
            bits->dataSize = static_cast<unsigned>(data.size());
            bits->data = new unsigned char[data.size()];
            std::memcpy(bits->data, data.data(), data.size());
            AddBitsLossless(bits);
        }
        CreateFrames(1);
    }
    // Writes the movie into a fresh stream; its size in bytes.
    std::size_t Write() {
        flaDump dump(1024, nullptr);
        DumpMovieToBuffer(dump);
        return dump.GetSize();
    }
};

BitmapMovie& Movie() {
    static BitmapMovie movie;
    return movie;
}

// Writing the movie: header, 100 bitmap tags and their data into a new stream.
void BM_WriteBitmaps(benchmark::State& state) {
    std::size_t bytes = 0;
    flio_bench::TimeThreadCpu(state, [&] { benchmark::DoNotOptimize(bytes = Movie().Write()); });
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["file_bytes"] = static_cast<double>(bytes);
}

// memcpy of the same number of bytes between two buffers made once (far larger
// than the caches, so the copy runs at memory speed).
void BM_Memcpy(benchmark::State& state) {
    const std::size_t bytes = Movie().Write();
    std::vector<unsigned char> from(bytes, 0x5A), to(bytes, 0);
    flio_bench::TimeThreadCpu(state, [&] {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::ClobberMemory();
    });
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

}  // namespace

int main(int argc, char** argv) {
    flio_bench::Add("Write/flio/bitmaps", BM_WriteBitmaps);
    flio_bench::Add("Memcpy/image", BM_Memcpy);
    return flio_bench::RunWithRatios(argc, argv, [](const std::map<std::string, double>& m) {
        flio_bench::PrintRatio(m, "flio / memcpy of the image", "Write/flio/bitmaps", "Memcpy/image", "goal <= 3");
    });
}
