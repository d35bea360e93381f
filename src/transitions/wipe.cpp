// DSP_TR_Wipe, DSP_TR_WipeSoft, DSP_TR_DirtyWipe, DSP_TR_Box, DSP_TR_WipeClock, DSP_TR_WipeCenter,
// DSP_TR_Cross: B uncovered over A along a moving boundary.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "image/cpu.h"
#include "image/image.h"
#include "transitions/row_runs.h"
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_Wipe::kParams) TR_Wipe::kParams = Rows(
    ProgressRow<0.7f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_WipeSoft::kParams) TR_WipeSoft::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_DirtyWipe::kParams) TR_DirtyWipe::kParams = Rows(
    ProgressRow<0.8f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_Box::kParams) TR_Box::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;In;Out">("IDS_Tr_Param_Type_Desc"));

constinit decltype(TR_WipeClock::kParams) TR_WipeClock::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;CCW;CW">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_WipeCenter::kParams) TR_WipeCenter::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_Cross::kParams) TR_Cross::kParams = Rows(
    ProgressRow<0.3f>());

namespace {

enum Direction { kUp, kDown, kLeft, kRight };

// The extent a directional wipe travels: rows for Up and Down, columns for Left and Right.
int Travel(const TransitionFrame& frame, int direction) {
  return direction == kUp || direction == kDown ? frame.height : frame.width;
}

// n = trunc(length * p^3): the cube starts the edge slowly and finishes fast.
int EasedCount(int length, float progress) {
  const double p = ClampedProgress(progress);
  return int(double(length) * (p * p * p));
}

// One row of the hard wipe with B covering n rows or columns from its side.
void HardEdgeRow(const TransitionFrame& frame, int direction, int n, int y, const RunWriter& writer) {
  const int w = frame.width, h = frame.height;
  uint8_t* out = frame.OutputRow(y);
  switch (direction) {
    case kUp:
      return CopyPixels(y < h - n ? frame.RowA(y) : frame.RowB(y), 0, out, 0, w);
    case kDown:
      return CopyPixels(y < n ? frame.RowB(y) : frame.RowA(y), 0, out, 0, w);
    case kLeft: {
      const int cut = w - n;
      return AlternateRuns(frame.RowA(y), frame.RowB(y), out, w, &cut, 1, writer.copy, writer.ahead);
    }
    default:
      return AlternateRuns(frame.RowB(y), frame.RowA(y), out, w, &n, 1, writer.copy, writer.ahead);
  }
}

// The visited rows of a hard wipe; all A or all B as one block copy.
void RenderHardEdge(const TransitionFrame& frame, int direction, int n) {
  if (n <= 0) return frame.CopyRows(frame.sourceA);
  if (n >= Travel(frame, direction)) return frame.CopyRows(frame.sourceB);
  WriteRows(frame, [&](int y, const RunWriter& writer) { HardEdgeRow(frame, direction, n, y, writer); });
}

// Frames larger than any buffer we could allocate are refused before asking for memory.
bool PixelCount(uint32_t width, uint32_t height, std::size_t& pixels) {
  const uint64_t count = uint64_t(width) * uint64_t(height);
  if (height != 0 && count / height != width) return false;
  if (count > uint64_t(std::numeric_limits<std::ptrdiff_t>::max()) / 8) return false;
  pixels = std::size_t(count);
  return true;
}

}  // namespace

// ---- Wipe: a hard straight edge, eased by the cube of progress.

VekStatus TR_Wipe::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame) || !frame.HasBuffers()) return VEK_E_FAIL;
  int32_t direction;
  if (!ReadChoice(*instance, kParams.data(), 1, direction)) return VEK_E_FAIL;
  // Kept on purpose: the edge is eased by the cube, so p = 0.5 has moved only 1/8 of the way.
  RenderHardEdge(frame, direction, EasedCount(Travel(frame, direction), frame.progress));
  return VEK_S_OK;
}

// ---- WipeSoft: a soft straight edge over a 64-step ramp, through a mask refilled every frame.

