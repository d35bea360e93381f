// The volume mixer as a host calls it: 4 stereo 16-bit inputs at 48 kHz with ramps and the limiter
// working, beside a plain loop that ramps, sums and clips the same inputs; and the unity shortcut
// beside memcpy. Each case also reports its speed as frames a second ("items").
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "module/catalogue.h"
#include "ratio_reporter.h"

namespace vek::bench {
namespace {

constexpr int kInputs = 4, kChannels = 2, kMixFrames = 1024, kCopyFrames = 8192;
constexpr float kStart[kInputs] = {1.6f, 1.2f, 0.9f, 2.0f}, kEnd[kInputs] = {1.9f, 1.0f, 1.4f, 1.5f};

const VekEffectDescriptor& VolumeRow() {
  for (const VekEffectDescriptor& row : EffectTable()) {
    if (std::strcmp(row.classId, "DSP_AU_VolumeAdj") == 0) return row;
  }
  std::abort();
}

// Loud music-like blocks: a few sines near full scale, so the sum needs the limiter.
std::vector<std::vector<int16_t>> Inputs(int frames) {
  std::vector<std::vector<int16_t>> inputs(kInputs, std::vector<int16_t>(std::size_t(frames) * kChannels));
  for (int i = 0; i < kInputs; ++i) {
    for (int k = 0; k < frames * kChannels; ++k) {
      inputs[i][k] = int16_t(20000 * std::sin(0.003 * (i + 1) * k) + 9000 * std::sin(0.05 * k + i));
    }
  }
  return inputs;
}

// One instance run as a host runs it: every iteration SetInput per input with its ramp, then Process.
void MixBlocks(benchmark::State& state, int inputCount, int frames, bool ramps, int renderHint) {
  const VekEffectDescriptor& row = VolumeRow();
  std::vector<uint8_t> privateBlock(row.privateBytes), values(8);
  auto inputs = Inputs(frames);
  std::vector<int16_t> out(std::size_t(frames) * kChannels);
  VekEffectInstance instance{};
  instance.descriptor = &row;
  instance.privateBlock = privateBlock.data();
  instance.paramValues = values.data();
  instance.renderHint = renderHint;
  const int32_t format[4] = {48000, kChannels, 16, frames};
  std::memcpy(instance.audioFormat, format, sizeof format);
  row.callbacks.init(&instance);
  if (row.callbacks.prepare(&instance) != VEK_S_OK) state.SkipWithError("Prepare failed");
  instance.output = reinterpret_cast<uint8_t*>(out.data());
  VekInputSample samples[kInputs]{};
  float volumes[kInputs][2];
  for (int i = 0; i < inputCount; ++i) {
    volumes[i][0] = ramps ? kStart[i] : 1.0f;
    volumes[i][1] = ramps ? kEnd[i] : 1.0f;
    samples[i].privateBlock = privateBlock.data();
    samples[i].frame = reinterpret_cast<uint8_t*>(inputs[i].data());
    samples[i].paramValues = reinterpret_cast<uint8_t*>(volumes[i]);
    samples[i].endValueOffset = 4;
  }
  for (auto _ : state) {
    for (int i = 0; i < inputCount; ++i) row.callbacks.setInput(i, &samples[i]);
    if (row.callbacks.process(&instance) != VEK_S_OK) state.SkipWithError("Process failed");
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * frames);
  row.callbacks.destroy(&instance);
}

// The least a mixer does: a linear gain ramp per input, the sum, and a hard clip.
void PlainMixLoop(benchmark::State& state) {
  const auto inputs = Inputs(kMixFrames);
  std::vector<int16_t> out(std::size_t(kMixFrames) * kChannels);
  const int samples = kMixFrames * kChannels;
  for (auto _ : state) {
    int32_t gain[kInputs], step[kInputs];
    for (int i = 0; i < kInputs; ++i) {
      gain[i] = int32_t(kStart[i] * 2048) << 8;
      step[i] = ((int32_t(kEnd[i] * 2048) - int32_t(kStart[i] * 2048)) << 8) / (samples - 1);
    }
    for (int k = 0; k < samples; ++k) {
      int32_t acc = 0;
      for (int i = 0; i < kInputs; ++i) {
        acc += inputs[i][k] * (gain[i] >> 8);
        gain[i] += step[i];
      }
      out[k] = int16_t(std::clamp(acc >> 11, -32767, 32767));
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kMixFrames);
}

void CopyBlock(benchmark::State& state) {
  const auto inputs = Inputs(kCopyFrames);
  std::vector<int16_t> out(inputs[0].size());
  for (auto _ : state) {
    std::memcpy(out.data(), inputs[0].data(), out.size() * sizeof(int16_t));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kCopyFrames);
}

[[maybe_unused]] const bool kRegistered = [] {
  const std::string plain = "audio/plain_ramp_sum_clip/4x2ch16";
  RegisterBaseline(plain, PlainMixLoop);
  RegisterAgainst("audio/VolumeAdj/4x2ch16/limited/vector", plain,
                  [](benchmark::State& s) { MixBlocks(s, kInputs, kMixFrames, true, 3); });
  RegisterAgainst("audio/VolumeAdj/4x2ch16/limited/scalar", plain,
                  [](benchmark::State& s) { MixBlocks(s, kInputs, kMixFrames, true, 0); });
  const std::string copy = "audio/memcpy/2ch16x8192";
  RegisterBaseline(copy, CopyBlock);
  RegisterAgainst("audio/VolumeAdj/unity_copy/2ch16x8192", copy,
                  [](benchmark::State& s) { MixBlocks(s, 1, kCopyFrames, false, 3); });
  return true;
}();

}  // namespace
}  // namespace vek::bench
