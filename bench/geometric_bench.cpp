// The wipes, pushes, shutter and splices at 1920x1080, every direction or type at a few progress
// values and one field: the copying ones against one frame's memcpy, the blending ones against the
// read-two-write-one loop, all in the same run.
#include <cstring>
#include <string>

#include "effect_bench.h"

namespace vek::bench {
namespace {

struct Family {
  const char* classId;
  const char* name;
  std::initializer_list<const char*> options;  // P2's options, or one empty name
  bool copies;                                 // measured against memcpy
  int renderHint = 0;
};

[[maybe_unused]] const bool kRegistered = [] {
  const Size size{1920, 1080};
  const Baselines baselines = RegisterBaselines(size);
  const std::initializer_list<const char*> directions = {"Up", "Down", "Left", "Right"};
  const Family families[] = {
      {"DSP_TR_Wipe", "Wipe", directions, true},
      {"DSP_TR_Slide", "Slide", directions, true},
      {"DSP_TR_Shove", "Shove", directions, true},
      {"DSP_TR_Swap", "Swap", directions, true},
      {"DSP_TR_Box", "Box", {"In", "Out"}, true},
      {"DSP_TR_Shutter", "Shutter", directions, true},
      {"DSP_TR_Splices", "Splices", {"Horizontal", "Vertical"}, true},
      {"DSP_TR_WipeClock", "WipeClock", {"CCW", "CW"}, true},
      {"DSP_TR_DirtyWipe", "DirtyWipe", directions, true},
      {"DSP_TR_WipeSoft", "WipeSoft/vector", directions, false, 3},
      {"DSP_TR_WipeSoft", "WipeSoft/scalar", directions, false, 0},
      {"DSP_TR_WipeCenter", "WipeCenter", {""}, false},
      {"DSP_TR_Cross", "Cross", {""}, false},
      {"DSP_TR_Door", "Door", {""}, false},
  };
  for (const Family& family : families) {
    int32_t option = 0;
    for (const char* optionName : family.options) {
      for (float progress : {0.2f, 0.5f, 0.8f}) {
        for (int field : {0, 1}) {
          if (field == 1 && progress != 0.5f) continue;
          const std::string name = Name({family.name, *optionName ? "/" : "", optionName, "/p",
                                         std::to_string(progress).substr(0, 3), field ? "/field/" : "/", size.Name()});
          const EffectSetup setup{family.classId, size, family.renderHint, field, 1, [=](uint8_t* values) {
                                    std::memcpy(values, &progress, sizeof progress);
                                    if (*optionName) std::memcpy(values + 4, &option, sizeof option);
                                  }};
          RegisterEffect(name, family.copies ? baselines.copy : baselines.readTwoWriteOne, setup);
        }
      }
      ++option;
    }
  }
  return true;
}();

}  // namespace
}  // namespace vek::bench