namespace {

// The mask's words follow a header that says how many there are, so that a frame larger than the
// one prepared for is refused instead of overrunning it.
struct SoftEdgeMask {
  std::size_t words;
  int32_t* Words() { return reinterpret_cast<int32_t*>(this + 1); }
};

struct SoftEdgeState {
  TransitionHead head;
  SoftEdgeMask* mask;
};
static_assert(sizeof(SoftEdgeState) == TR_WipeSoft::kPrivateBytes);

// m, in 64ths of the frame, from the edge where B appears first.
int SoftDistance(int direction, int x, int y, int w, int h) {
  switch (direction) {
    case kUp: return int((int64_t(h - y) * 64 - 64) / h);
    case kDown: return int(int64_t(y) * 64 / h);
    case kLeft: return int((int64_t(w - x) * 64 - 64) / w);
    default: return int(int64_t(x) * 64 / w);
  }
}

// The scalar path stores -m; the vector path stores the byte -m in all four bytes of the word.
int32_t SoftMaskWord(int m, bool vector) {
  if (!vector) return -m;
  const uint32_t byte = uint32_t(-m) & 0xFF;
  return int32_t(byte * 0x01010101u);
}

// Row y of the mask. Left and Right give every row the first row's words.
void FillSoftMaskRow(int32_t* mask, int direction, int w, int h, bool vector, int y) {
  int32_t* row = mask + std::size_t(y) * std::size_t(w);
  if (direction == kUp || direction == kDown) {
    std::fill(row, row + w, SoftMaskWord(SoftDistance(direction, 0, y, w, h), vector));
  } else if (y == 0) {
    for (int x = 0; x < w; ++x) row[x] = SoftMaskWord(SoftDistance(direction, x, 0, w, h), vector);
  } else {
    std::memcpy(row, mask, std::size_t(w) * sizeof *mask);
  }
}

}  // namespace

// The host may hand over a private block that is not zeroed: Init, which comes first, clears the
// mask pointer so that Prepare and ReleaseResources never free what they did not allocate.
VekStatus TR_WipeSoft::Init(VekEffectInstance* instance) noexcept {
  if (instance && instance->privateBlock) static_cast<SoftEdgeState*>(instance->privateBlock)->mask = nullptr;
  return InitWithDefaults(instance, kParams.data(), kParamCount);
}
VekStatus TR_WipeSoft::Destroy(VekEffectInstance* instance) noexcept { return ReleaseResources(instance); }
VekStatus TR_WipeSoft::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return TwoInputs::Store(index, sample, kPrivateBytes);
}

VekStatus TR_WipeSoft::Prepare(VekEffectInstance* instance) noexcept {
  if (!instance || !instance->privateBlock) return VEK_E_FAIL;
  ReleaseResources(instance);
  std::size_t words;
  if (!PixelCount(instance->width, instance->height, words)) return VEK_E_OUTOFMEMORY;
  auto* mask = static_cast<SoftEdgeMask*>(std::malloc(sizeof(SoftEdgeMask) + words * sizeof(int32_t)));
  if (!mask) return VEK_E_OUTOFMEMORY;
  mask->words = words;
  static_cast<SoftEdgeState*>(instance->privateBlock)->mask = mask;
  instance->prepared = 1;
  return VEK_S_OK;
}

VekStatus TR_WipeSoft::ReleaseResources(VekEffectInstance* instance) noexcept {
  if (!instance) return VEK_E_FAIL;
  if (auto* state = static_cast<SoftEdgeState*>(instance->privateBlock)) {
    std::free(state->mask);
    state->mask = nullptr;
  }
  return VEK_S_OK;
}

VekStatus TR_WipeSoft::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame) || !frame.HasBuffers()) return VEK_E_FAIL;
  SoftEdgeMask* mask = static_cast<SoftEdgeState*>(instance->privateBlock)->mask;
  if (!mask || mask->words < std::size_t(frame.width) * std::size_t(frame.height)) return VEK_E_FAIL;
  int32_t direction;
  if (!ReadChoice(*instance, kParams.data(), 1, direction)) return VEK_E_FAIL;

  // Kept on purpose: the two paths differ. The scalar one stops at 31/32 of the way and leaves the
  // output's alpha unwritten; the vector one reaches B and blends alpha too.
  const bool vector = instance->renderHint >= 3;
  const int t = int(2.0f * (ClampedProgress(frame.progress) * 63.0f));
  int32_t* words = mask->Words();
  const auto row = !vector ? SoftEdgeRowScalar : Avx512KernelsUsable() ? SoftEdgeRowAvx512 : SoftEdgeRowSse41;
  // The whole mask is refilled, also for a field; each visited row is blended right after its mask
  // row is written, while that row is still in the cache.
  int filled = 0;
  const auto fillTo = [&](int last) {
    for (; filled <= last; ++filled) FillSoftMaskRow(words, direction, frame.width, frame.height, vector, filled);
  };
  ForEachRow(frame.rows, [&](int y) {
    fillTo(y);
    row(frame.RowA(y), frame.RowB(y), words + std::size_t(y) * std::size_t(frame.width), frame.OutputRow(y),
        frame.width, t);
  });
  fillTo(frame.height - 1);
  return VEK_S_OK;
}

// ---- DirtyWipe: the hard wipe with a ragged band of A tiles beyond the edge.

