// Rows of the push transitions, where whole pictures move: every output row is two pieces, each a
// shifted run of one source (or black). Shared by push.cpp and the strip transitions that push.
#pragma once

#include <cstddef>
#include <cstdint>

#include "transitions/kernels.h"
#include "transitions/transition.h"

namespace vek {

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
                     const uint8_t black[4]) {
  uint8_t* out = frame.OutputRow(y);
  if (!piece.source) return FillPixels(out, from, to - from, black);
  CopyPixels(piece.source + std::size_t(y) * frame.rowBytes, from + piece.shift, out, from, to - from);
}

inline void PushRow(const TransitionFrame& frame, const PushLayout& layout, const uint8_t black[4], int y) {
  if (layout.vertical) {
    const uint8_t* row = PushedRow(frame, layout, y);
    if (!row) return FillPixels(frame.OutputRow(y), 0, frame.width, black);
    return CopyPixels(row, 0, frame.OutputRow(y), 0, frame.width);
  }
  PushPart(frame, layout.first, y, 0, layout.split, black);
  PushPart(frame, layout.second, y, layout.split, frame.width, black);
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
