// DSP_VI_Mosaic: an area of the frame replaced by flat blocks of the average colour beneath them.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <numeric>
#include <optional>

#include "image/cpu.h"
#include "video/kernels.h"
#include "video/video_effects.h"

using namespace vek;

// Width and height are blocks across a 320 x 240 reference picture and share one editor group.
constinit decltype(VI_Mosaic::kParams) VI_Mosaic::kParams = Rows(
    IntRow<0, 32, 5>("P1", "IDS_Vi_Param_Width_Name", "IDS_Vi_Param_Width_Desc", {0}),
    IntRow<0, 24, 4>("P2", "IDS_Vi_Param_Height_Name", "IDS_Vi_Param_Height_Desc", {0}),
    OwnMaskRow(0, "P3"),
    OwnMaskRow(1, "P4"),
    kSalientRow);

namespace {

struct AreaRect {
  float left, top, right, bottom;
};
// The whole frame: the fallback area.
constexpr AreaRect kWholeFrame = {0, 0, 1, 1};

enum AreaType : int32_t { kBox = 0, kCircle = 1, kWholeArea = 2 };

// A float truncated toward zero; what is not a number, or lies beyond int, counts as 0 or the end.
int Trunc(float value) {
  if (!(value == value)) return 0;
  if (value >= 2147483520.0f) return 2147483520;
  if (value <= -2147483520.0f) return -2147483520;
  return int(value);
}

// One run of blocks along an axis of the area: the grid is centred, and the two outer blocks take
// what is left over.
struct BlockRun {
  int first;  // size of block 0
  int count;
  int size;   // the regular block size
  int length; // the area's length

  int Start(int block) const { return block == 0 ? 0 : first + (block - 1) * size; }
  int Size(int block) const {
    if (block == 0) return first;
    return block == count - 1 ? length - (block - 1) * size - first : size;
  }
};

BlockRun Blocks(int length, int size) {
  const int whole = length / size;
  BlockRun run{0, 0, size, length};
  if (whole == 0) {
    run = {length, 1, size, length};
  } else if (whole % 2 == 1) {
    const int rest = length % size;
    run.first = rest / 2;
    run.count = int(std::ceil(float(length) / float(size))) + (rest >= 2 ? 1 : 0);
  } else {
    run.first = (length - (whole - 1) * size) / 2;
    run.count = whole + 1;
  }
  if (run.first == 0) run.first = size;
  return run;
}

// Where a block of a run lands in the output: kept on purpose, the clip compares with the start of
// the area, not of the block, so it only ever trims a block as long as the whole area. A block
// that ends up empty or before the frame is not drawn.
struct Span {
  int start;
  int length;
  bool Drawn() const { return length > 0 && start >= 0; }
  int End() const { return start + length; }
};

Span PlaceBlock(const BlockRun& run, int block, int areaStart, int areaEnd, int frameLength) {
  int length = run.Size(block);
  if (length + areaStart >= areaEnd) length = areaEnd - areaStart - 1;
  const int start = areaStart + run.Start(block);
  return {start, std::min(length, frameLength - start)};
}

// Pixels [start, end) of one row into the same place of another.
void CopyColumns(const uint8_t* from, uint8_t* to, int start, int end) {
  if (start >= end) return;
  std::memcpy(to + 4 * std::size_t(start), from + 4 * std::size_t(start), 4 * std::size_t(end - start));
}

// The blocks over the source: each gets the average of the source beneath it, and every other
// pixel is the source's. The blocks follow one another without overlapping, so each row of a band
// of blocks is the source outside the blocks' columns and a copy of the band's first row inside.
// A band is summed pixel column by pixel column across its whole width, row after row, into
// per-pixel sums that each block then adds up: reading the frame block by block would jump a row
// ahead every few pixels. Bands taller than the per-pixel sums hold, or any band when there is no
// room for those sums, are summed block by block. Each of `tasks` tasks painting bands at once
// has its own sums.
class BlockPainter {
 public:
  BlockPainter(const VideoFrame& frame, const BlockRun& columns, int x0, int x1, bool alphaAware, int tasks)
      : frame_(frame), columns_(columns), x0_(x0), x1_(x1), alphaAware_(alphaAware) {
    for (int column = 0; column < columns_.count; ++column) {
      const Span span = Column(column);
      if (!span.Drawn()) continue;
      if (covered_.length == 0) {
        covered_.start = span.start;
      } else if (span.start != covered_.End()) {
        gapless_ = false;
      }
      covered_.length = span.End() - covered_.start;
    }
    if (covered_.length > 0) columnSums_.reset(new (std::nothrow) uint16_t[SumsPerTask() * std::size_t(tasks)]);
  }

