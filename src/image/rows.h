// The rows an effect visits, and the split of a whole frame's rows over worker tasks.
#pragma once

#include <algorithm>
#include <atomic>

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

#include "vek_dsp/abi.h"

namespace vek {

// The rows of one FieldMode: the even field is rows 0, 2, 4 ... (the last row of an odd height
// belongs to it), the odd field rows 1, 3, 5 ...; any other mode is the whole frame.
struct RowSet {
  int first;
  int step;
  int count;
};

constexpr RowSet RowsFor(int32_t fieldMode, int height) {
  if (height <= 0) return {0, 1, 0};
  if (fieldMode == VEK_FIELD_EVEN) return {0, 2, (height + 1) / 2};
  if (fieldMode == VEK_FIELD_ODD) return {1, 2, height / 2};
  return {0, 1, height};
}

template <class RowFn> void ForEachRow(RowSet rows, RowFn&& row) {
  for (int k = 0, y = rows.first; k < rows.count; ++k, y += rows.step) row(y);
}

// Task k of n takes rows [trunc(k * h / n), trunc((k + 1) * h / n)).
inline int BandStart(int task, int tasks, int height) {
  // Kept on purpose: the bounds are computed in single precision, as hosts expect the bands.
  return int(float(task) * float(height) / float(tasks));
}

// Runs band(y0, y1) over disjoint bands that cover [0, height): one loop below two workers,
// otherwise one oneTBB task per worker.
template <class Band> void ParallelRows(int32_t workers, int height, Band&& band) {
  if (height <= 0) return;
  if (workers < 2) return band(0, height);
  tbb::parallel_for(
      tbb::blocked_range<int>(0, workers),
      [&](const tbb::blocked_range<int>& tasks) {
        for (int k = tasks.begin(); k != tasks.end(); ++k) {
          const int y0 = BandStart(k, workers, height), y1 = BandStart(k + 1, workers, height);
          if (y0 < y1) band(y0, y1);
        }
      },
      tbb::auto_partitioner());
}

// How many tasks ParallelItemsOnTasks runs for `count` items.
inline int TasksFor(int32_t workers, int count) {
  return std::max(1, std::min<int>(workers, count));
}

// Runs item(task, i) for every i in [0, count): one loop below two workers, otherwise up to
// `workers` oneTBB tasks that each take the next item as they finish one, so that a worker slowed
// by another program leaves its share to the others. `task`, below TasksFor(workers, count), names
// the task running the item, so each can keep its own scratch.
template <class Item>
void ParallelItemsOnTasks(int32_t workers, int count, Item&& item) {
  if (count <= 0) return;
  const int tasks = TasksFor(workers, count);
  if (tasks == 1) {
    for (int i = 0; i < count; ++i) item(0, i);
    return;
  }
  std::atomic<int> next{0};
  tbb::parallel_for(0, tasks, [&](int task) {
    for (int i; (i = next.fetch_add(1, std::memory_order_relaxed)) < count;) item(task, i);
  });
}

// ParallelItemsOnTasks for items that need no scratch of their own.
template <class Item>
void ParallelItems(int32_t workers, int count, Item&& item) {
  ParallelItemsOnTasks(workers, count, [&](int, int i) { item(i); });
}

// Runs chunk(begin, end) over [0, count) cut into pieces of `size`, handed out as ParallelItems
// hands out its items.
template <class Chunk>
void ParallelChunks(int32_t workers, int count, int size, Chunk&& chunk) {
  ParallelItems(workers, (count + size - 1) / size, [&](int i) { chunk(i * size, std::min(count, i * size + size)); });
}

}  // namespace vek
