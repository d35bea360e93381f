// DSP_TR_Threshold, DSP_TR_XRay, DSP_TR_ColorSplit: transitions driven by the brightness of the pictures.

#include "image/cpu.h"
#include "transitions/kernels.h"
#include "transitions/row_runs.h"
#include "transitions/transition.h"
#include "transitions/transitions.h"
#include "vek_dsp/colour.h"

using namespace vek;

namespace {

bool IsLumaChroma(const VekEffectInstance& instance) { return instance.colourLayout == VEK_LAYOUT_LUMA_CHROMA; }

void CopyRow(const TransitionFrame& frame, const uint8_t* source, int y) {
  CopyPixels(source + std::size_t(y) * frame.rowBytes, 0, frame.OutputRow(y), 0, frame.width);
}

}  // namespace

constinit decltype(TR_Threshold::kParams) TR_Threshold::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;One;Two">("IDS_Tr_Param_Type_Desc"));

constinit decltype(TR_XRay::kParams) TR_XRay::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_ColorSplit::kParams) TR_ColorSplit::kParams = Rows(
    ProgressRow<0.5f>());

// Threshold: a pixel shows B once its key pixel (A's for "One", B's for "Two") is darker than
// t = trunc(progress * 255), A otherwise. ARGB keys compare the sum of their colour bytes with 3t,
// luma/chroma keys their luma with t, in the frame and in both fields.
VekStatus TR_Threshold::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame)) return VEK_E_FAIL;
  if (!frame.HasBuffers() || !instance->paramValues) return VEK_E_FAIL;
  const int32_t type = LoadValue<int32_t>(instance->paramValues, ParamOffset(kParams.data(), 1));
  if (type < 0 || type > 1) return VEK_E_FAIL;
  // Progress 0 and 1 show one source whole, whatever the keys (at 1 a white key would keep A).
  if (!(frame.progress > 0.0f) || frame.progress >= 1.0f) {
    const uint8_t* whole = frame.progress >= 1.0f ? frame.sourceB : frame.sourceA;
    ForEachRow(frame.rows, [&](int y) { CopyRow(frame, whole, y); });
    return VEK_S_OK;
  }
  const bool lumaKey = IsLumaChroma(*instance);
  const int t = ProgressWeight(frame.progress, 255);
  const uint8_t* key = type == 0 ? frame.sourceA : frame.sourceB;
  const auto thresholdRow = Avx512KernelsUsable() ? ThresholdRowAvx512 : ThresholdRowSse2;
  VisitRows(frame, [&](int y) {
    const std::size_t offset = std::size_t(y) * frame.rowBytes;
    thresholdRow(key + offset, frame.sourceA + offset, frame.sourceB + offset, frame.output + offset, frame.width,
                 lumaKey ? t : 3 * t, lumaKey);
  });
  return VEK_S_OK;
}

// X-ray: up to progress 0.4 A turns into its grey negative (255 - luma), up to 0.8 the negative
// burns out to white through a tone table, then white fades into B. In the luma/chroma layout the
// same greys are reached in luma with neutral chroma. The whole frame is rendered in every field mode.
VekStatus TR_XRay::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame)) return VEK_E_FAIL;
  if (!frame.HasBuffers()) return VEK_E_FAIL;
  const bool lumaChroma = IsLumaChroma(*instance);
  const float p = ClampedProgress(frame.progress);
  frame.rows = RowsFor(VEK_FIELD_FRAME, frame.height);
  auto eachRow = [&](const uint8_t* source, auto&& row) {
    VisitRows(frame, [&](int y) {
      const std::size_t at = std::size_t(y) * frame.rowBytes;
      row(source + at, frame.output + at, frame.width);
    });
  };
  // Luma/chroma frames reach the same greys: grey g has the luma of (g, g, g) and chroma 128.
  if (p <= 0.4f) {
    // A turns into its grey negative n = 255 - Y: c becomes (c * (1024 - k) + n * k) >> 10.
    const int k = int(p * 2.5f * 1024.0f);
    const bool wide = Avx512KernelsUsable();
    const auto negativeRow = lumaChroma ? (wide ? XRayLumaNegativeRowAvx512 : XRayLumaNegativeRowSse2)
                                        : (wide ? XRayNegativeRowAvx512 : XRayNegativeRowSse2);
    eachRow(frame.sourceA,
            [&](const uint8_t* source, uint8_t* out, int pixels) { negativeRow(source, out, pixels, k); });
  } else if (p <= 0.8f) {
    // The negative burns out: every colour byte becomes T[n], T[v] = min(shift + 4v, 255) where that
    // is above v, else v; T runs from the identity (shift -765) to white everywhere (shift 255).
    const int shift = int((p * 2.5f - 1.0f) * 4.0f * 255.0f - 765.0f);
    const bool wide = Avx512KernelsUsable();
    const auto toneRow = lumaChroma ? (wide ? XRayLumaToneRowAvx512 : XRayLumaToneRowSse2)
                                    : (wide ? XRayToneRowAvx512 : XRayToneRowSse2);
    eachRow(frame.sourceA,
            [&](const uint8_t* source, uint8_t* out, int pixels) { toneRow(source, out, pixels, shift); });
  } else {
    // White fades into B: B's byte c becomes (c * k + (1024 - k) * 255) >> 10, which is c moving
    // toward white by 1024 - k.
    const int k = int((p * 5.0f - 4.0f) * 1024.0f);
    const VekYuv white = VekRgbToYuv(255, 255, 255);
    const uint8_t whiteBytes[3] = {lumaChroma ? white.v : uint8_t(255), lumaChroma ? white.u : uint8_t(255),
                                   lumaChroma ? white.y : uint8_t(255)};
    const auto towardRow = Avx512KernelsUsable() ? TowardColourRowAvx512 : TowardColourRowSse2;
    eachRow(frame.sourceB, [&](const uint8_t* source, uint8_t* out, int pixels) {
      towardRow(source, out, pixels, 1024 - k, whiteBytes);
    });
  }
  return VEK_S_OK;
}

