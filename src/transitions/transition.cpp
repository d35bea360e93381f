#include "transitions/transition.h"

namespace vek {

bool BeginTransition(VekEffectInstance* instance, TransitionFrame& frame) noexcept {
  if (!instance || !instance->privateBlock) return false;
  auto* head = static_cast<TransitionHead*>(instance->privateBlock);
  head->output = instance->output;
  const int width = int(instance->width), height = int(instance->height);
  const bool sized = width > 0 && height > 0;
  frame = {head->sourceA,
           head->sourceB,
           head->output,
           sized ? width : 0,
           sized ? height : 0,
           std::size_t(sized ? width : 0) * 4,
           RowsFor(instance->fieldMode, sized ? height : 0),
           instance->paramValues ? LoadValue<float>(instance->paramValues, 0) : 0.0f};
  return true;
}

int ProgressWeight(float progress, int scale) noexcept {
  if (!(progress > 0.0f)) return 0;
  if (progress >= 1.0f) return scale;
  return int(progress * float(scale));
}

}  // namespace vek
