// DSP_CO_ColorAdj: brightness, contrast and exposure through exact tone curves, then recovery,
// fill light, vibrance, hue, saturation and sharpness, with a before/after compare view.
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "color/color_effects.h"
#include "color/kernels.h"
#include "color/stage_tables.h"
#include "color/tone_curves.h"
#include "image/cpu.h"
#include "platform/platform.h"
#include "video/video_effect.h"

using namespace vek;
using namespace vek::colour;

namespace {

constexpr int kWorkerSlots = 8;
constexpr int kIdentityEntries = 32640;
constexpr int kPowerRows = 17;
constexpr int kPowerEntries = 4097;
constexpr std::size_t kStageBlockBytes = 262144;
constexpr Slot Place(int32_t group, Animation animation = Animation::kDefault) {
  return {group, kScopeGlobal, animation};
}

// Frames of more pixels than 16384 x 16384 are answered as out of memory before anything is allocated.
constexpr uint64_t kMaxPixels = uint64_t(1) << 28;

// The compare view (P6): the original on the left or top half, the result on the rest.
enum Compare : int32_t { kCompareOff = 0, kCompareLeftRight = 1, kCompareTopBottom = 2 };

// The private block. Everything Prepare allocates is reached through the pointers at the end; a
// null pointer there means "not prepared" and Process answers VEK_E_POINTER.
struct ColorAdjState {
  VideoHead head;
  // Parameter copies, taken at the start of every Process.
  int32_t brightness, contrast;
  float hue, saturation, sharpness;
  int32_t kernel[9];  // 16.16, row by row
  double exposure;
  int32_t recovery, fillLight, vibrance;
  int32_t compare;
  // Level constants.
  int32_t topLevel, midLevel, rangeLevel;
  // The tone stage.
  SplineKnots knots;
  int32_t brightnessTable[kLevels], contrastTable[kLevels], exposureTable[kLevels], toneMap[kLevels];
  int32_t composedCurves;
  uint8_t toneBytes[kLevels];
  int32_t laterStageCount;  // 16, stored by Prepare with the stages' tables
  int32_t coring[kCoringEntries];
  // The frame size Prepare allocated for.
  uint32_t preparedWidth, preparedHeight;
  // What Prepare allocates.
  uint8_t* workFrames[2];  // width x height x 4: the stages' result before sharpening; RGB after the stages
  uint8_t* planes[2];      // width x height: the luma the sharpening reads; spare
  int32_t* gammaTable;     // 256 entries: (i / 255)^0.55 in 0..255
  float* logTable;         // 256 entries: ln(i + 1)
  uint8_t* alignedFrame;   // ((width + 15) & ~15) x height x 4: RGB before the stages (luma/chroma frames)
  uint8_t* alignedRow;     // width x 4
  int32_t* lightGain;      // 256 entries: the recovery and fill-light gains
  int32_t* identityBlocks[kWorkerSlots][3];  // 32,640 entries each, entry i = i
  float* powerTable;       // 17 rows of 4,097: (i / 4096)^g, g from 1.7 down to 1.0
  HueSector* hueSectors;   // 36,000 positions
  HueBasis* hueBases;      // the same positions as the chroma kernel reads them
  uint8_t* wideBuffer;     // width x height x 8
  int32_t* stageBlocks[3]; // 256 KiB each, see StageBlocks
};
static_assert(sizeof(ColorAdjState) <= CO_ColorAdj::kPrivateBytes);
// malloc gives 16-byte alignment on the 64-bit targets, which the aligned frame relies on.
static_assert(alignof(std::max_align_t) >= 16);

ColorAdjState& StateOf(VekEffectInstance* instance) { return *static_cast<ColorAdjState*>(instance->privateBlock); }

template <class T> void Free(T*& pointer) {
  std::free(pointer);
  pointer = nullptr;
}

void FreeAll(ColorAdjState& state) {
  for (uint8_t*& frame : state.workFrames) Free(frame);
  for (uint8_t*& plane : state.planes) Free(plane);
  Free(state.gammaTable);
  Free(state.logTable);
  Free(state.alignedFrame);
  Free(state.alignedRow);
  Free(state.lightGain);
  for (auto& slot : state.identityBlocks) {
    for (int32_t*& block : slot) Free(block);
  }
  Free(state.powerTable);
  Free(state.hueSectors);
  Free(state.hueBases);
  Free(state.wideBuffer);
  for (int32_t*& block : state.stageBlocks) Free(block);
}

bool Complete(const ColorAdjState& state) {
  bool complete = state.workFrames[0] && state.workFrames[1] && state.planes[0] && state.planes[1] &&
                  state.gammaTable && state.logTable && state.alignedFrame && state.alignedRow && state.lightGain &&
                  state.powerTable && state.hueSectors && state.hueBases && state.wideBuffer;
  for (const auto& slot : state.identityBlocks) {
    for (const int32_t* block : slot) complete = complete && block;
  }
  for (const int32_t* block : state.stageBlocks) complete = complete && block;
  return complete;
}

// count elements of T; zeroed on request. A zero count still allocates, so that null only ever
// means failure.
template <class T>
bool Allocate(T*& slot, std::size_t count, bool zeroed = false) {
  const std::size_t bytes = count ? count * sizeof(T) : 1;
  slot = static_cast<T*>(zeroed ? std::calloc(bytes, 1) : std::malloc(bytes));
  return slot != nullptr;
}

std::size_t AlignedStride(uint32_t width) {
  return ((std::size_t(width) + 15) & ~std::size_t(15)) * 4;
}

// The chroma stages' tables in the three 256 KiB blocks: the division scales and the 256 x 256
// tables of their results; the inverses and the saturation columns; the vibrance weights and this
// frame's vibrance factors.
struct StageBlocks {
  DivisionTables division;
  int32_t* vibranceWeights;
  float* vibranceFactors;
};
constexpr int kDivisionEntries = kDivisionTableSide * kDivisionTableSide;
constexpr int kVibranceCells = 64 * 64;

StageBlocks StageBlocksOf(const ColorAdjState& state) {
  int32_t* const* blocks = state.stageBlocks;
  return {{blocks[0], blocks[0] + kLevels, reinterpret_cast<float*>(blocks[1]),
           reinterpret_cast<int16_t*>(blocks[0] + 2 * kLevels), reinterpret_cast<uint8_t*>(blocks[1] + kLevels)},
          blocks[2],
          reinterpret_cast<float*>(blocks[2] + kVibranceCells)};
}
static_assert((2 * kLevels + kDivisionEntries / 2) * sizeof(int32_t) <= kStageBlockBytes);
static_assert(kLevels * sizeof(int32_t) + kDivisionEntries <= kStageBlockBytes);
static_assert(2 * kVibranceCells * sizeof(int32_t) <= kStageBlockBytes);

// Allocates and fills, in the order the state lists; false at the first allocation that fails.
bool AllocateAndFill(ColorAdjState& state, uint32_t width, uint32_t height) {
  const std::size_t pixels = std::size_t(width) * height;
  if (!Allocate(state.workFrames[0], pixels * 4) || !Allocate(state.workFrames[1], pixels * 4)) return false;
  state.knots = {};
  std::memset(state.brightnessTable, 0, sizeof state.brightnessTable);
  std::memset(state.contrastTable, 0, sizeof state.contrastTable);
  std::memset(state.exposureTable, 0, sizeof state.exposureTable);
  std::memset(state.toneMap, 0, sizeof state.toneMap);
  if (!Allocate(state.planes[0], pixels, true) || !Allocate(state.planes[1], pixels, true)) return false;
  if (!Allocate(state.gammaTable, kLevels) || !Allocate(state.logTable, kLevels)) return false;
  if (!Allocate(state.alignedFrame, AlignedStride(width) * height, true)) return false;
  if (!Allocate(state.alignedRow, std::size_t(width) * 4, true)) return false;
  if (!Allocate(state.lightGain, kLevels)) return false;
  for (auto& slot : state.identityBlocks) {
    for (int32_t*& block : slot) {
      if (!Allocate(block, kIdentityEntries)) return false;
      for (int32_t i = 0; i < kIdentityEntries; ++i) block[i] = i;
    }
  }
  if (!Allocate(state.powerTable, std::size_t(kPowerRows) * kPowerEntries)) return false;
  for (int k = 0; k < kPowerRows; ++k) {
    const double exponent = (1 - k * 0.0625) * 0.7 + 1;
    for (int i = 0; i < kPowerEntries; ++i) {
      state.powerTable[k * kPowerEntries + i] = float(std::pow(i * 0.00024414063, exponent));
    }
  }
  if (!Allocate(state.hueSectors, kHuePositions) || !Allocate(state.hueBases, kHuePositions)) return false;
  BuildHueSectors(state.hueSectors);
  BuildHueBases(state.hueSectors, kHuePositions, state.hueBases);
  for (int i = 0; i < kLevels; ++i) {
    state.gammaTable[i] = TruncateToInt32(std::pow(i / 255.0, 0.55) * 255 + 0.5);
    state.logTable[i] = float(std::log(i + 1.0));
  }
  state.laterStageCount = 16;
  for (int32_t*& block : state.stageBlocks) {
    if (!Allocate(block, kStageBlockBytes / sizeof(int32_t))) return false;
  }
  const StageBlocks blocks = StageBlocksOf(state);
  BuildDivisionTables(state.topLevel, blocks.division);
  BuildVibranceWeights(state.topLevel, blocks.vibranceWeights);
  BuildCoring(state.coring);
  return Allocate(state.wideBuffer, pixels * 8);
}

// The row offsets of the parameters, from the table itself.
uint32_t Offset(uint32_t row) {
  return ParamOffset(CO_ColorAdj::kParams.data(), row);
}

void CopyParameters(ColorAdjState& state, const uint8_t* values) {
  state.brightness = LoadValue<int32_t>(values, Offset(0));
  state.contrast = LoadValue<int32_t>(values, Offset(1));
  state.hue = LoadValue<float>(values, Offset(2));
  state.saturation = LoadValue<float>(values, Offset(3));
  state.sharpness = LoadValue<float>(values, Offset(4));
  state.compare = LoadValue<int32_t>(values, Offset(5));
  state.exposure = LoadValue<float>(values, Offset(6));
  state.recovery = LoadValue<int32_t>(values, Offset(7));
  state.fillLight = LoadValue<int32_t>(values, Offset(8));
  state.vibrance = LoadValue<int32_t>(values, Offset(9));
  // 0, -s, 0 / -s, 4s + 1, -s / 0, -s, 0, in 16.16, each truncated; the centre in single precision.
  const float s = state.sharpness;
  const int32_t edge = TruncateToInt32(double(-s * 65536.0f));
  const int32_t centre = TruncateToInt32(double((s * 4.0f + 1.0f) * 65536.0f));
  const int32_t kernel[9] = {0, edge, 0, edge, centre, edge, 0, edge, 0};
  std::memcpy(state.kernel, kernel, sizeof kernel);
}

// Brightness, then contrast, then exposure, each composed after the ones before.
void BuildToneMap(ColorAdjState& state) {
  state.composedCurves = 0;
  const double b = state.brightness;
  BuildCurveTable(state.knots, BrightnessKnots(b, state.knots), state.brightnessTable);
  char text[260];
  std::snprintf(text, sizeof text, "Brightness Parameter is %f", b);
  platform::DebugOutput(text);
  for (int v = 0; v < kLevels; ++v) {
    // Kept on purpose: every mapping line is formatted into the buffer and never sent.
    std::snprintf(text, sizeof text, "%d => Brightness mapping Value is %d", v, int(state.brightnessTable[v]));
  }
  ComposeInto(state.toneMap, state.brightnessTable, state.composedCurves);
  BuildCurveTable(state.knots, ContrastKnots(state.contrast, state.knots), state.contrastTable);
  ComposeInto(state.toneMap, state.contrastTable, state.composedCurves);
  BuildCurveTable(state.knots, ExposureKnots(state.exposure, state.knots), state.exposureTable);
  ComposeInto(state.toneMap, state.exposureTable, state.composedCurves);
  for (int v = 0; v < kLevels; ++v) state.toneBytes[v] = uint8_t(state.toneMap[v]);
}

// What this frame runs, decided once from the parameter copies. Values outside a row's range are
// held to it for the designed stages (NaN as the default).
struct Plan {
  bool light, tone, vibrance, hue, saturation, sharpen;
  float vibranceAmount, saturationFactor;
  int32_t hueTurn;
  int32_t compare;
  bool AnyColourStage() const { return light || tone || vibrance || hue || saturation; }
};

float Held(float value, float low, float high, float otherwise) {
  return std::isnan(value) ? otherwise : value < low ? low : value > high ? high : value;
}

Plan MakePlan(const ColorAdjState& state) {
  Plan plan{};
  plan.light = state.recovery != 0 || state.fillLight != 0;
  // A NaN exposure counts as non-zero.
  plan.tone = state.brightness != 0 || state.contrast != 0 || state.exposure != 0.0;
  const int32_t vibrance = state.vibrance < -100 ? -100 : state.vibrance > 100 ? 100 : state.vibrance;
  plan.vibrance = vibrance != 0;
  plan.vibranceAmount = float(vibrance) / 100;
  const int32_t turn = TruncateToInt32(double(Held(state.hue, -1, 1, 0)) * 18000 + 18000.5) - 18000;
  plan.hueTurn = (turn + kHuePositions) % kHuePositions;
  plan.hue = plan.hueTurn != 0;
  plan.saturationFactor = Held(state.saturation, 0, 2, 1);
  plan.saturation = plan.saturationFactor != 1;
  plan.sharpen = state.kernel[4] != 65536 || state.kernel[1] != 0;
  plan.compare = state.compare == kCompareLeftRight || state.compare == kCompareTopBottom ? state.compare : kCompareOff;
  return plan;
}

// The kernels of one frame: the vector forms when the render hint allows them.
struct Kernels {
  decltype(&LightRow) light;
  decltype(&ToneRow) tone;
  decltype(&ChromaRow) chroma;
  decltype(&LumaRow) luma;
  decltype(&SharpenRow) sharpen;
  decltype(&YuvToRgbRow) yuvToRgb;
  decltype(&AddRgbChangeToYuvRow) addRgbChangeToYuv;
};
constexpr Kernels kScalarKernels{LightRow, ToneRow, ChromaRow, LumaRow, SharpenRow, YuvToRgbRow, AddRgbChangeToYuvRow};
constexpr Kernels kVectorKernels{LightRowSse41,   ToneRowSsse3,     ChromaRowSse41,           LumaRowSse41,
                                 SharpenRowSse41, YuvToRgbRowSse41, AddRgbChangeToYuvRowSse41};
constexpr Kernels kWideKernels{LightRowSse41,   ToneRowAvx512,    ChromaRowSse41,           LumaRowSse41,
                               SharpenRowSse41, YuvToRgbRowSse41, AddRgbChangeToYuvRowSse41};

// The stages that work on RGB, in their order, from `in` to `out` (pixels of one row).
struct ColourStages {
  const ColorAdjState& state;
  const Plan& plan;
  const Kernels& kernels;
  ChromaTables tables;
  ChromaSettings settings;

