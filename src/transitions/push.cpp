// DSP_TR_Slide, DSP_TR_Shove, DSP_TR_Swap, DSP_TR_Door: whole pictures move instead of a boundary.
#include <algorithm>
#include <cstdlib>

#include "transitions/row_runs.h"
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_Slide::kParams) TR_Slide::kParams = Rows(
    ProgressRow<0.7f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_Shove::kParams) TR_Shove::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_Swap::kParams) TR_Swap::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_Door::kParams) TR_Door::kParams = Rows(
    ProgressRow<0.5f>());

namespace {

int Travel(const TransitionFrame& frame, int direction) {
  return direction == kPushUp || direction == kPushDown ? frame.height : frame.width;
}

// Begins a directional push: the frame, with its buffers, and a direction 0 to 3.
VekStatus BeginPush(VekEffectInstance* instance, const VekParamDescriptor* rows, TransitionFrame& frame,
                    int32_t& direction) {
  if (!BeginTransition(instance, frame) || !frame.HasBuffers()) return VEK_E_FAIL;
  return ReadChoice(*instance, rows, 1, direction) ? VEK_S_OK : VEK_E_FAIL;
}

// Renders the visited rows of a layout; all A or all B as one block copy.
void RenderPush(const TransitionFrame& frame, const PushLayout& layout, int n, int travel, const uint8_t black[4]) {
  if (n <= 0) return frame.CopyRows(frame.sourceA);
  if (n >= travel) return frame.CopyRows(frame.sourceB);
  WriteRows(frame, [&](int y, const RunWriter& writer) { PushRow(frame, layout, black, y, writer); });
}

constexpr uint8_t kNoBlack[4] = {0, 0, 0, 0};

}  // namespace

// ---- Slide: B moves in over a still A, eased by the cube of progress.

VekStatus TR_Slide::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  int32_t direction;
  if (const VekStatus status = BeginPush(instance, kParams.data(), frame, direction)) return status;
  const int travel = Travel(frame, direction);
  // Kept on purpose: eased by the cube, so B has come 1/8 of the way at p = 0.5.
  const double p = ClampedProgress(frame.progress);
  const int n = int(double(travel) * (p * p * p));
  const int h = frame.height, w = frame.width;
  const uint8_t *a = frame.sourceA, *b = frame.sourceB;
  PushLayout layout;
  switch (direction) {
    case kPushUp: layout = {true, h - n, {a, 0}, {b, n - h}}; break;
    case kPushDown: layout = {true, n, {b, h - n}, {a, 0}}; break;
    case kPushLeft: layout = {false, w - n, {a, 0}, {b, n - w}}; break;
    default: layout = {false, n, {b, w - n}, {a, 0}};
  }
  RenderPush(frame, layout, n, travel, kNoBlack);
  return VEK_S_OK;
}

// ---- Shove: B pushes A out, linearly.

VekStatus TR_Shove::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  int32_t direction;
  if (const VekStatus status = BeginPush(instance, kParams.data(), frame, direction)) return status;
  const int travel = Travel(frame, direction);
  const int n = int(double(travel) * ClampedProgress(frame.progress));
  RenderPush(frame, ShoveLayout(frame, direction, n), n, travel, kNoBlack);
  return VEK_S_OK;
}

// ---- Swap: A leaves through an edge, black between, and B comes back through the same edge.

VekStatus TR_Swap::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  int32_t direction;
  if (const VekStatus status = BeginPush(instance, kParams.data(), frame, direction)) return status;
  // Black in the frame's own layout: luma/chroma black is V 128, U 128, Y 16, alpha 0.
  static constexpr uint8_t kBlackAyuv[4] = {128, 128, 16, 0}, kBlackArgb[4] = {0, 0, 0, 0};
  const uint8_t* black = instance->colourLayout == VEK_LAYOUT_LUMA_CHROMA ? kBlackAyuv : kBlackArgb;

  const float p = ClampedProgress(frame.progress);
  const bool leaving = p <= 0.5f;
  const uint8_t* moving = leaving ? frame.sourceA : frame.sourceB;
  const int h = frame.height, w = frame.width, travel = Travel(frame, direction);
  // Kept on purpose: Up counts the visible rows in single precision; the others count the hidden
  // part, B's in double precision.
  int k = direction == kPushUp ? int(2.0f * (leaving ? 0.5f - p : p - 0.5f) * float(h))
          : leaving            ? int(2.0f * p * float(travel))
                               : int(2.0 * (1.0 - double(p)) * double(travel));
  k = std::clamp(k, 0, travel);
  PushLayout layout;
  switch (direction) {
    case kPushUp: layout = {true, k, {moving, h - k}, {nullptr, 0}}; break;
    case kPushDown: layout = {true, k, {nullptr, 0}, {moving, -k}}; break;
    case kPushLeft: layout = {false, w - k, {moving, k}, {nullptr, 0}}; break;
    default: layout = {false, k, {nullptr, 0}, {moving, -k}};
  }
  WriteRows(frame, [&](int y, const RunWriter& writer) { PushRow(frame, layout, black, y, writer); });
  return VEK_S_OK;
}

