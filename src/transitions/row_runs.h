// Rows assembled from runs of the two sources, shared by the wipes, pushes, strips and the block
// dissolve: how a frame's runs are written, and the layouts of the pushes, where every output row is
// two shifted pieces.
#pragma once

#include <cstddef>
#include <cstdint>

#include "transitions/kernels.h"
#include "transitions/transition.h"

namespace vek {

// Frames of this size and more are larger than the caches keep beside their two sources, so rows
// made of runs of both sources (or of a source and black) are written with streaming stores there;
// every store of such a row streams, as a cached store into a line being streamed flushes it half
// written. Whole rows of one source are plain copies at every size.
constexpr std::size_t kStreamingFrameBytes = std::size_t(4) << 20;

struct RunWriter {
  CopyPixelsFn copy;
  FillPixelsFn fill;
  std::ptrdiff_t ahead;  // from a row to the next visited one, for the copies' prefetch

  static RunWriter For(const TransitionFrame& frame) {
    const std::ptrdiff_t ahead = std::ptrdiff_t(frame.rowBytes) * frame.rows.step;
    if (frame.rowBytes * std::size_t(frame.height) >= kStreamingFrameBytes) {
      return {StreamPixelsSse2, StreamFillSse2, ahead};
    }
    return {CopyPixels, FillPixels, ahead};
  }
  // After the last run: the output is complete for whoever reads it next.
  void Finish() const {
    if (copy == StreamPixelsSse2) StreamFenceSse2();
  }
};

// Writes the visited rows with row(y, writer), split as VisitRows splits them, each chunk fencing
// its own streamed stores before the frame counts as done.
template <class RowFn>
void WriteRows(const TransitionFrame& frame, RowFn&& row) {
  const RunWriter writer = RunWriter::For(frame);
  VisitRows(
      frame, [&](int y) { row(y, writer); }, [&] { writer.Finish(); });
}

enum PushDirection { kPushUp, kPushDown, kPushLeft, kPushRight };

// One piece of a pushed picture: output position p shows the source at p + shift (rows for a vertical
// push, columns for a horizontal one). A null source is the black pixel.
struct PushPiece {
  const uint8_t* source;
  int shift;
};

// Output rows (vertical) or columns (horizontal) before `split` show `first`, the rest `second`.
struct PushLayout {
  bool vertical;
  int split;
  PushPiece first;
  PushPiece second;
};

// The source row a vertical layout puts at output row y, or null for black.
inline const uint8_t* PushedRow(const TransitionFrame& frame, const PushLayout& layout, int y) {
  const PushPiece& piece = y < layout.split ? layout.first : layout.second;
  return piece.source ? piece.source + std::size_t(y + piece.shift) * frame.rowBytes : nullptr;
}

inline void PushPart(const TransitionFrame& frame, const PushPiece& piece, int y, int from, int to,
                     const uint8_t black[4], const RunWriter& writer) {
  uint8_t* out = frame.OutputRow(y);
  if (!piece.source) return writer.fill(out, from, to - from, black);
  writer.copy(piece.source + std::size_t(y) * frame.rowBytes, from + piece.shift, out, from, to - from, writer.ahead);
}

// `writer` writes the two pieces of a horizontal layout; vertical ones take whole rows.
inline void PushRow(const TransitionFrame& frame, const PushLayout& layout, const uint8_t black[4], int y,
                    const RunWriter& writer) {
  if (layout.vertical) {
    const uint8_t* row = PushedRow(frame, layout, y);
    if (!row) return FillPixels(frame.OutputRow(y), 0, frame.width, black);
    return CopyPixels(row, 0, frame.OutputRow(y), 0, frame.width);
  }
  PushPart(frame, layout.first, y, 0, layout.split, black, writer);
  PushPart(frame, layout.second, y, layout.split, frame.width, black, writer);
}

// B pushes A out by n rows or columns (0 <= n <= the extent it travels).
inline PushLayout ShoveLayout(const TransitionFrame& frame, int direction, int n) {
  const int h = frame.height, w = frame.width;
  const uint8_t *a = frame.sourceA, *b = frame.sourceB;
  switch (direction) {
    case kPushUp: return {true, h - n, {a, n}, {b, n - h}};
    case kPushDown: return {true, n, {b, h - n}, {a, -n}};
    case kPushLeft: return {false, w - n, {a, n}, {b, n - w}};
    default: return {false, n, {b, w - n}, {a, -n}};
  }
}

}  // namespace vek