namespace {

struct DirtyTiles {
  int size;   // tiles are size x size pixels
  int count;  // along the edge
  int spread; // L / 5: how far beyond the edge a tile may land
};

DirtyTiles TilesFor(const TransitionFrame& frame, int direction) {
  const int size = std::max(int(int64_t(frame.width) * 8 / 320), 1);
  const bool rows = direction == kUp || direction == kDown;
  return {size, (rows ? frame.width : frame.height) / size, Travel(frame, direction) / 5};
}

// Copies the size x size block of A at (x, y) into the output.
void CopyTile(const TransitionFrame& frame, int x, int y, int size) {
  for (int k = 0; k < size; ++k) CopyPixels(frame.RowA(y + k), x, frame.OutputRow(y + k), x, size);
}

}  // namespace

// Always the whole frame, whatever the field mode.
VekStatus TR_DirtyWipe::Process(VekEffectInstance* instance) noexcept {
  // Kept on purpose: a null instance is answered with success, unlike the rest of the family.
  if (!instance) return VEK_S_OK;
  TransitionFrame frame;
  if (!BeginTransition(instance, frame) || !frame.HasBuffers()) return VEK_E_FAIL;
  int32_t direction;
  if (!ReadChoice(*instance, kParams.data(), 1, direction)) return VEK_E_FAIL;
  frame.rows = RowsFor(VEK_FIELD_FRAME, frame.height);

  const float p = ClampedProgress(frame.progress);
  const int length = Travel(frame, direction);
  const int n = EasedCount(length, p);
  if (p <= 0.0f || p >= 1.0f) {  // the ends draw no random numbers
    frame.CopyRows(p <= 0.0f ? frame.sourceA : frame.sourceB);
    return VEK_S_OK;
  }
  // Frames under 5 pixels along the travel have no room for a band: the edge stays hard.
  const DirtyTiles tiles = TilesFor(frame, direction);
  const bool band = tiles.spread > 0 && tiles.count > 0;
  auto* offsets = band ? static_cast<int*>(std::malloc(std::size_t(tiles.count) * sizeof(int))) : nullptr;
  if (band && !offsets) return VEK_E_OUTOFMEMORY;
  WriteRows(frame, [&](int y, const RunWriter& writer) { HardEdgeRow(frame, direction, n, y, writer); });
  if (!band) return VEK_S_OK;
  // Kept on purpose: the process-wide generator, unseeded here, so the band differs every frame.
  for (int i = 0; i < tiles.count; ++i) offsets[i] = std::rand() % tiles.spread - (4 * length) / 20;

  const int edge = length - n, s = tiles.size;
  for (int i = 0; i < tiles.count; ++i) {
    const int o = offsets[i], along = i * s;
    switch (direction) {
      case kUp:
      case kDown: {
        const int y0 = direction == kUp ? edge - o : n + o;
        if (y0 > 0 && y0 <= frame.height - s) CopyTile(frame, along, y0, s);
        break;
      }
      default: {
        // Kept on purpose: across the frame the far bound is strict, unlike Up and Down.
        const int x0 = direction == kLeft ? edge - o : n + o;
        if (x0 >= 0 && x0 < frame.width - s) CopyTile(frame, x0, along, s);
      }
    }
  }
  std::free(offsets);
  return VEK_S_OK;
}

// ---- Box: A shrinks to a centred box (In), or B grows from the centre (Out).

namespace {

// Rows within `insetY` of the top or bottom and columns within `insetX` of either side come from
// `outer`, the rest from `inner`.
void BoxRow(const TransitionFrame& frame, const uint8_t* outer, const uint8_t* inner, int insetX, int insetY, int y,
            const RunWriter& writer) {
  const std::size_t offset = std::size_t(y) * frame.rowBytes;
  if (y < insetY || y >= frame.height - insetY) {
    return CopyPixels(outer + offset, 0, frame.OutputRow(y), 0, frame.width);
  }
  const int cuts[2] = {insetX, frame.width - insetX};
  AlternateRuns(outer + offset, inner + offset, frame.OutputRow(y), frame.width, cuts, 2, writer.copy, writer.ahead);
}

}  // namespace

VekStatus TR_Box::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame) || !frame.HasBuffers()) return VEK_E_FAIL;
  int32_t type;
  if (!ReadChoice(*instance, kParams.data(), 1, type)) return VEK_E_FAIL;
  const double p = ClampedProgress(frame.progress);
  const int halfX = int(frame.width * 0.5 * p), halfY = int(frame.height * 0.5 * p);
  // Kept on purpose: the halves are truncated apart from the sizes, so an odd side keeps one line
  // of the other picture (In at p = 1, Out at p = 0).
  const bool in = type == 0;
  const uint8_t* outer = in ? frame.sourceB : frame.sourceA;
  const uint8_t* inner = in ? frame.sourceA : frame.sourceB;
  const int insetX = in ? halfX : frame.width / 2 - halfX, insetY = in ? halfY : frame.height / 2 - halfY;
  WriteRows(frame, [&](int y, const RunWriter& writer) { BoxRow(frame, outer, inner, insetX, insetY, y, writer); });
  return VEK_S_OK;
}

