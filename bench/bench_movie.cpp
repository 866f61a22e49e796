// Writing a placement-heavy timeline: 1,000 frames of 200 placements of real shapes
// (each a closed path of 40 curved edges), every placement moved and recoloured
// every frame (4.26 MB of SWF). Compared in the same run with the peer writer
// (Ruffle's `swf` crate writing the same tags: see bench_util.h), with memcpy of
// the same number of bytes, and, for the compressed file, with zlib alone
// compressing the same image at the same level.
//
//   Write/flio/plain            the whole file image into a new stream
//   Write/flio/z<L>             the same, then its compressed file image at level L
//   Write/peer/{plain,z6}       the peer's write_swf of the same tags (and zlib at
//                               level 6 through its own deflater), median of 5 passes
//   Memcpy/cold                 memcpy of the image's length, source and target
//                               evicted from the caches first (the writer's output
//                               goes to memory its walk of the model has evicted)
//   Memcpy/hot                  the same with both in the cache, for reference
//   Zlib/compress/z<L>          zlib's compress2 of the same image at level L
//
// Run in Release: ./build/bench/bench_movie
#include <zlib.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "bench/bench_util.h"
#include "flio/flaDump.h"
#include "flio/flaFrame.h"
#include "flio/flaGeometry.h"
#include "flio/flaMovie.h"
#include "flio/flaStyle.h"

namespace {

const int kFrames = 1000;
const int kPlacements = 200;
const int kCurvesPerShape = 40;
const int kLevels[] = {1, 6, 9};

// A wavy ring of kCurvesPerShape quadratic curves, its own size and colour per index.
flaGeometry* WavyShape(int id, int index) {
    auto* shape = new flaGeometry(id);
    flaSubGeometry* sub = shape->AddChildGeometry();
    const auto shade = static_cast<unsigned char>(index % 256);
    const flaColor* fill = sub->CreateSolidColour(FLIO::flaRGBA(shade, 100, 200, 255), 0);
    const flaColor* line = sub->CreateLineColour(0.002f, FLIO::flaRGBA(0, 0, 0, 255), 0);
    auto* stroke = new flaStroke;
    const float r = 0.02f + 0.0001f * static_cast<float>(index);
    const float step = 6.2831853f / kCurvesPerShape;
    for (int i = 0; i < kCurvesPerShape; ++i) {
        const float a0 = step * static_cast<float>(i), a1 = a0 + step, am = a0 + step / 2;
        const float bulge = i % 2 ? 1.3f : 0.8f;
        stroke->AddPoint(r * std::cos(a0), r * std::sin(a0));
        stroke->AddPoint(bulge * r * std::cos(am), bulge * r * std::sin(am));
        stroke->AddPoint(r * std::cos(a1), r * std::sin(a1));
    }
    sub->AddStroke(stroke, new flaStyle(flaStyle::Curved, nullptr, fill, line));
    return shape;
}

class BenchMovie : public flaMovie {
public:
    BenchMovie() : flaMovie(550, 400) {
        std::vector<flaCharacter*> shapes;
        for (int i = 0; i < kPlacements; ++i) {
            shapes.push_back(WavyShape(GetNewCharacterId(), i));
            AddNewCharacter(shapes.back());
        }
        CreateFrames(kFrames);
        for (int f = 0; f < kFrames; ++f) {
            for (int d = 1; d <= kPlacements; ++d) {
                const float x = 0.001f * static_cast<float>((f * 7 + d * 13) % 1000);
                const float y = 0.0005f * static_cast<float>((f * 3 + d * 17) % 1000);
                flaCharacterInfo e(shapes[static_cast<std::size_t>(d - 1)], d, flaMatrix(1, 0, 0, 1, x, y),
                                   flaCharacterInfo::NoStartAction);
                const auto shade = static_cast<short>((f + d) % 200);
                e.SetColorXForm(flaColorXForm(256, 256, 256, 256, shade, 0, 0, 0));
                GetFrame(f)->PlaceNewCharacterInFrame(e);
            }
        }
    }
    // The whole movie (definitions included) written into a fresh stream; level is
    // the compression level of the file image, or -2 for the uncompressed image.
    std::size_t Write(int level = -2) {
        for (flaCharacter* c : characters) c->ResetDumped();
        flaDump dump(550, nullptr);
        DumpMovieToBuffer(dump);
        if (level < -1) return dump.GetSize();
        flaDump::WriteOptions options;
        options.compressionLevel = level;
        dump.SetWriteOptions(options);
        bool compress = true;
        return dump.GetFileImage(compress).size();
    }
    flio_bench::Bytes Image() {
        for (flaCharacter* c : characters) c->ResetDumped();
        flaDump dump(550, nullptr);
        DumpMovieToBuffer(dump);
        return dump.GetBuffer();
    }
};

BenchMovie& Movie() {
    static BenchMovie movie;
    return movie;
}

void BM_WriteFlio(benchmark::State& state, int level) {
    std::size_t bytes = 0;
    flio_bench::TimeThreadCpu(state, [&] { benchmark::DoNotOptimize(bytes = Movie().Write(level)); });
    state.counters["file_bytes"] = static_cast<double>(bytes);
}

void BM_WritePeer(benchmark::State& state, bool compressed) {
    for (auto _ : state) {
        const std::string out = flio_bench::RunPeer(compressed ? "write-synth 5 z" : "write-synth 5");
        const double cpu = flio_bench::PeerValue(out, "cpu_median_s");
        if (cpu < 0) {
            state.SkipWithError("the peer's driver did not run (see bench_util.h)");
            break;
        }
        state.SetIterationTime(cpu);
    }
}

void BM_Memcpy(benchmark::State& state, bool cold) {
    const std::size_t bytes = Movie().Image().size();
    std::vector<unsigned char> from(bytes, 0x5A), to(bytes, 0), evict(std::size_t{64} << 20, 1);
    for (auto _ : state) {
        if (cold)
            for (std::size_t i = 0; i < evict.size(); i += 64) evict[i] = static_cast<unsigned char>(evict[i] + 1);
        const double start = flio_bench::ThreadCpuSeconds();
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::ClobberMemory();
        state.SetIterationTime(flio_bench::ThreadCpuSeconds() - start);
    }
}

void BM_ZlibCompress(benchmark::State& state, int level) {
    const flio_bench::Bytes image = Movie().Image();
    flio_bench::Bytes out(compressBound(static_cast<uLong>(image.size())));
    flio_bench::TimeThreadCpu(state, [&] {
        uLongf length = static_cast<uLongf>(out.size());
        compress2(out.data(), &length, image.data() + 8, static_cast<uLong>(image.size() - 8), level);
        benchmark::DoNotOptimize(length);
    });
}

}  // namespace

