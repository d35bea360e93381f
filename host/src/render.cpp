#include "vekhost/render.h"

#include <algorithm>
#include <string>
#include <variant>

#include "vekhost/error.h"

namespace vek::host {
namespace {

const Effect& CheckRenderable(const Effect& effect, const RenderSetup& setup) {
  if (IsAudio(effect)) throw Error(effect.classId + " is an audio effect; it renders no pictures");
  if (setup.width < 1 || setup.height < 1 || setup.width > kMaxFrameSide || setup.height > kMaxFrameSide) {
    throw Error("cannot render " + SizeText(setup.width, setup.height) + " frames; sides are 1 to " +
                std::to_string(kMaxFrameSide));
  }
  return effect;
}

}  // namespace

bool IsTransition(const Effect& effect) {
  return effect.category == VEK_CATEGORY_TRANSITION;
}

bool IsAudio(const Effect& effect) {
  return effect.category == VEK_CATEGORY_AUDIO;
}

Renderer::Renderer(const Effect& effect, const RenderSetup& setup)
    : effect_(CheckRenderable(effect, setup)), setup_(setup), instance_(effect) {
  VekEffectInstance& record = instance_.Record();
  record.width = uint32_t(setup.width);
  record.height = uint32_t(setup.height);
  record.fieldMode = setup.fieldMode;
  record.colourLayout = setup.lumaChroma ? VEK_LAYOUT_LUMA_CHROMA : 0;
  record.workerCount = setup.workerCount;
  record.renderHint = setup.renderHint;
  record.randomSeed = setup.randomSeed;
  record.offsetMode = setup.offsetMode;
  record.offsetAmount = setup.offsetAmount;
  record.alphaAware = setup.alphaAware ? 1 : 0;
  record.sourceGeometry[0] = uint32_t(std::max(setup.displayWidth, 0));
  record.sourceGeometry[1] = uint32_t(std::max(setup.displayHeight, 0));
}

void Renderer::SetProgress(float progress) {
  if (!IsTransition(effect_) || effect_.params.empty()) {
    throw Error(effect_.classId + " is a " + CategoryName(effect_.category) + ", which has no progress");
  }
  const Param& row = effect_.params.front();
  const float* minimum = std::get_if<float>(&row.minimum);
  const float* maximum = std::get_if<float>(&row.maximum);
  if (!minimum || !maximum) throw Error(effect_.classId + ": its first parameter is no progress");
  if (!(progress >= *minimum && progress <= *maximum)) {
    throw Error("progress " + std::to_string(progress) + " is outside " + FormatRange(row));
  }
  instance_.Set(row, Value(progress));
}

void Renderer::SetFieldMode(int32_t fieldMode) {
  instance_.Record().fieldMode = fieldMode;
}

void Renderer::SetInputs(const Frame& a, const Frame& b) {
  const int count = effect_.inputs >= 2 ? 2 : 1;
  const Frame* given[2] = {&a, &b};
  for (int k = 0; k < count; ++k) {
    if (given[k]->width != setup_.width || given[k]->height != setup_.height) {
      throw Error("input " + std::string(1, char('A' + k)) + " is " + SizeText(given[k]->width, given[k]->height) +
                  ", the rendering " + SizeText(setup_.width, setup_.height));
    }
  }
  if (!prepared_) {
    instance_.Prepare();
    prepared_ = true;
  }
  for (int k = 0; k < count; ++k) {
    inputs_[k] = setup_.lumaChroma ? ArgbToAyuv(*given[k]) : *given[k];
    instance_.SetInput(k, inputs_[k].bytes.data());
  }
  output_ = Frame(setup_.width, setup_.height, setup_.lumaChroma ? kAyuvBlack : kArgbBlack);
}

void Renderer::Process() {
  try {
    instance_.Process(output_.bytes.data());
  } catch (const Error& error) {
    if (error.Status() == VEK_E_NOTIMPL) throw Error(effect_.classId + " is not implemented yet", VEK_E_NOTIMPL);
    throw;
  }
}

Frame Renderer::Output() const {
  return setup_.lumaChroma ? AyuvToArgb(output_) : output_;
}

}  // namespace vek::host
