// The cut, the cross-fade and the lay-over at 1920x1080 and 3840x2160, scalar and vector, whole
// frame and one field, each beside the plain loops it is measured against.
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "module/catalogue.h"
#include "ratio_reporter.h"

namespace vek::bench {
namespace {

struct Size {
  int width, height;
  std::string Name() const { return std::to_string(width) + "x" + std::to_string(height); }
};

struct Frames {
  explicit Frames(Size size) : bytes(std::size_t(size.width) * size.height * 4), a(bytes), b(bytes), out(bytes) {
    for (std::size_t i = 0; i < bytes; ++i) {
      a[i] = uint8_t(i * 7 + (i >> 9));
      b[i] = uint8_t(255 - i * 3);
    }
    for (std::size_t i = 3; i < bytes; i += 16) b[i] = 128;  // a partly transparent B for the lay-over
  }
  std::size_t bytes;
  std::vector<uint8_t> a, b, out;
};

const VekEffectDescriptor& Effect(std::string_view classId) {
  for (const VekEffectDescriptor& row : EffectTable()) {
    if (classId == row.classId) return row;
  }
  std::abort();
}

void BaselineCopy(benchmark::State& state, Size size) {
  Frames frames(size);
  for (auto _ : state) {
    std::memcpy(frames.out.data(), frames.a.data(), frames.bytes);
    benchmark::ClobberMemory();
  }
}

// Reads two frames and writes one: the least any two-input transition must do.
void BaselineReadTwoWriteOne(benchmark::State& state, Size size) {
  Frames frames(size);
  for (auto _ : state) {
    const uint8_t *a = frames.a.data(), *b = frames.b.data();
    uint8_t* out = frames.out.data();
    for (std::size_t i = 0; i < frames.bytes; ++i) out[i] = uint8_t((a[i] + b[i]) >> 1);
    benchmark::ClobberMemory();
  }
}

void RenderTransition(benchmark::State& state, const char* classId, Size size, int renderHint, int fieldMode) {
  const VekEffectDescriptor& row = Effect(classId);
  Frames frames(size);
  std::vector<uint8_t> privateBlock(row.privateBytes), values(64);
  VekEffectInstance instance{};
  instance.descriptor = &row;
  instance.privateBlock = privateBlock.data();
  instance.paramValues = values.data();
  instance.width = uint32_t(size.width);
  instance.height = uint32_t(size.height);
  instance.renderHint = renderHint;
  instance.fieldMode = fieldMode;
  row.callbacks.init(&instance);
  const float progress = 0.6f;
  std::memcpy(values.data(), &progress, sizeof progress);
  row.callbacks.prepare(&instance);
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
  for (Size size : {Size{1920, 1080}, Size{3840, 2160}}) {
    const std::string copy = "memcpy/" + size.Name(), readTwo = "read2write1/" + size.Name();
    RegisterBaseline(copy, [size](benchmark::State& s) { BaselineCopy(s, size); });
    RegisterBaseline(readTwo, [size](benchmark::State& s) { BaselineReadTwoWriteOne(s, size); });
    for (int field : {0, 1}) {
      const std::string suffix = "/" + size.Name() + (field ? "/field" : "/frame");
      for (int hint : {0, 3}) {
        RegisterAgainst(std::string("Fade/") + (hint ? "vector" : "scalar") + suffix, readTwo,
                        [=](benchmark::State& s) { RenderTransition(s, "DSP_TR_Fade", size, hint, field); });
      }
      RegisterAgainst("NoEffect" + suffix, copy,
                      [=](benchmark::State& s) { RenderTransition(s, "DSP_TR_NoEffect", size, 0, field); });
      RegisterAgainst("Blending" + suffix, readTwo,
                      [=](benchmark::State& s) { RenderTransition(s, "DSP_TR_Blending", size, 0, field); });
    }
  }
  return true;
}();

}  // namespace
}  // namespace vek::bench
