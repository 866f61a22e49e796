// Importing whole movies: every file of the corpus that the importer accepts, read
// into memory first. Compared, in the same run, with zlib's uncompress of the same
// compressed files, so that the import's cost reads as a multiple of inflating.
//
//   ImportBuffer/all/shapes:N      every file, CWS ones inflated beforehand, through
//                                  ReadMovieFromBuffer; N = 1 also decodes every shape
//   ImportBuffer/cws/shapes:N      the same, for the CWS files only
//   ImportFile/cws/shapes:N        the CWS files through ReadMovieFromFile, so the
//                                  inflation is timed with the import
//   ZlibUncompress/cws             uncompress of the same CWS files
//
// Throughput is in bytes of uncompressed movie per second for all of them, so the
// rates compare directly. Run in Release:
//   ./build/bench/bench_import --benchmark_counters_tabular=true
#include <benchmark/benchmark.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "flio/PL_File.h"
#include "flio/flaGeometry.h"
#include "flio/flaMovie.h"

namespace fs = std::filesystem;

namespace {

using Bytes = std::vector<unsigned char>;

struct CorpusFile {
    std::string path;
    Bytes raw;    // the file as it is
    Bytes image;  // the uncompressed file image (FWS)
    bool compressed = false;
};

// Standard output to /dev/null while alive: the importer prints fixed diagnostic
// lines for some files, which would only add terminal time to the measurement.
class QuietStdout {
public:
    QuietStdout() {
        std::fflush(stdout);
        saved = dup(1);
        if (FILE* null = std::fopen("/dev/null", "w")) {
            dup2(fileno(null), 1);
            std::fclose(null);
        }
    }
    ~QuietStdout() {
        std::fflush(stdout);
        if (saved >= 0) {
            dup2(saved, 1);
            close(saved);
        }
    }
    QuietStdout(const QuietStdout&) = delete;
    QuietStdout& operator=(const QuietStdout&) = delete;

private:
    int saved = -1;
};

bool Inflate(const Bytes& raw, Bytes& image) {
    if (raw.size() < 8) return false;
    const uLongf length = raw[4] | (raw[5] << 8) | (raw[6] << 16) | (static_cast<uLongf>(raw[7]) << 24);
    if (length < 8 || length > (256u << 20)) return false;
    image.assign(length, 0);
    std::copy(raw.begin(), raw.begin() + 8, image.begin());
    image[0] = 'F';
    uLongf produced = length - 8;
    return uncompress(image.data() + 8, &produced, raw.data() + 8, static_cast<uLong>(raw.size() - 8)) == Z_OK &&
           produced == length - 8;
}

void DecodeShapes(flaMovie& movie) {
    for (flaCharacter* c : movie.GetCharacterList())
        if (auto* shape = dynamic_cast<flaGeometry*>(c)) {
            try {
                shape->BuildBloated();
            } catch (const std::exception&) {
            }
        }
}

// Every corpus file that imports from its buffer, read once.
const std::vector<CorpusFile>& Corpus() {
    static const std::vector<CorpusFile> files = [] {
        std::vector<fs::path> paths;
        std::error_code ec;
        const fs::path root(FLIO_CORPUS_DIR);
        if (fs::is_directory(root, ec))
            for (const auto& e : fs::recursive_directory_iterator(root, ec))
                if (e.is_regular_file() && e.path().extension() == ".swf") paths.push_back(e.path());
        std::sort(paths.begin(), paths.end());
        std::vector<CorpusFile> out;
        QuietStdout quiet;
        for (const fs::path& p : paths) {
            std::ifstream in(p, std::ios::binary);
            CorpusFile f;
            f.path = p.string();
            f.raw.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
            if (f.raw.size() < 8 || f.raw[1] != 'W' || f.raw[2] != 'S') continue;
            if (f.raw[0] == 'C') {
                f.compressed = true;
                if (!Inflate(f.raw, f.image)) continue;
            } else if (f.raw[0] == 'F') {
                f.image = f.raw;
            } else {
                continue;  // LZMA
            }
            try {
                flaMovie movie;
                if (!movie.ReadMovieFromBuffer(f.image.data(), static_cast<int>(f.image.size()), nullptr)) continue;
            } catch (const std::exception&) {
                continue;
            }
            out.push_back(std::move(f));
        }
        return out;
    }();
    return files;
}

std::vector<const CorpusFile*> Select(bool compressedOnly) {
    std::vector<const CorpusFile*> out;
    for (const CorpusFile& f : Corpus())
        if (!compressedOnly || f.compressed) out.push_back(&f);
    return out;
}

std::int64_t ImageBytes(const std::vector<const CorpusFile*>& files) {
    std::int64_t n = 0;
    for (const CorpusFile* f : files) n += static_cast<std::int64_t>(f->image.size());
    return n;
}

void Finish(benchmark::State& state, const std::vector<const CorpusFile*>& files) {
    state.SetBytesProcessed(state.iterations() * ImageBytes(files));
    state.counters["files"] = static_cast<double>(files.size());
}

void BM_ImportBuffer(benchmark::State& state, bool compressedOnly) {
    const std::vector<const CorpusFile*> files = Select(compressedOnly);
    const bool shapes = state.range(0) != 0;
    QuietStdout quiet;
    for (auto _ : state) {
        for (const CorpusFile* f : files) {
            flaMovie movie;
            movie.ReadMovieFromBuffer(f->image.data(), static_cast<int>(f->image.size()), nullptr);
            if (shapes) DecodeShapes(movie);
            benchmark::DoNotOptimize(movie.GetFrameCount());
        }
    }
    Finish(state, files);
}

void BM_ImportFile(benchmark::State& state) {
    const std::vector<const CorpusFile*> files = Select(true);
    const bool shapes = state.range(0) != 0;
    QuietStdout quiet;
    for (auto _ : state) {
        for (const CorpusFile* f : files) {
            flaMovie movie;
            movie.ReadMovieFromFile(PL_FileSpec(f->path.c_str()), nullptr);
            if (shapes) DecodeShapes(movie);
            benchmark::DoNotOptimize(movie.GetFrameCount());
        }
    }
    Finish(state, files);
}

void BM_ZlibUncompress(benchmark::State& state) {
    const std::vector<const CorpusFile*> files = Select(true);
    Bytes out;
    for (auto _ : state) {
        for (const CorpusFile* f : files) {
            out.resize(f->image.size() - 8);
            uLongf produced = static_cast<uLongf>(out.size());
            benchmark::DoNotOptimize(
                uncompress(out.data(), &produced, f->raw.data() + 8, static_cast<uLong>(f->raw.size() - 8)));
        }
    }
    Finish(state, files);
}

BENCHMARK_CAPTURE(BM_ImportBuffer, all, false)->ArgName("shapes")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ImportBuffer, cws, true)->ArgName("shapes")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ImportFile)->Name("ImportFile/cws")->ArgName("shapes")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZlibUncompress)->Name("ZlibUncompress/cws")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