  void Run(const uint8_t* in, uint8_t* out, int pixels) const {
    if (plan.light) {
      kernels.light(in, out, pixels, state.lightGain);
      in = out;
    }
    if (plan.tone) {
      kernels.tone(in, out, pixels, state.toneBytes, state.rangeLevel);
      in = out;
    }
    if (in != out) std::memcpy(out, in, std::size_t(pixels) * 4);
    if (plan.vibrance || plan.hue || plan.saturation) kernels.chroma(out, pixels, tables, settings);
  }
};

}  // namespace

// P6 picks the compare view: 0 off, 1 original and result side by side, 2 one above the other.
constinit decltype(CO_ColorAdj::kParams) CO_ColorAdj::kParams =
    Rows(IntRow<-100, 100, 0>("P1", "IDS_Co_Param_Brightness_Name", "IDS_Co_Param_Brightness_Desc", Place(0)),
         IntRow<-100, 100, 0>("P2", "IDS_Co_Param_Contrast_Name", "IDS_Co_Param_Contrast_Desc", Place(1)),
         FloatRow<-1.0f, 1.0f, 0.0f>("P3", "IDS_Co_Param_Hue_Name", "IDS_Co_Param_Hue_Desc", Place(2)),
         FloatRow<0.0f, 2.0f, 1.0f>("P4", "IDS_Co_Param_Saturation_Name", "IDS_Co_Param_Saturation_Desc", Place(3)),
         FloatRow<0.0f, 2.0f, 0.0f>("P5", "IDS_Co_Param_Sharpness_Name", "IDS_Co_Param_Sharpness_Desc", Place(4)),
         IntRow<0, 2, 0>("P6", "IDS_Co_Param_CompareImage_Name", nullptr, Place(5, Animation::kFixed)),
         FloatRow<-4.0f, 4.0f, 0.0f>("P7", "IDS_Co_Param_Exposure_Name", "IDS_Co_Param_Exposure_Desc", Place(6)),
         IntRow<0, 100, 0>("P8", "IDS_Co_Param_Recovery_Name", "IDS_Co_Param_Recovery_Desc", Place(7)),
         IntRow<0, 100, 0>("P9", "IDS_Co_Param_FillLight_Name", "IDS_Co_Param_FillLight_Desc", Place(8)),
         IntRow<-100, 100, 0>("P10", "IDS_Co_Param_Vibrance_Name", "IDS_Co_Param_Vibrance_Desc", Place(9)));

