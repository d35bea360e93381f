// DSP_TR_Burn: A burns away onto B along a fractal fire front fixed by the instance's seed, behind
// a band of flame.
#include "transitions/burn.h"

#include <algorithm>
#include <cstdlib>

#include "transitions/kernels.h"
#include "transitions/row_runs.h"
#include "transitions/transition.h"
#include "transitions/transitions.h"
#include "vek_dsp/colour.h"

namespace vek {

BurnMap* BuildBurnMap(uint32_t width, uint32_t height, float roughness, float baseAmplitude, int32_t& maximum,
                      int32_t& minimum) noexcept {
  uint64_t side = 1;
  while (side < std::max(width, height)) side *= 2;
  // No grid this large can be allocated; refusing it early also keeps every sum below in range.
  if (side > (uint64_t(1) << 24)) return nullptr;
  const uint64_t pixels = uint64_t(width) * height, spanBounds = 2 * BurnSpans(width) * uint64_t(height);
  auto* map = static_cast<BurnMap*>(std::malloc(sizeof(BurnMap) + (pixels + spanBounds) * sizeof(int32_t)));
  if (!map) return nullptr;
  auto* grid = static_cast<int32_t*>(std::calloc(side * side, sizeof(int32_t)));
  if (!grid) {
    std::free(map);
    return nullptr;
  }
  map->width = width;
  map->height = height;

  // The grid wraps: a cell's right and lower edges are the next cell's left and upper ones, and
  // the last cells' are row and column 0.
  const uint64_t wrap = side - 1;
  auto at = [&](uint64_t row, uint64_t column) -> int32_t& { return grid[(row & wrap) * side + (column & wrap)]; };
  // Every draw below comes from the C library's generator, one state for the whole process. One
  // seed gives one map only because the caller seeds it right before, nothing else draws in
  // between, and the draws are made in this fixed order: level by level, cells row by row, and in
  // each cell the centre, the lower edge, then the right edge. Reordering any of it gives another
  // fire front for the same seed.
  for (uint64_t step = side; step > 1; step /= 2) {
    const int32_t amplitude = std::max(1, int32_t(float(step) * roughness + baseAmplitude));
    const int32_t half = amplitude / 2;
    const uint64_t mid = step / 2;
    for (uint64_t y = 0; y < side; y += step) {
      for (uint64_t x = 0; x < side; x += step) {
        const int64_t c00 = at(y, x), c10 = at(y, x + step), c01 = at(y + step, x), c11 = at(y + step, x + step);
        at(y + mid, x + mid) = int32_t(std::rand() % amplitude + (c00 + c01 + c10 + c11) / 4 - half);
        at(y + step, x + mid) = int32_t(std::rand() % amplitude + (c01 + c11) / 2 - half);
        at(y + mid, x + step) = int32_t(std::rand() % amplitude + (c10 + c11) / 2 - half);
      }
    }
  }

  // Kept on purpose: pixel (x, y) takes grid row x, column y, so the map is the grid transposed.
  // Copied in tiles, so that neither side is walked a whole column at a time.
  constexpr uint32_t kTile = 64;
  int32_t* values = map->Values();
  for (uint32_t x0 = 0; x0 < width; x0 += kTile) {
    for (uint32_t y0 = 0; y0 < height; y0 += kTile) {
      for (uint32_t x = x0; x < std::min(width, x0 + kTile); ++x) {
        const int32_t* gridRow = grid + uint64_t(x) * side;
        for (uint32_t y = y0; y < std::min(height, y0 + kTile); ++y) {
          const int32_t value = gridRow[y];
          values[uint64_t(y) * width + x] = value;
          maximum = std::max(maximum, value);
          minimum = std::min(minimum, value);
        }
      }
    }
  }
  std::free(grid);
  const std::size_t boundsPerRow = 2 * BurnSpans(width);
  for (uint32_t y = 0; y < height; ++y) {
    BurnSpanBounds(values + uint64_t(y) * width, int(width), values + pixels + y * boundsPerRow);
  }
  return map;
}

void FreeBurnMap(BurnMap* map) noexcept { std::free(map); }

}  // namespace vek

using namespace vek;

