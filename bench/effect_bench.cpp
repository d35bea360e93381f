#include "effect_bench.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <set>

#include "module/catalogue.h"
#include "ratio_reporter.h"
#include "vekhost/pictures.h"

namespace vek::bench {
namespace {

const VekEffectDescriptor& Row(std::string_view classId) {
  for (const VekEffectDescriptor& row : EffectTable()) {
    if (classId == row.classId) return row;
  }
  std::abort();
}

void BaselineCopy(Frames& frames) {
  std::memcpy(frames.out.data(), frames.a.data(), frames.bytes);
}

void BaselineReadTwoWriteOne(Frames& frames) {
  const uint8_t *a = frames.a.data(), *b = frames.b.data();
  uint8_t* out = frames.out.data();
  for (std::size_t i = 0; i < frames.bytes; ++i) out[i] = uint8_t((a[i] + b[i]) >> 1);
}

// Sets up one instance on its own frames as a host does, and hands `measure` the frames, the
// instance and a call of its Process.
template <class Measure>
void WithEffect(benchmark::State& state, const EffectSetup& setup, Measure&& measure) {
  const VekEffectDescriptor& row = Row(setup.classId);
  Frames frames(setup.size);
  if (setup.picture) {
    const host::Frame picture = host::BuiltInPicture(host::Picture::kA, setup.size.width, setup.size.height);
    std::copy(picture.bytes.begin(), picture.bytes.end(), frames.a.begin());
  }
  std::vector<uint8_t> privateBlock(row.privateBytes), values(1024);
  VekEffectInstance instance{};
  instance.descriptor = &row;
  instance.privateBlock = privateBlock.data();
  instance.paramValues = values.data();
  instance.width = uint32_t(setup.size.width);
  instance.height = uint32_t(setup.size.height);
  instance.renderHint = setup.renderHint;
  instance.fieldMode = setup.fieldMode;
  instance.workerCount = setup.workers;
  instance.colourLayout = setup.colourLayout;
  instance.randomSeed = setup.randomSeed;
  instance.sourceGeometry[0] = setup.displayWidth;
  instance.sourceGeometry[1] = setup.displayHeight;
  row.callbacks.init(&instance);
  if (setup.configure) setup.configure(values.data());
  if (row.callbacks.prepare(&instance) != VEK_S_OK) state.SkipWithError("Prepare failed");
  VekInputSample a{}, b{};
  a.privateBlock = b.privateBlock = privateBlock.data();
  a.frame = frames.a.data();
  b.frame = frames.b.data();
  row.callbacks.setInput(0, &a);
  row.callbacks.setInput(1, &b);
  instance.output = frames.out.data();
  measure(frames, instance, [&] {
    if (row.callbacks.process(&instance) != VEK_S_OK) state.SkipWithError("Process failed");
  });
  row.callbacks.destroy(&instance);
}

}  // namespace

std::string Size::Name() const {
  return bench::Name({std::to_string(width), "x", std::to_string(height)});
}

std::string Name(std::initializer_list<std::string_view> parts) {
  std::string name;
  for (std::string_view part : parts) name.append(part);
  return name;
}

Frames::Frames(Size size) : bytes(std::size_t(size.width) * size.height * 4) {
  constexpr std::size_t kPage = 4096, kStagger = 1088;
  const std::size_t stride = (bytes + kPage - 1) / kPage * kPage + kPage;  // room for any offset in a page
  storage.resize(3 * stride + kPage);
  const std::size_t misalignment = reinterpret_cast<uintptr_t>(storage.data()) % kPage;
  uint8_t* base = storage.data() + (misalignment ? kPage - misalignment : 0);
  a = {base + kStagger, bytes};
  b = {base + stride + 2 * kStagger % kPage, bytes};
  out = {base + 2 * stride + 3 * kStagger % kPage, bytes};
  for (std::size_t i = 0; i < bytes; ++i) {
    a[i] = uint8_t(i * 7 + (i >> 9));
    b[i] = uint8_t(255 - i * 3);
  }
  for (std::size_t i = 3; i < bytes; i += 16) b[i] = 128;
}

void RunBaseline(BaselineKind kind, Frames& frames) {
  if (kind == BaselineKind::kCopy) return BaselineCopy(frames);
  BaselineReadTwoWriteOne(frames);
}

void RegisterPaired(const std::string& name, const Baseline& baseline,
                    std::function<void(benchmark::State&, BaselineKind)> measure) {
  SetBaseline(name, baseline.name);
  benchmark::RegisterBenchmark(name.c_str(), [measure, kind = baseline.kind](benchmark::State& state) {
    measure(state, kind);
  })->UseManualTime();
}

void RegisterEffect(const std::string& name, const Baseline& baseline, const EffectSetup& setup) {
  RegisterPaired(name, baseline, [setup](benchmark::State& state, BaselineKind kind) {
    WithEffect(state, setup,
               [&](Frames& frames, VekEffectInstance&, auto process) { TimeAgainst(state, kind, frames, process); });
  });
}

void RegisterWorkerSpeedUp(const std::string& name, const EffectSetup& setup) {
  SetBaseline(name, "the same, 1 worker");
  benchmark::RegisterBenchmark(name.c_str(), [setup](benchmark::State& state) {
    WithEffect(state, setup, [&](Frames&, VekEffectInstance& instance, auto process) {
      TimeAgainst(
          state,
          [&] {
            instance.workerCount = 1;
            process();
          },
          [&] {
            instance.workerCount = setup.workers;
            process();
          });
    });
  })->UseManualTime();
}

Baselines RegisterBaselines(Size size) {
  static std::set<std::string> registered;
  const Baselines baselines{{Name({"memcpy/", size.Name()}), BaselineKind::kCopy},
                            {Name({"read2write1/", size.Name()}), BaselineKind::kReadTwoWriteOne}};
  if (registered.insert(size.Name()).second) {
    for (const Baseline& baseline : {baselines.copy, baselines.readTwoWriteOne}) {
      RegisterBaseline(baseline.name, [size, kind = baseline.kind](benchmark::State& state) {
        Frames frames(size);
        for (auto _ : state) {
          RunBaseline(kind, frames);
          benchmark::ClobberMemory();
        }
      });
    }
  }
  return baselines;
}

}  // namespace vek::bench
