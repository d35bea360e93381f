// One effect driven through the reference host as a video editor drives it, for tests: record
// fields set as a host sets them, inputs attached, and an output that starts filled with a marker
// so that rows an effect must leave alone can be checked.
#pragma once

#include <string>

#include "frames.h"
#include "plugin_fixture.h"
#include "vekhost/instance.h"

namespace vek::test {

constexpr uint8_t kUntouched = 0x5A;

struct RenderMode {
  int fieldMode = 0;
  int renderHint = 0;
  int workers = 1;
  int layout = 0;
};

class EffectRun {
 public:
  explicit EffectRun(const char* classId) : effect_(LoadedPlugin().FindEffect(classId)), instance_(effect_) {}
  EffectRun& Set(const char* param, const std::string& text) {
    instance_.Set(param, text);
    return *this;
  }
  host::Instance& Instance() { return instance_; }

  // Prepare, SetInput for each input the effect has, Process.
  Frame Render(Frame& a, Frame& b, RenderMode mode = {}) {
    Setup(a, mode);
    instance_.Prepare();
    instance_.SetInput(0, a.Data());
    if (effect_.inputs > 1) instance_.SetInput(1, b.Data());
    Frame out = Frame::Filled(a.width, a.height, kUntouched);
    instance_.Process(out.Data());
    return out;
  }
  Frame Render(Frame& source, RenderMode mode = {}) { return Render(source, source, mode); }

 private:
  void Setup(const Frame& frame, RenderMode mode) {
    VekEffectInstance& record = instance_.Record();
    record.width = uint32_t(frame.width);
    record.height = uint32_t(frame.height);
    record.fieldMode = mode.fieldMode;
    record.renderHint = mode.renderHint;
    record.workerCount = mode.workers;
    record.colourLayout = mode.layout;
  }

  const host::Effect& effect_;
  host::Instance instance_;
};

}  // namespace vek::test
