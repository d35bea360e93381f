// DSP_TR_NoEffect, DSP_TR_Fade, DSP_TR_Blending: the hard cut, the cross-fade and B laid over A
// through its own alpha.
#include <cstring>

#include "transitions/kernels.h"
#include "transitions/transition.h"
#include "transitions/transitions.h"

using namespace vek;

namespace {

VekStatus NoWork(VekEffectInstance* instance) { return instance ? VEK_S_OK : VEK_E_FAIL; }

// Fade and NoEffect keep the prepared flag in the record's low byte only.
VekStatus MarkPreparedByte(VekEffectInstance* instance) {
  if (!instance) return VEK_E_FAIL;
  reinterpret_cast<uint8_t*>(&instance->prepared)[0] = 1;
  return VEK_S_OK;
}

VekStatus InitTransition(VekEffectInstance* instance, const VekParamDescriptor& progressRow) {
  return InitWithDefaults(instance, &progressRow, 1);
}

// The accelerator takes the whole job; the region words go in the order 4, 3, 1, 2.
void HandOffFade(const VekEffectInstance& instance, const TransitionFrame& frame, int weight) {
  VekObject* accelerator = instance.accelerator;
  auto blend = reinterpret_cast<VekAcceleratorBlendFn>(accelerator->operations[VEK_ACCELERATOR_SLOT_BLEND]);
  auto option = [](int32_t value) { return value == 1 || value == 2 ? value : 0; };
  const uint64_t* r = instance.region;
  blend(accelerator, frame.sourceA, frame.sourceB, frame.output, instance.width, instance.height, weight, r[3], r[2],
        r[0], r[1], option(instance.acceleratorOptions[0]), option(instance.acceleratorOptions[1]), 0);
}

bool WantsAccelerator(const VekEffectInstance& instance) {
  const bool acceleratedMode = instance.processingMode == VEK_PROCESSING_ACCELERATOR_A ||
                               instance.processingMode == VEK_PROCESSING_ACCELERATOR_B;
  return acceleratedMode && instance.fieldMode == VEK_FIELD_FRAME && instance.accelerator &&
         instance.accelerator->operations && instance.accelerator->operations[VEK_ACCELERATOR_SLOT_BLEND];
}

}  // namespace

constinit decltype(TR_NoEffect::kParams) TR_NoEffect::kParams = Rows(ProgressRow<0.5f>());
constinit decltype(TR_Fade::kParams) TR_Fade::kParams = Rows(ProgressRow<0.5f>());
constinit decltype(TR_Blending::kParams) TR_Blending::kParams = Rows(ProgressRow<0.5f>());

// NoEffect: A before the midpoint, B from it on (exactly 0.5 shows B).
VekStatus TR_NoEffect::Init(VekEffectInstance* instance) noexcept { return InitTransition(instance, kParams[0]); }
VekStatus TR_NoEffect::Destroy(VekEffectInstance* instance) noexcept { return ReleaseResources(instance); }
VekStatus TR_NoEffect::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return TwoInputs::Store(index, sample, kPrivateBytes);
}
VekStatus TR_NoEffect::Prepare(VekEffectInstance* instance) noexcept { return MarkPreparedByte(instance); }
VekStatus TR_NoEffect::ReleaseResources(VekEffectInstance* instance) noexcept { return NoWork(instance); }

VekStatus TR_NoEffect::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame)) return VEK_E_FAIL;
  const uint8_t* chosen = frame.progress < 0.5f ? frame.sourceA : frame.sourceB;
  // A missing buffer is refused like a checked copy refuses it: nothing is written, and the cut
  // still reports success.
  if (!chosen || !frame.output) return VEK_S_OK;
  if (frame.rows.step == 1) {
    std::memcpy(frame.output, chosen, frame.rowBytes * std::size_t(frame.height));
  } else {
    ForEachRow(frame.rows, [&](int y) {
      const std::size_t offset = std::size_t(y) * frame.rowBytes;
      std::memcpy(frame.output + offset, chosen + offset, frame.rowBytes);
    });
  }
  return VEK_S_OK;
}

// Fade: a byte moves (B - A) * w / 128 of the way with w = trunc(progress * 127).
VekStatus TR_Fade::Init(VekEffectInstance* instance) noexcept { return InitTransition(instance, kParams[0]); }
VekStatus TR_Fade::Destroy(VekEffectInstance* instance) noexcept { return ReleaseResources(instance); }
VekStatus TR_Fade::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return TwoInputs::Store(index, sample, kPrivateBytes);
}
VekStatus TR_Fade::Prepare(VekEffectInstance* instance) noexcept { return MarkPreparedByte(instance); }
VekStatus TR_Fade::ReleaseResources(VekEffectInstance* instance) noexcept { return NoWork(instance); }

VekStatus TR_Fade::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame)) return VEK_E_FAIL;
  if (!frame.HasBuffers()) return VEK_E_FAIL;
  // Kept on purpose: 127 steps, so progress 1 leaves up to two levels of A (253 for A 0, B 255).
  const int weight = ProgressWeight(frame.progress, 127);
  if (WantsAccelerator(*instance)) {
    HandOffFade(*instance, frame, weight);
    return VEK_S_OK;
  }
  const LerpRowFn lerp = instance->renderHint >= 3 ? LerpRowSse41 : LerpRowScalar;
  VisitRows(frame, [&](int y) {
    const std::size_t offset = std::size_t(y) * frame.rowBytes;
    lerp(frame.sourceA + offset, frame.sourceB + offset, frame.output + offset, frame.rowBytes, weight);
  });
  return VEK_S_OK;
}

// Blending: progress is not read and the render hint is not needed; B's alpha decides every pixel.
VekStatus TR_Blending::Init(VekEffectInstance* instance) noexcept { return InitTransition(instance, kParams[0]); }
VekStatus TR_Blending::Destroy(VekEffectInstance* instance) noexcept { return ReleaseResources(instance); }
VekStatus TR_Blending::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return TwoInputs::Store(index, sample, kPrivateBytes);
}
VekStatus TR_Blending::Prepare(VekEffectInstance* instance) noexcept { return NoWork(instance); }
VekStatus TR_Blending::ReleaseResources(VekEffectInstance* instance) noexcept { return NoWork(instance); }

VekStatus TR_Blending::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame)) return VEK_E_FAIL;
  if (!frame.HasBuffers()) return VEK_S_OK;
  VisitRows(frame, [&](int y) {
    const std::size_t offset = std::size_t(y) * frame.rowBytes;
    AlphaOverRowSse2(frame.sourceA + offset, frame.sourceB + offset, frame.output + offset, frame.width);
  });
  return VEK_S_OK;
}
