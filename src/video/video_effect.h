// The one-input skeleton every video effect shares: its callbacks, and what Process starts from
// (the head with the output stored, the frame geometry, the field rows, the layout and workers).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/rows.h"
#include "module/effect.h"

namespace vek {

struct VideoFrame {
  const uint8_t* source;
  uint8_t* output;
  int width;
  int height;
  std::size_t rowBytes;
  int32_t fieldMode;
  bool lumaChroma;
  int32_t workers;
  int32_t renderHint;
  const uint8_t* values;

  bool HasBuffers() const { return source && output; }
  // Fields keep the whole frame's geometry and visit their own rows; any other mode is the frame.
  bool WholeFrame() const { return fieldMode != VEK_FIELD_EVEN && fieldMode != VEK_FIELD_ODD; }
  RowSet Rows() const { return RowsFor(fieldMode, height); }
  const uint8_t* SourceRow(int y) const { return source + std::size_t(y) * rowBytes; }
  uint8_t* OutputRow(int y) const { return output + std::size_t(y) * rowBytes; }
  // The visited rows unchanged: one block copy for the whole frame, one per row for a field.
  void CopyRows() const;
};

// Stores the instance's output in the head, then reads the rest. False for a null instance or
// private block.
bool BeginVideoEffect(VekEffectInstance* instance, VideoFrame& frame) noexcept;

enum class PreparedFlag { kSet, kLeave };

// Init, Destroy, SetInput, Prepare and ReleaseResources of a video effect that owns nothing
// beyond its head; each instantiation is its own set of functions.
template <class Effect, PreparedFlag kFlag> struct OneInputEffect {
  static VekStatus Init(VekEffectInstance* instance) noexcept {
    return InitWithDefaults(instance, Effect::kParams.data(), Effect::kParamCount);
  }
  static VekStatus Destroy(VekEffectInstance* instance) noexcept { return Effect::ReleaseResources(instance); }
  static VekStatus SetInput(int32_t index, VekInputSample* sample) noexcept {
    return OneInput::Store(index, sample, Effect::kPrivateBytes);
  }
  static VekStatus Prepare(VekEffectInstance* instance) noexcept {
    if (!instance) return VEK_E_FAIL;
    if (kFlag == PreparedFlag::kSet) instance->prepared = 1;
    return VEK_S_OK;
  }
  static VekStatus ReleaseResources(VekEffectInstance* instance) noexcept {
    return instance ? VEK_S_OK : VEK_E_FAIL;
  }
};

}  // namespace vek

// A video effect on the shared skeleton: it writes only Process.
#define DECLARE_VIDEO_EFFECT(Type, preparedFlag, privateBytes, paramCount)       \
  struct Type : vek::OneInputEffect<Type, vek::PreparedFlag::preparedFlag> {     \
    VEK_EFFECT_MEMBERS(privateBytes, paramCount)                                 \
    static VekStatus Process(VekEffectInstance* instance) noexcept;              \
  };
