// DSP_TR_3DFlip, DSP_TR_3DFlipTwo: the picture turns over like a card. A is printed on the front
// of a thin grey slab and B on its back; the slab makes a half turn while it moves away and back.
#include <cstring>
#include <new>

#include "image/image.h"
#include "render/mesh_scene.h"
#include "render/trig.h"
#include "transitions/transition.h"
#include "transitions3d/transitions3d.h"

using namespace vek;
using render::kPi;
using render::MeshScene;

namespace {

struct FlipState {
  TransitionHead head;
  MeshScene* scene;     // from Prepare to ReleaseResources
  int32_t built;        // the slab has been built and added as object 1
  int32_t spare[2];     // zeroed by Prepare, not read
  uint32_t sideColour;  // 0xRRGGBB of the slab's sides
  float thickness;
};
static_assert(sizeof(FlipState) == TR_3DFlip::kPrivateBytes && sizeof(FlipState) == TR_3DFlipTwo::kPrivateBytes);

constexpr int kSlab = 1;  // the slab's object number in the scene
constexpr uint32_t kSideColour = 0x787878;
constexpr float kThickness = 0.5f;

// Texture corners top-left, top-right, bottom-left, bottom-right. B's corners make it read the
// right way round once the slab has turned over: a turn about the horizontal axis shows the back
// upside down, a turn about the vertical axis mirrored.
constexpr float kUpright[8] = {0, 0, 1, 0, 0, 1, 1, 1};
constexpr float kRotatedHalf[8] = {1, 1, 0, 1, 1, 0, 0, 0};

FlipState* StateOf(VekEffectInstance* instance) {
  return static_cast<FlipState*>(instance->privateBlock);
}

VekStatus InitFlip(VekEffectInstance* instance, const VekParamDescriptor* rows, uint32_t count) {
  // A host's private block may hold anything; from here on the scene pointer is null or ours.
  if (instance && instance->privateBlock) {
    StateOf(instance)->scene = nullptr;
    StateOf(instance)->built = 0;
  }
  return InitWithDefaults(instance, rows, count);
}

VekStatus ReleaseFlip(VekEffectInstance* instance) {
  if (!instance) return VEK_E_FAIL;
  if (!instance->privateBlock) return VEK_S_OK;
  FlipState& state = *StateOf(instance);
  if (state.scene) {
    if (state.built) state.scene->ReleaseContent();
    delete state.scene;
  }
  state.scene = nullptr;
  state.built = 0;
  return VEK_S_OK;
}

VekStatus PrepareFlip(VekEffectInstance* instance) {
  if (!instance) return VEK_E_FAIL;
  instance->prepared = 1;
  if (!instance->privateBlock) return VEK_E_FAIL;
  ReleaseFlip(instance);
  FlipState& state = *StateOf(instance);
  state.spare[0] = state.spare[1] = 0;
  state.sideColour = kSideColour;
  state.thickness = kThickness;
  // The render hint is the processing-option word the scene hands to its context.
  state.scene = new (std::nothrow) MeshScene(instance->renderHint);
  return state.scene ? VEK_S_OK : VEK_E_OUTOFMEMORY;
}

// The slab: a box as wide as the picture plane, as high as the frame's aspect gives, `thickness`
// deep, grey all over, with A on its front; added to the scene as object 1.
bool BuildSlab(const FlipState& state, MeshScene& scene, int width, int height) {
  const float aspect = float(width) / float(height);
  const float halfHeight = MeshScene::kPictureHalfWidth / aspect, halfDepth = state.thickness / 2;
  const uint8_t grey[3] = {uint8_t(state.sideColour >> 16), uint8_t(state.sideColour >> 8), uint8_t(state.sideColour)};
  render::Mesh slab;
  if (!slab.Box(-MeshScene::kPictureHalfWidth, MeshScene::kPictureHalfWidth, -halfHeight, halfHeight, -halfDepth,
                halfDepth, grey)) {
    return false;
  }
  slab.MapImage(render::kFaceFront, kUpright);
  return scene.AddObject(slab) == kSlab;
}

// Motion of the slab, multiplied onto its transform after the reset.
using Motion = void (*)(MeshScene& scene, float progress, float thickness, float offset);

// DSP_TR_3DFlip: pulled back 4 sin(pi p) while it turns half over, shifted sideways by the offset.
template <int Sign, int AxisX, int AxisY>
void FlipMotion(MeshScene& scene, float p, float t, float offset) {
  const double pulled = -double(t) / 2 - 4.0 * render::Sin(kPi * double(p));
  scene.Translate(kSlab, offset, 0.0f, float(pulled));
  scene.Rotate(kSlab, float(Sign * kPi * double(p)), float(AxisX), float(AxisY), 0.0f);
}

void FullFlip(MeshScene& scene, float p, float t, float) {
  scene.Translate(kSlab, 0.0f, 0.0f, float(-double(t) / 2 - 4.0 * render::Sin(kPi * double(p))));
  scene.Rotate(kSlab, float(4.71238898038469 * double(p)), 0.0f, 0.0f, 1.0f);
  scene.Rotate(kSlab, float(-kPi * double(p)), 1.0f, -1.0f, 0.0f);
}

// A somersault about a point 2 units behind the picture, while the slab turns back half over.
void Handspring(MeshScene& scene, float p, float t, float) {
  scene.Translate(kSlab, 0.0f, 0.0f, -t / 2);
  scene.Translate(kSlab, 0.0f, 0.0f, -2.0f);
  scene.Rotate(kSlab, float(6.283185307179586 * double(p)), 1.0f, 0.0f, 0.0f);
  scene.Translate(kSlab, 0.0f, 0.0f, 2.0f);
  scene.Rotate(kSlab, float(-kPi * double(p)), 1.0f, 0.0f, 0.0f);
}

// Thrown 12 units back at the midpoint, spinning seven half turns.
void HeadTail(MeshScene& scene, float p, float t, float) {
  const double arc = 2.0 * double(p) - 1.0;
  scene.Translate(kSlab, 0.0f, 0.0f, float(-double(t) / 2 - 12.0 * (1.0 - arc * arc)));
  scene.Rotate(kSlab, float(4.71238898038469 * double(p)), 0.0f, 0.0f, 1.0f);
  scene.Rotate(kSlab, float(-21.991148575128552 * double(p)), 1.0f, -1.0f, 0.0f);
}

struct Variant {
  Motion motion;
  const float* backCorners;
};
constexpr Variant kFlipVariants[] = {{&FlipMotion<1, 1, 0>, kRotatedHalf},
                                     {&FlipMotion<-1, 1, 0>, kRotatedHalf},
                                     {&FlipMotion<-1, 0, 1>, kUpright},
                                     {&FlipMotion<1, 0, 1>, kUpright}};
constexpr Variant kFlipTwoVariants[] = {{&FullFlip, kUpright}, {&Handspring, kRotatedHalf}, {&HeadTail, kUpright}};

// Offset modes 1 and 2 shift the slab by minus or plus the amount, faded in over the first and out
// over the last tenth of the progress.
float LateralOffset(const VekEffectInstance& instance, float p) {
  float offset = instance.offsetMode == 1   ? -instance.offsetAmount
                 : instance.offsetMode == 2 ? instance.offsetAmount
                                            : 0;
  if (offset != 0.0f) {
    if (p < 0.1f) offset = offset * p / 0.1f;
    if (p > 0.9f) offset = offset * (1.0f - p) / 0.1f;
  }
  return offset;
}

// The renderer of both effects. Failures inside it leave the output as it is.
void RenderFlip(const VekEffectInstance& instance, FlipState& state, const TransitionFrame& frame,
                const Variant& variant, bool sizeAfterBuilding, bool offsetModes) {
  MeshScene* scene = state.scene;
  if (!scene) return;
  const int w = frame.width, h = frame.height;
  // A frame of another size than the scene was sized for would make it read and write past the
  // frames, and an unsized scene cannot draw: the slab is built again, and the sizing retried.
  if (state.built && (scene->Width() != w || scene->Height() != h)) {
    scene->ReleaseContent();
    state.built = 0;
  }
  if (!state.built) {
    if (!sizeAfterBuilding && !scene->Size(w, h, true)) return;
    if (!BuildSlab(state, *scene, w, h)) return;
    state.built = 1;
    // Kept on purpose: DSP_TR_3DFlipTwo sizes the scene only now, and a frame whose sizing fails
    // stays unrendered although the slab counts as built (the next frame builds and sizes again).
    if (sizeAfterBuilding && !scene->Size(w, h, true)) return;
  }
  scene->MapImage(kSlab, render::kFaceBack, variant.backCorners);
  if (!scene->BindImages(kSlab, frame.sourceA, frame.sourceB, w, h) || !scene->SetRenderTarget(frame.output)) return;

  // Both ends are the sources themselves, compared exactly.
  const std::size_t bytes = frame.rowBytes * std::size_t(h);
  if (frame.progress == 0.0f) {
    std::memcpy(frame.output, frame.sourceA, bytes);
    return;
  }
  if (frame.progress == 1.0f) {
    std::memcpy(frame.output, frame.sourceB, bytes);
    return;
  }
  // The background: AYUV black (16, 128, 128), or zero bytes.
  const bool lumaChroma = instance.colourLayout == VEK_LAYOUT_LUMA_CHROMA;
  scene->SetPixelFormat(lumaChroma ? 1 : 0);
  const uint32_t background = lumaChroma ? VEKImageUtility::CImageAYUV().Pixel({0, 0, 0, 0}) : 0;
  scene->SetWorkers(instance.workerCount);
  scene->ResetTransform(kSlab);
  const float p = frame.progress;
  variant.motion(*scene, p, state.thickness, offsetModes ? LateralOffset(instance, p) : 0.0f);
  scene->Draw(background);
}

template <class Effect, std::size_t N>
VekStatus ProcessFlip(VekEffectInstance* instance, const Variant (&variants)[N], bool flipTwo) {
  TransitionFrame frame;
  if (!BeginTransition(instance, frame)) return VEK_E_FAIL;
  if (!frame.HasBuffers()) return VEK_E_FAIL;
  int32_t choice;
  if (!ReadChoice(*instance, Effect::kParams.data(), 1, choice) || choice >= int32_t(N)) return VEK_E_FAIL;
  // The renderer's own outcome is not reported: the frame counts as processed.
  RenderFlip(*instance, *StateOf(instance), frame, variants[choice], flipTwo, !flipTwo);
  return VEK_S_OK;
}

}  // namespace