// ---- WipeClock: a hand from twelve o'clock sweeps B in, a quadrant at a time.

namespace {

// The four quadrants about the centre (w / 2, h / 2) take the columns x >= w / 2 or x < w / 2 and the
// rows y < h / 2 or y >= h / 2, so they tile the frame exactly; a whole quadrant is a set of row runs
// with no pixel shared or left out. Distances from the centre lines count from 1 on either side.
struct ClockSweep {
  int centreX, centreY;
  int reference;     // max(h / 2, 1): the height a tangent is scaled to
  bool clockwise;
  int wholeQuadrants; // 0 to 4, in sweep order
  int64_t reach;     // the partial quadrant's run at distance `reference` from the centre row

  // Sweep order: clockwise top-right, bottom-right, bottom-left, top-left; counter-clockwise mirrored.
  int Order(bool top, bool right) const {
    const bool lead = clockwise ? right : !right;
    return top ? (lead ? 0 : 3) : (lead ? 1 : 2);
  }

  // The B run of one half-row of `side` pixels at distance `dy` from the centre row, counted from
  // the centre column outward: [start, end).
  void HalfRowRun(int order, int side, int dy, int& start, int& end) const {
    start = end = 0;
    if (order < wholeQuadrants) end = side;
    if (order != wholeQuadrants) return;
    // The partial quadrant: the hand is r degrees past the axis it started from. From a vertical
    // axis (orders 0 and 2) B lies between that axis and the hand, a run beside the centre column;
    // from a horizontal axis (1 and 3) B lies beyond the hand, toward the side edge.
    const int64_t run = std::min<int64_t>(side, (reach / reference) * dy + (reach % reference) * dy / reference);
    if (order % 2 == 0) {
      end = int(run);
    } else {
      start = int(run);
      end = side;
    }
  }
};

ClockSweep SweepFor(const TransitionFrame& frame, bool clockwise) {
  const int degrees = int(double(ClampedProgress(frame.progress)) * 360.0);
  ClockSweep sweep{frame.width / 2, frame.height / 2, std::max(frame.height / 2, 1), clockwise, degrees / 90, 0};
  if (sweep.wholeQuadrants < 4) {
    const int r = degrees - 90 * sweep.wholeQuadrants;
    // From a horizontal axis the run beside the centre column is where the hand has not been yet,
    // so it is measured from the far (vertical) axis.
    const int fromVertical = sweep.wholeQuadrants % 2 == 0 ? r : 90 - r;
    const double slope = std::tan(fromVertical * 3.141592653589793 / 180.0);
    const int64_t widest = int64_t(std::max(frame.width - sweep.centreX, sweep.centreX)) + 1;
    sweep.reach = slope >= double(widest) ? widest * sweep.reference : int64_t(slope * sweep.reference);
  }
  return sweep;
}

void ClockRow(const TransitionFrame& frame, const ClockSweep& sweep, int y, const RunWriter& writer) {
  const bool top = y < sweep.centreY;
  const int dy = top ? sweep.centreY - y : y - sweep.centreY + 1;
  const int leftSide = sweep.centreX, rightSide = frame.width - sweep.centreX;
  int l0, l1, r0, r1;
  sweep.HalfRowRun(sweep.Order(top, false), leftSide, dy, l0, l1);
  sweep.HalfRowRun(sweep.Order(top, true), rightSide, dy, r0, r1);
  // Left runs count outward from the centre column toward x = 0.
  const int cuts[4] = {sweep.centreX - l1, sweep.centreX - l0, sweep.centreX + r0, sweep.centreX + r1};
  AlternateRuns(frame.RowA(y), frame.RowB(y), frame.OutputRow(y), frame.width, cuts, 4, writer.copy, writer.ahead);
}

}  // namespace

VekStatus TR_WipeClock::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame) || !frame.HasBuffers()) return VEK_E_FAIL;
  int32_t direction;
  if (!ReadChoice(*instance, kParams.data(), 1, direction)) return VEK_E_FAIL;
  const ClockSweep sweep = SweepFor(frame, direction == 1);
  if (sweep.wholeQuadrants == 4) return frame.CopyRows(frame.sourceB), VEK_S_OK;
  WriteRows(frame, [&](int y, const RunWriter& writer) { ClockRow(frame, sweep, y, writer); });
  return VEK_S_OK;
}

// ---- WipeCenter: a soft-rimmed circle of B grows from the centre, round on the display.

