// Rendering frames with one effect as a host does: the record's fields set before Prepare,
// Prepare once, then per frame SetInput for each input (0 = A, 1 = B) and Process.
#pragma once

#include <cstdint>

#include "vek_dsp/abi.h"
#include "vekhost/catalogue.h"
#include "vekhost/frame.h"
#include "vekhost/instance.h"

namespace vek::host {

// The record fields a host chooses; the frames given and returned are ARGB either way.
struct RenderSetup {
  int width = 0;
  int height = 0;
  int32_t fieldMode = VEK_FIELD_FRAME;
  bool lumaChroma = false;  // colourLayout VEK_LAYOUT_LUMA_CHROMA: inputs converted in, output back
  int32_t workerCount = 1;
  int32_t renderHint = 3;  // 3 or more lets the effect use its SSE4.1 paths
  uint32_t randomSeed = 0;
  int32_t offsetMode = 0;  // 0 none, 1 negative, 2 positive: the 3D flip's sideways shift
  float offsetAmount = 0;
  bool alphaAware = false;  // the host keeps alpha: effects that can, carry it through
  // sourceGeometry: the size the frame is shown at when its pixels are not square; 0 for its own.
  int displayWidth = 0;
  int displayHeight = 0;
};

bool IsTransition(const Effect& effect);
bool IsAudio(const Effect& effect);

class Renderer {
 public:
  // Creates the instance (Init) and fills the record. Throws Error for an audio effect or a size
  // outside 1..kMaxFrameSide.
  Renderer(const Effect& effect, const RenderSetup& setup);

  const Effect& GetEffect() const { return effect_; }
  // For parameters: Set and Get by key, name id or short name.
  Instance& GetInstance() { return instance_; }
  // P1 of a transition, checked against its range. Throws Error for other effects.
  void SetProgress(float progress);

  // Starts a frame: the inputs (A only for a one-input effect) in the setup's layout through
  // SetInput, after Prepare when this is the first frame, and an output cleared to black and
  // transparent, so that a field render leaves the other field's rows so. Throws Error for a
  // frame of another size than the setup's.
  void SetInputs(const Frame& a, const Frame& b);
  // The rows the next Process renders: VEK_FIELD_FRAME, VEK_FIELD_EVEN or VEK_FIELD_ODD. Two field
  // renders after one SetInputs, each at its own progress, make an interlaced frame.
  void SetFieldMode(int32_t fieldMode);
  // Process into the output. Throws Error; an effect that does not render yet throws
  // "<class id> is not implemented yet" with the status VEK_E_NOTIMPL.
  void Process();
  // The output of the last Process, as ARGB.
  Frame Output() const;

  Frame Render(const Frame& a, const Frame& b) {
    SetInputs(a, b);
    Process();
    return Output();
  }

 private:
  const Effect& effect_;
  RenderSetup setup_;
  Instance instance_;
  bool prepared_ = false;
  Frame inputs_[2];
  Frame output_;
};

}  // namespace vek::host
