// The colour adjustment at 1920x1080 as a ratio to memcpy of one frame: the tone stage alone, each
// designed stage alone, and every stage at once, scalar and vector, on one and two workers. Beside
// them, the floor of any stage that maps bytes through a table: each colour byte of a frame looked up
// in a 256-entry table, nothing else.
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "effect_bench.h"

namespace vek::bench {
namespace {

// Parameter values by row: P1 brightness, P2 contrast, P3 hue, P4 saturation, P5 sharpness, P7
// exposure, P8 recovery, P9 fill light, P10 vibrance; each 4 bytes, in row order.
struct Setting {
  int row;  // 1 for P1
  float value;
  bool isFloat;
};
using Settings = std::vector<Setting>;

std::function<void(uint8_t*)> Apply(Settings settings) {
  return [settings](uint8_t* values) {
    for (const Setting& s : settings) {
      const int32_t whole = int32_t(s.value);
      std::memcpy(values + 4 * (s.row - 1), s.isFloat ? static_cast<const void*>(&s.value) : &whole, 4);
    }
  };
}

const Settings kTone = {{1, 30, false}, {7, 0.5f, true}};
const Settings kEvery = {{1, 20, false},  {2, 15, false}, {3, 0.3f, true}, {4, 1.4f, true}, {5, 1.2f, true},
                         {7, 0.4f, true}, {8, 60, false}, {9, 40, false},  {10, 50, false}};

// SSE4.1 has no gather, so a lookup per byte is the cheapest way through an arbitrary table.
void ByteTablePass(benchmark::State& state, Size size, BaselineKind baseline) {
  Frames frames(size);
  uint8_t table[256];
  for (int i = 0; i < 256; ++i) table[i] = uint8_t(255 - i / 2);
  TimeAgainst(state, baseline, frames, [&] {
    const uint8_t* source = frames.a.data();
    uint8_t* out = frames.out.data();
    for (std::size_t i = 0; i < frames.bytes; i += 4) {
      out[i] = table[source[i]], out[i + 1] = table[source[i + 1]], out[i + 2] = table[source[i + 2]];
      out[i + 3] = source[i + 3];
    }
  });
}

[[maybe_unused]] const bool kRegistered = [] {
  const Size size{1920, 1080};
  const Baseline copy = RegisterBaselines(size).copy;
  auto add = [&](const std::string& name, int hint, int workers, const Settings& settings) {
    const EffectSetup setup{"DSP_CO_ColorAdj", size, hint, 0, workers, Apply(settings)};
    RegisterEffect(name, copy, setup);
  };
  RegisterPaired("ColorAdj/floor/byte-table", copy,
                 [size](benchmark::State& s, BaselineKind baseline) { ByteTablePass(s, size, baseline); });
  add("ColorAdj/defaults", 0, 1, {});
  for (int hint : {0, 3}) add(Name({"ColorAdj/tone/", hint ? "vector" : "scalar", "/workers1"}), hint, 1, kTone);
  const std::pair<const char*, Settings> stages[] = {{"light", {{8, 60, false}, {9, 40, false}}},
                                                     {"vibrance", {{10, 50, false}}},
                                                     {"hue", {{3, 0.3f, true}}},
                                                     {"saturation", {{4, 1.4f, true}}},
                                                     {"sharpness", {{5, 1.2f, true}}}};
  for (const auto& [name, settings] : stages) add(Name({"ColorAdj/", name, "/workers1"}), 3, 1, settings);
  for (int workers : {1, 2}) {
    add(Name({"ColorAdj/every/vector/workers", std::to_string(workers)}), 3, workers, kEvery);
  }
  add("ColorAdj/every/scalar/workers1", 0, 1, kEvery);
  return true;
}();

}  // namespace
}  // namespace vek::bench
