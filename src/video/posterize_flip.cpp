// DSP_VI_Posterize, DSP_VI_FlipCanvas: fewer tone levels per channel, and the picture mirrored.
#include <algorithm>

#include "image/cpu.h"
#include "video/kernels.h"
#include "video/video_effects.h"

using namespace vek;

namespace {

// The level table is one for the whole module, with the level count it was built for. Kept on
// purpose: every Posterize instance shares it, so two instances with different levels rebuild it
// on every frame, and two running at the same moment on different threads would race on it; the
// host must not do that.
struct PosterizeLevels {
  static constexpr uint32_t kUnbuilt = uint32_t(-1);
  uint32_t count = kUnbuilt;
  PosterizeTable table = {};

  bool Usable() const { return count >= 2 && count <= 64; }
  void Update(uint32_t levels) {
    if (levels == count) return;
    count = levels;
    if (Usable()) table = BuildPosterizeTable(levels);
  }
};
PosterizeLevels gLevels;

}  // namespace

constinit decltype(VI_Posterize::kParams) VI_Posterize::kParams = RowsWithSharedArea(
    ByteRow<0, 63, 61>("P1", "IDS_Vi_Param_Levels_Name", "IDS_Vi_Param_Levels_Desc", {0}));

VekStatus VI_Posterize::Init(VekEffectInstance* instance) noexcept {
  return InitWithDefaults(instance, kParams.data(), kParamCount);
}
VekStatus VI_Posterize::Destroy(VekEffectInstance* instance) noexcept { return ReleaseResources(instance); }
VekStatus VI_Posterize::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return OneInput::Store(index, sample, kPrivateBytes);
}
VekStatus VI_Posterize::ReleaseResources(VekEffectInstance* instance) noexcept {
  return instance ? VEK_S_OK : VEK_E_FAIL;
}

VekStatus VI_Posterize::Prepare(VekEffectInstance* instance) noexcept {
  if (!instance) return VEK_E_FAIL;
  instance->prepared = 1;
  gLevels.count = PosterizeLevels::kUnbuilt;
  return VEK_S_OK;
}

// Levels = 65 - P1 as an unsigned number: 61 gives 4 levels, 0 gives 65 (a copy), and values that
// wrap round are copies too.
VekStatus VI_Posterize::Process(VekEffectInstance* instance) noexcept {
  VideoFrame frame;
  if (!BeginVideoEffect(instance, frame)) return VEK_E_FAIL;
  const uint8_t* setting = frame.values ? frame.values : static_cast<const uint8_t*>(kParams[0].defaultValue);
  gLevels.Update(65u - uint32_t(*setting));
  if (!frame.HasBuffers()) return VEK_S_OK;
  if (!gLevels.Usable()) {
    frame.CopyRows();
    return VEK_S_OK;
  }
  const PosterizeTable& table = gLevels.table;
  const std::size_t width = std::size_t(frame.width);
  if (frame.lumaChroma) {
    const bool vector = frame.renderHint >= 3 && (frame.workers < 2 || !frame.WholeFrame());
    const PosterizeRowFn row = vector ? PosterizeRowAyuvSse41 : PosterizeRowAyuv;
    ForEachRow(frame.Rows(), [&](int y) { row(frame.SourceRow(y), frame.OutputRow(y), width, table); });
  } else {
    const bool byteVectors = Avx512KernelsUsable();
    const auto run = [&](const uint8_t* source, uint8_t* out, std::size_t pixels) {
      if (byteVectors) return LookUpChannelsVbmi(source, out, pixels, table.channels);
      PosterizeRowArgbSse2(source, out, pixels, table);
    };
    if (frame.WholeFrame()) {
      // Rows follow one another without gaps, so a band of rows is one run of pixels.
      ParallelRows(frame.workers, frame.height, [&](int y0, int y1) {
        run(frame.SourceRow(y0), frame.OutputRow(y0), std::size_t(y1 - y0) * width);
      });
    } else {
      ForEachRow(frame.Rows(), [&](int y) { run(frame.SourceRow(y), frame.OutputRow(y), width); });
    }
  }
  return VEK_S_OK;
}

constinit decltype(VI_FlipCanvas::kParams) VI_FlipCanvas::kParams = RowsWithSharedArea(
    ChoiceRow<"IDS_Vi_Param_EffectType_Name;No;Hor;Ver;HnV", 1>("P1", "IDS_Vi_Param_EffectType_Desc", {0}));

// Output row y of a vertical flip reads source row h - 1 - y, also in a field.
VekStatus VI_FlipCanvas::Process(VekEffectInstance* instance) noexcept {
  VideoFrame frame;
  if (!BeginVideoEffect(instance, frame)) return VEK_E_FAIL;
  if (!frame.HasBuffers()) return VEK_S_OK;
  uint32_t mode = frame.values ? LoadValue<uint32_t>(frame.values, 0) : 0;
  // Kept on purpose: 710 to 713 are a second numbering of the same four choices.
  if (mode >= 710 && mode <= 713) mode -= 710;
  const bool horizontal = mode == 1 || mode == 3, vertical = mode == 2 || mode == 3;
  if (!horizontal && !vertical) {
    frame.CopyRows();
    return VEK_S_OK;
  }
  const std::ptrdiff_t nextRow = std::ptrdiff_t(frame.rowBytes) * frame.Rows().step;
  ForEachRow(frame.Rows(), [&](int y) {
    const uint8_t* from = frame.SourceRow(vertical ? frame.height - 1 - y : y);
    if (horizontal) {
      MirrorRow(from, frame.OutputRow(y), frame.width, vertical ? -nextRow : nextRow);
    } else {
      std::copy(from, from + frame.rowBytes, frame.OutputRow(y));
    }
  });
  return VEK_S_OK;
}
