// DSP_TR_DissolveType, DSP_TR_Collapse: A replaced by B block by block, in a seeded random order or
// by blocks falling away on seeded random paths.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "transitions/kernels.h"
#include "transitions/row_runs.h"
#include "transitions/transition.h"
#include "transitions/transitions.h"

using namespace vek;

namespace {

// Both effects draw their tables from the C library's generator, one state for the whole process:
// they seed it with the instance's seed right before the draws and draw block by block in row-major
// order, so one seed gives one pattern. Drawing in another order, or letting anything draw in
// between, would give another pattern for the same seed.

// The side of a square block: width * factor / 320 in integers, at least one pixel.
int32_t BlockSide(int width, int32_t factor) { return int32_t(std::max<int64_t>(1, int64_t(width) * factor / 320)); }

int32_t BlocksAcross(int length, int32_t side) { return int32_t((int64_t(length) + side - 1) / side); }

// The second parameter, or -1 when there is no value block.
int32_t Choice(const VekEffectInstance& instance, const VekParamDescriptor* rows) {
  return instance.paramValues ? LoadValue<int32_t>(instance.paramValues, ParamOffset(rows, 1)) : -1;
}

void CopyFrame(const TransitionFrame& frame, const uint8_t* source) {
  std::memcpy(frame.output, source, frame.rowBytes * std::size_t(frame.height));
}

// ---- DSP_TR_DissolveType

constexpr int32_t kGrainFactors[] = {4, 8, 12};  // Fine, Mid, Coarse

struct DissolveState {
  TransitionHead head;
  int32_t* ranks;     // one rank 0..99 a block, row-major, then room for one row of runs; built by Process
  int32_t across;     // blocks in a row
  int32_t down;       // rows of blocks
  int32_t blockSize;  // of the current call
  int32_t builtSize;  // the block size the ranks were drawn for; 0 = none
};
static_assert(sizeof(DissolveState) == TR_DissolveType::kPrivateBytes);

DissolveState* DissolveOf(VekEffectInstance* instance) { return static_cast<DissolveState*>(instance->privateBlock); }

void ReleaseRanks(DissolveState& state) {
  std::free(state.ranks);
  state.ranks = nullptr;
  state.builtSize = 0;
}

VekStatus DrawRanks(DissolveState& state, int width, int height, uint32_t seed) {
  ReleaseRanks(state);
  state.across = BlocksAcross(width, state.blockSize);
  state.down = BlocksAcross(height, state.blockSize);
  const std::size_t blocks = std::size_t(state.across) * std::size_t(state.down);
  state.ranks = static_cast<int32_t*>(std::malloc((blocks + std::size_t(state.across)) * sizeof(int32_t)));
  if (!state.ranks) return VEK_E_FAIL;
  std::srand(seed);
  for (std::size_t i = 0; i < blocks; ++i) state.ranks[i] = std::rand() % 100;
  state.builtSize = state.blockSize;
  return VEK_S_OK;
}

// ---- DSP_TR_Collapse

constexpr int32_t kSizeFactors[] = {4, 8, 16, 20};  // S, M, L, XL

struct CollapseState {
  TransitionHead head;
  uint32_t* fall;     // per block: the total drop in rows, h .. 3h - 1
  uint32_t* drift;    // per block: the horizontal target offset by the width, w/2 .. 3w/2 - 1
  int32_t blockSize;
  int32_t builtType;  // the size type the tables were drawn for; -1 = none
  // The frame the tables were drawn for: another frame size draws them again, as a new size type does.
  int32_t builtWidth;
  int32_t builtHeight;
};
static_assert(sizeof(CollapseState) == TR_Collapse::kPrivateBytes);

CollapseState* CollapseOf(VekEffectInstance* instance) { return static_cast<CollapseState*>(instance->privateBlock); }

void ReleaseTables(CollapseState& state) {
  std::free(state.fall);
  std::free(state.drift);
  state.fall = nullptr;
  state.drift = nullptr;
}

// Prepare's work, which Process repeats when the size type or the frame changes.
VekStatus DrawPaths(VekEffectInstance& instance, CollapseState& state, const VekParamDescriptor* rows) {
  instance.prepared = 1;
  ReleaseTables(state);
  state.blockSize = 0;
  state.builtType = -1;
  const int32_t type = Choice(instance, rows);
  if (type < 0 || type > 3) return VEK_E_FAIL;
  const int width = int(instance.width), height = int(instance.height);
  if (width <= 0 || height <= 0) return VEK_S_OK;  // drawn by the first Process that has a frame
  state.blockSize = BlockSide(width, kSizeFactors[type]);
  const std::size_t blocks =
      std::size_t(BlocksAcross(width, state.blockSize)) * std::size_t(BlocksAcross(height, state.blockSize));
  state.fall = static_cast<uint32_t*>(std::malloc(blocks * sizeof(uint32_t)));
  state.drift = static_cast<uint32_t*>(std::malloc(blocks * sizeof(uint32_t)));
  if (!state.fall || !state.drift) {
    ReleaseTables(state);
    return VEK_E_FAIL;
  }
  std::srand(instance.randomSeed);
  for (std::size_t i = 0; i < blocks; ++i) {
    state.drift[i] = uint32_t(std::rand() % width + width / 2);
    state.fall[i] = uint32_t(std::rand() % (2 * int64_t(height)) + height);
  }
  state.builtType = type;
  state.builtWidth = width;
  state.builtHeight = height;
  return VEK_S_OK;
}

// The rows of a fallen block that land in a band of output rows: `rows` rows of `bytes` bytes from
// `source` to `target`, each a frame row apart.
struct BlockRows {
  const uint8_t* source;
  uint8_t* target;
  std::size_t bytes;
  int64_t rows;
};

// The block of A with its top-left corner at (x, y), after a drop of trunc(fall * e) rows and a
// sideways move of trunc((drift - w) * e) / 2 columns, clipped to the frame and to output rows
// [first, end). False when none of it lands there.
bool PlaceFallenBlock(const TransitionFrame& frame, int64_t side, int64_t x, int64_t y, uint32_t fall,
                      uint32_t drift, float e, int64_t first, int64_t end, BlockRows& placed) {
  const int64_t w = frame.width, h = frame.height;
  const int64_t toY = y + int64_t(float(fall) * e);  // never above y: drops are not negative
  int64_t toX = x + int64_t(float(int64_t(drift) - w) * e) / 2;
  if (toY >= h || toY < -side || toX >= w || toX < -side) return false;
  int64_t rows = side;
  if (toY + side >= h) rows = h - toY;
  if (y + rows >= h) rows = h - y;
  int64_t columns = side;
  if (toX < 0) {
    // Kept on purpose: a block pushed past the left edge loses its right-hand part, not its left;
    // the copy still starts at source column x.
    columns = side + toX;
    toX = 0;
  }
  if (toX + side >= w) columns = w - toX;
  if (x + columns >= w) columns = w - x;
  const int64_t firstRow = std::max<int64_t>(0, first - toY), endRow = std::min(rows, end - toY);
  if (columns <= 0 || firstRow >= endRow) return false;
  placed = {frame.sourceA + std::size_t(y + firstRow) * frame.rowBytes + std::size_t(x) * 4,
            frame.output + std::size_t(toY + firstRow) * frame.rowBytes + std::size_t(toX) * 4,
            std::size_t(columns) * 4, endRow - firstRow};
  return true;
}

// A block is read down its rows, which the processor's own prefetching follows badly: its rows are
// asked for well ahead of their copy (a memory fetch outlasts a dozen row copies), the first ones
// while the block before is copied.
constexpr int64_t kRowsAhead = 16;

void PrefetchRows(const BlockRows& block, int64_t from, int64_t end, std::size_t rowBytes) {
  for (int64_t r = from; r < std::min(end, block.rows); ++r) {
    for (std::size_t line = 0; line < block.bytes; line += 64) __builtin_prefetch(block.source + r * rowBytes + line);
  }
}

void CopyBlockRows(const BlockRows& block, std::size_t rowBytes) {
  for (int64_t r = 0; r < block.rows; ++r) {
    PrefetchRows(block, r + kRowsAhead, r + kRowsAhead + 1, rowBytes);
    std::memcpy(block.target + r * rowBytes, block.source + r * rowBytes, block.bytes);
  }
}

}  // namespace

