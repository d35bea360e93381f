// One effect driven through the reference host as a video editor drives it, for tests: record
// fields set as a host sets them, inputs attached, and an output that starts filled with a marker
// so that rows an effect must leave alone can be checked.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "frames.h"
#include "plugin_fixture.h"
#include "vekhost/instance.h"

namespace vek::test {

inline constexpr uint8_t kUntouched = 0x5A;

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
  // A parameter's raw value, written without the host's range check.
  EffectRun& SetRaw(const char* key, const host::Value& value) {
    instance_.Set(effect_.FindParam(key), value);
    return *this;
  }
  host::Instance& Instance() { return instance_; }
  VekEffectInstance& Record() { return instance_.Record(); }

  // The record's size and mode, as a host sets them before Prepare.
  void Setup(int width, int height, RenderMode mode) {
    VekEffectInstance& record = instance_.Record();
    record.width = uint32_t(width);
    record.height = uint32_t(height);
    record.fieldMode = mode.fieldMode;
    record.renderHint = mode.renderHint;
    record.workerCount = mode.workers;
    record.colourLayout = mode.layout;
  }
  // SetInput for each input the effect has (an empty B stays missing), then Process into `out`.
  void Process(Frame& a, Frame& b, Frame& out) {
    instance_.SetInput(0, a.Data());
    if (effect_.inputs > 1 && !b.bytes.empty()) instance_.SetInput(1, b.Data());
    instance_.Process(out.Data());
  }
  Frame Process(Frame& a, Frame& b) {
    Frame out = Frame::Filled(a.width, a.height, kUntouched);
    Process(a, b, out);
    return out;
  }
  // One picture as a host renders it: Setup, Prepare, Process.
  Frame Render(Frame& a, Frame& b, RenderMode mode = {}) {
    Setup(a.width, a.height, mode);
    instance_.Prepare();
    return Process(a, b);
  }
  Frame Render(Frame& source, RenderMode mode = {}) { return Render(source, source, mode); }

 private:
  const host::Effect& effect_;
  host::Instance instance_;
};

// The vector path and any worker count give the bytes of the scalar path on one worker, in both
// layouts and every field mode, at widths around the vector widths; a field leaves the other rows.
inline void ExpectVariantsAgree(const std::function<Frame(Frame&, RenderMode)>& render,
                                std::initializer_list<int> widths, int height) {
  for (int width : widths) {
    Frame source = Frame::Random(width, height, uint32_t(width));
    for (int layout : {0, 1}) {
      for (int field : {0, 1, 2}) {
        SCOPED_TRACE(testing::Message() << "width " << width << " layout " << layout << " field " << field);
        const Frame reference = render(source, {field, 0, 1, layout});
        for (int y = 0; field != 0 && y < height; ++y) {
          ASSERT_EQ(reference.RowIsAll(y, kUntouched), y % 2 == field % 2) << "row " << y;
        }
        for (RenderMode mode : {RenderMode{field, 3, 1, layout}, RenderMode{field, 0, 2, layout},
                                RenderMode{field, 3, 4, layout}}) {
          ASSERT_EQ(render(source, mode).bytes, reference.bytes) << "hint " << mode.renderHint << ", "
                                                                 << mode.workers << " workers";
        }
      }
    }
  }
}

}  // namespace vek::test
