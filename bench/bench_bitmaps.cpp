// Writing a movie of 100 lossless bitmaps of 1024 x 1024 pixels into its file image,
// uncompressed and compressed (flaDump::GetFileImage), beside a memcpy of the same
// bytes and the zlib compression of one image (what a host pays to make a
// bitmap's data; the library never encodes pixels).
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

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
    // The file image, compressed when asked for (and smaller).
    std::vector<unsigned char> FileImage(bool& compress) {
        flaDump dump(1024, nullptr);
        DumpMovieToBuffer(dump);
        return dump.GetFileImage(compress);
    }
};

BitmapMovie& Movie() {
    static BitmapMovie movie;
    return movie;
}

// Writing the movie: header, 100 bitmap tags and their data into a new stream.
void BM_WriteBitmapsUncompressed(benchmark::State& state) {
    std::size_t bytes = 0;
    for (auto _ : state) {
        bytes = Movie().Write();
        benchmark::DoNotOptimize(bytes);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["file_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_WriteBitmapsUncompressed)->Unit(benchmark::kMillisecond);

// Writing the movie and compressing its image (the compressed file's bytes);
// throughput in the uncompressed image's bytes, so that it compares with zlib alone.
void BM_WriteBitmapsCompressed(benchmark::State& state) {
    std::size_t bytes = 0;
    for (auto _ : state) {
        bool compress = true;
        bytes = Movie().FileImage(compress).size();
        benchmark::DoNotOptimize(bytes);
    }
    const std::size_t image = Movie().Write();
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * image));
    state.counters["file_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_WriteBitmapsCompressed)->Unit(benchmark::kMillisecond);

void BM_MemcpyOfTheSameBytes(benchmark::State& state) {
    const std::size_t bytes = Movie().Write();
    std::vector<unsigned char> from(bytes, 0x5A), to(bytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_MemcpyOfTheSameBytes)->Unit(benchmark::kMillisecond);

// zlib compress of the same uncompressed file image (everything after its 8-byte
// header): what compressed output costs at the least.
void BM_ZlibCompressOfTheSameImage(benchmark::State& state) {
    bool plain = false;
    const std::vector<unsigned char> image = Movie().FileImage(plain);
    std::vector<unsigned char> out(compressBound(static_cast<uLong>(image.size())));
    uLongf length = 0;
    for (auto _ : state) {
        length = static_cast<uLongf>(out.size());
        compress(out.data(), &length, image.data() + 8, static_cast<uLong>(image.size() - 8));
        benchmark::DoNotOptimize(length);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * image.size()));
    state.counters["compressed_bytes"] = static_cast<double>(length);
}
BENCHMARK(BM_ZlibCompressOfTheSameImage)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