// ---- Door: A splits into two doors that swing open in perspective onto B.

namespace {

// The doors' columns, counted from the frame's edges. Column c of the left door shows A's column
// left[c]; output column w - d + i of the right door shows A's column right[i]. Columns with the
// same inset at top and bottom form a group: they walk down A's rows together.
struct DoorColumns {
  int* left;
  int* right;
  int* groupStart;  // first column of each group, and the door width after the last
  int* groupTop;    // rows the group's columns give up at top and at bottom
  int groups;
};

// How many groups reach row y: the first ones, as tops grow from the hinge to the opening. So the
// doors cover a run of columns from each edge, longer toward the middle rows, and the wedges beside
// the opening, top and bottom alike, show B.
int DrawnGroups(const DoorColumns& columns, int h, int y) {
  const int fromEdge = std::min(y, h - 1 - y);
  int drawn = 0;
  while (drawn < columns.groups && columns.groupTop[drawn] <= fromEdge) ++drawn;
  return drawn;
}

void CopyWedges(const TransitionFrame& frame, int door, int opening, int covered, int y) {
  CopyPixels(frame.RowB(y), covered, frame.OutputRow(y), covered, door + opening - covered);
  CopyPixels(frame.RowB(y), frame.width - door, frame.OutputRow(y), frame.width - door, door - covered);
}

// Narrow groups: each is drawn down a chunk of rows, so that the lines of A and of the output that
// one group leaves are still cached for the next. A column of height H takes all h rows of A:
// before each pixel, while the error is at least H, it steps one source row on; then adds h. So at
// i rows below its top it shows A's row i * h / H. The walk goes down rows far apart in memory,
// which no hardware prefetcher follows, so the lines a few rows ahead are asked for here.
void DrawDoorsDownGroups(const TransitionFrame& frame, const DoorColumns& columns, int door, int opening, int y0,
                         int y1) {
  const int w = frame.width, h = frame.height;
  constexpr int kAhead = 8;
  for (int g = 0; g < columns.groups; ++g) {
    const int top = columns.groupTop[g], height = h - 2 * top;
    const int first = std::max(y0, top), end = std::min(y1, h - top);
    if (first >= end) continue;
    const int c0 = columns.groupStart[g], c1 = columns.groupStart[g + 1];
    const std::size_t leftAt = std::size_t(columns.left[c0]) * 4, rightAt = std::size_t(columns.right[door - c1]) * 4;
    const int64_t walked = int64_t(first - top) * h;
    int row = int(walked / height), error = int(walked - int64_t(row) * height);
    for (int y = first; y < end; ++y) {
      while (error >= height) error -= height, ++row;
      error += h;
      const uint8_t* rowA = frame.RowA(row);
      uint8_t* out = frame.OutputRow(y);
      if (row + kAhead < h) {
        __builtin_prefetch(frame.RowA(row + kAhead) + leftAt);
        __builtin_prefetch(frame.RowA(row + kAhead) + rightAt);
      }
      if (y + kAhead < end) {
        __builtin_prefetch(frame.OutputRow(y + kAhead) + std::size_t(c0) * 4, 1);
        __builtin_prefetch(frame.OutputRow(y + kAhead) + std::size_t(w - c1) * 4, 1);
      }
      GatherPixels(rowA, columns.left + c0, out + std::size_t(c0) * 4, c1 - c0, 0);
      GatherPixels(rowA, columns.right + (door - c1), out + std::size_t(w - c1) * 4, c1 - c0, 0);
    }
  }
  for (int y = y0; y < y1; ++y) CopyWedges(frame, door, opening, columns.groupStart[DrawnGroups(columns, h, y)], y);
}

// Wide groups: row by row, left to right, so that the output is written in order. Group g's row y
// takes A's row (y - top) * h / (h - 2 * top), where the walk down the group arrives. Each output
// row reads a few lines from each of many rows of A, which no hardware prefetcher foresees, so the
// lines that a row a few below will read are asked for first.
void DrawDoorsAlongRows(const TransitionFrame& frame, const DoorColumns& columns, int door, int opening, int y0,
                        int y1) {
  const int w = frame.width, h = frame.height;
  constexpr int kAhead = 4;
  const auto sourceRow = [&](int y, int g) {
    const int top = columns.groupTop[g];
    return frame.RowA(int(int64_t(y - top) * h / (h - 2 * top)));
  };
  for (int y = y0; y < y1; ++y) {
    const int ahead = std::min(y + kAhead, h - 1);
    for (int g = 0, drawnAhead = DrawnGroups(columns, h, ahead); g < drawnAhead; ++g) {
      const uint8_t* rowA = sourceRow(ahead, g);
      const int c0 = columns.groupStart[g], c1 = columns.groupStart[g + 1];
      for (int column :
           {columns.left[c0], columns.left[c1 - 1], columns.right[door - c1], columns.right[door - c0 - 1]}) {
        __builtin_prefetch(rowA + std::size_t(column) * 4);
      }
    }
    const int drawn = DrawnGroups(columns, h, y);
    uint8_t* out = frame.OutputRow(y);
    for (int g = 0; g < drawn; ++g) {
      const int c0 = columns.groupStart[g], c1 = columns.groupStart[g + 1];
      GatherPixels(sourceRow(y, g), columns.left + c0, out + std::size_t(c0) * 4, c1 - c0, 0);
    }
    CopyWedges(frame, door, opening, columns.groupStart[drawn], y);
    for (int g = drawn - 1; g >= 0; --g) {
      const int c0 = columns.groupStart[g], c1 = columns.groupStart[g + 1];
      GatherPixels(sourceRow(y, g), columns.right + (door - c1), out + std::size_t(w - c1) * 4, c1 - c0, 0);
    }
  }
}

}  // namespace

