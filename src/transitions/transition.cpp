#include "transitions/transition.h"

#include "transitions/kernels.h"

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
           instance->paramValues ? LoadValue<float>(instance->paramValues, 0) : 0.0f,
           instance->workerCount};
  return true;
}

int ProgressWeight(float progress, int scale) noexcept {
  if (!(progress > 0.0f)) return 0;
  if (progress >= 1.0f) return scale;
  return int(progress * float(scale));
}

float ClampedProgress(float progress) noexcept {
  if (!(progress > 0.0f)) return 0.0f;
  return progress < 1.0f ? progress : 1.0f;
}

void TransitionFrame::CopyRows(const uint8_t* source) const {
  ForEachRow(rows, [&](int y) { CopyPixels(source + std::size_t(y) * rowBytes, 0, OutputRow(y), 0, width); });
}

bool ReadChoice(const VekEffectInstance& instance, const VekParamDescriptor* rows, uint32_t row,
                int32_t& index) noexcept {
  index = 0;
  if (instance.paramValues && rows[row].valueSize == 4) {
    index = LoadValue<int32_t>(instance.paramValues, ParamOffset(rows, row));
  }
  return index >= 0 && index <= *static_cast<const int32_t*>(rows[row].maximum);
}

}  // namespace vek
