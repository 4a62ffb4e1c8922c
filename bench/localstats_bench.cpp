// Speed and memory of reading the local Claude Code statistics from a heavy user's tree.
//   localstats_bench [--home DIR] [Google Benchmark flags]
// Without --home, a generated tree (over 1 GiB of session logs) is written once next to this
// program and reused. With --home, any home folder is measured as it is; only the append
// benchmark writes there, to a session log of its own that it removes again. The page cache is warm
// in every benchmark: the tree is read once before timing starts, so the figures are those of the
// reader, not of the disk.
#include "local_stats_tree.h"

#include "localstats/local_stats_reader.h"
#include "support/reference_local_stats.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>

namespace {

using namespace quillon;
namespace fs = std::filesystem;

fs::path home;
bench::TreeSize treeSize;
const Instant now =
    Instant{std::chrono::sys_days{std::chrono::year{2026} / 11 / 22}.time_since_epoch()} +
    std::chrono::hours{12};

void setBytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * treeSize.sessionBytes));
    state.counters["session_files"] = treeSize.sessionFiles;
}

void ColdRead(benchmark::State& state) {
    for (auto _ : state) {
        LocalStatsReader reader(home);
        benchmark::DoNotOptimize(reader.read(now));
    }
    setBytes(state);
}

void PlainRead(benchmark::State& state) {
    const test::ReferenceLocalStats reference(home);
    for (auto _ : state) {
        benchmark::DoNotOptimize(reference.read(now));
    }
    setBytes(state);
}

void WarmUnchanged(benchmark::State& state) {
    LocalStatsReader reader(home);
    reader.read(now);
    for (auto _ : state) {
        benchmark::DoNotOptimize(reader.read(now));
    }
}

// The same where the kernel's report of changes cannot be relied on: every file is looked at.
void WarmUnchangedLookingAtEveryFile(benchmark::State& state) {
    LocalStatsReader reader(home, false);
    reader.read(now);
    for (auto _ : state) {
        benchmark::DoNotOptimize(reader.read(now));
    }
}

// A session log of the benchmark's own, in a project folder of its own under the tree's
// "projects", removed again at the end: the tree may be someone's real home, whose own logs are
// never written to.
class OwnSessionLog {
public:
    explicit OwnSessionLog(const fs::path& tree) {
        const fs::path projects = tree / ".claude" / "projects";
        std::error_code error;
        createdProjects_ = !fs::exists(projects, error);
        folder_ = projects / "-localstats-bench-appended";
        fs::create_directories(folder_, error);
        log_ = folder_ / "appended-session.jsonl";
        std::ofstream(log_, std::ios::binary | std::ios::trunc).flush();
        usable_ = !error && fs::exists(log_, error);
    }
    ~OwnSessionLog() {
        std::error_code error;
        fs::remove_all(folder_, error);
        if (createdProjects_) {
            fs::remove(folder_.parent_path(), error);
        }
    }
    OwnSessionLog(const OwnSessionLog&) = delete;
    OwnSessionLog& operator=(const OwnSessionLog&) = delete;

    bool usable() const { return usable_; }
    void append(const std::string& text) const {
        std::ofstream(log_, std::ios::binary | std::ios::app) << text;
    }

private:
    fs::path folder_;
    fs::path log_;
    bool createdProjects_ = false;
    bool usable_ = false;
};

void WarmAfterAppendingOneMegabyte(benchmark::State& state) {
    const OwnSessionLog log(home);
    if (!log.usable()) {
        state.SkipWithError("cannot write a session log of its own under the tree");
        return;
    }
    std::string megabyte;
    while (megabyte.size() < (1u << 20)) {
        megabyte +=
            R"({"timestamp":"2026-11-22T11:00:00.000Z","type":"assistant","usage":{"input_tokens":12,"output_tokens":400},"message":{"content":")" +
            std::string(2000, 'x') + "\"}}\n";
    }
    LocalStatsReader reader(home);
    reader.read(now);
    for (auto _ : state) {
        state.PauseTiming();
        log.append(megabyte);
        state.ResumeTiming();
        benchmark::DoNotOptimize(reader.read(now));
    }
}

long statusField(const char* name) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with(name)) {
            return std::stol(line.substr(std::string(name).size()));
        }
    }
    return 0;
}

// The peak memory of a cold read beyond what the process held before it, measured in a fresh
// process (this program again) so that nothing read before is already in its heap.
void ColdReadPeakMemory(benchmark::State& state) {
    double extraMegabytes = 0;
    for (auto _ : state) {
        const std::string command = "'" + fs::canonical("/proc/self/exe").string() +
                                    "' --peak-memory-of-cold-read '" + home.string() + "'";
        FILE* child = ::popen(command.c_str(), "r");
        long extra = -1;
        if (child == nullptr || std::fscanf(child, "%ld", &extra) != 1) {
            state.SkipWithError("the measuring process gave no figure");
        }
        if (child != nullptr) {
            ::pclose(child);
        }
        extraMegabytes = static_cast<double>(extra) / 1024.0;
    }
    state.counters["extra_MiB"] = extraMegabytes;
    state.counters["largest_file_MiB"] = static_cast<double>(treeSize.largestFile) / (1 << 20);
    state.counters["beyond_largest_MiB"] =
        extraMegabytes - static_cast<double>(treeSize.largestFile) / (1 << 20);
}

// The measuring process: peak resident kilobytes of one cold read beyond those held before it.
int measurePeakMemory(const fs::path& tree) {
    const long before = statusField("VmRSS:");
    LocalStatsReader reader(tree);
    reader.read(now);
    std::printf("%ld\n", statusField("VmHWM:") - before);
    return 0;
}

fs::path defaultHome() {
    return fs::canonical("/proc/self/exe").parent_path() / "localstats-tree";
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "--peak-memory-of-cold-read") {
        return measurePeakMemory(argv[2]);
    }
    home = defaultHome();
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::string(argv[i]) == "--home") {
            home = argv[i + 1];
            for (int k = i; k + 2 < argc + 1; ++k) {
                argv[k] = argv[k + 2];
            }
            argc -= 2;
            break;
        }
    }
    if (home == defaultHome()) {
        bench::ensureTree(home, bench::TreeShape{});
    }
    treeSize = bench::measureTree(home);
    LocalStatsReader(home).read(now); // warms the page cache
    benchmark::RegisterBenchmark("ColdRead", ColdRead)
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("PlainRead", PlainRead)
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("WarmUnchanged", WarmUnchanged)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("WarmUnchangedLookingAtEveryFile", WarmUnchangedLookingAtEveryFile)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("WarmAfterAppendingOneMegabyte", WarmAfterAppendingOneMegabyte)
        ->Iterations(20)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("ColdReadPeakMemory", ColdReadPeakMemory)
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
