// Writing a timeline: 1,000 frames of 200 placements, every entry moved and
// recoloured every frame, compared with a memcpy of the same number of bytes.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "flio/flaCharacter.h"
#include "flio/flaDump.h"
#include "flio/flaFrame.h"
#include "flio/flaMovie.h"

namespace {

const int kFrames = 1000;
const int kPlacements = 200;

class Dot : public flaCharacter {
public:
    explicit Dot(int id_) : flaCharacter(id_) {}
    void SetTransformation(const flaMatrix&) override {}
    void DumpCharacterInFile(flaDump& dump) const override {
        dump.DataU16(static_cast<unsigned short>((2 << 6) | 2));
        dump.DataU16(static_cast<unsigned short>(id));
    }
};

class BenchMovie : public flaMovie {
public:
    BenchMovie() : flaMovie(550, 400) {
        std::vector<flaCharacter*> dots;
        for (int i = 0; i < 4; ++i) {
            dots.push_back(new Dot(GetNewCharacterId()));
            AddNewCharacter(dots.back());
        }
        CreateFrames(kFrames);
        for (int f = 0; f < kFrames; ++f) {
            for (int d = 1; d <= kPlacements; ++d) {
                const float x = 0.001f * static_cast<float>((f * 7 + d * 13) % 1000);
                const float y = 0.0005f * static_cast<float>((f * 3 + d * 17) % 1000);
                flaCharacterInfo e(dots[static_cast<std::size_t>(d % 4)], d, flaMatrix(1, 0, 0, 1, x, y),
                                   flaCharacterInfo::NoStartAction);
                const auto shade = static_cast<short>((f + d) % 200);
                e.SetColorXForm(flaColorXForm(256, 256, 256, 256, shade, 0, 0, 0));
                GetFrame(f)->PlaceNewCharacterInFrame(e);
            }
        }
    }
    std::size_t Write() {
        for (flaCharacter* c : characters) c->ResetDumped();
        flaDump dump(550, nullptr);
        DumpMovieToBuffer(dump);
        return dump.GetBuffer().size();
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