// A host's private block may hold anything: from Init on, every pointer in it is null or ours.
VekStatus CO_ColorAdj::Init(VekEffectInstance* instance) noexcept {
  if (instance && instance->privateBlock) std::memset(instance->privateBlock, 0, sizeof(ColorAdjState));
  return InitWithDefaults(instance, kParams.data(), kParamCount);
}

VekStatus CO_ColorAdj::Destroy(VekEffectInstance* instance) noexcept { return ReleaseResources(instance); }

VekStatus CO_ColorAdj::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return OneInput::Store(index, sample, kPrivateBytes);
}

VekStatus CO_ColorAdj::Prepare(VekEffectInstance* instance) noexcept {
  if (!instance) return VEK_E_FAIL;
  instance->prepared = 1;
  if (!instance->privateBlock) return VEK_E_FAIL;
  ColorAdjState& state = StateOf(instance);
  FreeAll(state);
  state.topLevel = 255;
  state.midLevel = 128;
  state.rangeLevel = 255;
  state.composedCurves = 0;
  state.preparedWidth = instance->width;
  state.preparedHeight = instance->height;
  if (uint64_t(instance->width) * instance->height > kMaxPixels) return VEK_E_OUTOFMEMORY;
  // What was allocated before a failure stays for ReleaseResources.
  return AllocateAndFill(state, instance->width, instance->height) ? VEK_S_OK : VEK_E_OUTOFMEMORY;
}

