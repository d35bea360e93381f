#include "module/instance_contract.h"

#include "module/effect.h"

namespace vek {

VekStatus TwoInputs::Store(int32_t index, VekInputSample* sample, uint64_t privateBytes) noexcept {
  if (!sample || !sample->privateBlock || privateBytes < kHeadBytes) return VEK_E_FAIL;
  auto* head = static_cast<TransitionHead*>(sample->privateBlock);
  (index == 0 ? head->sourceA : head->sourceB) = sample->frame;
  return VEK_S_OK;
}

void TwoInputs::StoreOutput(VekEffectInstance& instance) noexcept {
  static_cast<TransitionHead*>(instance.privateBlock)->output = instance.output;
}

VekStatus OneInput::Store(int32_t, VekInputSample* sample, uint64_t privateBytes) noexcept {
  if (!sample || !sample->privateBlock || privateBytes < kHeadBytes) return VEK_E_FAIL;
  static_cast<VideoHead*>(sample->privateBlock)->source = sample->frame;
  return VEK_S_OK;
}

void OneInput::StoreOutput(VekEffectInstance& instance) noexcept {
  static_cast<VideoHead*>(instance.privateBlock)->output = instance.output;
}

VekStatus AudioInput::Store(int32_t, VekInputSample* sample, uint64_t) noexcept {
  return sample && sample->privateBlock ? VEK_S_OK : VEK_E_FAIL;
}

VekStatus InitWithDefaults(VekEffectInstance* instance, const VekParamDescriptor* rows, uint32_t count) noexcept {
  if (!instance) return VEK_E_FAIL;
  if (VekObject* host = instance->hostObject; host && host->operations) {
    if (auto notify = reinterpret_cast<VekHostNotifyFn>(host->operations[VEK_HOST_SLOT_NOTIFY])) notify(host);
  }
  if (!instance->paramValues) return VEK_E_FAIL;
  FillDefaults(rows, count, instance->paramValues);
  return VEK_S_OK;
}

void FillDefaults(const VekParamDescriptor* rows, uint32_t count, uint8_t* values) noexcept {
  uint32_t offset = 0;
  for (uint32_t k = 0; k < count; ++k) {
    if (rows[k].valueSize != 0) std::memcpy(values + offset, rows[k].defaultValue, rows[k].valueSize);
    offset += rows[k].valueSize;
  }
}

uint32_t ParamOffset(const VekParamDescriptor* rows, uint32_t row) noexcept {
  uint32_t offset = 0;
  for (uint32_t k = 0; k < row; ++k) offset += rows[k].valueSize;
  return offset;
}

}  // namespace vek