constinit decltype(TR_3DFlip::kParams) TR_3DFlip::kParams =
    Rows(ProgressRow<0.3f>(),
         TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_3DFlipTwo::kParams) TR_3DFlipTwo::kParams =
    Rows(ProgressRow<0.3f>(),
         TransitionChoiceRow<"IDS_Tr_Param_Type_Name;FullFlip;Handspring;HeadTail">("IDS_Tr_Param_Type_Desc"));

VekStatus TR_3DFlip::Init(VekEffectInstance* instance) noexcept {
  return InitFlip(instance, kParams.data(), kParamCount);
}
VekStatus TR_3DFlip::Destroy(VekEffectInstance* instance) noexcept {
  return ReleaseFlip(instance);
}
VekStatus TR_3DFlip::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return TwoInputs::Store(index, sample, kPrivateBytes);
}
VekStatus TR_3DFlip::Prepare(VekEffectInstance* instance) noexcept {
  return PrepareFlip(instance);
}
VekStatus TR_3DFlip::ReleaseResources(VekEffectInstance* instance) noexcept {
  return ReleaseFlip(instance);
}
VekStatus TR_3DFlip::Process(VekEffectInstance* instance) noexcept {
  return ProcessFlip<TR_3DFlip>(instance, kFlipVariants, false);
}

VekStatus TR_3DFlipTwo::Init(VekEffectInstance* instance) noexcept {
  return InitFlip(instance, kParams.data(), kParamCount);
}
VekStatus TR_3DFlipTwo::Destroy(VekEffectInstance* instance) noexcept {
  return ReleaseFlip(instance);
}
VekStatus TR_3DFlipTwo::SetInput(int32_t index, VekInputSample* sample) noexcept {
  return TwoInputs::Store(index, sample, kPrivateBytes);
}
VekStatus TR_3DFlipTwo::Prepare(VekEffectInstance* instance) noexcept {
  return PrepareFlip(instance);
}
VekStatus TR_3DFlipTwo::ReleaseResources(VekEffectInstance* instance) noexcept {
  return ReleaseFlip(instance);
}
VekStatus TR_3DFlipTwo::Process(VekEffectInstance* instance) noexcept {
  return ProcessFlip<TR_3DFlipTwo>(instance, kFlipTwoVariants, true);
}