constinit decltype(TR_DissolveType::kParams) TR_DissolveType::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;Fine;Mid;Coarse">("IDS_Tr_Param_Type_Desc"));

constinit decltype(TR_Collapse::kParams) TR_Collapse::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Size_Name;S;M;L;XL">("IDS_Tr_Param_Size_Desc"));

// DissolveType: blocks of rank above trunc(progress * 100) show A, the others B. The ranks are drawn
// by the first Process and again whenever the block size changes.
VekStatus TR_DissolveType::Init(VekEffectInstance* instance) noexcept {
  if (instance && instance->privateBlock) {
    DissolveOf(instance)->ranks = nullptr;  // a host's private block may hold anything
    DissolveOf(instance)->builtSize = 0;
  }
  return InitWithDefaults(instance, kParams.data(), kParamCount);
}
VekStatus TR_DissolveType::Destroy(VekEffectInstance* instance) noexcept { return ReleaseResources(instance); }
VekStatus TR_DissolveType::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return TwoInputs::Store(index, sample, kPrivateBytes);
}

VekStatus TR_DissolveType::Prepare(VekEffectInstance* instance) noexcept {
  if (!instance || !instance->privateBlock) return VEK_E_FAIL;
  instance->prepared = 1;
  ReleaseRanks(*DissolveOf(instance));
  return VEK_S_OK;
}

