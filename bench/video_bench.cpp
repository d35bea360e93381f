// The video effects on the shared skeleton at 1920x1080, each as a ratio to memcpy of one frame.
#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

#include "effect_bench.h"
#include "video/kernels.h"

namespace vek::bench {
namespace {

template <class T>
std::function<void(uint8_t*)> Store(std::size_t offset, T value) {
  return [=](uint8_t* values) { std::memcpy(values + offset, &value, sizeof value); };
}

[[maybe_unused]] const bool kRegistered = [] {
  const Size size{1920, 1080};
  const Baseline copy = RegisterBaselines(size).copy;
  auto add = [&](const std::string& name, const EffectSetup& setup) { RegisterEffect(name, copy, setup); };
  for (int workers : {1, 2}) {
    add(Name({"Posterize/argb/workers", std::to_string(workers)}), {"DSP_VI_Posterize", size, 0, 0, workers, {}});
  }
  for (int32_t mode : {0, 1, 2, 3}) {
    add(Name({"FlipCanvas/mode", std::to_string(mode)}), {"DSP_VI_FlipCanvas", size, 0, 0, 1, Store(0, mode)});
  }
  for (const char* id : {"DSP_VI_AutoLevels", "DSP_VI_AutoContrast", "DSP_VI_Equalize", "DSP_VI_ContrastMask"}) {
    for (int workers : {1, 2}) {
      add(Name({std::string_view(id).substr(7), "/workers", std::to_string(workers)}), {id, size, 0, 0, workers, {}});
    }
  }
  for (const char* id : {"DSP_VI_AutoLevels", "DSP_VI_AutoContrast", "DSP_VI_Equalize"}) {
    add(Name({std::string_view(id).substr(7), "/picture/workers1"}),
        {.classId = id, .size = size, .configure = {}, .picture = true});
  }
  // The count the first three corrections start with, alone: the least they can cost. A frame is
  // counted byte by byte, or as pairs (bytes 0 and 1 of a pixel, byte 2 of two) split after.
  RegisterPaired("ColourHistogram/bytes", copy, [size](benchmark::State& s, BaselineKind baseline) {
    Frames frames(size);
    TimeAgainst(s, baseline, frames, [&] {
      uint32_t histograms[3][256] = {};
      CountColourBytes(frames.a.data(), frames.bytes / 4, histograms);
      benchmark::DoNotOptimize(histograms);
    });
  });
  RegisterPaired("ColourHistogram/pairs", copy, [size](benchmark::State& s, BaselineKind baseline) {
    Frames frames(size);
    std::vector<uint32_t> pairs(kPairCountEntries);
    TimeAgainst(s, baseline, frames, [&] {
      uint32_t histograms[3][256] = {};
      std::fill(pairs.begin(), pairs.end(), 0u);
      CountColourPairs(frames.a.data(), frames.bytes / 4, pairs.data(), histograms);
      benchmark::DoNotOptimize(histograms);
    });
  });
  for (int workers : {1, 2}) {
    const std::string suffix = workers == 1 ? "" : "/workers2";
    add("Mosaic/box" + suffix, {"DSP_VI_Mosaic", size, 0, 0, workers, {}});
    add("Mosaic/circle" + suffix, {"DSP_VI_Mosaic", size, 0, 0, workers, Store(24, int32_t(1))});
  }
  return true;
}();

}  // namespace
}  // namespace vek::bench
