// The pattern transitions (burn, block dissolve, collapse, threshold, X-ray, colour split) at
// 1920x1080, each phase and grain on its own, as ratios to a copy of one frame in the same run.
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "module/catalogue.h"
#include "ratio_reporter.h"

namespace vek::bench {
namespace {

constexpr int kWidth = 1920, kHeight = 1080;
constexpr std::size_t kFrameBytes = std::size_t(kWidth) * kHeight * 4;
const std::string kBaseline = "Pattern/memcpy/1920x1080";

struct Frames {
  Frames() : a(kFrameBytes), b(kFrameBytes), out(kFrameBytes) {
    for (std::size_t i = 0; i < kFrameBytes; ++i) {
      a[i] = uint8_t(i * 7 + (i >> 9));
      b[i] = uint8_t(255 - i * 3);
    }
  }
  std::vector<uint8_t> a, b, out;
};

const VekEffectDescriptor& Effect(std::string_view classId) {
  for (const VekEffectDescriptor& row : EffectTable()) {
    if (classId == row.classId) return row;
  }
  std::abort();
}

void Copy(benchmark::State& state) {
  Frames frames;
  for (auto _ : state) {
    std::memcpy(frames.out.data(), frames.a.data(), kFrameBytes);
    benchmark::ClobberMemory();
  }
}

struct Case {
  const char* classId;
  float progress;
  int32_t choice = 0;  // P2, for the effects that have it
  int32_t layout = 0;
};

// Prepared once, as a host does before the first frame; then one Process a frame.
void Render(benchmark::State& state, Case c) {
  const VekEffectDescriptor& row = Effect(c.classId);
  Frames frames;
  std::vector<uint8_t> privateBlock(row.privateBytes), values(64);
  VekEffectInstance instance{};
  instance.descriptor = &row;
  instance.privateBlock = privateBlock.data();
  instance.paramValues = values.data();
  instance.width = kWidth;
  instance.height = kHeight;
  instance.colourLayout = c.layout;
  instance.randomSeed = 1234;
  row.callbacks.init(&instance);
  std::memcpy(values.data(), &c.progress, sizeof c.progress);
  if (row.words[VEK_WORD_PARAM_COUNT] > 1) std::memcpy(values.data() + 4, &c.choice, sizeof c.choice);
  if (row.callbacks.prepare(&instance) != VEK_S_OK) state.SkipWithError("Prepare failed");
  VekInputSample a{}, b{};
  a.privateBlock = b.privateBlock = privateBlock.data();
  a.frame = frames.a.data();
  b.frame = frames.b.data();
  row.callbacks.setInput(0, &a);
  row.callbacks.setInput(1, &b);
  instance.output = frames.out.data();
  for (auto _ : state) {
    if (row.callbacks.process(&instance) != VEK_S_OK) state.SkipWithError("Process failed");
    benchmark::ClobberMemory();
  }
  row.callbacks.destroy(&instance);
}

[[maybe_unused]] const bool kRegistered = [] {
  RegisterBaseline(kBaseline, Copy);
  const std::pair<std::string, Case> cases[] = {
      {"Burn", {"DSP_TR_Burn", 0.6f}},
      {"Burn/luma", {"DSP_TR_Burn", 0.6f, 0, 1}},
      {"DissolveType/Fine", {"DSP_TR_DissolveType", 0.6f, 0}},
      {"DissolveType/Mid", {"DSP_TR_DissolveType", 0.6f, 1}},
      {"DissolveType/Coarse", {"DSP_TR_DissolveType", 0.6f, 2}},
      {"Collapse/S", {"DSP_TR_Collapse", 0.6f, 0}},
      {"Collapse/M", {"DSP_TR_Collapse", 0.6f, 1}},
      {"Collapse/L", {"DSP_TR_Collapse", 0.6f, 2}},
      {"Collapse/XL", {"DSP_TR_Collapse", 0.6f, 3}},
      {"Collapse/S/early", {"DSP_TR_Collapse", 0.2f, 0}},
      {"Threshold/One", {"DSP_TR_Threshold", 0.6f, 0}},
      {"Threshold/Two", {"DSP_TR_Threshold", 0.6f, 1}},
      {"Threshold/One/luma", {"DSP_TR_Threshold", 0.6f, 0, 1}},
      {"XRay/negative", {"DSP_TR_XRay", 0.2f}},
      {"XRay/tone", {"DSP_TR_XRay", 0.6f}},
      {"XRay/to-B", {"DSP_TR_XRay", 0.9f}},
      {"XRay/negative/luma", {"DSP_TR_XRay", 0.2f, 0, 1}},
      {"XRay/tone/luma", {"DSP_TR_XRay", 0.6f, 0, 1}},
      {"XRay/to-B/luma", {"DSP_TR_XRay", 0.9f, 0, 1}},
      {"ColorSplit", {"DSP_TR_ColorSplit", 0.6f}},
      {"ColorSplit/early", {"DSP_TR_ColorSplit", 0.2f}},
      {"ColorSplit/luma", {"DSP_TR_ColorSplit", 0.6f, 0, 1}},
  };
  for (const auto& [name, c] : cases) {
    RegisterAgainst("Pattern/" + name + "/1920x1080", kBaseline, [c](benchmark::State& s) { Render(s, c); });
  }
  return true;
}();

}  // namespace
}  // namespace vek::bench