VekStatus TR_DissolveType::ReleaseResources(VekEffectInstance* instance) noexcept {
  if (!instance) return VEK_E_FAIL;
  if (instance->privateBlock) ReleaseRanks(*DissolveOf(instance));
  return VEK_S_OK;
}

VekStatus TR_DissolveType::Process(VekEffectInstance* instance) noexcept {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame)) return VEK_E_FAIL;
  if (!frame.HasBuffers()) return VEK_E_FAIL;
  const int32_t type = Choice(*instance, kParams.data());
  if (type < 0 || type > 2) return VEK_E_FAIL;
  if (frame.height == 0) return VEK_S_OK;
  // The field mode is not read: every call renders the whole frame.
  DissolveState& state = *DissolveOf(instance);
  state.blockSize = BlockSide(frame.width, kGrainFactors[type]);
  const bool stale = state.builtSize != state.blockSize || state.across != BlocksAcross(frame.width, state.blockSize) ||
                     state.down != BlocksAcross(frame.height, state.blockSize);
  if (stale) {
    const VekStatus status = DrawRanks(state, frame.width, frame.height, instance->randomSeed);
    if (status != VEK_S_OK) return status;
  }
  const int32_t level = ProgressWeight(frame.progress, 100);
  if (level == 0 || level == 100) {
    CopyFrame(frame, level == 0 ? frame.sourceA : frame.sourceB);
    return VEK_S_OK;
  }
  // Row of blocks by row of blocks: neighbouring blocks that show the same source form one run, so
  // a row is a few runs, alternately from A and B, found once for all the rows of the blocks.
  const std::size_t side = std::size_t(state.blockSize), width = std::size_t(frame.width);
  const RunWriter writer = RunWriter::For(frame);
  int32_t* runEnds = state.ranks + std::size_t(state.across) * std::size_t(state.down);
  for (int32_t by = 0; by < state.down; ++by) {
    const int32_t* ranks = state.ranks + std::size_t(by) * std::size_t(state.across);
    const bool firstShowsA = ranks[0] > level;
    int runs = 0;
    for (std::size_t x = 0; x < width;) {
      const bool showsA = ranks[x / side] > level;
      std::size_t end = std::min(width, x + side);
      while (end < width && (ranks[end / side] > level) == showsA) end = std::min(width, end + side);
      runEnds[runs++] = int32_t(end);
      x = end;
    }
    const int y0 = by * state.blockSize, y1 = int(std::min<int64_t>(frame.height, int64_t(y0) + state.blockSize));
    for (int y = y0; y < y1; ++y) {
      const std::size_t offset = std::size_t(y) * frame.rowBytes;
      for (int k = 0, from = 0; k < runs; from = runEnds[k++]) {
        const uint8_t* source = (k % 2 == 0) == firstShowsA ? frame.sourceA : frame.sourceB;
        writer.copy(source + offset, from, frame.output + offset, from, runEnds[k] - from,
                    std::ptrdiff_t(frame.rowBytes));
      }
    }
  }
  writer.Finish();
  return VEK_S_OK;
}

// Collapse: B is laid down, then every block of A is drawn where its path has taken it, later
// blocks over earlier ones.
VekStatus TR_Collapse::Init(VekEffectInstance* instance) noexcept {
  if (instance && instance->privateBlock) {
    CollapseState& state = *CollapseOf(instance);  // a host's private block may hold anything
    state.fall = state.drift = nullptr;
    state.builtType = -1;
  }
  return InitWithDefaults(instance, kParams.data(), kParamCount);
}
VekStatus TR_Collapse::Destroy(VekEffectInstance* instance) noexcept { return ReleaseResources(instance); }
VekStatus TR_Collapse::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return TwoInputs::Store(index, sample, kPrivateBytes);
}