namespace {

// The ring profile: the weight count, then the weights rising from 0 at the rim toward 255.
struct RingProfile {
  uint32_t count;
  uint32_t* Weights() { return reinterpret_cast<uint32_t*>(this + 1); }
};

struct IrisState {
  TransitionHead head;
  RingProfile* ring;
};
static_assert(sizeof(IrisState) == TR_WipeCenter::kPrivateBytes);

// Widths beyond this are refused as if memory had run out.
constexpr uint64_t kWidestDisplay = 1u << 24;

// The width the frame has on the display, from the source geometry (0 meaning the frame's own).
bool DisplayWidth(const VekEffectInstance& instance, uint64_t& width) {
  const uint64_t w = instance.width, h = instance.height;
  const uint64_t dw = instance.sourceGeometry[0] ? instance.sourceGeometry[0] : w;
  const uint64_t dh = instance.sourceGeometry[1] ? instance.sourceGeometry[1] : h;
  width = w;
  if (dh != 0 && w * dh != h * dw) width = std::max<uint64_t>(h * dw / dh, 1);
  return width <= kWidestDisplay && h <= kWidestDisplay;
}

// R = trunc(sqrt((h/2)^2 + (w'/2)^2)).
int IrisRadius(uint64_t displayWidth, uint64_t height) {
  const double halfW = double(displayWidth / 2), halfH = double(height / 2);
  return int(std::sqrt(halfH * halfH + halfW * halfW));
}

// The smallest d with d * d >= value.
int64_t CeilSqrt(int64_t value) {
  int64_t d = int64_t(std::sqrt(double(value)));
  while (d * d < value) ++d;
  while (d > 0 && (d - 1) * (d - 1) >= value) --d;
  return d;
}

// The largest d with d * d <= value (value >= 0).
int64_t FloorSqrt(int64_t value) {
  int64_t d = int64_t(std::sqrt(double(value)));
  while (d * d > value) --d;
  while ((d + 1) * (d + 1) <= value) ++d;
  return d;
}

// The columns of one row of the circle: A | ring | B | ring | A, each clipped to the row, with the
// two rings' weights in column order.
struct IrisRow {
  int x0, x1, x2, x3;
  const uint8_t* leftWeights;
  const uint8_t* rightWeights;
};

// One circle: radius rho about (cx, cy). A pixel whose distance d (rounded up) is at most rho - N
// shows B; between that and the rim it blends through T[rho - d], 0 at the rim itself.
struct Iris {
  int cx, cy;
  int64_t rho;
  int ringWidth;
  const uint32_t* profile;

  // The columns of row y, and of row 2 cy - y, as far from the centre on the other side, in rows of
  // `width` pixels; `weights` holds at least 2 * `width` bytes. False when the circle misses them.
  bool Columns(int width, int y, uint8_t* weights, IrisRow& row) const {
    const int64_t dy = y - cy, dy2 = dy * dy;
    if (dy2 > rho * rho) return false;
    // Columns within `outer` of cx are inside the circle, within `inner` of it (if any) all B.
    const int64_t outer = FloorSqrt(rho * rho - dy2);
    const int64_t innerRadius = rho - ringWidth;
    const int64_t inner = innerRadius >= 0 && dy2 <= innerRadius * innerRadius
                              ? FloorSqrt(innerRadius * innerRadius - dy2)
                              : -1;
    // The ring's weights by column distance k from cx, k = inner + 1 on, the same on both sides:
    // `right` in the order of k, `left` in the reverse order. Sixteen at a time where the vector
    // kernel takes them; past those, the rounded-up distance d grows by 0 or 1 from one k to the next
    // (the distance itself grows by less than 1), so it is stepped rather than recomputed.
    const int64_t first = inner + 1, farthest = std::min<int64_t>(outer, std::max(cx, width - 1 - cx));
    uint8_t *right = weights, *left = weights + width;
    int64_t k = first;
    if (rho < kVectorRingRadius && Avx512KernelsUsable() && farthest >= first) {
      const int blocks = int((farthest - first + 1) / 16);
      RingWeightsAvx512(profile, ringWidth, int(rho), int(dy2), int(first), blocks, right, left + (farthest - first));
      k += 16 * blocks;
    }
    int64_t square = k * k + dy2;  // k^2 + dy^2, kept up to date as k grows
    int64_t d = CeilSqrt(square), dSquare = d * d;
    for (; k <= farthest; square += 2 * k + 1, ++k) {
      const int64_t step = dSquare < square;
      dSquare += step * (2 * d + 1);
      d += step;
      right[k - first] = left[farthest - k] = uint8_t(profile[std::min<int64_t>(rho - d, ringWidth - 1)]);
    }
    const auto clip = [width](int64_t x) { return int(std::clamp<int64_t>(x, 0, width)); };
    row.x0 = clip(cx - outer), row.x3 = clip(cx + outer + 1);
    row.x1 = inner >= 0 ? clip(cx - inner) : clip(cx), row.x2 = inner >= 0 ? clip(cx + inner + 1) : clip(cx);
    row.leftWeights = left + (farthest - cx + row.x0);
    row.rightWeights = right + (row.x2 - (cx + first));
    return true;
  }

