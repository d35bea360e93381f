// DSP_AU_VolumeAdj, DSP_AU_VolumeAdj_Exp: the host's volume envelope and clip mixing.
#include <cstdint>
#include <cstring>

#include "audio/audio_effects.h"
#include "audio/mixer.h"
#include "image/cpu.h"

using namespace vek;
using vek::audio::MixerState;

static_assert(sizeof(MixerState) <= AU_VolumeAdj::kPrivateBytes, "the mixer state is the private block");
static_assert(AU_VolumeAdj::kPrivateBytes == AU_VolumeAdj_Exp::kPrivateBytes);

namespace {

// The private block as mixer state; null when there is none or the host placed it unaligned.
MixerState* StateOf(void* block) noexcept {
  if (!block || reinterpret_cast<uintptr_t>(block) % alignof(MixerState) != 0) return nullptr;
  return static_cast<MixerState*>(block);
}

}  // namespace

namespace vek {

template <class Effect> VekStatus VolumeCallbacks<Effect>::Init(VekEffectInstance* instance) noexcept {
  if (!instance) return VEK_E_FAIL;
  if (VekObject* host = instance->hostObject; host && host->operations) {
    if (auto notify = reinterpret_cast<VekHostNotifyFn>(host->operations[VEK_HOST_SLOT_NOTIFY])) notify(host);
  }
  if (!instance->paramValues) return VEK_E_FAIL;
  const float unity = 1.0f;
  std::memcpy(instance->paramValues, &unity, sizeof unity);
  return VEK_S_OK;
}

template <class Effect> VekStatus VolumeCallbacks<Effect>::Prepare(VekEffectInstance* instance) noexcept {
  MixerState* state = instance ? StateOf(instance->privateBlock) : nullptr;
  if (!state) return VEK_E_FAIL;
  audio::AudioFormat format;
  std::memcpy(&format, instance->audioFormat, sizeof format);
  return audio::PrepareMixer(*state, format);
}

// The sample's value block holds the volume at the block's start first and the volume at its end
// at endValueOffset.
template <class Effect> VekStatus VolumeCallbacks<Effect>::SetInput(int32_t, VekInputSample* sample) noexcept {
  if (!sample || !sample->frame || !sample->paramValues || sample->endValueOffset < 0) return VEK_E_FAIL;
  MixerState* state = StateOf(sample->privateBlock);
  if (!state || !audio::MixerReady(*state)) return VEK_E_FAIL;
  const float start = LoadValue<float>(sample->paramValues, 0);
  const float end = LoadValue<float>(sample->paramValues, uint32_t(sample->endValueOffset));
  return audio::AddInput(*state, start, end, sample->frame);
}

// The vector kernels run when the host's render hint allows them and the processor has SSE4.1.
template <class Effect> VekStatus VolumeCallbacks<Effect>::Process(VekEffectInstance* instance) noexcept {
  if (!instance || !instance->output) return VEK_E_FAIL;
  MixerState* state = StateOf(instance->privateBlock);
  if (!state || !audio::MixerReady(*state)) return VEK_E_FAIL;
  return audio::Mix(*state, instance->output, instance->renderHint >= 3 && Sse41KernelsUsable());
}

template <class Effect>
VekStatus VolumeCallbacks<Effect>::ReleaseResources(VekEffectInstance* instance) noexcept {
  MixerState* state = instance ? StateOf(instance->privateBlock) : nullptr;
  if (!state) return VEK_E_FAIL;
  state->queued = 0;
  return VEK_S_OK;
}

template <class Effect> VekStatus VolumeCallbacks<Effect>::Destroy(VekEffectInstance* instance) noexcept {
  return ReleaseResources(instance);
}

template struct VolumeCallbacks<AU_VolumeAdj>;
template struct VolumeCallbacks<AU_VolumeAdj_Exp>;

}  // namespace vek

VekStatus vek::InterpolateSquaredVolume(const VekParamDescriptor* row, double t, const void* left, const void* right,
                                        void* out) noexcept {
  if (!row || !left || !right || !out) return VEK_E_FAIL;
  if (std::memcmp(left, right, row->valueSize) == 0) {
    std::memcpy(out, left, row->valueSize);
    return VEK_S_OK;
  }
  if (row->typeCode == VEK_TYPE_FLOAT) {
    float leftValue, rightValue;
    std::memcpy(&leftValue, left, sizeof leftValue);
    std::memcpy(&rightValue, right, sizeof rightValue);
    const float value = float((1.0 - t) * leftValue + t * rightValue);
    // Kept on purpose: only unequal keys are squared, so a flat segment keeps the slider value.
    const float gain = value * value * 0.5f;
    std::memcpy(out, &gain, sizeof gain);
  }
  return VEK_S_OK;
}

constinit decltype(AU_VolumeAdj::kParams) AU_VolumeAdj::kParams = Rows(
    FloatRow<0.0f, 4.0f, 1.0f>("P1", "IDS_Au_Param_Volume_Name", "IDS_Au_Param_Volume_Desc", {0, kScopeGlobal}));

constinit decltype(AU_VolumeAdj_Exp::kParams) AU_VolumeAdj_Exp::kParams = Rows(Interpolated(
    FloatRow<0.0f, 2.0f, 1.0f>("P1", "IDS_Au_Param_Volume_Name", "IDS_Au_Param_Volume_Desc", {0, kScopeGlobal}),
    &InterpolateSquaredVolume));