namespace {

constexpr float kRoughness = 0.6f;
constexpr float kBaseAmplitude = 8.0f;

struct BurnState {
  TransitionHead head;
  BurnMap* map;      // from Prepare to ReleaseResources
  int32_t maximum;   // the largest map value, at least -4096
  int32_t minimum;   // the smallest map value, at most 4096
  uint8_t flame[kBurnBand][4];  // the band's colours, number 0 at the burnt side
};
static_assert(sizeof(BurnState) == TR_Burn::kPrivateBytes);

BurnState* StateOf(VekEffectInstance* instance) { return static_cast<BurnState*>(instance->privateBlock); }

// Orange at both edges of the band, yellow in its middle: green rises 105, 115 ... 245 and falls
// back to 105 ((139 - 10i) mod 256 for the second half).
void FillFlame(BurnState& state, bool lumaChroma) {
  for (int i = 0; i < kBurnBand; ++i) {
    const uint8_t green = uint8_t(i < 15 ? 105 + 10 * i : 139 - 10 * i);
    uint8_t* colour = state.flame[i];
    if (lumaChroma) {
      const VekYuv yuv = VekRgbToYuv(255, green, 0);
      colour[0] = yuv.v, colour[1] = yuv.u, colour[2] = yuv.y;
    } else {
      colour[0] = 0, colour[1] = green, colour[2] = 255;
    }
    colour[3] = 255;
  }
}

}  // namespace

constinit decltype(TR_Burn::kParams) TR_Burn::kParams = Rows(
    ProgressRow<0.5f>());

// Every callback of the burn answers a null record with 0 and does nothing.
VekStatus TR_Burn::Init(VekEffectInstance* instance) noexcept {
  if (!instance) return VEK_S_OK;
  // A host's private block may hold anything; from here on the map pointer is either null or ours.
  if (instance->privateBlock) StateOf(instance)->map = nullptr;
  return InitWithDefaults(instance, kParams.data(), kParamCount);
}

VekStatus TR_Burn::Destroy(VekEffectInstance* instance) noexcept {
  return instance ? ReleaseResources(instance) : VEK_S_OK;
}

VekStatus TR_Burn::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return sample ? TwoInputs::Store(index, sample, kPrivateBytes) : VEK_S_OK;
}

VekStatus TR_Burn::Prepare(VekEffectInstance* instance) noexcept {
  if (!instance) return VEK_S_OK;
  instance->prepared = 1;
  if (!instance->privateBlock) return VEK_E_FAIL;
  BurnState& state = *StateOf(instance);
  FreeBurnMap(state.map);
  state.map = nullptr;
  state.maximum = -4096;
  state.minimum = 4096;
  // Seeded right before the build, which draws in a fixed order (see BuildBurnMap).
  std::srand(instance->randomSeed);
  state.map = BuildBurnMap(instance->width, instance->height, kRoughness, kBaseAmplitude, state.maximum, state.minimum);
  if (!state.map) return VEK_E_FAIL;
  FillFlame(state, instance->colourLayout == VEK_LAYOUT_LUMA_CHROMA);
  return VEK_S_OK;
}

VekStatus TR_Burn::ReleaseResources(VekEffectInstance* instance) noexcept {
  if (!instance || !instance->privateBlock) return VEK_S_OK;
  BurnState& state = *StateOf(instance);
  FreeBurnMap(state.map);
  state.map = nullptr;
  return VEK_S_OK;
}

VekStatus TR_Burn::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame)) return VEK_S_OK;
  const BurnState& state = *StateOf(instance);
  // The map is built once, in Prepare, for the frame size of that moment.
  const BurnMap* map = state.map;
  if (!map || map->width != instance->width || map->height != instance->height) return VEK_E_FAIL;
  if (!frame.HasBuffers()) return VEK_E_FAIL;
  // The front runs from the minimum (all A) to 30 past the maximum. Kept on purpose: at progress 1
  // the pixels at the maximum show flame colour 0, never B.
  const int32_t threshold = ProgressWeight(frame.progress, state.maximum - state.minimum + kBurnBand) + state.minimum;
  // Rows that mix both sources stream every store on large frames, where the caches cannot keep
  // the output beside A, B and the map.
  const std::size_t boundsPerRow = 2 * BurnSpans(std::size_t(frame.width));
  WriteRows(frame, [&](int y, const RunWriter& writer) {
    const std::size_t offset = std::size_t(y) * frame.rowBytes;
    BurnRowSse2(map->Values() + std::size_t(y) * std::size_t(frame.width),
                map->SpanBounds() + std::size_t(y) * boundsPerRow, frame.sourceA + offset, frame.sourceB + offset,
                frame.output + offset, frame.width, threshold, &state.flame[0][0], writer.copy, writer.ahead);
  });
  return VEK_S_OK;
}
