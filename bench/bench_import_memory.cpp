// Peak memory of an import: the most heap in use at any moment of the import
// beyond what was in use before it, over the size of the file image the file
// inflates to, for every corpus file flio accepts. The program counts every
// allocation of the process (malloc and its kin are wrapped below), so zlib's and
// libdeflate's memory counts too, and a block counts at its usable size.
//
//   file        ReadMovieFromFile: the file read into memory, inflated, imported
//   memory      ReadMovieFromMemory of the file held by the caller (not counted):
//               an uncompressed file is read where it lies
//   decoded     the file import, then every shape, font and text decoded (the
//               peak of the whole, with the decoded model)
//
// A movie of a header and an End tag gives the fixed part every import needs (the
// movie object, zlib's state); "net" ratios leave it out, which matters for the
// corpus's many files of a few hundred bytes. The wrappers need glibc.
// Run: ./build/bench/bench_import_memory
#include <malloc.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/bench_util.h"
#include "flio/PL_File.h"
#include "flio/flaGeometry.h"
#include "flio/flaMovie.h"
#include "flio/flaText.h"

// ---- heap accounting: every allocation of the process ----

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace {

std::size_t live = 0, peak = 0;

void* Counted(void* p) {
    if (p) {
        live += malloc_usable_size(p);
        if (live > peak) peak = live;
    }
    return p;
}

void Uncount(void* p) {
    if (p) live -= malloc_usable_size(p);
}

}  // namespace

extern "C" {
void* malloc(std::size_t n) { return Counted(__libc_malloc(n)); }
void* calloc(std::size_t n, std::size_t size) { return Counted(__libc_calloc(n, size)); }
void* realloc(void* p, std::size_t n) {
    const std::size_t before = p ? malloc_usable_size(p) : 0;
    void* q = __libc_realloc(p, n);
    if (!q) return nullptr;  // p is untouched
    live -= before;
    return Counted(q);
}
void* memalign(std::size_t alignment, std::size_t n) { return Counted(__libc_memalign(alignment, n)); }
void* aligned_alloc(std::size_t alignment, std::size_t n) { return memalign(alignment, n); }
int posix_memalign(void** out, std::size_t alignment, std::size_t n) {
    void* p = memalign(alignment, n);
    if (!p) return 12;  // ENOMEM
    *out = p;
    return 0;
}
void free(void* p) {
    Uncount(p);
    __libc_free(p);
}
}

namespace {

using flio_bench::CorpusFile;

enum Mode { FromFile, FromMemory, Decoded, ModeCount };
const char* const kModeNames[ModeCount] = {"file", "memory", "decoded"};

void DecodeAll(flaMovie& movie) {
    movie.buildBloatedFonts();
    for (flaCharacter* c : movie.GetCharacterList()) {
        try {
            if (auto* shape = dynamic_cast<flaGeometry*>(c))
                shape->BuildBloated();
            else if (auto* text = dynamic_cast<flaTextGeometry*>(c))
                text->BuildBloated(movie);
        } catch (const std::exception&) {
        }
    }
}

// The peak heap beyond what was in use at the start, and whether the import took.
std::size_t PeakOf(const CorpusFile& f, Mode mode, bool& accepted) {
    const std::size_t start = live;
    peak = live;
    {
        flaMovie movie;
        accepted = mode == FromMemory ? movie.ReadMovieFromMemory(f.raw.data(), f.raw.size(), nullptr)
                                      : movie.ReadMovieFromFile(PL_FileSpec(f.path.c_str()), nullptr);
        if (accepted && mode == Decoded) DecodeAll(movie);
    }
    return peak - start;
}

// Per mode: every file's net ratio, with its path.
std::vector<std::pair<double, std::string>> results[ModeCount];
std::size_t fixedPart[ModeCount];

// A movie of a header and an End tag (padded to the shortest length an import
// takes), compressed, as a file of its own.
CorpusFile EmptyMovie(const std::string& dir) {
    const unsigned char plain[21] = {'F', 'W', 'S', 9, 21, 0, 0, 0, 0x00, 0x00, 24, 1, 0, 0, 0};
    CorpusFile f;
    f.path = dir + "/empty.swf";
    uLongf room = compressBound(sizeof plain - 8);
    f.raw.assign(plain, plain + 8);
    f.raw[0] = 'C';
    f.raw.resize(8 + room);
    compress(f.raw.data() + 8, &room, plain + 8, sizeof plain - 8);
    f.raw.resize(8 + room);
    f.imageSize = sizeof plain;
    f.compressed = true;
    if (std::FILE* out = std::fopen(f.path.c_str(), "wb")) {
        std::fwrite(f.raw.data(), 1, f.raw.size(), out);
        std::fclose(out);
    }
    return f;
}

void BM_PeakMemory(benchmark::State& state) {
    const std::vector<CorpusFile> files = flio_bench::ReadCorpus(FLIO_CORPUS_DIR);
    const flio_bench::PathList scratch({});
    const std::string dir = scratch.File().substr(0, scratch.File().rfind('/'));
    flio_bench::QuietStdout quiet;
    for (auto _ : state) {
        const CorpusFile empty = EmptyMovie(dir);
        for (int m = 0; m < ModeCount; ++m) {
            bool ok = false;
            fixedPart[m] = PeakOf(empty, static_cast<Mode>(m), ok);
        }
        for (auto& r : results) r.clear();
        for (const CorpusFile& f : files) {
            for (int m = 0; m < ModeCount; ++m) {
                bool ok = false;
                const std::size_t bytes = PeakOf(f, static_cast<Mode>(m), ok);
                if (!ok || f.imageSize == 0) break;
                const std::size_t beyond = bytes > fixedPart[m] ? bytes - fixedPart[m] : 0;
                results[m].emplace_back(static_cast<double>(beyond) / static_cast<double>(f.imageSize), f.path);
            }
        }
        state.SetIterationTime(1);
    }
    for (int m = 0; m < ModeCount; ++m) {
        std::sort(results[m].rbegin(), results[m].rend());
        state.counters[std::string("worst_net_") + kModeNames[m]] = results[m].empty() ? 0 : results[m][0].first;
    }
}

void PrintSummary() {
    std::printf("Peak heap of an import, less the fixed part, over the inflated file (goal <= 4):\n");
    for (int m = 0; m < ModeCount; ++m) {
        const auto& r = results[m];
        if (r.empty()) continue;
        const auto above = std::count_if(r.begin(), r.end(), [](const auto& e) { return e.first > 4; });
        std::printf("  %-8s %zu files, fixed part %.1f KB, median %.2f, above 4: %ld; the worst:\n", kModeNames[m],
                    r.size(), static_cast<double>(fixedPart[m]) / 1024.0, r[r.size() / 2].first,
                    static_cast<long>(above));
        for (std::size_t i = 0; i < r.size() && i < 6; ++i)
            std::printf("    %7.2f  %s\n", r[i].first, r[i].second.c_str());
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::RegisterBenchmark("Memory/import", BM_PeakMemory)->UseManualTime()->Iterations(1)->Repetitions(1);
    return flio_bench::RunWithRatios(argc, argv, [](const std::map<std::string, double>&) { PrintSummary(); });
}
