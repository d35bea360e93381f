// The flip transitions at 1920x1080, every motion: one worker beside memcpy of one frame, two
// workers beside one worker on the same instance; and the renderer's stages apart: the supersampled drawing of the slab
// (set-up, 2 x 2 background, fill, reduction) and the same fill drawn straight into a frame of twice the size (set-up,
// background and fill).
#include <cstring>
#include <string>
#include <vector>

#include "effect_bench.h"
#include "render/mesh_scene.h"
#include "render/trig.h"

namespace vek::bench {
namespace {

std::function<void(uint8_t*)> Values(float progress, int32_t choice) {
  return [=](uint8_t* values) {
    std::memcpy(values, &progress, sizeof progress);
    std::memcpy(values + 4, &choice, sizeof choice);
  };
}

// The flip's slab turned "up" at progress p, drawn by a scene of its own.
struct SlabScene {
  SlabScene(Size size, bool supersample, float p, int workers) : frames(size), scene(0) {
    width = supersample ? size.width : 2 * size.width;
    height = supersample ? size.height : 2 * size.height;
    target.resize(std::size_t(width) * height * 4);
    texture.assign(frames.a.begin(), frames.a.end());
    ok = scene.Size(width, height, supersample);
    const float half = 2.0f * height / width;
    const uint8_t grey[3] = {120, 120, 120};
    render::Mesh slab;
    ok = ok && slab.Box(-2, 2, -half, half, -0.25f, 0.25f, grey);
    const float corners[8] = {0, 0, 1, 0, 0, 1, 1, 1};
    slab.MapImage(render::kFaceFront, corners);
    ok = ok && scene.AddObject(slab) == 1 &&
         scene.BindImages(1, texture.data(), texture.data(), size.width, size.height) &&
         scene.SetRenderTarget(target.data());
    scene.SetWorkers(workers);
    scene.Translate(1, 0, 0, float(-0.25 - 4.0 * render::Sin(render::kPi * p)));
    scene.Rotate(1, float(render::kPi * p), 1, 0, 0);
  }
  Frames frames;
  render::MeshScene scene;
  std::vector<uint8_t> texture, target;
  int width, height;
  bool ok;
};

void DrawSlab(benchmark::State& state, Size size, bool supersample, float p, int workers, BaselineKind baseline) {
  SlabScene slab(size, supersample, p, workers);
  if (!slab.ok) state.SkipWithError("the scene could not be set up");
  TimeAgainst(state, baseline, slab.frames, [&] { slab.scene.Draw(0); });
}

[[maybe_unused]] const bool kRegistered = [] {
  const Size size{1920, 1080};
  const Baseline copy = RegisterBaselines(size).copy;
  struct Motion {
    const char* name;
    const char* effect;
    int32_t choice;
  };
  const Motion motions[] = {{"Flip/up", "DSP_TR_3DFlip", 0},
                            {"Flip/down", "DSP_TR_3DFlip", 1},
                            {"Flip/left", "DSP_TR_3DFlip", 2},
                            {"Flip/right", "DSP_TR_3DFlip", 3},
                            {"FlipTwo/FullFlip", "DSP_TR_3DFlipTwo", 0},
                            {"FlipTwo/Handspring", "DSP_TR_3DFlipTwo", 1},
                            {"FlipTwo/HeadTail", "DSP_TR_3DFlipTwo", 2}};
  for (const Motion& motion : motions) {
    for (const char* progress : {"0.3", "0.7"}) {
      const std::string name = Name({motion.name, "/p", progress});
      RegisterEffect(Name({name, "/workers1"}), copy,
                     {motion.effect, size, 3, 0, 1, Values(std::stof(progress), motion.choice)});
      RegisterWorkerSpeedUp(Name({name, "/workers2-vs-1"}),
                            {motion.effect, size, 3, 0, 2, Values(std::stof(progress), motion.choice)});
    }
  }
  for (int workers : {1, 2}) {
    const std::string suffix = Name({"/p0.3/workers", std::to_string(workers)});
    RegisterPaired(Name({"SlabStages/supersampled", suffix}), copy, [=](benchmark::State& s, BaselineKind baseline) {
      DrawSlab(s, size, true, 0.3f, workers, baseline);
    });
    RegisterPaired(Name({"SlabStages/fill-only-2x", suffix}), copy, [=](benchmark::State& s, BaselineKind baseline) {
      DrawSlab(s, size, false, 0.3f, workers, baseline);
    });
  }
  return true;
}();

}  // namespace
}  // namespace vek::bench