  bool AnyColumn() const { return covered_.length > 0; }

  void CopySourceRows(int from, int to) const {
    if (from >= to) return;
    std::memcpy(frame_.OutputRow(from), frame_.SourceRow(from), frame_.rowBytes * std::size_t(to - from));
  }

  void PaintBand(Span rows, int task) const {
    uint8_t* first = frame_.OutputRow(rows.start);
    CopyOutside(rows.start);
    uint16_t* sums = columnSums_ && rows.length <= kColumnSumRows ? columnSums_.get() + SumsPerTask() * task : nullptr;
    if (sums) {
      std::fill_n(sums, SumsPerTask(), uint16_t(0));
      const auto addColumnSums = Avx512KernelsUsable() ? AddColumnSumsAvx512 : AddColumnSumsSse2;
      addColumnSums(frame_.SourceRow(rows.start) + 4 * std::size_t(covered_.start), frame_.rowBytes, covered_.length,
                    rows.length, alphaAware_, sums, CountsOfColumns(sums));
    }
    for (int column = 0; column < columns_.count; ++column) {
      const Span span = Column(column);
      if (span.Drawn()) FillAverage(first, span, rows, sums);
    }
    for (int y = rows.start + 1; y < rows.End(); ++y) {
      CopyOutside(y);
      uint8_t* row = frame_.OutputRow(y);
      if (gapless_) {
        CopyColumns(first, row, covered_.start, covered_.End());
        continue;
      }
      for (int column = 0; column < columns_.count; ++column) {
        const Span span = Column(column);
        if (span.Drawn()) CopyColumns(first, row, span.start, span.End());
      }
    }
  }

 private:
  Span Column(int column) const { return PlaceBlock(columns_, column, x0_, x1_, frame_.width); }

  // The source of row y where no block lies; between blocks too when there are gaps.
  void CopyOutside(int y) const {
    const uint8_t* source = frame_.SourceRow(y);
    uint8_t* out = frame_.OutputRow(y);
    if (!gapless_) {
      std::memcpy(out, source, frame_.rowBytes);
      return;
    }
    CopyColumns(source, out, 0, covered_.start);
    CopyColumns(source, out, covered_.End(), frame_.width);
  }

  // Four sums and a count a pixel.
  std::size_t SumsPerTask() const { return 5 * std::size_t(covered_.length); }
  uint16_t* CountsOfColumns(uint16_t* columnSums) const { return columnSums + 4 * std::size_t(covered_.length); }

  // The sums of a block, from the band's per-pixel sums when there are any, or from the source, and
  // how many pixels they count. Both wrap round past 32 bits alike.
  uint32_t SumOfBlock(Span columns, Span rows, uint16_t* columnSums, uint32_t (&sums)[4]) const {
    if (!columnSums) {
      return SumBlockSse2(frame_.SourceRow(rows.start) + 4 * std::size_t(columns.start), frame_.rowBytes,
                          columns.length, rows.length, alphaAware_, sums);
    }
    const std::size_t from = std::size_t(columns.start - covered_.start), to = from + std::size_t(columns.length);
    const uint16_t* lanes = columnSums;
    uint32_t total[4] = {0, 0, 0, 0};
    for (std::size_t x = from; x < to; ++x) {
      for (int c = 0; c < 4; ++c) total[c] += lanes[4 * x + c];
    }
    std::copy_n(total, 4, sums);
    if (!alphaAware_) return uint32_t(columns.length) * uint32_t(rows.length);
    const uint16_t* counts = CountsOfColumns(columnSums);
    return std::accumulate(counts + from, counts + to, uint32_t(0));
  }

  // The average of the source under a block, written over the block's part of the band's first row.
  void FillAverage(uint8_t* first, Span columns, Span rows, uint16_t* columnSums) const {
    uint32_t sums[4];
    const uint32_t count = SumOfBlock(columns, rows, columnSums, sums);
    uint8_t average[4] = {0, 0, 0, 0};
    if (count > 0) {
      for (int c = 0; c < 3; ++c) average[c] = uint8_t(sums[c] / count);
      // Kept on purpose: without the alpha-aware flag the blocks come out with alpha 0.
      average[3] = alphaAware_ ? uint8_t(sums[3] / count) : 0;
    }
    uint8_t* out = first + 4 * std::size_t(columns.start);
    for (int x = 0; x < columns.length; ++x) std::memcpy(out + 4 * x, average, 4);
  }

