// A transition driven through the reference host with its record set up once for frames of one
// size: Prepare, then any number of frames at any progress.
#pragma once

#include <algorithm>
#include <string>

#include "effect_run.h"

namespace vek::test {

struct RecordSetup {
  int layout = 0;  // 1: luma/chroma
  int field = 0;
  uint32_t seed = 1234;
};

class TransitionRun : public EffectRun {
 public:
  TransitionRun(const char* classId, int width, int height, RecordSetup setup = {}) : EffectRun(classId) {
    Setup(width, height, {setup.field, 0, 1, setup.layout});
    Record().randomSeed = setup.seed;
  }
  void Prepare() { Instance().Prepare(); }
  Frame Render(Frame& a, Frame& b, float progress) { return SetRaw("P1", progress).Process(a, b); }
  // Prepare, then one frame: what a host does for a single picture.
  Frame RenderOnce(Frame& a, Frame& b, float progress) {
    Prepare();
    return Render(a, b, progress);
  }
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
