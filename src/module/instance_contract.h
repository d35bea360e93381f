// The parts of the instance contract that every effect shares: the private-block heads, storing
// inputs, default filling with the host's notification, and reading packed parameter values.
#pragma once

#include <cstdint>
#include <cstring>

#include "vek_dsp/abi.h"

namespace vek {

// A two-input effect (transition, picture-in-picture) begins its private block with this head.
struct TransitionHead {
  const uint8_t* sourceA;
  const uint8_t* sourceB;
  uint8_t* output;
};

// A one-input effect begins its private block with this head.
struct VideoHead {
  const uint8_t* source;
  uint8_t* output;
};

// Index 0 stores source A, any other index source B.
struct TwoInputs {
  static constexpr uint64_t kHeadBytes = sizeof(TransitionHead);
  static VekStatus Store(int32_t index, VekInputSample* sample, uint64_t privateBytes) noexcept;
  static void StoreOutput(VekEffectInstance& instance) noexcept;
};
// The index is ignored: the one input becomes the source.
struct OneInput {
  static constexpr uint64_t kHeadBytes = sizeof(VideoHead);
  static VekStatus Store(int32_t index, VekInputSample* sample, uint64_t privateBytes) noexcept;
  static void StoreOutput(VekEffectInstance& instance) noexcept;
};
// Audio blocks carry their gain values with the sample; the mixer state owns the private block.
struct AudioInput {
  static constexpr uint64_t kHeadBytes = 0;
  static VekStatus Store(int32_t index, VekInputSample* sample, uint64_t privateBytes) noexcept;
  static void StoreOutput(VekEffectInstance&) noexcept {}
};

// Writes every row's default into the value block, packed in row order (see ParamOffset).
void FillDefaults(const VekParamDescriptor* rows, uint32_t count, uint8_t* values) noexcept;

// Calls the host object's first operation, then writes every row's default into the value block.
VekStatus InitWithDefaults(VekEffectInstance* instance, const VekParamDescriptor* rows, uint32_t count) noexcept;

template <class Inputs>
VekStatus ProcessNotImplemented(VekEffectInstance* instance, uint64_t privateBytes) noexcept {
  if (!instance) return VEK_E_FAIL;
  if (instance->privateBlock && Inputs::kHeadBytes > 0 && privateBytes >= Inputs::kHeadBytes) {
    Inputs::StoreOutput(*instance);
  }
  return VEK_E_NOTIMPL;
}

// Offset of row k in the value block: the sum of the value sizes of the rows before it, read from
// the table so that the table and the code cannot disagree.
uint32_t ParamOffset(const VekParamDescriptor* rows, uint32_t row) noexcept;

// The value block is packed, so every value is read through memcpy.
template <class T> T LoadValue(const uint8_t* block, uint32_t offset) noexcept {
  T value;
  std::memcpy(&value, block + offset, sizeof value);
  return value;
}

}  // namespace vek
