// Importing whole movies, compared in the same run with the peer reader (Ruffle's
// `swf` crate, through its timing driver: see bench_util.h) and with zlib alone.
// The files are the corpus files that both readers accept, read into memory first.
//
//   Import/flio/{all,cws}         ReadMovieFromMemory of every file (CWS ones inflated
//                                 on the way), then every shape, font and text
//                                 decoded (fonts built, texts laid out in glyph
//                                 outlines), and the movie deleted
//   Import/flio-classic/cws       the same through ReadMovieFromFile
//   Import/flio-nodecode/all      ReadMovieFromMemory alone
//   Import/peer/{all,cws}         the peer's decompress + parse of the same files
//                                 (every shape, font, text, button and filter into
//                                 typed records) and drop, median of 5 passes
//   Zlib/uncompress/cws           zlib's uncompress of the same CWS files
//
// Run in Release: ./build/bench/bench_import
#include <zlib.h>

#include "bench/bench_util.h"
#include "flio/PL_File.h"
#include "flio/flaGeometry.h"
#include "flio/flaMovie.h"
#include "flio/flaText.h"

namespace {

using flio_bench::CorpusFile;

// Every shape, font and text of the movie decoded, as a host that shows or
// rewrites the movie decodes them. Malformed ones are skipped.
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

bool FlioAccepts(const CorpusFile& f) {
    flaMovie movie;
    return movie.ReadMovieFromMemory(f.raw.data(), f.raw.size(), nullptr);
}

// The corpus files both readers accept. Two files make this version of the peer
// abort on a 100 GB allocation (its README): they are not given to it.
const std::vector<CorpusFile>& Files() {
    static const std::vector<CorpusFile> files = [] {
        std::vector<CorpusFile> all = flio_bench::ReadCorpus(FLIO_CORPUS_DIR), both;
        std::vector<std::string> paths;
        for (const CorpusFile& f : all)
            if (f.path.find("frame_label_count_oom") == std::string::npos &&
                f.path.find("scene_count_oom") == std::string::npos)
                paths.push_back(f.path);
        const flio_bench::PathList list(paths);
        const std::string verdicts = flio_bench::RunPeer("perfile " + list.File() + " 1");
        flio_bench::QuietStdout quiet;
        for (CorpusFile& f : all) {
            const bool peerAccepts = verdicts.find(" 1 " + std::to_string(f.raw.size()) + " " + f.path + "\n") !=
                                     std::string::npos;
            if ((peerAccepts || verdicts.empty()) && FlioAccepts(f)) both.push_back(std::move(f));
        }
        return both;
    }();
    return files;
}

std::vector<const CorpusFile*> Select(bool compressedOnly) {
    std::vector<const CorpusFile*> out;
    for (const CorpusFile& f : Files())
        if (!compressedOnly || f.compressed) out.push_back(&f);
    return out;
}

void Finish(benchmark::State& state, const std::vector<const CorpusFile*>& files) {
    std::int64_t image = 0;
    for (const CorpusFile* f : files) image += static_cast<std::int64_t>(f->imageSize);
    state.SetBytesProcessed(state.iterations() * image);
    state.counters["files"] = static_cast<double>(files.size());
}

void BM_ImportFlio(benchmark::State& state, bool compressedOnly, bool decode) {
    const std::vector<const CorpusFile*> files = Select(compressedOnly);
    flio_bench::QuietStdout quiet;
    flio_bench::TimeThreadCpu(state, [&] {
        for (const CorpusFile* f : files) {
            flaMovie movie;
            movie.ReadMovieFromMemory(f->raw.data(), f->raw.size(), nullptr);
            if (decode) DecodeAll(movie);
            benchmark::DoNotOptimize(movie.GetFrameCount());
        }
    });
    Finish(state, files);
}

void BM_ImportFlioFromFile(benchmark::State& state) {
    const std::vector<const CorpusFile*> files = Select(true);
    flio_bench::QuietStdout quiet;
    flio_bench::TimeThreadCpu(state, [&] {
        for (const CorpusFile* f : files) {
            flaMovie movie;
            movie.ReadMovieFromFile(PL_FileSpec(f->path.c_str()), nullptr);
            DecodeAll(movie);
            benchmark::DoNotOptimize(movie.GetFrameCount());
        }
    });
    Finish(state, files);
}

// One iteration is one run of the peer's driver: its median of five passes over the
// files, in its own thread CPU time.
void BM_ImportPeer(benchmark::State& state, bool compressedOnly) {
    const std::vector<const CorpusFile*> files = Select(compressedOnly);
    std::vector<std::string> paths;
    for (const CorpusFile* f : files) paths.push_back(f->path);
    const flio_bench::PathList list(paths);
    for (auto _ : state) {
        const std::string out = flio_bench::RunPeer("parse " + list.File() + " 5");
        const double cpu = flio_bench::PeerValue(out, "cpu_median_s");
        if (cpu < 0 || flio_bench::PeerValue(out, "ok") != static_cast<double>(files.size())) {
            state.SkipWithError("the peer's driver did not run (see bench_util.h) or refused a file");
            break;
        }
        state.SetIterationTime(cpu);
    }
    Finish(state, files);
}

void BM_ZlibUncompress(benchmark::State& state) {
    const std::vector<const CorpusFile*> files = Select(true);
    flio_bench::Bytes out;
    flio_bench::TimeThreadCpu(state, [&] {
        for (const CorpusFile* f : files) {
            out.resize(f->imageSize - 8);
            uLongf produced = static_cast<uLongf>(out.size());
            benchmark::DoNotOptimize(
                uncompress(out.data(), &produced, f->raw.data() + 8, static_cast<uLong>(f->raw.size() - 8)));
        }
    });
    Finish(state, files);
}

void Register() {
    for (bool cws : {false, true}) {
        const std::string set = cws ? "cws" : "all";
        flio_bench::Add("Import/flio/" + set, BM_ImportFlio, cws, true);
        flio_bench::Add("Import/peer/" + set, BM_ImportPeer, cws);
    }
    flio_bench::Add("Import/flio-classic/cws", BM_ImportFlioFromFile);
    flio_bench::Add("Import/flio-nodecode/all", BM_ImportFlio, false, false);
    flio_bench::Add("Zlib/uncompress/cws", BM_ZlibUncompress);
}

}  // namespace

int main(int argc, char** argv) {
    Register();
    return flio_bench::RunWithRatios(argc, argv, [](const std::map<std::string, double>& m) {
        flio_bench::PrintRatio(m, "peer / flio, all files", "Import/peer/all", "Import/flio/all", "goal >= 1.5");
        flio_bench::PrintRatio(m, "peer / flio, CWS files", "Import/peer/cws", "Import/flio/cws", "goal >= 1.5");
        flio_bench::PrintRatio(m, "flio / zlib uncompress, CWS files", "Import/flio/cws", "Zlib/uncompress/cws",
                               "goal <= 2");
    });
}
