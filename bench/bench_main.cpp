// Runs the benchmarks, then prints each case's time as a ratio to its baseline of the same run: the
// ratio measured beside it iteration by iteration where the case has one, otherwise to the baseline
// case's time.
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "ratio_reporter.h"

namespace vek::bench {
namespace {

std::map<std::string, std::string>& Baselines() {
  static std::map<std::string, std::string> baselines;
  return baselines;
}

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      times_[run.run_name.function_name] = run.GetAdjustedRealTime();
      const auto paired = run.counters.find("ratio");
      if (paired != run.counters.end()) pairedRatios_[run.run_name.function_name] = paired->second.value;
    }
    ConsoleReporter::ReportRuns(runs);
  }
  void PrintRatios() const {
    std::printf("\n%-48s %-32s %8s\n", "case", "baseline", "ratio");
    for (const auto& [name, baseline] : Baselines()) {
      if (const auto paired = pairedRatios_.find(name); paired != pairedRatios_.end()) {
        std::printf("%-48s %-32s %8.2f\n", name.c_str(), baseline.c_str(), paired->second);
        continue;
      }
      const auto time = times_.find(name), base = times_.find(baseline);
      if (time == times_.end() || base == times_.end() || base->second <= 0) continue;
      std::printf("%-48s %-32s %8.2f\n", name.c_str(), baseline.c_str(), time->second / base->second);
    }
  }

 private:
  std::map<std::string, double> times_;
  std::map<std::string, double> pairedRatios_;  // measured iteration by iteration with the baseline
};

}  // namespace

void SetBaseline(const std::string& name, const std::string& baseline) {
  Baselines()[name] = baseline;
}

}  // namespace vek::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  vek::bench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatios();
  benchmark::Shutdown();
  return 0;
}
