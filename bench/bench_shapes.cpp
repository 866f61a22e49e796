// Decoding shapes read from files: every DefineShape tag of the corpus is collected
// first (walking each file with flaRead, outside the timed loop), then the timed
// loop decodes each one (BuildBloated) and frees the result, in shapes per second.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "flio/flaGeometry.h"
#include "tests/corpus_util.h"
#include "flio/flaRead.h"

namespace fs = std::filesystem;

namespace {

// Every shape of the corpus that decodes, still undecoded (each holds its tag bytes).
std::vector<std::unique_ptr<flaGeometry>> CollectCorpusShapes() {
    std::vector<fs::path> files;
    std::error_code ec;
    const fs::path root(FLIO_CORPUS_DIR);
    if (fs::is_directory(root, ec))
        for (const auto& e : fs::recursive_directory_iterator(root, ec))
            if (e.is_regular_file() && e.path().extension() == ".swf") files.push_back(e.path());
    std::sort(files.begin(), files.end());

    std::vector<std::unique_ptr<flaGeometry>> shapes;
    for (const fs::path& file : files) {
        std::ifstream stream(file, std::ios::binary);
        char magic[3] = {};
        stream.read(magic, 3);
        if (magic[0] == 'Z') continue;  // LZMA files are not read
        stream.seekg(0);
        try {
            flaRead in(stream);
            unsigned char header[8];
            in.GetHeader(header);
            SRECT frame;
            in.GetRect(&frame);
            in.GetWord();
            in.GetWord();
            in.SetScaling(1.0f / 20.0f / 550.0f);
            flio_test::WalkShapeTags(in, [&](flaShape::ShapeVersion version, bool alpha, flaRead& r) {
                const int id = r.GetWord();
                auto g = std::make_unique<flaGeometry>(id, r, alpha, version);
                try {
                    g->BuildBloated();  // keep only the shapes that decode
                    g->DestroyBloated();
                    shapes.push_back(std::move(g));
                } catch (const std::exception&) {
                }
            });
        } catch (const std::exception&) {
            // the deliberately malformed files of the corpus: keep what was collected
        }
    }
    return shapes;
}

void BM_DecodeCorpusShapes(benchmark::State& state) {
    const std::vector<std::unique_ptr<flaGeometry>> shapes = CollectCorpusShapes();
    if (shapes.empty()) {
        state.SkipWithError("no corpus shapes found");
        return;
    }
    std::size_t strokes = 0;
    for (auto _ : state) {
        strokes = 0;
        for (const auto& g : shapes) {
            g->BuildBloated();
            for (std::size_t i = 0; i < g->GetSubGeometryCount(); ++i) strokes += g->GetSubGeometry(i)->GetStrokeCount();
            g->DestroyBloated();
        }
        benchmark::DoNotOptimize(strokes);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * shapes.size()));
    state.counters["shapes"] = static_cast<double>(shapes.size());
    state.counters["strokes"] = static_cast<double>(strokes);
}
BENCHMARK(BM_DecodeCorpusShapes)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
