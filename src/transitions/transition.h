// What every transition's Process starts from: the head of its private block with the output
// stored, the frame geometry, the rows of the field mode and the progress.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/rows.h"
#include "module/instance_contract.h"

namespace vek {

struct TransitionFrame {
  const uint8_t* sourceA;
  const uint8_t* sourceB;
  uint8_t* output;
  int width;
  int height;
  std::size_t rowBytes;
  RowSet rows;
  float progress;
  int32_t workers;  // the instance's worker count: a whole frame's rows may be split over that many tasks

  bool HasBuffers() const { return sourceA && sourceB && output; }
  const uint8_t* RowA(int y) const { return sourceA + std::size_t(y) * rowBytes; }
  const uint8_t* RowB(int y) const { return sourceB + std::size_t(y) * rowBytes; }
  uint8_t* OutputRow(int y) const { return output + std::size_t(y) * rowBytes; }
  // The visited rows of one source unchanged: one block copy for the whole frame, one per row for a field.
  void CopyRows(const uint8_t* source) const;
};

// Rows a whole frame is handed out in, to the instance's workers.
constexpr int kChunkRows = 32;

// Calls row(y) for every visited row, and afterChunk() after each run of rows on the thread that
// wrote them. A field runs on one loop, as fields never use the worker pool; a whole frame is handed
// out in chunks of rows to the instance's workers, each taking the next chunk as it finishes one.
template <class RowFn, class AfterChunk>
void VisitRows(const TransitionFrame& frame, RowFn&& row, AfterChunk&& afterChunk) {
  if (frame.rows.step != 1) {
    ForEachRow(frame.rows, row);
    return afterChunk();
  }
  ParallelChunks(frame.workers, frame.height, kChunkRows, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) row(y);
    afterChunk();
  });
}
template <class RowFn>
void VisitRows(const TransitionFrame& frame, RowFn&& row) {
  VisitRows(frame, row, [] {});
}

// Stores the instance's output in the head, then reads the rest. False for a null instance or
// private block.
bool BeginTransition(VekEffectInstance* instance, TransitionFrame& frame) noexcept;

// The progress as a blend weight 0..scale; outside 0..1 (or not a number) it is held at the ends,
// so no weight can overflow a kernel's lanes.
int ProgressWeight(float progress, int scale) noexcept;

// The option index of enumeration row `row` of the effect's table, read from the value block only
// when the row's value is 4 bytes (0 otherwise). False when it lies outside the row's options.
bool ReadChoice(const VekEffectInstance& instance, const VekParamDescriptor* rows, uint32_t row,
                int32_t& index) noexcept;

// The progress held to 0..1 (not a number counts as 0), for effects that go on computing with it in
// single precision.
float ClampedProgress(float progress) noexcept;

}  // namespace vek
