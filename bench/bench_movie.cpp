// Writing a timeline: 1,000 frames of 200 placements of real shapes (each a closed
// path of 40 curved edges), every placement moved and recoloured every frame,
// compared with a memcpy of the same number of bytes.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaFrame.h"
#include "flio/flaGeometry.h"
#include "flio/flaMovie.h"
#include "flio/flaStyle.h"

namespace {

const int kFrames = 1000;
const int kPlacements = 200;
const int kCurvesPerShape = 40;

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
    // Writes the whole movie again (definitions included) into a fresh stream.
    std::size_t Write() {
        for (flaCharacter* c : characters) c->ResetDumped();
        flaDump dump(550, nullptr);
        DumpMovieToBuffer(dump);
        return dump.GetSize();
    }
};

void BM_WriteTimeline(benchmark::State& state) {
    BenchMovie movie;
    std::size_t bytes = 0;
    for (auto _ : state) {
        bytes = movie.Write();
        benchmark::DoNotOptimize(bytes);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["file_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_WriteTimeline)->Unit(benchmark::kMillisecond);

void BM_MemcpyOfTheSameBytes(benchmark::State& state) {
    BenchMovie movie;
    const std::size_t bytes = movie.Write();
    std::vector<unsigned char> from(bytes, 0x5A), to(bytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_MemcpyOfTheSameBytes)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