  const VideoFrame& frame_;
  const BlockRun& columns_;
  int x0_, x1_;
  bool alphaAware_;
  Span covered_ = {0, 0};  // from the first drawn column to the end of the last
  bool gapless_ = true;
  std::unique_ptr<uint16_t[]> columnSums_;  // each task's over the covered columns; null when not to be had
};

// The images the circle type composites with, lent by the host's buffer service: the output
// wrapped, and a working image that keeps the mosaic while the output takes the source back.
// Without a working image the mosaic is read from the output itself, just before it is written.
// Whatever the service lent is given back when this goes.
class CircleImages {
 public:
  CircleImages(VekObject* service, const VideoFrame& frame) : service_(service) {
    const VekOperation* operations = service_ ? service_->operations : nullptr;
    if (operations) {
      if (auto wrap = reinterpret_cast<VekBufferWrapFn>(operations[VEK_BUFFER_SLOT_WRAP])) {
        target_ = wrap(service_, frame.output, uint32_t(frame.width), uint32_t(frame.height), uint32_t(frame.rowBytes));
      }
      if (auto create = reinterpret_cast<VekBufferCreateFn>(operations[VEK_BUFFER_SLOT_CREATE])) {
        work_ = create(service_, uint32_t(frame.width), uint32_t(frame.height));
      }
    }
    if (Covers(target_, frame)) {
      targetPixels_ = target_->pixels, targetStride_ = target_->rowBytes;
    } else {
      targetPixels_ = frame.output, targetStride_ = frame.rowBytes;
    }
    if (Covers(work_, frame)) workPixels_ = work_->pixels, workStride_ = work_->rowBytes;
  }
  ~CircleImages() {
    const VekOperation* operations = service_ ? service_->operations : nullptr;
    auto release = operations ? reinterpret_cast<VekBufferReleaseFn>(operations[VEK_BUFFER_SLOT_RELEASE]) : nullptr;
    for (VekImageBuffer* buffer : {target_, work_}) {
      if (buffer && release) release(service_, buffer);
    }
  }
  CircleImages(const CircleImages&) = delete;
  CircleImages& operator=(const CircleImages&) = delete;

  uint8_t* TargetRow(int y) const { return targetPixels_ + std::size_t(y) * targetStride_; }
  // Null without a working image.
  uint8_t* WorkRow(int y) const { return workPixels_ ? workPixels_ + std::size_t(y) * workStride_ : nullptr; }

 private:
  static bool Covers(const VekImageBuffer* image, const VideoFrame& frame) {
    return image && image->pixels && image->width >= uint32_t(frame.width) &&
           image->height >= uint32_t(frame.height) && image->rowBytes >= frame.rowBytes;
  }

