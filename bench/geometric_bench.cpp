// The wipes, pushes, shutter and splices at 1920x1080, every direction or type at a few progress
// values and one field: the copying ones against one frame's memcpy, the blending ones against the
// read-two-write-one loop, all in the same run. Two floors go with them: how fast a frame copy can
// go when its output streams past the caches, as the run copies of large frames do, and when whole
// rows come from both sources in turn into a cached output.
#include <cstring>
#include <string>

#include "effect_bench.h"
#include "transitions/kernels.h"

namespace vek::bench {
namespace {

struct Family {
  const char* classId;
  const char* name;
  std::initializer_list<const char*> options;  // P2's options, or one empty name
  bool copies;                                 // measured against memcpy
  bool splitsRows;                             // a whole frame's rows go to the instance's workers
  int renderHint = 0;
};

// Every output row copied whole with `copy`: from A, or from A and B in turn.
void RowCopies(benchmark::State& state, Size size, BaselineKind baseline, CopyPixelsFn copy, bool alternate) {
  Frames frames(size);
  const std::size_t rowBytes = std::size_t(size.width) * 4;
  TimeAgainst(state, baseline, frames, [&] {
    for (int y = 0; y < size.height; ++y) {
      const uint8_t* source = (alternate && y % 2 == 1 ? frames.b : frames.a).data() + y * rowBytes;
      copy(source, 0, frames.out.data() + y * rowBytes, 0, size.width, 0);
    }
    StreamFenceSse2();
  });
}

[[maybe_unused]] const bool kRegistered = [] {
  const Size size{1920, 1080};
  const Baselines baselines = RegisterBaselines(size);
  RegisterPaired(Name({"Copy/floor/streamed-rows/", size.Name()}), baselines.copy,
                 [size](benchmark::State& s, BaselineKind kind) { RowCopies(s, size, kind, StreamPixelsSse2, false); });
  RegisterPaired(Name({"Copy/floor/rows-from-both/", size.Name()}), baselines.copy,
                 [size](benchmark::State& s, BaselineKind kind) { RowCopies(s, size, kind, CopyPixels, true); });
  const std::initializer_list<const char*> directions = {"Up", "Down", "Left", "Right"};
  const Family families[] = {
      {"DSP_TR_Wipe", "Wipe", directions, true, true},
      {"DSP_TR_Slide", "Slide", directions, true, true},
      {"DSP_TR_Shove", "Shove", directions, true, true},
      {"DSP_TR_Swap", "Swap", directions, true, true},
      {"DSP_TR_Box", "Box", {"In", "Out"}, true, true},
      {"DSP_TR_Shutter", "Shutter", directions, true, true},
      {"DSP_TR_Splices", "Splices", {"Horizontal", "Vertical"}, true, true},
      {"DSP_TR_WipeClock", "WipeClock", {"CCW", "CW"}, true, true},
      {"DSP_TR_DirtyWipe", "DirtyWipe", directions, true, true},
      {"DSP_TR_WipeSoft", "WipeSoft/vector", directions, false, false, 3},
      {"DSP_TR_WipeSoft", "WipeSoft/scalar", directions, false, false, 0},
      {"DSP_TR_WipeCenter", "WipeCenter", {""}, false, false},
      {"DSP_TR_Cross", "Cross", {""}, false, true},
      {"DSP_TR_Door", "Door", {""}, false, true},
  };
  for (const Family& family : families) {
    int32_t option = 0;
    for (const char* optionName : family.options) {
      for (float progress : {0.2f, 0.5f, 0.8f}) {
        // A field at p 0.5; two workers, as a host on two processors sets up, where rows are split.
        for (const auto& [field, workers] : {std::pair{0, 1}, std::pair{1, 1}, std::pair{0, 2}}) {
          if (field == 1 && progress != 0.5f) continue;
          if (workers == 2 && !family.splitsRows) continue;
          const std::string name =
              Name({family.name, *optionName ? "/" : "", optionName, "/p", std::to_string(progress).substr(0, 3),
                    field ? "/field/" : "/", workers == 2 ? "workers2/" : "", size.Name()});
          const EffectSetup setup{family.classId, size, family.renderHint, field, workers, [=](uint8_t* values) {
                                    std::memcpy(values, &progress, sizeof progress);
                                    if (*optionName) std::memcpy(values + 4, &option, sizeof option);
                                  }};
          RegisterEffect(name, family.copies ? baselines.copy : baselines.readTwoWriteOne, setup);
        }
      }
      ++option;
    }
  }
  // The centre wipe on pixels that are not square, as HDV's are shown wider and DV's narrower: its
  // circle is then drawn at the display's width and sampled back.
  for (const auto& [shape, displayWidth] : {std::pair{"wide-pixels", 2560u}, std::pair{"narrow-pixels", 1440u}}) {
    for (float progress : {0.2f, 0.5f, 0.8f}) {
      EffectSetup setup{"DSP_TR_WipeCenter",
                        size,
                        0,
                        0,
                        1,
                        [=](uint8_t* values) { std::memcpy(values, &progress, sizeof progress); }};
      setup.displayWidth = displayWidth;
      setup.displayHeight = uint32_t(size.height);
      RegisterEffect(Name({"WipeCenter/", shape, "/p", std::to_string(progress).substr(0, 3), "/", size.Name()}),
                     baselines.readTwoWriteOne, setup);
    }
  }
  return true;
}();

}  // namespace
}  // namespace vek::bench