  // `ahead`: from these rows to the next ones drawn, for the copies' prefetch.
  static void Draw(const uint8_t* a, const uint8_t* b, uint8_t* out, int width, const IrisRow& row,
                   std::ptrdiff_t ahead) {
    CopyPixels(a, 0, out, 0, row.x0, ahead);
    BlendRun(a, b, out, row.leftWeights, row.x0, row.x1, ahead);
    CopyPixels(b, row.x1, out, row.x1, row.x2 - row.x1, ahead);
    BlendRun(a, b, out, row.rightWeights, row.x2, row.x3, ahead);
    CopyPixels(a, row.x3, out, row.x3, width - row.x3, ahead);
  }

  // Columns [from, to), column from + i blended by weights[i].
  static void BlendRun(const uint8_t* a, const uint8_t* b, uint8_t* out, const uint8_t* weights, int from, int to,
                       std::ptrdiff_t ahead) {
    if (to > from) {
      const auto blend = Avx512KernelsUsable() ? WeightedRowAvx512 : WeightedRowSse2;
      blend(a + std::size_t(from) * 4, b + std::size_t(from) * 4, weights, out + std::size_t(from) * 4, to - from,
            ahead);
    }
  }
};

// The columns of a frame whose display width differs from its own: display column c shows frame
// column toDisplay[c], and frame column x shows display column toFrame[x], so source column
// throughDisplay[x]. A row of the circle is worked out on the display, and each frame column takes
// what its display column holds: A, B, or the two blended by that column's ring weight.
struct DisplayColumns {
  const int* toDisplay;
  const int* toFrame;
  const int* throughDisplay;
  int frameWidth;
  // Every frame column comes back to itself, as it does through a display wider than the frame:
  // the sources' rows are then read as they are.
  bool sameColumns;
  GatherPixelsFn gather;
  GatherBytesFn gatherWeights;
  SampledWeightedRowFn blend;

  // The first frame column that shows display column `c` or one after it.
  int FrameColumnOf(int c) const { return int(std::lower_bound(toFrame, toFrame + frameWidth, c) - toFrame); }

  // Columns [from, to) of a source through the display, into out from its column `from`. The
  // columns are near their own, so the same stretch of the row `ahead` of this one is asked for
  // now: the processor's own prefetching follows the drawing order of the rows badly.
  void Take(const uint8_t* source, int from, int to, uint8_t* out, std::ptrdiff_t ahead) const {
    if (sameColumns) return CopyPixels(source, from, out, from, to - from, ahead);
    gather(source, throughDisplay + from, out + std::size_t(from) * 4, to - from, ahead);
  }

  // A row outside the circle: A through the display. `ahead` as for Iris::Draw.
  void DrawA(const uint8_t* a, uint8_t* out, std::ptrdiff_t ahead) const { Take(a, 0, frameWidth, out, ahead); }

  // A row of the circle; `weights` takes one byte a frame column.
  void Draw(const uint8_t* a, const uint8_t* b, uint8_t* out, const IrisRow& row, uint8_t* weights,
            std::ptrdiff_t ahead) const {
    const auto take = [&](const uint8_t* source, int from, int to) { Take(source, from, to, out, ahead); };
    const auto ring = [&](const uint8_t* displayWeights, int displayFrom, int displayTo) {
      const int from = FrameColumnOf(displayFrom), to = FrameColumnOf(displayTo);
      gatherWeights(displayWeights, toFrame + from, displayFrom, weights, to - from);
      if (sameColumns) return Iris::BlendRun(a, b, out, weights, from, to, ahead);
      blend(a, b, throughDisplay + from, weights, out + std::size_t(from) * 4, to - from, ahead);
    };
    take(a, 0, FrameColumnOf(row.x0));
    ring(row.leftWeights, row.x0, row.x1);
    take(b, FrameColumnOf(row.x1), FrameColumnOf(row.x2));
    ring(row.rightWeights, row.x2, row.x3);
    take(a, FrameColumnOf(row.x3), frameWidth);
  }
};

// Nearest columns between the frame and its display-width copy, sampled at pixel centres.
void FillColumnMap(int* map, int count, int sourceCount) {
  for (int x = 0; x < count; ++x) {
    map[x] = int(std::min<int64_t>((int64_t(2 * x + 1) * sourceCount) / (int64_t(2) * count), sourceCount - 1));
  }
}

}  // namespace

VekStatus TR_WipeCenter::Init(VekEffectInstance* instance) noexcept {
  if (instance && instance->privateBlock) static_cast<IrisState*>(instance->privateBlock)->ring = nullptr;
  return InitWithDefaults(instance, kParams.data(), kParamCount);
}
VekStatus TR_WipeCenter::Destroy(VekEffectInstance* instance) noexcept { return ReleaseResources(instance); }
VekStatus TR_WipeCenter::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return TwoInputs::Store(index, sample, kPrivateBytes);
}

