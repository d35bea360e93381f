// Benchmarks are compared with a baseline measured in the same run; the ratio is the result.
#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <utility>

namespace vek::bench {

// Remembers that `name` is reported as a ratio to the case named `baseline`.
void SetBaseline(const std::string& name, const std::string& baseline);

template <class Fn>
void RegisterAgainst(const std::string& name, const std::string& baseline, Fn&& fn) {
  SetBaseline(name, baseline);
  benchmark::RegisterBenchmark(name.c_str(), std::forward<Fn>(fn))->UseRealTime();
}

template <class Fn>
void RegisterBaseline(const std::string& name, Fn&& fn) {
  benchmark::RegisterBenchmark(name.c_str(), std::forward<Fn>(fn))->UseRealTime();
}

}  // namespace vek::bench
