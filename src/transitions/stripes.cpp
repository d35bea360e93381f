// DSP_TR_Shutter, DSP_TR_Splices, DSP_TR_Slices: B comes in through slats and strips.
#include <algorithm>

#include "transitions/row_runs.h"
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_Shutter::kParams) TR_Shutter::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_Splices::kParams) TR_Splices::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;Horizontal;Vertical">("IDS_Tr_Param_Type_Desc"));

constinit decltype(TR_Slices::kParams) TR_Slices::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;Horizontal;Vertical">("IDS_Tr_Param_Type_Desc"));

namespace {

// `bands` strips split `extent` pixels at trunc(extent * i / bands): strip i starts there, and strip
// StripOf(p) is the one that holds pixel p. Strips are empty where the extent is smaller than `bands`.
int StripStart(int extent, int bands, int i) { return int(int64_t(extent) * i / bands); }
int StripOf(int extent, int bands, int at) { return int((int64_t(at + 1) * bands - 1) / extent); }

constexpr int kSlats = 16;
constexpr int kStrips = 50;
constexpr uint8_t kNoBlack[4] = {0, 0, 0, 0};

// One row of the shutter. `k` counts A's rows in each slat for Up, B's rows or columns otherwise;
// a slat smaller than k is all of that picture.
void ShutterRow(const TransitionFrame& frame, int direction, int k, int y, const RunWriter& writer) {
  uint8_t* out = frame.OutputRow(y);
  if (direction == kPushUp || direction == kPushDown) {
    const int inSlat = y - StripStart(frame.height, kSlats, StripOf(frame.height, kSlats, y));
    const bool showsA = direction == kPushUp ? inSlat < k : inSlat >= k;
    return CopyPixels(showsA ? frame.RowA(y) : frame.RowB(y), 0, out, 0, frame.width);
  }
  // Left: each slat's last k columns are B; Right: its first k. Runs alternate A, B, A ...
  int cuts[2 * kSlats];
  for (int i = 0; i < kSlats; ++i) {
    const int x0 = StripStart(frame.width, kSlats, i), x1 = StripStart(frame.width, kSlats, i + 1);
    const int shown = std::min(k, x1 - x0);
    cuts[2 * i] = direction == kPushLeft ? x1 - shown : x0;
    cuts[2 * i + 1] = direction == kPushLeft ? x1 : x0 + shown;
  }
  AlternateRuns(frame.RowA(y), frame.RowB(y), out, frame.width, cuts, 2 * kSlats, writer.copy, writer.ahead);
}

}  // namespace

// ---- Shutter: B wipes into 16 slats at once, like a venetian blind.

VekStatus TR_Shutter::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame) || !frame.HasBuffers()) return VEK_E_FAIL;
  int32_t direction;
  if (!ReadChoice(*instance, kParams.data(), 1, direction)) return VEK_E_FAIL;
  const double p = ClampedProgress(frame.progress);
  if (p <= 0.0) return frame.CopyRows(frame.sourceA), VEK_S_OK;
  if (p >= 1.0) return frame.CopyRows(frame.sourceB), VEK_S_OK;
  // Kept on purpose: Up counts A's rows from 1 - p, the others B's from p, so the two can differ by
  // one row at some progress values.
  const int k = direction == kPushUp     ? int(frame.height * (1.0 - p) * 0.0625)
                : direction == kPushDown ? int(frame.height * p * 0.0625)
                                         : int(frame.width * p * 0.0625);
  WriteRows(frame, [&](int y, const RunWriter& writer) { ShutterRow(frame, direction, k, y, writer); });
  return VEK_S_OK;
}

// ---- Splices: the shove in 50 strips, in alternating directions, like the teeth of a zip.

VekStatus TR_Splices::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame) || !frame.HasBuffers()) return VEK_E_FAIL;
  int32_t type;
  if (!ReadChoice(*instance, kParams.data(), 1, type)) return VEK_E_FAIL;
  const bool vertical = type == 1;
  const int travel = vertical ? frame.height : frame.width;
  const int n = int(double(ClampedProgress(frame.progress)) * travel);
  if (n <= 0) return frame.CopyRows(frame.sourceA), VEK_S_OK;
  if (n >= travel) return frame.CopyRows(frame.sourceB), VEK_S_OK;

  // A strip's direction follows its number, even strips first, also where strips are empty.
  if (!vertical) {  // strips of rows: even ones shove left, odd ones right
    const PushLayout even = ShoveLayout(frame, kPushLeft, n), odd = ShoveLayout(frame, kPushRight, n);
    WriteRows(frame, [&](int y, const RunWriter& writer) {
      PushRow(frame, StripOf(frame.height, kStrips, y) % 2 == 0 ? even : odd, kNoBlack, y, writer);
    });
    return VEK_S_OK;
  }
  // Strips of columns: even ones shove up, odd ones down, so each row takes one source row for the
  // even strips and one for the odd strips.
  const PushLayout even = ShoveLayout(frame, kPushUp, n), odd = ShoveLayout(frame, kPushDown, n);
  int cuts[kStrips - 1];
  for (int i = 1; i < kStrips; ++i) cuts[i - 1] = StripStart(frame.width, kStrips, i);
  WriteRows(frame, [&](int y, const RunWriter& writer) {
    AlternateRuns(PushedRow(frame, even, y), PushedRow(frame, odd, y), frame.OutputRow(y), frame.width, cuts,
                  kStrips - 1, writer.copy, writer.ahead);
  });
  return VEK_S_OK;
}
