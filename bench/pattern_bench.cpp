// The pattern transitions (burn, block dissolve, collapse, threshold, X-ray, colour split) at
// 1920x1080, each phase and grain on its own, as ratios to a copy of one frame in the same run.
#include <cstring>
#include <string>
#include <string_view>

#include "effect_bench.h"

namespace vek::bench {
namespace {

struct Case {
  const char* name;
  const char* classId;
  float progress;
  int32_t choice;  // P2, where the effect has it
  int colourLayout;
};

constexpr Case kCases[] = {
    {"Burn", "DSP_TR_Burn", 0.6f, 0, 0},
    {"Burn/luma", "DSP_TR_Burn", 0.6f, 0, 1},
    {"DissolveType/Fine", "DSP_TR_DissolveType", 0.6f, 0, 0},
    {"DissolveType/Mid", "DSP_TR_DissolveType", 0.6f, 1, 0},
    {"DissolveType/Coarse", "DSP_TR_DissolveType", 0.6f, 2, 0},
    {"Collapse/S", "DSP_TR_Collapse", 0.6f, 0, 0},
    {"Collapse/M", "DSP_TR_Collapse", 0.6f, 1, 0},
    {"Collapse/L", "DSP_TR_Collapse", 0.6f, 2, 0},
    {"Collapse/XL", "DSP_TR_Collapse", 0.6f, 3, 0},
    {"Collapse/S/early", "DSP_TR_Collapse", 0.2f, 0, 0},
    {"Collapse/M/early", "DSP_TR_Collapse", 0.2f, 1, 0},
    {"Collapse/L/early", "DSP_TR_Collapse", 0.2f, 2, 0},
    {"Collapse/XL/early", "DSP_TR_Collapse", 0.2f, 3, 0},
    {"Threshold/One", "DSP_TR_Threshold", 0.6f, 0, 0},
    {"Threshold/Two", "DSP_TR_Threshold", 0.6f, 1, 0},
    {"Threshold/One/luma", "DSP_TR_Threshold", 0.6f, 0, 1},
    {"XRay/negative", "DSP_TR_XRay", 0.2f, 0, 0},
    {"XRay/tone", "DSP_TR_XRay", 0.6f, 0, 0},
    {"XRay/to-B", "DSP_TR_XRay", 0.9f, 0, 0},
    {"XRay/negative/luma", "DSP_TR_XRay", 0.2f, 0, 1},
    {"XRay/tone/luma", "DSP_TR_XRay", 0.6f, 0, 1},
    {"XRay/to-B/luma", "DSP_TR_XRay", 0.9f, 0, 1},
    {"ColorSplit", "DSP_TR_ColorSplit", 0.6f, 0, 0},
    {"ColorSplit/early", "DSP_TR_ColorSplit", 0.2f, 0, 0},
    {"ColorSplit/start", "DSP_TR_ColorSplit", 0.05f, 0, 0},
    {"ColorSplit/luma", "DSP_TR_ColorSplit", 0.6f, 0, 1},
};

// Prepared once with a fixed seed, as a host does before the first frame; then one Process a frame.
[[maybe_unused]] const bool kRegistered = [] {
  const Size size{1920, 1080};
  const Baseline copy = RegisterBaselines(size).copy;
  for (const Case& c : kCases) {
    const auto values = [c](uint8_t* block) {
      std::memcpy(block, &c.progress, sizeof c.progress);
      std::memcpy(block + 4, &c.choice, sizeof c.choice);  // beyond the rows of a one-parameter effect: unread
    };
    const EffectSetup setup{c.classId, size, 0, 0, 1, values, c.colourLayout, 1234};
    RegisterEffect(Name({"Pattern/", c.name, "/", size.Name()}), copy, setup);
    if (std::string_view(c.classId) != "DSP_TR_DissolveType") {  // the others split their rows over workers
      EffectSetup split = setup;
      split.workers = 2;
      RegisterEffect(Name({"Pattern/", c.name, "/workers2/", size.Name()}), copy, split);
    }
  }
  return true;
}();

}  // namespace
}  // namespace vek::bench