VekStatus TR_WipeCenter::Prepare(VekEffectInstance* instance) noexcept {
  if (!instance || !instance->privateBlock) return VEK_E_FAIL;
  ReleaseResources(instance);
  uint64_t displayWidth;
  if (!DisplayWidth(*instance, displayWidth)) return VEK_E_OUTOFMEMORY;
  const int radius = IrisRadius(displayWidth, instance->height);
  const uint32_t count = uint32_t(radius / 5 + 1);
  auto* ring = static_cast<RingProfile*>(std::malloc(sizeof(RingProfile) + count * sizeof(uint32_t)));
  if (!ring) return VEK_E_OUTOFMEMORY;
  ring->count = count;
  const double pi = 3.141592653589793;
  for (uint32_t i = 0; i < count; ++i) {
    ring->Weights()[i] = uint32_t((std::cos(i * pi / count + pi) + 1.0) * 0.5 * 255.0);
  }
  static_cast<IrisState*>(instance->privateBlock)->ring = ring;
  instance->prepared = 1;
  return VEK_S_OK;
}

VekStatus TR_WipeCenter::ReleaseResources(VekEffectInstance* instance) noexcept {
  if (!instance) return VEK_E_FAIL;
  if (auto* state = static_cast<IrisState*>(instance->privateBlock)) {
    std::free(state->ring);
    state->ring = nullptr;
  }
  return VEK_S_OK;
}

VekStatus TR_WipeCenter::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame) || !frame.HasBuffers()) return VEK_E_FAIL;
  RingProfile* ring = static_cast<IrisState*>(instance->privateBlock)->ring;
  if (!ring) return VEK_E_FAIL;
  uint64_t display;
  if (!DisplayWidth(*instance, display)) return VEK_E_OUTOFMEMORY;
  const int displayWidth = frame.width > 0 ? int(display) : 0;
  const int radius = IrisRadius(uint64_t(displayWidth), uint64_t(frame.height));
  const int64_t full = radius + radius / 5;
  const int64_t rho = int64_t(double(ClampedProgress(frame.progress)) * double(full));
  if (rho <= 0) return frame.CopyRows(frame.sourceA), VEK_S_OK;
  if (rho >= full) return frame.CopyRows(frame.sourceB), VEK_S_OK;
  const Iris iris{displayWidth / 2, frame.height / 2, rho, int(ring->count), ring->Weights()};

  const bool resampled = displayWidth != frame.width;
  // Scratch: the column maps to and from the display width (when it differs), and from the frame
  // through the display back to the frame; one row of ring weights for each side on the display,
  // and one on the frame. All of it, and the row that a large frame's circle rows are put together
  // in, is had before anything is written.
  const std::size_t mapInts = resampled ? std::size_t(displayWidth) + 2 * std::size_t(frame.width) : 0;
  const std::size_t weightBytes = 2 * std::size_t(displayWidth) + std::size_t(frame.width) + 1;
  auto* scratch = static_cast<int*>(std::malloc(mapInts * sizeof(int) + weightBytes));
  if (!scratch) return VEK_E_OUTOFMEMORY;
  uint8_t* weights = reinterpret_cast<uint8_t*>(scratch + mapInts);
  uint8_t* frameWeights = weights + 2 * std::size_t(displayWidth);
  int *toDisplay = scratch, *toFrame = scratch + displayWidth, *throughDisplay = toFrame + frame.width;
  bool sameColumns = true;
  if (resampled) {
    FillColumnMap(toDisplay, displayWidth, frame.width);
    FillColumnMap(toFrame, frame.width, displayWidth);
    for (int x = 0; x < frame.width; ++x) {
      throughDisplay[x] = toDisplay[toFrame[x]];
      sameColumns = sameColumns && throughDisplay[x] == x;
    }
  }
  const DisplayColumns columns{toDisplay,
                               toFrame,
                               throughDisplay,
                               frame.width,
                               sameColumns,
                               Avx512KernelsUsable() ? GatherPixelsAvx512
                               : Avx2KernelsUsable() ? GatherPixelsAvx2
                                                     : GatherPixels,
                               Avx512KernelsUsable() ? GatherBytesAvx512 : GatherBytes,
                               Avx512KernelsUsable() ? SampledWeightedRowAvx512
                               : Avx2KernelsUsable() ? SampledWeightedRowAvx2
                                                     : SampledWeightedRow};
  // A circle row is runs of A, of B and of the blended ring. In a frame larger than the caches keep
  // beside its sources, it is put together in a row that stays in the cache and streamed out whole,
  // so that no line of the output is read before it is written.
  const bool streamed = frame.rowBytes * std::size_t(frame.height) >= kStreamingFrameBytes;
  VEKImageUtility::CImageARGB composed;
  if (streamed && !composed.Allocate(frame.width, 1)) {
    std::free(scratch);
    return VEK_E_OUTOFMEMORY;
  }
  // Rows above the centre are drawn downwards, their mirrors upwards.
  const std::ptrdiff_t nextRow = std::ptrdiff_t(frame.rowBytes) * frame.rows.step;
  const auto draw = [&](int y, const IrisRow* row) {
    const std::ptrdiff_t ahead = y <= iris.cy ? nextRow : -nextRow;
    if (!row) {
      if (resampled) return columns.DrawA(frame.RowA(y), frame.OutputRow(y), ahead);
      return CopyPixels(frame.RowA(y), 0, frame.OutputRow(y), 0, frame.width, ahead);
    }
    uint8_t* out = streamed ? composed.Row(0) : frame.OutputRow(y);
    if (resampled) {
      columns.Draw(frame.RowA(y), frame.RowB(y), out, *row, frameWeights, ahead);
    } else {
      Iris::Draw(frame.RowA(y), frame.RowB(y), out, frame.width, *row, ahead);
    }
    if (streamed) StreamPixelsSse2(out, 0, frame.OutputRow(y), 0, frame.width, 0);
  };
  // A row and its mirror image about the centre row share their columns and ring weights; the
  // mirror lies in the same field.
  ForEachRow(frame.rows, [&](int y) {
    const int mirror = 2 * iris.cy - y;
    if (mirror >= 0 && mirror < y) return;  // drawn with its mirror
    IrisRow row;
    const bool inside = iris.Columns(displayWidth, y, weights, row);
    draw(y, inside ? &row : nullptr);
    if (mirror > y && mirror < frame.height) draw(mirror, inside ? &row : nullptr);
  });
  std::free(scratch);
  if (streamed) StreamFenceSse2();
  return VEK_S_OK;
}

