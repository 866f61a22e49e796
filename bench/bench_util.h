// Helpers shared by the benchmark programs: thread CPU time as each iteration's
// time, the corpus read into memory, the peer reader's timing driver, and a closing
// report of ratios between benchmarks measured in the same run.
//
// Every program runs its benchmarks 5 times, interleaved at random so that a change
// in the machine's load touches all of them alike, and compares medians. Times are
// this thread's CPU time (other jobs on the machine disturb it less than wall time).
#pragma once

#include <benchmark/benchmark.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace flio_bench {

using Bytes = std::vector<unsigned char>;

inline double ThreadCpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// Runs body once per iteration and takes its thread CPU time as the iteration's
// time (register the benchmark with UseManualTime()).
template <typename Body>
void TimeThreadCpu(benchmark::State& state, Body&& body) {
    for (auto _ : state) {
        const double start = ThreadCpuSeconds();
        body();
        state.SetIterationTime(ThreadCpuSeconds() - start);
    }
}

// Registers a benchmark timed by TimeThreadCpu (or by SetIterationTime), in ms.
template <typename... Args>
void Add(const std::string& name, Args&&... args) {
    benchmark::RegisterBenchmark(name.c_str(), std::forward<Args>(args)...)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

struct CorpusFile {
    std::string path;
    Bytes raw;                  // the file as it is
    std::size_t imageSize = 0;  // its uncompressed length, as its header gives it
    bool compressed = false;    // CWS
};

// Every .swf file under the corpus folder, in path order.
inline std::vector<CorpusFile> ReadCorpus(const std::string& dir) {
    namespace fs = std::filesystem;
    std::vector<fs::path> paths;
    std::error_code ec;
    if (fs::is_directory(dir, ec))
        for (const auto& e : fs::recursive_directory_iterator(dir, ec))
            if (e.is_regular_file() && e.path().extension() == ".swf") paths.push_back(e.path());
    std::sort(paths.begin(), paths.end());
    std::vector<CorpusFile> files;
    for (const fs::path& p : paths) {
        std::ifstream in(p, std::ios::binary);
        CorpusFile f;
        f.path = p.string();
        f.raw.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        if (f.raw.size() < 8) continue;
        f.imageSize = f.raw[4] | (f.raw[5] << 8) | (f.raw[6] << 16) | (static_cast<std::size_t>(f.raw[7]) << 24);
        f.compressed = f.raw[0] == 'C';
        files.push_back(std::move(f));
    }
    return files;
}

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

// The peer's timing driver (swfbench, built by ../shared/peers/ruffle-swf/build.sh):
// FLIO_PEER_SWFBENCH, or where build.sh puts it. Empty when it is not there.
inline std::string PeerPath() {
    std::vector<std::string> candidates;
    if (const char* given = std::getenv("FLIO_PEER_SWFBENCH")) candidates.emplace_back(given);
    const char* cache = std::getenv("XDG_CACHE_HOME");
    const char* home = std::getenv("HOME");
    if (cache) candidates.push_back(std::string(cache) + "/flio-peers/ruffle-swf/target/release/swfbench");
    if (home) candidates.push_back(std::string(home) + "/.cache/flio-peers/ruffle-swf/target/release/swfbench");
    for (const std::string& c : candidates)
        if (access(c.c_str(), X_OK) == 0) return c;
    return std::string();
}

// The peer's standard output for `args`; empty when it cannot run.
inline std::string RunPeer(const std::string& args) {
    const std::string peer = PeerPath();
    if (peer.empty()) return std::string();
    std::string out;
    if (FILE* p = popen(("'" + peer + "' " + args + " 2>/dev/null").c_str(), "r")) {
        char chunk[4096];
        std::size_t n;
        while ((n = std::fread(chunk, 1, sizeof chunk, p)) > 0) out.append(chunk, n);
        pclose(p);
    }
    return out;
}

// The number after "key=" in the peer's output; a negative value when absent.
inline double PeerValue(const std::string& output, const std::string& key) {
    const std::size_t at = output.rfind(" " + key + "=");
    return at == std::string::npos ? -1.0 : std::atof(output.c_str() + at + key.size() + 2);
}

// A list file of paths, one a line, in a folder of its own; removed with it.
class PathList {
public:
    explicit PathList(const std::vector<std::string>& paths) {
        char dirTemplate[] = "/tmp/flio-bench-XXXXXX";
        if (mkdtemp(dirTemplate)) dir = dirTemplate;
        file = dir + "/list.txt";
        std::ofstream out(file);
        for (const std::string& p : paths) out << p << '\n';
    }
    ~PathList() {
        std::error_code ec;
        if (!dir.empty()) std::filesystem::remove_all(dir, ec);
    }
    PathList(const PathList&) = delete;
    PathList& operator=(const PathList&) = delete;
    const std::string& File() const { return file; }

private:
    std::string dir, file;
};

// The console report, keeping the median time of every benchmark (in its unit).
class MedianReporter : public benchmark::ConsoleReporter {
public:
    // Coloured on a terminal only.
    MedianReporter() : ConsoleReporter(isatty(1) ? OO_Defaults : OO_None) {}
    std::map<std::string, double> medians;

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs)
            if (r.run_type == Run::RT_Aggregate && r.aggregate_name == "median" && !r.error_occurred)
                medians[r.run_name.function_name] = r.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }
};

// Prints "what: a / b = ratio (goal)"; a or b absent (not run) prints why.
inline void PrintRatio(const std::map<std::string, double>& m, const char* what, const std::string& a,
                       const std::string& b, const char* goal) {
    const auto x = m.find(a), y = m.find(b);
    if (x == m.end() || y == m.end() || y->second <= 0) {
        std::printf("%-44s not measured (%s or %s did not run)\n", what, a.c_str(), b.c_str());
        return;
    }
    std::printf("%-44s %10.3f / %-10.3f = %6.2f   %s\n", what, x->second, y->second, x->second / y->second, goal);
}

// Runs the benchmarks (5 repetitions interleaved at random, medians, unless the
// command line says otherwise), then prints `summary` from the medians.
inline int RunWithRatios(int argc, char** argv,
                         const std::function<void(const std::map<std::string, double>&)>& summary) {
    std::vector<char*> args(argv, argv + argc);
    std::string defaults[] = {"--benchmark_repetitions=5", "--benchmark_enable_random_interleaving=true",
                              "--benchmark_report_aggregates_only=true"};
    for (std::string& d : defaults) {
        const std::string flag = d.substr(0, d.find('='));
        bool given = false;
        for (int i = 1; i < argc; ++i) given = given || std::string(argv[i]).rfind(flag, 0) == 0;
        if (!given) args.push_back(&d[0]);
    }
    int count = static_cast<int>(args.size());
    args.push_back(nullptr);
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 1;
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\nMeasured in this run (times: medians, in ms of thread CPU time):\n");
    summary(reporter.medians);
    benchmark::Shutdown();
    return 0;
}

}  // namespace flio_bench