int main(int argc, char** argv) {
    flio_bench::Add("Write/flio/plain", BM_WriteFlio, -2);
    flio_bench::Add("Write/peer/plain", BM_WritePeer, false);
    flio_bench::Add("Write/peer/z6", BM_WritePeer, true);
    flio_bench::Add("Memcpy/cold", BM_Memcpy, true);
    flio_bench::Add("Memcpy/hot", BM_Memcpy, false);
    for (int level : kLevels) {
        flio_bench::Add("Write/flio/z" + std::to_string(level), BM_WriteFlio, level);
        flio_bench::Add("Zlib/compress/z" + std::to_string(level), BM_ZlibCompress, level);
    }
    return flio_bench::RunWithRatios(argc, argv, [](const std::map<std::string, double>& m) {
        flio_bench::PrintRatio(m, "flio / memcpy (cold)", "Write/flio/plain", "Memcpy/cold", "goal <= 20");
        flio_bench::PrintRatio(m, "flio / memcpy (hot, for reference)", "Write/flio/plain", "Memcpy/hot", "");
        flio_bench::PrintRatio(m, "peer / flio, uncompressed", "Write/peer/plain", "Write/flio/plain", "");
        flio_bench::PrintRatio(m, "peer / flio, zlib level 6", "Write/peer/z6", "Write/flio/z6", "");
        for (int level : kLevels) {
            const std::string l = std::to_string(level);
            flio_bench::PrintRatio(m, ("flio / zlib alone, level " + l).c_str(), "Write/flio/z" + l,
                                   "Zlib/compress/z" + l, "goal <= 1.1");
        }
    });
}
