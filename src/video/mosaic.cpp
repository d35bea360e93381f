// DSP_VI_Mosaic: an area of the frame replaced by flat blocks of the average colour beneath them.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "image/image.h"
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

// The average of the source under a block, written over the whole block of the output.
void FillBlock(const VideoFrame& frame, int x, int y, int width, int height, bool alphaAware) {
  uint32_t sum[4] = {0, 0, 0, 0}, count = 0;
  for (int row = y; row < y + height; ++row) {
    const uint8_t* pixel = frame.SourceRow(row) + 4 * std::size_t(x);
    const uint8_t* end = pixel + 4 * std::size_t(width);
    if (alphaAware) {
      for (; pixel < end; pixel += 4) {
        if (pixel[3] == 0) continue;
        sum[0] += pixel[0], sum[1] += pixel[1], sum[2] += pixel[2], sum[3] += pixel[3];
        ++count;
      }
    } else {
      for (; pixel < end; pixel += 4) sum[0] += pixel[0], sum[1] += pixel[1], sum[2] += pixel[2];
      count += uint32_t(width);
    }
  }
  uint8_t average[4] = {0, 0, 0, 0};
  if (count > 0) {
    for (int c = 0; c < 3; ++c) average[c] = uint8_t(sum[c] / count);
    // Kept on purpose: without the alpha-aware flag the blocks come out with alpha 0.
    average[3] = alphaAware ? uint8_t(sum[3] / count) : 0;
  }
  uint8_t* first = frame.OutputRow(y) + 4 * std::size_t(x);
  for (int column = 0; column < width; ++column) std::memcpy(first + 4 * column, average, 4);
  for (int row = y + 1; row < y + height; ++row) {
    std::memcpy(frame.OutputRow(row) + 4 * std::size_t(x), first, 4 * std::size_t(width));
  }
}

// The images the circle type composites with: lent by the host's buffer service when it has one,
// else the effect's own. Whatever the service lent is given back when this goes.
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
    if (Covers(work_, frame)) {
      workPixels_ = work_->pixels, workStride_ = work_->rowBytes;
    } else if (ownWork_.Allocate(frame.width, frame.height)) {
      workPixels_ = ownWork_.Row(0), workStride_ = ownWork_.RowBytes();
    }
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
  // Null when no working image could be had; the mosaic is then read back from the target.
  uint8_t* WorkRow(int y) const { return workPixels_ ? workPixels_ + std::size_t(y) * workStride_ : nullptr; }

 private:
  static bool Covers(const VekImageBuffer* image, const VideoFrame& frame) {
    return image && image->pixels && image->width >= uint32_t(frame.width) &&
           image->height >= uint32_t(frame.height) && image->rowBytes >= frame.rowBytes;
  }

  VekObject* service_;
  VekImageBuffer* target_ = nullptr;
  VekImageBuffer* work_ = nullptr;
  VEKImageUtility::CImageARGB ownWork_;
  uint8_t* targetPixels_ = nullptr;
  std::size_t targetStride_ = 0;
  uint8_t* workPixels_ = nullptr;
  std::size_t workStride_ = 0;
};

// Coverage 0..256 of an ellipse inscribed in the area, falling to 0 over about a pixel and a half
// (more on large areas) just inside its rim, so the circle stays inside the rectangle.
class RoundMask {
 public:
  RoundMask(int x0, int y0, int width, int height)
      : centreX_(x0 + width * 0.5f), centreY_(y0 + height * 0.5f), radiusX_(width * 0.5f),
        radiusY_(height * 0.5f), edge_(std::max(1.5f, std::min(radiusX_, radiusY_) / 48.0f)) {}

  int Coverage(int x, int y) const {
    const float dx = (x + 0.5f - centreX_) / radiusX_, dy = (y + 0.5f - centreY_) / radiusY_;
    const float inside = (1.0f - std::sqrt(dx * dx + dy * dy)) * std::min(radiusX_, radiusY_) / edge_;
    return inside <= 0 ? 0 : inside >= 1 ? 256 : int(inside * 256.0f);
  }

 private:
  float centreX_, centreY_, radiusX_, radiusY_, edge_;
};

// The mosaic kept only inside the round area: the output goes back to the source, and the mosaic
// is laid over it through the mask. Outside the area nothing changes.
void KeepCircle(VekObject* service, const VideoFrame& frame, int x0, int y0, int width, int height) {
  CircleImages images(service, frame);
  const int x1 = std::min(x0 + width, frame.width), y1 = std::min(y0 + height, frame.height);
  const RoundMask mask(x0, y0, width, height);
  for (int y = y0; y < y1; ++y) {
    uint8_t* target = images.TargetRow(y);
    uint8_t* work = images.WorkRow(y);
    if (work) std::memcpy(work, target, frame.rowBytes);
    const uint8_t* mosaic = work ? work : target;
    const uint8_t* source = frame.SourceRow(y);
    for (int x = x0; x < x1; ++x) {
      const int coverage = mask.Coverage(x, y);
      for (int c = 4 * x; c < 4 * x + 4; ++c) {
        target[c] = uint8_t(source[c] + (((int(mosaic[c]) - int(source[c])) * coverage) >> 8));
      }
    }
  }
}

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

  frame.fieldMode = VEK_FIELD_FRAME;  // the whole frame in every field mode
  frame.CopyRows();
  const int areaWidth = Trunc((area.right - area.left) * float(W));
  const int areaHeight = Trunc((area.bottom - area.top) * float(H));
  if (areaWidth < 1 || areaHeight < 1) return VEK_S_OK;
  const int x0 = Trunc(float(W) * area.left), x1 = Trunc(float(W) * area.right);
  const int y0 = Trunc(float(H) * area.top), y1 = Trunc(float(H) * area.bottom);

  const BlockRun columns = Blocks(areaWidth, blockWidth), rowsOfBlocks = Blocks(areaHeight, blockHeight);
  const bool alphaAware = instance->alphaAware != 0;
  for (int row = 0; row < rowsOfBlocks.count; ++row) {
    int height = rowsOfBlocks.Size(row);
    // Kept on purpose: the clip compares with the start of the area, not of the block, so it only
    // ever trims a block as high as the whole area.
    if (height + y0 >= y1) height = y1 - y0 - 1;
    const int top = y0 + rowsOfBlocks.Start(row);
    height = std::min(height, H - top);
    for (int column = 0; column < columns.count; ++column) {
      int width = columns.Size(column);
      if (width + x0 >= x1) width = x1 - x0 - 1;
      const int left = x0 + columns.Start(column);
      width = std::min(width, W - left);
      if (width > 0 && height > 0 && left >= 0 && top >= 0) FillBlock(frame, left, top, width, height, alphaAware);
    }
  }
  if (type == kCircle) KeepCircle(instance->bufferService, frame, x0, y0, areaWidth, areaHeight);
  return VEK_S_OK;
}
