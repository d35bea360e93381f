// DSP_VI_AutoLevels, DSP_VI_AutoContrast, DSP_VI_Equalize, DSP_VI_ContrastMask: corrections computed
// from the frame's own statistics.
#include "pip/photo.h"
#include "video/video_effects.h"

using namespace vek;

// The clip fractions steer an analysis of the whole frame, so they are not key-framed.
constexpr Slot kAnalysisSlot(int32_t group) { return {group, kScopeEffect, Animation::kFixed}; }

// The switches keep the minimum and maximum each table stores (0 and 0 in AutoLevels).
constinit decltype(VI_AutoLevels::kParams) VI_AutoLevels::kParams = Rows(
    SwitchRow<1, 0, 0>("P1", "IDS_Vi_Param_Enable_Name", "IDS_Vi_Param_Enable_Desc", {0}),
    FloatRow<0.0f, 0.01f, 0.002f>("P2", "IDS_Vi_Param_Black_Name", "IDS_Vi_Param_Black_Desc", kAnalysisSlot(1)),
    FloatRow<0.0f, 0.01f, 0.002f>("P3", "IDS_Vi_Param_White_Name", "IDS_Vi_Param_White_Desc", kAnalysisSlot(2)));

constinit decltype(VI_AutoContrast::kParams) VI_AutoContrast::kParams = Rows(
    SwitchRow<1, 1, 1>("P1", "IDS_Vi_Param_Enable_Name", "IDS_Vi_Param_Enable_Desc", {0}),
    FloatRow<0.0f, 0.01f, 0.002f>("P2", "IDS_Vi_Param_Black_Name", "IDS_Vi_Param_Black_Desc", kAnalysisSlot(1)),
    FloatRow<0.0f, 0.01f, 0.002f>("P3", "IDS_Vi_Param_White_Name", "IDS_Vi_Param_White_Desc", kAnalysisSlot(2)));

constinit decltype(VI_Equalize::kParams) VI_Equalize::kParams = Rows(
    SwitchRow<1, 1, 1>("P1", "IDS_Vi_Param_Enable_Name", "IDS_Vi_Param_Enable_Desc", {0}));

constinit decltype(VI_ContrastMask::kParams) VI_ContrastMask::kParams = Rows(
    SwitchRow<1, 1, 1>("P1", "IDS_Vi_Param_Enable_Name", "IDS_Vi_Param_Enable_Desc", {0}),
    IntRow<0, 255, 128>("P2", "IDS_Vi_Param_Degree_Name", "IDS_Vi_Param_Degree_Desc", {1}));

namespace {

// The whole frame is always corrected, whatever the field mode: the statistics are the frame's.
// Unless P1 switches the correction off (the output is then the source), the photo reads the
// source and writes the corrected frame into the output.
template <class Correction>
VekStatus CorrectFrame(VekEffectInstance* instance, Correction&& correct) {
  VideoFrame frame;
  if (!BeginVideoEffect(instance, frame)) return VEK_E_FAIL;
  if (!frame.HasBuffers()) return VEK_S_OK;
  if (!frame.values || LoadValue<int32_t>(frame.values, 0) == 0) {
    frame.fieldMode = VEK_FIELD_FRAME;
    frame.CopyRows();
    return VEK_S_OK;
  }
  CPhoto photo(frame.source, frame.output, frame.width, frame.height, frame.workers);
  correct(photo, frame.values);
  return VEK_S_OK;
}

template <class Effect, class T> T Second(const uint8_t* values) {
  return LoadValue<T>(values, ParamOffset(Effect::kParams.data(), 1));
}
template <class Effect> float Third(const uint8_t* values) {
  return LoadValue<float>(values, ParamOffset(Effect::kParams.data(), 2));
}

}  // namespace

VekStatus VI_AutoLevels::Process(VekEffectInstance* instance) noexcept {
  return CorrectFrame(instance, [](CPhoto& photo, const uint8_t* values) {
    photo.LevelsStretch(Second<VI_AutoLevels, float>(values), Third<VI_AutoLevels>(values));
  });
}

VekStatus VI_AutoContrast::Process(VekEffectInstance* instance) noexcept {
  return CorrectFrame(instance, [](CPhoto& photo, const uint8_t* values) {
    photo.ContrastStretch(Second<VI_AutoContrast, float>(values), Third<VI_AutoContrast>(values));
  });
}

VekStatus VI_Equalize::Process(VekEffectInstance* instance) noexcept {
  return CorrectFrame(instance, [](CPhoto& photo, const uint8_t*) { photo.Equalize(); });
}

VekStatus VI_ContrastMask::Process(VekEffectInstance* instance) noexcept {
  return CorrectFrame(instance, [](CPhoto& photo, const uint8_t* values) {
    photo.ContrastMask(Second<VI_ContrastMask, int32_t>(values));
  });
}