VekStatus TR_Collapse::Prepare(VekEffectInstance* instance) noexcept {
  if (!instance || !instance->privateBlock) return VEK_E_FAIL;
  return DrawPaths(*instance, *CollapseOf(instance), kParams.data());
}

VekStatus TR_Collapse::ReleaseResources(VekEffectInstance* instance) noexcept {
  if (!instance) return VEK_E_FAIL;
  if (instance->privateBlock) ReleaseTables(*CollapseOf(instance));
  return VEK_S_OK;
}

VekStatus TR_Collapse::Process(VekEffectInstance* instance) noexcept {
  if (!instance) return VEK_S_OK;
  TransitionFrame frame;
  if (!BeginTransition(instance, frame)) return VEK_E_FAIL;
  if (!frame.HasBuffers()) return VEK_E_FAIL;
  const int32_t type = Choice(*instance, kParams.data());
  if (type < 0 || type > 3) return VEK_E_FAIL;
  if (frame.height == 0) return VEK_S_OK;
  CollapseState& state = *CollapseOf(instance);
  if (type != state.builtType || frame.width != state.builtWidth || frame.height != state.builtHeight) {
    if (const VekStatus status = DrawPaths(*instance, state, kParams.data()); status != VEK_S_OK) return status;
  }
  if (!state.fall || !state.drift) return VEK_E_FAIL;
  // The field mode is not read: every call renders the whole frame.
  const float progress = ClampedProgress(frame.progress);
  if (progress == 0.0f) {
    CopyFrame(frame, frame.sourceA);
    return VEK_S_OK;
  }
  // The output is built in bands of rows that stay in the cache: B, then every block that reaches
  // the band, in block order, so later blocks still cover earlier ones.
  const float e = progress * progress;
  const int64_t side = state.blockSize, h = frame.height;
  const int32_t across = BlocksAcross(frame.width, state.blockSize), down = BlocksAcross(frame.height, state.blockSize);
  // Every fall lies in h .. 3h - 1, so a block drops at least leastDrop and at most mostDrop rows:
  // only the rows of blocks within that reach above a band can land in it.
  const int64_t leastDrop = int64_t(float(h) * e), mostDrop = int64_t(float(3 * h) * e);
  constexpr int kBandRows = 64;
  // No block lands above its least drop: those rows are B alone, copied past the caches on large
  // frames, and the bands start below them.
  const int clear = int(std::min<int64_t>(leastDrop, h));
  const RunWriter writer = RunWriter::For(frame);
  ParallelChunks(frame.workers, clear, kChunkRows, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) writer.copy(frame.RowB(y), 0, frame.OutputRow(y), 0, frame.width, 0);
    writer.Finish();
  });
  const auto drawBand = [&](int band, int bandEnd) {
    std::memcpy(frame.OutputRow(band), frame.RowB(band), frame.rowBytes * std::size_t(bandEnd - band));
    BlockRows pending{};
    const int64_t firstRow = std::max<int64_t>(0, (band - mostDrop) / side - 1);
    const int64_t endRow = std::min<int64_t>(down, (bandEnd - leastDrop) / side + 1);
    for (int64_t by = firstRow; by < endRow; ++by) {
      std::size_t i = std::size_t(by) * std::size_t(across);
      for (int32_t bx = 0; bx < across; ++bx, ++i) {
        const int64_t y = by * side, toY = y + int64_t(float(state.fall[i]) * e);
        if (toY >= bandEnd || toY + side <= band) continue;
        BlockRows next;
        if (!PlaceFallenBlock(frame, side, bx * side, y, state.fall[i], state.drift[i], e, band, bandEnd, next)) {
          continue;
        }
        PrefetchRows(next, 0, kRowsAhead, frame.rowBytes);
        if (pending.rows > 0) CopyBlockRows(pending, frame.rowBytes);
        pending = next;
      }
    }
    if (pending.rows > 0) CopyBlockRows(pending, frame.rowBytes);
  };
  // Bands are independent: each one's output rows are written by it alone.
  ParallelChunks(frame.workers, frame.height - clear, kBandRows,
                 [&](int first, int end) { drawBand(clear + first, clear + end); });
  return VEK_S_OK;
}