// ColorSplit: every pixel of A falls m * trunc(h * progress^2) rows onto B, m its tone class (0
// counted as 1), and the lowest source row wins where several land.
// A field rendering writes only its own rows, so the two fields interleave into the frame.
VekStatus TR_ColorSplit::Init(VekEffectInstance* instance) noexcept {
  return InitWithDefaults(instance, kParams.data(), kParamCount);
}
VekStatus TR_ColorSplit::Destroy(VekEffectInstance* instance) noexcept { return ReleaseResources(instance); }
VekStatus TR_ColorSplit::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return TwoInputs::Store(index, sample, kPrivateBytes);
}
VekStatus TR_ColorSplit::ReleaseResources(VekEffectInstance* instance) noexcept {
  return instance ? VEK_S_OK : VEK_E_FAIL;
}

VekStatus TR_ColorSplit::Prepare(VekEffectInstance* instance) noexcept {
  if (instance) instance->prepared = 1;
  return VEK_S_OK;
}

VekStatus TR_ColorSplit::Process(VekEffectInstance* instance) noexcept {
  if (!instance) return VEK_S_OK;
  TransitionFrame frame;
  if (!BeginTransition(instance, frame)) return VEK_E_FAIL;
  if (!frame.HasBuffers()) return VEK_E_FAIL;
  const float p = ClampedProgress(frame.progress);
  const int64_t fall = int64_t(float(frame.height) * p * p);
  const bool lumaChroma = IsLumaChroma(*instance);
  if (fall == 0) {  // every pixel stays where it is
    ForEachRow(frame.rows, [&](int y) { CopyRow(frame, frame.sourceA, y); });
    return VEK_S_OK;
  }
  // A pixel falls 1 to 5 units, so each output row gathers its pixels from the five source rows
  // that can land on it and is written once, past the cache on large frames.
  const FallGatherRowFn vectorRow = Avx512KernelsUsable()  ? FallGatherRowAvx512
                                    : Avx2KernelsUsable()  ? FallGatherRowAvx2
                                    : Sse41KernelsUsable() ? FallGatherRowSse41
                                                           : nullptr;
  const bool stream = vectorRow && frame.rowBytes * std::size_t(frame.height) >= kStreamingFrameBytes;
  const auto gatherRow = [&](int y) {
    const uint8_t* candidates[kFallClasses];
    int count = 0;
    for (int64_t from = y - fall; count < kFallClasses && from >= 0; from -= fall) {
      candidates[count++] = frame.RowA(int(from));
    }
    const uint8_t* b = frame.RowB(y);
    uint8_t* out = frame.OutputRow(y);
    if (vectorRow) {
      vectorRow(candidates, count, b, out, frame.width, lumaChroma, stream);
    } else {
      FallGatherRowScalar(candidates, count, b, out, frame.width, lumaChroma);
    }
  };
  VisitRows(frame, gatherRow, [&] {
    if (stream) StreamFenceSse2();
  });
  return VEK_S_OK;
}