// ---- Cross: A zooms in from 1x toward 4x while B zooms out from 4x, and the two cross-fade.

namespace {

// Sampling tables for one Cross frame, in one allocation freed before Process returns.
struct CrossTables {
  int* zoomA;     // M entries: distance from the centre in A for an output distance
  int* zoomB;
  int* columnsA;  // w entries: the A column of each output column
  int* columnsB;
};

// The sample of output position `at` about `centre`, through a zoom table.
int Sampled(const int* zoom, int centre, int at) {
  return at < centre ? centre - zoom[centre - at] : centre + zoom[at - centre];
}

}  // namespace

// Always the whole frame, whatever the field mode.
VekStatus TR_Cross::Process(VekEffectInstance* instance) noexcept {
  // Kept on purpose: a null instance is answered with success, unlike the rest of the family.
  if (!instance) return VEK_S_OK;
  TransitionFrame frame;
  if (!BeginTransition(instance, frame) || !frame.HasBuffers()) return VEK_E_FAIL;
  frame.rows = RowsFor(VEK_FIELD_FRAME, frame.height);
  const int weight = ProgressWeight(frame.progress, 127);
  if (weight == 0) return frame.CopyRows(frame.sourceA), VEK_S_OK;
  if (weight == 127) return frame.CopyRows(frame.sourceB), VEK_S_OK;

  const int w = frame.width, h = frame.height, cx = w / 2, cy = h / 2;
  const int tableSize = (h < w ? w / 2 : h / 2) + 1;
  auto* block = static_cast<int*>(std::malloc((2 * std::size_t(tableSize) + 2 * std::size_t(w)) * sizeof(int)));
  if (!block) return VEK_E_OUTOFMEMORY;
  CrossTables s{block, block + tableSize, block + 2 * tableSize, block + 2 * tableSize + w};
  // A's distances shrink by 128 / (3W + 127), B's by 128 / (508 - 3W); both stay below 1 for
  // 0 < W < 127, so every sample lies inside the frame.
  for (int i = 0; i < tableSize; ++i) {
    s.zoomA[i] = int(int64_t(i) * 128 / (3 * weight + 127));
    s.zoomB[i] = int(int64_t(i) * 128 / (508 - 3 * weight));
  }
  for (int x = 0; x < w; ++x) {
    s.columnsA[x] = Sampled(s.zoomA, cx, x);
    s.columnsB[x] = Sampled(s.zoomB, cx, x);
  }
  VisitRows(frame, [&](int y) {
    SampledLerpRowSse2(frame.RowA(Sampled(s.zoomA, cy, y)), s.columnsA, frame.RowB(Sampled(s.zoomB, cy, y)),
                       s.columnsB, frame.OutputRow(y), w, weight);
  });
  std::free(block);
  return VEK_S_OK;
}