VekStatus CO_ColorAdj::ReleaseResources(VekEffectInstance* instance) noexcept {
  if (!instance) return VEK_E_FAIL;
  if (instance->privateBlock) FreeAll(StateOf(instance));
  return VEK_S_OK;
}

// The colour stages run row by row (in luma/chroma frames on RGB copies, carrying only the change
// back). With sharpening they write the working frame and the luma plane, and the sharpening
// reads them for the rows above and below and writes the output; otherwise they write the output.
// The compare view copies the original's half in whichever step writes the output.
VekStatus CO_ColorAdj::Process(VekEffectInstance* instance) noexcept {
  VideoFrame frame;
  if (!BeginVideoEffect(instance, frame)) return VEK_E_FAIL;
  ColorAdjState& state = StateOf(instance);
  if (!Complete(state) || state.preparedWidth != instance->width || state.preparedHeight != instance->height ||
      !frame.HasBuffers() || !frame.values) {
    return VEK_E_POINTER;
  }
  CopyParameters(state, frame.values);
  const Plan plan = MakePlan(state);
  if (plan.tone) BuildToneMap(state);
  if (plan.light) BuildLightGains(state.recovery, state.fillLight, state.lightGain);
  const StageBlocks blocks = StageBlocksOf(state);
  if (plan.vibrance) BuildVibranceFactors(blocks.vibranceWeights, plan.vibranceAmount, blocks.vibranceFactors);
  if (!plan.AnyColourStage() && !plan.sharpen) {
    frame.CopyRows();
    return VEK_S_OK;
  }

  const int width = frame.width, height = frame.height;
  const std::size_t rowBytes = frame.rowBytes, alignedStride = AlignedStride(uint32_t(width));
  const Kernels& kernels =
      frame.renderHint < 3 ? kScalarKernels : Avx512KernelsUsable() ? kWideKernels : kVectorKernels;
  const ColourStages stages{
      state,
      plan,
      kernels,
      {blocks.division.sectorFraction, blocks.division.saturationColumn, blocks.division.inverse,
       blocks.vibranceFactors, state.hueBases},
      {plan.vibrance, plan.hue, plan.saturation, plan.vibranceAmount, plan.hueTurn, plan.saturationFactor}};
  const int halfWidth = width / 2, halfHeight = height / 2;
  auto originalRow = [&](int y) { return plan.compare == kCompareTopBottom && y < halfHeight; };
  const int originalColumns = plan.compare == kCompareLeftRight ? halfWidth : 0;
  auto workRow = [&](int y) { return state.workFrames[0] + std::size_t(y) * rowBytes; };
  auto lumaRow = [&](int y) { return state.planes[0] + std::size_t(y) * width; };
  auto lumaOf = [&](const uint8_t* row, int y) {
    (frame.lumaChroma ? LumaOfYuvRow : kernels.luma)(row, lumaRow(y), width);
  };
  // What the sharpening adds its change to: the colour stages' result, or the source itself.
  auto colouredRow = [&](int y) { return plan.AnyColourStage() ? workRow(y) : frame.SourceRow(y); };

  auto colourRow = [&](int y) {
    const uint8_t* source = frame.SourceRow(y);
    if (!plan.AnyColourStage()) return lumaOf(source, y);  // sharpening alone
    uint8_t* out = plan.sharpen ? workRow(y) : frame.OutputRow(y);
    int x0 = 0;
    if (!plan.sharpen) {
      if (originalRow(y)) {
        std::memcpy(out, source, rowBytes);
        return;
      }
      x0 = originalColumns;
      std::memcpy(out, source, std::size_t(x0) * 4);
    }
    const int pixels = width - x0;
    const std::size_t at = std::size_t(x0) * 4;
    if (frame.lumaChroma) {
      uint8_t* before = state.alignedFrame + std::size_t(y) * alignedStride + at;
      uint8_t* after = state.workFrames[1] + std::size_t(y) * rowBytes + at;
      kernels.yuvToRgb(source + at, before, pixels);
      stages.Run(before, after, pixels);
      kernels.addRgbChangeToYuv(source + at, before, after, out + at, pixels);
    } else {
      stages.Run(source + at, out + at, pixels);
    }
    if (plan.sharpen) lumaOf(out, y);
  };

  const RowSet rows = frame.Rows();
  const int lastRow = rows.first + (rows.count - 1) * rows.step;
  const SharpenKernel kernel{state.kernel[4], state.kernel[1], state.coring, !frame.lumaChroma};
  auto sharpenRow = [&](int y) {
    const uint8_t* source = frame.SourceRow(y);
    uint8_t* out = frame.OutputRow(y);
    if (originalRow(y)) {
      std::memcpy(out, source, rowBytes);
      return;
    }
    std::memcpy(out, source, std::size_t(originalColumns) * 4);
    // A field's neighbours above and below are the rows of the same field.
    const int above = y - rows.step >= rows.first ? y - rows.step : y,
              below = y + rows.step <= lastRow ? y + rows.step : y;
    kernels.sharpen(lumaRow(above), lumaRow(y), lumaRow(below), colouredRow(y), out, width, originalColumns, width,
                    kernel);
  };

  // Bands of the visited rows, by their index k: the whole frame's over the workers, a field's on
  // the caller's thread.
  auto rowAt = [&](int k) { return rows.first + k * rows.step; };
  auto forBands = [&](auto&& band) {
    if (frame.WholeFrame()) {
      ParallelRows(frame.workers, rows.count, band);
    } else if (rows.count > 0) {
      band(0, rows.count);
    }
  };
  if (!plan.sharpen) {
    forBands([&](int k0, int k1) {
      for (int k = k0; k < k1; ++k) colourRow(rowAt(k));
    });
    return VEK_S_OK;
  }
  // Each band's first and last rows first, as the neighbours of the bands beside it; then each band
  // runs its colour stages one row ahead of its sharpening, while the rows are still in cache.
  forBands([&](int k0, int k1) {
    colourRow(rowAt(k0));
    if (k1 - 1 > k0) colourRow(rowAt(k1 - 1));
  });
  forBands([&](int k0, int k1) {
    for (int k = k0; k < k1; ++k) {
      if (k + 1 < k1 - 1) colourRow(rowAt(k + 1));
      sharpenRow(rowAt(k));
    }
  });
  return VEK_S_OK;
}
