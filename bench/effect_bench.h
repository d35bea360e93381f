// Running one effect's Process in a benchmark loop the way a host calls it, on synthetic frames,
// and the baselines every case is measured against. Source A can be the host's built-in picture instead.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vek_dsp/abi.h"

namespace vek::bench {

struct Size {
  int width, height;
  std::string Name() const;
};

// Two source frames with varied content (B partly transparent) and an output, in one allocation
// at fixed places: each starts its own 1088 bytes past a page boundary. Where the allocator puts
// large blocks changes from case to case, and copies run at very different speeds depending on how
// far apart their source and output lie within a page; fixed places give every case and baseline
// the same layout, with no two frames at the same offset in their pages.
struct Frames {
  explicit Frames(Size size);
  std::size_t bytes;
  std::vector<uint8_t> storage;
  std::span<uint8_t> a, b, out;
};

struct EffectSetup {
  const char* classId;
  Size size;
  int renderHint = 0;
  int fieldMode = 0;
  int workers = 1;
  // Writes parameter values over the defaults Init filled in.
  std::function<void(uint8_t* values)> configure;
  int colourLayout = 0;
  uint32_t randomSeed = 0;
  // The size the frame is shown at (sourceGeometry), when its pixels are not square; 0 for its own.
  uint32_t displayWidth = 0;
  uint32_t displayHeight = 0;
  // Source A is the host's built-in picture A instead of the synthetic pattern: for effects whose
  // cost depends on the content, such as the histograms, where a picture's runs of equal pixels count.
  bool picture = false;
};

enum class BaselineKind { kCopy, kReadTwoWriteOne };

// "memcpy/WxH" copies one frame; "read2write1/WxH" reads two frames and writes one, the least any
// two-input transition must do.
struct Baseline {
  std::string name;
  BaselineKind kind;
};
struct Baselines {
  Baseline copy, readTwoWriteOne;
};
// Registers both baselines once per size, on their own, for their absolute times.
Baselines RegisterBaselines(Size size);

void RunBaseline(BaselineKind kind, Frames& frames);

// The machine's memory speed drifts by a factor of two and more within a run as other tenants come
// and go, so a case measured minutes after its baseline can be off by that much. The two are measured
// in alternating rounds of a few milliseconds instead, on the same frames, each side's round opened by
// untimed calls that settle the caches for what follows: running a case and its baseline call by call
// would charge the baseline for whatever the case evicted. The case's time is the work's; its "ratio"
// counter is the work's total time over the baseline's, and "baseline_ms" the baseline's mean.
template <class BaselineCall, class Work>
void TimeAgainst(benchmark::State& state, BaselineCall&& baseline, Work&& work) {
  using Clock = std::chrono::steady_clock;
  constexpr int kRound = 8, kSettle = 2;
  const auto timed = [](auto&& call) {
    const Clock::time_point start = Clock::now();
    call();
    benchmark::ClobberMemory();
    return Clock::now() - start;
  };
  Clock::duration workTime{}, baselineTime{};
  int64_t baselineRuns = 0, done = 0;
  for (auto _ : state) {
    if (done++ % kRound == 0) {
      for (int i = 0; i < kSettle; ++i) timed(baseline);
      for (int i = 0; i < kRound; ++i, ++baselineRuns) baselineTime += timed(baseline);
      for (int i = 0; i < kSettle; ++i) timed(work);
    }
    const Clock::duration time = timed(work);
    workTime += time;
    state.SetIterationTime(std::chrono::duration<double>(time).count());
  }
  if (baselineRuns == 0 || baselineTime.count() <= 0) return;
  const double meanBaseline = std::chrono::duration<double>(baselineTime).count() / double(baselineRuns);
  const double meanWork = std::chrono::duration<double>(workTime).count() / double(done);
  state.counters["ratio"] = meanWork / meanBaseline;
  state.counters["baseline_ms"] = meanBaseline * 1e3;
}

template <class Work>
void TimeAgainst(benchmark::State& state, BaselineKind baseline, Frames& frames, Work&& work) {
  TimeAgainst(
      state, [&] { RunBaseline(baseline, frames); }, work);
}

// Registers `name`, which `measure` times against `baseline` with TimeAgainst.
void RegisterPaired(const std::string& name, const Baseline& baseline,
                    std::function<void(benchmark::State&, BaselineKind)> measure);

// One effect's Process, called as a host calls it, against `baseline`.
void RegisterEffect(const std::string& name, const Baseline& baseline, const EffectSetup& setup);
// The same effect with `setup.workers` workers against one worker on the same instance and frames:
// the ratio is the inverse of the speed-up.
void RegisterWorkerSpeedUp(const std::string& name, const EffectSetup& setup);

// Case names joined part by part (GCC 12 warns falsely on chains of std::string operator+).
std::string Name(std::initializer_list<std::string_view> parts);

}  // namespace vek::bench
