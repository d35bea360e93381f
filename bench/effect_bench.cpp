#include "effect_bench.h"

#include <cstdlib>
#include <cstring>
#include <set>

#include "module/catalogue.h"
#include "ratio_reporter.h"

namespace vek::bench {
namespace {

const VekEffectDescriptor& Row(std::string_view classId) {
  for (const VekEffectDescriptor& row : EffectTable()) {
    if (classId == row.classId) return row;
  }
  std::abort();
}

void BaselineCopy(benchmark::State& state, Size size) {
  Frames frames(size);
  for (auto _ : state) {
    std::memcpy(frames.out.data(), frames.a.data(), frames.bytes);
    benchmark::ClobberMemory();
  }
}

// Reads two frames and writes one: the least any two-input transition must do.
void BaselineReadTwoWriteOne(benchmark::State& state, Size size) {
  Frames frames(size);
  for (auto _ : state) {
    const uint8_t *a = frames.a.data(), *b = frames.b.data();
    uint8_t* out = frames.out.data();
    for (std::size_t i = 0; i < frames.bytes; ++i) out[i] = uint8_t((a[i] + b[i]) >> 1);
    benchmark::ClobberMemory();
  }
}

}  // namespace

std::string Size::Name() const { return bench::Name({std::to_string(width), "x", std::to_string(height)}); }

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

void RenderEffect(benchmark::State& state, const EffectSetup& setup) {
  const VekEffectDescriptor& row = Row(setup.classId);
  Frames frames(setup.size);
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
  for (auto _ : state) {
    if (row.callbacks.process(&instance) != VEK_S_OK) state.SkipWithError("Process failed");
    benchmark::ClobberMemory();
  }
  row.callbacks.destroy(&instance);
}

BaselineNames RegisterBaselines(Size size) {
  static std::set<std::string> registered;
  BaselineNames names{Name({"memcpy/", size.Name()}), Name({"read2write1/", size.Name()})};
  if (registered.insert(size.Name()).second) {
    RegisterBaseline(names.copy, [size](benchmark::State& s) { BaselineCopy(s, size); });
    RegisterBaseline(names.readTwoWriteOne, [size](benchmark::State& s) { BaselineReadTwoWriteOne(s, size); });
  }
  return names;
}

}  // namespace vek::bench
