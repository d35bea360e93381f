// What every transition's Process starts from: the head of its private block with the output
// stored, the frame geometry, the rows of the field mode and the progress.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/rows.h"
#include "module/instance_contract.h"

namespace vek {

struct TransitionFrame {
  const uint8_t* sourceA;
  const uint8_t* sourceB;
  uint8_t* output;
  int width;
  int height;
  std::size_t rowBytes;
  RowSet rows;
  float progress;

  bool HasBuffers() const { return sourceA && sourceB && output; }
};

// Stores the instance's output in the head, then reads the rest. False for a null instance or
// private block.
bool BeginTransition(VekEffectInstance* instance, TransitionFrame& frame) noexcept;

// The progress as a blend weight 0..scale; outside 0..1 (or not a number) it is held at the ends,
// so no weight can overflow a kernel's lanes.
int ProgressWeight(float progress, int scale) noexcept;

}  // namespace vek