// Always the whole frame, whatever the field mode.
VekStatus TR_Door::Process(VekEffectInstance* instance) noexcept {
  // Kept on purpose: a null instance, and missing buffers, are answered with success; nothing is drawn.
  TransitionFrame frame;
  if (!BeginTransition(instance, frame) || !frame.HasBuffers()) return VEK_S_OK;
  const int w = frame.width, h = frame.height;
  const double p = ClampedProgress(frame.progress);
  // Kept on purpose: the opening is rounded down to even, so an odd width leaves one column
  // unwritten (the middle one at p = 0, the last one at p = 1).
  const int opening = int(w * p) & ~1, door = (w - opening) / 2;
  const int squeeze = (int(h * p) & ~1) / 2, inset = squeeze / 2;  // inset: what a far edge gives up

  auto* block = static_cast<int*>(std::malloc((std::size_t(door) * 4 + 1) * sizeof(int)));
  if (!block) return VEK_E_OUTOFMEMORY;
  DoorColumns columns{block, block + door, block + 2 * door, block + 3 * door + 1, 0};
  // Each door squeezes half of A into d columns: before each column, while the error is at least
  // d, step one source column on; then add w / 2.
  for (int c = 0, s = 0, error = 0; c < door; ++c) {
    while (error >= door) error -= door, ++s;
    error += w / 2;
    columns.left[c] = s;
    columns.right[door - 1 - c] = w - 1 - s;
    const int top = int(int64_t(c) * inset / door);  // column c is c * q / d rows shorter at each end
    if (c == 0 || top != columns.groupTop[columns.groups - 1]) {
      columns.groupStart[columns.groups] = c;
      columns.groupTop[columns.groups++] = top;
    }
  }
  columns.groupStart[columns.groups] = door;

  // Row by row pays once the groups are 8 pixels wide or more on average; narrower ones read too
  // many rows of A for each output row.
  constexpr int kRowWiseGroupWidth = 8;
  const bool alongRows = door >= kRowWiseGroupWidth * columns.groups;
  ParallelChunks(frame.workers, h, kChunkRows, [&](int y0, int y1) {
    if (alongRows) {
      DrawDoorsAlongRows(frame, columns, door, opening, y0, y1);
    } else {
      DrawDoorsDownGroups(frame, columns, door, opening, y0, y1);
    }
  });
  std::free(block);
  return VEK_S_OK;
}
