// Running one effect's Process in a benchmark loop the way a host calls it, on synthetic frames,
// and the baselines every case is measured against.
#pragma once

#include <benchmark/benchmark.h>

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
};

void RenderEffect(benchmark::State& state, const EffectSetup& setup);

// "memcpy/WxH" (one frame copied) and "read2write1/WxH" (two frames read, one written), registered
// once per size; returns their names.
struct BaselineNames {
  std::string copy, readTwoWriteOne;
};
BaselineNames RegisterBaselines(Size size);

// Case names joined part by part (GCC 12 warns falsely on chains of std::string operator+).
std::string Name(std::initializer_list<std::string_view> parts);

}  // namespace vek::bench
