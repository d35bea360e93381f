// What every effect type declares, and the callbacks of the effects that do not render yet.
#pragma once

#include <array>
#include <cstdint>

#include "module/instance_contract.h"
#include "module/param_rows.h"
#include "vek_dsp/abi.h"

// An effect type named after its class id (TR_Fade for "DSP_TR_Fade"): its private-block size, its
// parameter rows and the six callbacks that its catalogue row points to. The rows are defined
// beside the callbacks as `constinit decltype(TR_Fade::kParams) TR_Fade::kParams = Rows(...);`,
// so a table with one row too many or too few does not compile.
#define VEK_EFFECT_MEMBERS(privateBytes, paramCount)                          \
  static constexpr uint64_t kPrivateBytes = privateBytes;                   \
  static constexpr uint32_t kParamCount = paramCount;                       \
  static const std::array<VekParamDescriptor, paramCount> kParams;

#define DECLARE_EFFECT(Type, privateBytes, paramCount)                          \
  struct Type {                                                               \
    VEK_EFFECT_MEMBERS(privateBytes, paramCount)                              \
    static VekStatus Init(VekEffectInstance* instance) noexcept;              \
    static VekStatus Destroy(VekEffectInstance* instance) noexcept;           \
    static VekStatus SetInput(int32_t index, VekInputSample* sample) noexcept; \
    static VekStatus Process(VekEffectInstance* instance) noexcept;           \
    static VekStatus Prepare(VekEffectInstance* instance) noexcept;           \
    static VekStatus ReleaseResources(VekEffectInstance* instance) noexcept;  \
  };

// An effect that holds nothing beyond its private block's head: it writes only Process.
#define DECLARE_STATELESS_EFFECT(Type, Inputs, privateBytes, paramCount) \
  struct Type : vek::StatelessCallbacks<Type, vek::Inputs> {             \
    VEK_EFFECT_MEMBERS(privateBytes, paramCount)                         \
    static VekStatus Process(VekEffectInstance* instance) noexcept;      \
  };

// An effect listed in the catalogue whose rendering is not written yet: it takes part in the whole
// callback contract, and its Process says VEK_E_NOTIMPL instead of pretending to render.
#define DECLARE_PENDING_EFFECT(Type, Inputs, privateBytes, paramCount) \
  struct Type : vek::PendingEffect<Type, vek::Inputs> {                \
    VEK_EFFECT_MEMBERS(privateBytes, paramCount)                       \
  };

namespace vek {

// Init with the defaults, SetInput for `Inputs`, and Prepare and ReleaseResources with nothing to
// hold. Each instantiation is a distinct function, so no two catalogue rows share a callback.
template <class Effect, class Inputs> struct StatelessCallbacks {
  static VekStatus Init(VekEffectInstance* instance) noexcept {
    return InitWithDefaults(instance, Effect::kParams.data(), Effect::kParamCount);
  }
  static VekStatus Destroy(VekEffectInstance* instance) noexcept { return Effect::ReleaseResources(instance); }
  static VekStatus SetInput(int32_t index, VekInputSample* sample) noexcept {
    return Inputs::Store(index, sample, Effect::kPrivateBytes);
  }
  static VekStatus Prepare(VekEffectInstance* instance) noexcept { return instance ? VEK_S_OK : VEK_E_FAIL; }
  static VekStatus ReleaseResources(VekEffectInstance* instance) noexcept {
    return instance ? VEK_S_OK : VEK_E_FAIL;
  }
};

template <class Effect, class Inputs> struct PendingEffect : StatelessCallbacks<Effect, Inputs> {
  static VekStatus Process(VekEffectInstance* instance) noexcept {
    return ProcessNotImplemented<Inputs>(instance, Effect::kPrivateBytes);
  }
};

}  // namespace vek
