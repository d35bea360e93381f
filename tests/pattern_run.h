// A transition driven through the reference host as a video editor drives it: the record set up
// once, Prepare, then any number of frames, each into an output filled with kUntouched so that
// what an effect leaves alone can be checked.
#pragma once

#include <algorithm>
#include <string>

#include "frames.h"
#include "plugin_fixture.h"
#include "vekhost/instance.h"

namespace vek::test {

inline constexpr uint8_t kUntouched = 0x5A;

struct RecordSetup {
  int layout = 0;  // 1: luma/chroma
  int field = 0;
  uint32_t seed = 1234;
};

class TransitionRun {
 public:
  TransitionRun(const char* classId, int width, int height, RecordSetup setup = {})
      : effect_(LoadedPlugin().FindEffect(classId)), instance_(effect_) {
    VekEffectInstance& record = instance_.Record();
    record.width = uint32_t(width);
    record.height = uint32_t(height);
    record.colourLayout = setup.layout;
    record.fieldMode = setup.field;
    record.randomSeed = setup.seed;
  }

  VekEffectInstance& Record() { return instance_.Record(); }
  const VekEffectCallbacks& Callbacks() const { return effect_.descriptor->callbacks; }
  // A parameter's raw value, written without the host's range check.
  void SetRaw(const char* key, const host::Value& value) { instance_.Set(effect_.FindParam(key), value); }
  void Prepare() { instance_.Prepare(); }

  // The progress and both inputs, as a host sets them before Process.
  void Attach(Frame& a, Frame& b, float progress) {
    SetRaw("P1", progress);
    instance_.SetInput(0, a.Data());
    instance_.SetInput(1, b.Data());
  }
  Frame Render(Frame& a, Frame& b, float progress) {
    Attach(a, b, progress);
    Frame out = Frame::Filled(a.width, a.height, kUntouched);
    instance_.Process(out.Data());
    return out;
  }
  // Prepare, then one frame: what a host does for a single picture.
  Frame RenderOnce(Frame& a, Frame& b, float progress) {
    Prepare();
    return Render(a, b, progress);
  }

 private:
  const host::Effect& effect_;
  host::Instance instance_;
};

// Every pixel set to the four bytes given.
inline Frame Uniform(int width, int height, const uint8_t (&pixel)[4]) {
  Frame frame = Frame::Filled(width, height, 0);
  for (std::size_t i = 0; i < frame.bytes.size(); ++i) frame.bytes[i] = pixel[i % 4];
  return frame;
}

inline bool PixelIs(const uint8_t* pixel, const uint8_t (&expected)[4]) {
  return std::equal(expected, expected + 4, pixel);
}

}  // namespace vek::test
