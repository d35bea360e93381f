#include "video/video_effect.h"

namespace vek {

bool BeginVideoEffect(VekEffectInstance* instance, VideoFrame& frame) noexcept {
  if (!instance || !instance->privateBlock) return false;
  auto* head = static_cast<VideoHead*>(instance->privateBlock);
  head->output = instance->output;
  const int width = int(instance->width), height = int(instance->height);
  const bool sized = width > 0 && height > 0;
  frame = {head->source,
           head->output,
           sized ? width : 0,
           sized ? height : 0,
           std::size_t(sized ? width : 0) * 4,
           instance->fieldMode,
           instance->colourLayout == VEK_LAYOUT_LUMA_CHROMA,
           instance->workerCount,
           instance->renderHint,
           instance->paramValues};
  return true;
}

void VideoFrame::CopyRows() const {
  if (!HasBuffers()) return;
  if (WholeFrame()) {
    std::memcpy(output, source, rowBytes * std::size_t(height));
    return;
  }
  ForEachRow(Rows(), [&](int y) { std::memcpy(OutputRow(y), SourceRow(y), rowBytes); });
}

}  // namespace vek
