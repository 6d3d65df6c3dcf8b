// Runs every benchmark and prints what matters: ratios of figures of this one run. For the figures themselves
// as JSON, pass --benchmark_out=FILE; --help tells the other options. The exit status is 1 when a benchmark
// failed, and when a ratio lacks its figures though no --benchmark_filter left any out.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace {

/// A cost divided by so many times the floor beside it, and what that should be at most.
struct Ratio {
    const char* what;
    const char* cost;
    const char* floor;
    double floors;
    double target;
};

constexpr Ratio ratios[] = {
    {"encode a request : its digests", "Encode/request", "Encode/digests", 1, 1.3},
    {"verify and view a reply : its digests", "View/reply", "Decode/digests", 1, 1.1},
    {"decode and validate a reply : its digests", "Decode/reply", "Decode/digests", 1, 1.5},
    {"encode 200 attributes : 20 times 10 attributes", "Encode/attributes/200", "Encode/attributes/10", 20,
     1},
    {"decode 200 attributes : 20 times 10 attributes", "Decode/attributes/200", "Decode/attributes/10", 20,
     1},
    {"decode 200 values of one name : 20 times 10", "Decode/one_name/200", "Decode/one_name/10", 20, 1},
    {"decode 200 unknown attributes : 20 times 10", "Decode/unknown/200", "Decode/unknown/10", 20, 1},
    {"decode 2038 empty attributes : 127 times 16 full ones", "Decode/empty/2038", "Decode/full/16", 127, 1},
    {"set 200 attributes anew : 20 times 10", "Set/200", "Set/10", 20, 1},
    {"load full.yaml's tree : yaml-cpp's events", "Load/full", "Load/full_events", 1, 0.15},
    {"load a block YAML tree : yaml-cpp's events", "Load/block", "Load/block_events", 1, 1.5},
};

/// Prints the ordinary table, and keeps the best time of each benchmark's repetitions.
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            failed_ = failed_ || run.error_occurred;
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                const auto [entry, is_new] =
                    best_.try_emplace(run.run_name.function_name + arguments(run), run.GetAdjustedCPUTime());
                entry->second = std::min(entry->second, run.GetAdjustedCPUTime());
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    /// Whether a benchmark could not do its work.
    bool failed() const { return failed_; }

    /// Prints the ratios that there are figures for. Returns whether none is missing.
    bool print_ratios() const {
        bool complete = true;
        std::printf("\n%-56s %8s %8s\n", "ratio, best of the repetitions", "measured", "at most");
        for (const Ratio& ratio : ratios) {
            const auto cost = best_.find(ratio.cost);
            const auto floor = best_.find(ratio.floor);
            if (cost == best_.end() || floor == best_.end()) {
                complete = false;
                continue;
            }
            std::printf("%-56s %8.2f %8.2f\n", ratio.what, cost->second / (ratio.floors * floor->second),
                        ratio.target);
        }
        return complete || best_.empty();  // with --benchmark_list_tests nothing runs
    }

  private:
    static std::string arguments(const Run& run) {
        return run.run_name.args.empty() ? "" : "/" + run.run_name.args;
    }

    std::map<std::string, double> best_;
    bool failed_ = false;
};

}  // namespace

int main(int argc, char* argv[]) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RatioReporter reporter;
    const bool filtered = !benchmark::GetBenchmarkFilter().empty();
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const bool complete = reporter.print_ratios();
    benchmark::Shutdown();
    if (reporter.failed()) {
        return 1;
    }
    if (!filtered && !complete) {
        std::cerr << "quarn-benchmark: a ratio has no figures: do its benchmarks have other names?\n";
        return 1;
    }
    return 0;
}