  VekObject* service_;
  VekImageBuffer* target_ = nullptr;
  VekImageBuffer* work_ = nullptr;
  uint8_t* targetPixels_ = nullptr;
  std::size_t targetStride_ = 0;
  uint8_t* workPixels_ = nullptr;
  std::size_t workStride_ = 0;
};

// The first x of [from, to) at which `reached` holds, given that it holds from there to the end.
// The search starts at `guess` and widens its steps away from it before it bisects, so a close
// guess costs a few calls; any guess gives the same answer.
template <class Predicate> int FirstWhere(int from, int to, int guess, Predicate reached) {
  int low = from, high = to;  // the answer lies in [low, high]
  guess = std::clamp(guess, from, to);
  if (guess == to || reached(guess)) {
    high = guess;
    for (int step = 1; low < high; step *= 2) {
      const int probe = std::max(low, high - step);
      if (!reached(probe)) {
        low = probe + 1;
        break;
      }
      high = probe;
    }
  } else {
    low = guess + 1;
    for (int step = 1; low < high; step *= 2) {
      const int probe = std::min(high - 1, low + step - 1);
      if (reached(probe)) {
        high = probe;
        break;
      }
      low = probe + 1;
    }
  }
  while (low < high) {
    const int middle = low + (high - low) / 2;
    if (reached(middle)) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return low;
}

// The ellipse inscribed in the area, its coverage falling to 0 over about a pixel and a half (more
// on large areas) just inside its rim, so the circle stays inside the rectangle.
RoundMask InscribedMask(int x0, int y0, int width, int height) {
  const float radiusX = width * 0.5f, radiusY = height * 0.5f, reach = std::min(radiusX, radiusY);
  return {x0 + radiusX, y0 + radiusY, radiusX, radiusY, reach, std::max(1.5f, reach / 48.0f)};
}

// Columns [from, rimStart) and [rimEnd, to) of a row have coverage 0, [fullStart, fullEnd) 256,
// the rest lies between. Every step of the coverage keeps order, so along a row it rises up to the
// centre column and falls after it, and each edge is searched for from where the ellipse puts it.
struct RowCoverage {
  int rimStart, fullStart, fullEnd, rimEnd;
};
RowCoverage CoverageOfRow(const RoundMask& mask, int y, int from, int to) {
  auto coverage = [&](int x) { return RoundCoverage(mask, x, y); };
  const float dy = (y + 0.5f - mask.centreY) / mask.radiusY, inner = 1.0f - mask.edge / mask.reach;
  // Half the width of the row's part of an ellipse of `radius` radii.
  auto halfWidth = [&](float radius) { return mask.radiusX * std::sqrt(std::max(0.0f, radius * radius - dy * dy)); };
  const float axis = mask.centreX - 0.5f, outer = halfWidth(1.0f), full = halfWidth(std::max(inner, 0.0f));
  const int centre = FirstWhere(from, to, int(std::ceil(axis)), [&](int x) { return x + 0.5f - mask.centreX >= 0; });
  const int rimStart = FirstWhere(from, centre, int(std::ceil(axis - outer)), [&](int x) { return coverage(x) > 0; });
  const int fullStart =
      FirstWhere(rimStart, centre, int(std::ceil(axis - full)), [&](int x) { return coverage(x) == 256; });
  const int fullEnd = FirstWhere(centre, to, int(axis + full) + 1, [&](int x) { return coverage(x) < 256; });
  const int rimEnd = FirstWhere(fullEnd, to, int(axis + outer) + 1, [&](int x) { return coverage(x) == 0; });
  return {rimStart, fullStart, fullEnd, rimEnd};
}

// The mosaic kept only inside the round area: the output goes back to the source, and the mosaic
// is laid over it through the mask. Outside the area nothing changes. Rows are taken as soon as
// their mosaic is drawn, while they are still in the caches.
class CircleKeeper {
 public:
  CircleKeeper(VekObject* service, const VideoFrame& frame, int x0, int y0, int width, int height)
      : frame_(frame), images_(service, frame), mask_(InscribedMask(x0, y0, width, height)), x0_(x0),
        x1_(std::min(x0 + width, frame.width)), y0_(y0), y1_(std::min(y0 + height, frame.height)),
        mirror_(2 * x0 + width - 1) {}

  using Blend = void (*)(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int y,
                         const RoundMask& mask);
  using BlendMirrored = void (*)(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int mirror,
                                 int y, const RoundMask& mask);

  void KeepRows(int from, int to) const {
    for (int y = std::max(from, y0_); y < std::min(to, y1_); ++y) KeepRow(y);
  }

 private:
  void KeepRow(int y) const {
    uint8_t* target = images_.TargetRow(y);
    uint8_t* work = images_.WorkRow(y);
    if (work) CopyColumns(target, work, x0_, x1_);
    const uint8_t* mosaic = work ? work : target;
    const uint8_t* source = frame_.SourceRow(y);
    const RowCoverage row = CoverageOfRow(mask_, y, x0_, x1_);
    CopyColumns(source, target, x0_, row.rimStart);
    if (MirrorImages(row)) {
      blendMirrored_(source, mosaic, target, row.rimStart, row.fullStart, mirror_, y, mask_);
    } else {  // the frame cuts the rectangle, or the two edges meet in the middle column
      blend_(source, mosaic, target, row.rimStart, row.fullStart, y, mask_);
      blend_(source, mosaic, target, row.fullEnd, row.rimEnd, y, mask_);
    }
    if (work) CopyColumns(work, target, row.fullStart, row.fullEnd);
    CopyColumns(source, target, row.rimEnd, x1_);
  }

  // Whether the rim's right part is the mirror image of its left. Pixel centres are exact in single
  // precision below 2^22, and there a column x and its image mirror_ - x lie the same distance from
  // the centre, so they have the same coverage.
  bool MirrorImages(const RowCoverage& row) const {
    return mirror_ < (1 << 22) && row.fullEnd == mirror_ + 1 - row.fullStart &&
           row.rimEnd == mirror_ + 1 - row.rimStart;
  }

  const VideoFrame& frame_;
  CircleImages images_;
  RoundMask mask_;
  int x0_, x1_, y0_, y1_;
  int mirror_;  // twice the ellipse's centre column, less 1
  Blend blend_ = Avx512KernelsUsable() ? BlendRoundRowAvx512 : BlendRoundRowSse2;
  BlendMirrored blendMirrored_ = Avx512KernelsUsable() ? BlendRoundRowMirroredAvx512 : BlendRoundRowMirroredSse2;
};

}  // namespace

// Blocks are sized against a 320 x 240 picture, so a setting looks the same at every frame size.
VekStatus VI_Mosaic::Process(VekEffectInstance* instance) noexcept {
  VideoFrame frame;
  if (!BeginVideoEffect(instance, frame)) return VEK_E_FAIL;
  if (!frame.HasBuffers() || !frame.values) return VEK_S_OK;
  const uint8_t* values = frame.values;
  const VekParamDescriptor* rows = kParams.data();
  const int32_t blocksAcross = LoadValue<int32_t>(values, ParamOffset(rows, 0));
  const int32_t blocksDown = LoadValue<int32_t>(values, ParamOffset(rows, 1));
  AreaRect area = kParams[2].valueSize == sizeof(AreaRect) ? LoadValue<AreaRect>(values, ParamOffset(rows, 2))
                                                           : kWholeFrame;
  const int32_t type = kParams[3].valueSize == 4 ? LoadValue<int32_t>(values, ParamOffset(rows, 3)) : kBox;
  if (type == kWholeArea) area = kWholeFrame;
  const int W = frame.width, H = frame.height;
  const int blockWidth = std::max(int(int64_t(blocksAcross) * W / 320), 1);
  const int blockHeight = std::max(int(int64_t(blocksDown) * H / 240), 1);
  if (area.left == 0 && area.top == 0 && area.right == 0 && area.bottom == 0) area = kWholeFrame;
  area.left = std::max(area.left, 0.0f), area.top = std::max(area.top, 0.0f);
  area.right = std::min(area.right, 1.0f), area.bottom = std::min(area.bottom, 1.0f);

  const int areaWidth = Trunc((area.right - area.left) * float(W));
  const int areaHeight = Trunc((area.bottom - area.top) * float(H));
  const int x0 = Trunc(float(W) * area.left), x1 = Trunc(float(W) * area.right);
  const int y0 = Trunc(float(H) * area.top), y1 = Trunc(float(H) * area.bottom);
  frame.fieldMode = VEK_FIELD_FRAME;  // the whole frame in every field mode
  if (areaWidth < 1 || areaHeight < 1) {
    frame.CopyRows();
    return VEK_S_OK;
  }
  const BlockRun columns = Blocks(areaWidth, blockWidth), bands = Blocks(areaHeight, blockHeight);
  const BlockPainter painter(frame, columns, x0, x1, instance->alphaAware != 0,
                             TasksFor(frame.workers, bands.count + 2));
  std::optional<CircleKeeper> circle;
  if (type == kCircle) circle.emplace(instance->bufferService, frame, x0, y0, areaWidth, areaHeight);
  const auto keepSource = [&](int from, int to) {
    painter.CopySourceRows(from, to);
    if (circle) circle->KeepRows(from, to);
  };
  const auto rowsOfBand = [&](int band) { return PlaceBlock(bands, band, y0, y1, H); };
  const int bandCount = painter.AnyColumn() ? bands.count : 0;
  // Where the drawn bands before `band` end, or -1 when none is drawn.
  const auto endOfBandsBefore = [&](int band) {
    for (int before = band - 1; before >= 0; --before) {
      if (const Span rows = rowsOfBand(before); rows.Drawn()) return rows.End();
    }
    return -1;
  };
  int bandsStart = H;
  for (int band = 0; band < bandCount && bandsStart == H; ++band) {
    if (const Span rows = rowsOfBand(band); rows.Drawn()) bandsStart = rows.start;
  }
  const int bandsEnd = bandsStart == H ? H : endOfBandsBefore(bandCount);
  // A band takes the rows from the end of the drawn band before it to its own end. Items 0 and 1,
  // the rows above the first band and below the last, can be long, so they are handed out first.
  ParallelItemsOnTasks(frame.workers, bandCount + 2, [&](int task, int item) {
    if (item == 0) return keepSource(0, bandsStart);
    if (item == 1) return keepSource(bandsEnd, H);
    const Span rows = rowsOfBand(item - 2);
    if (!rows.Drawn()) return;
    const int before = endOfBandsBefore(item - 2), from = before < 0 ? rows.start : before;
    painter.CopySourceRows(from, rows.start);
    painter.PaintBand(rows, task);
    if (circle) circle->KeepRows(from, rows.End());
  });
  return VEK_S_OK;
}
