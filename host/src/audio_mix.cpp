#include <algorithm>
#include <cmath>
#include <cstring>

#include "vekhost/audio.h"
#include "vekhost/error.h"
#include "vekhost/render.h"

namespace vek::host {
namespace {

int32_t SampleAt(const uint8_t* block, int bits, std::size_t k) {
  const uint8_t* p = block + k * std::size_t(bits / 8);
  switch (bits) {
    case 8: return int32_t(p[0]) - 128;
    case 16: return int16_t(uint16_t(p[0] | (p[1] << 8)));
    case 24: return int32_t((uint32_t(p[0]) << 8) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 24)) >> 8;
    default: return int32_t(uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24));
  }
}

// True when some output sample of the block leaves the plain mix of its ramped inputs by more
// than the mixer's fixed point explains: gains truncated to 1/2048 at both ends and a ramp that
// may stand one unit short (three units in all), and the shift of the sum.
bool LimiterTouched(const std::vector<const uint8_t*>& blocks, const std::vector<VolumeRamp>& ramps,
                    const uint8_t* out, int bits, std::size_t samples) {
  const double rampLength = double(samples - 1);
  for (std::size_t k = 0; k < samples; ++k) {
    double mix = 0.0, slack = 2.0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      const double s = SampleAt(blocks[i], bits, k);
      mix += s * (ramps[i].start + (ramps[i].end - ramps[i].start) * double(k) / rampLength);
      slack += std::fabs(s) * 3.0 / 2048.0;
    }
    if (std::fabs(SampleAt(out, bits, k) - mix) > slack) return true;
  }
  return false;
}

}  // namespace

std::string FormatText(const AudioFormat& format) {
  return std::to_string(format.sampleRate) + " Hz, " + std::to_string(format.channels) +
         (format.channels == 1 ? " channel, " : " channels, ") + std::to_string(format.bitsPerSample) + "-bit";
}

AudioMixer::AudioMixer(const Effect& effect, const AudioFormat& format, int blockFrames, bool vector)
    : instance_(effect) {
  if (!IsAudio(effect)) throw Error(effect.classId + " is not an audio effect");
  VekEffectInstance& record = instance_.Record();
  const int32_t words[4] = {format.sampleRate, format.channels, format.bitsPerSample, blockFrames};
  std::memcpy(record.audioFormat, words, sizeof words);
  record.renderHint = vector ? 3 : 0;
  try {
    instance_.Prepare();
  } catch (const Error& error) {
    throw Error(effect.classId + " cannot mix " + FormatText(format) + " in blocks of " + std::to_string(blockFrames) +
                    " frames (rates up to 192000 Hz, 8 to 32 bits, 1 to 8 channels, 1 to 20000 frames a block)",
                error.Status());
  }
}

void AudioMixer::MixBlock(const std::vector<const uint8_t*>& blocks, const std::vector<VolumeRamp>& ramps,
                          uint8_t* out) {
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    instance_.SetAudioInput(int32_t(i), const_cast<uint8_t*>(blocks[i]), ramps[i].start, ramps[i].end);
  }
  instance_.Process(out);
}

Audio MixAudio(const Effect& effect, const std::vector<Audio>& inputs, const std::vector<VolumeRamp>& ramps,
               int blockFrames, MixReport& report) {
  if (inputs.empty()) throw Error("nothing to mix: give at least one input");
  if (inputs.size() > std::size_t(kMaxAudioInputs)) {
    throw Error(std::to_string(inputs.size()) + " inputs: the volume effects mix at most 16");
  }
  if (ramps.size() != inputs.size()) throw Error("give one volume ramp per input");
  const AudioFormat format = inputs.front().format;
  for (std::size_t i = 1; i < inputs.size(); ++i) {
    if (!(inputs[i].format == format)) {
      throw Error("input " + std::to_string(i) + " is " + FormatText(inputs[i].format) + ", input 0 " +
                  FormatText(format) + ": the inputs of a mix must share one format");
    }
  }
  if (blockFrames < 1) throw Error("a block holds at least one frame");
  AudioMixer mixer(effect, format, blockFrames);

  Audio result;
  result.format = format;
  for (const Audio& input : inputs) result.frames = std::max(result.frames, input.frames);
  const std::size_t frameBytes = result.FrameBytes(), blockBytes = frameBytes * std::size_t(blockFrames);
  const uint8_t silence = format.bitsPerSample == 8 ? 128 : 0;
  result.samples.resize(std::size_t(result.frames) * frameBytes);
  std::vector<std::vector<uint8_t>> padded(inputs.size(), std::vector<uint8_t>(blockBytes));
  std::vector<uint8_t> out(blockBytes);
  const auto volumeAt = [&](const VolumeRamp& ramp, int64_t frame) {
    const double last = double(std::max<int64_t>(result.frames - 1, 1));
    return float(ramp.start + (ramp.end - ramp.start) * double(std::min<int64_t>(frame, result.frames - 1)) / last);
  };
  report = {};
  int64_t peak = 0;
  for (int64_t first = 0; first < result.frames; first += blockFrames) {
    const int64_t frames = std::min<int64_t>(blockFrames, result.frames - first);
    std::vector<const uint8_t*> blocks;
    std::vector<VolumeRamp> blockRamps;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
      // Each input's share of this block, padded with silence past its end.
      const int64_t available = std::clamp<int64_t>(inputs[i].frames - first, 0, blockFrames);
      std::fill(padded[i].begin(), padded[i].end(), silence);
      if (available > 0) {
        std::memcpy(padded[i].data(), inputs[i].samples.data() + std::size_t(first) * frameBytes,
                    std::size_t(available) * frameBytes);
      }
      blocks.push_back(padded[i].data());
      blockRamps.push_back({volumeAt(ramps[i], first), volumeAt(ramps[i], first + blockFrames - 1)});
    }
    mixer.MixBlock(blocks, blockRamps, out.data());
    const std::size_t samples = std::size_t(blockFrames) * std::size_t(format.channels);
    ++report.blocks;
    report.limitedBlocks += LimiterTouched(blocks, blockRamps, out.data(), format.bitsPerSample, samples);
    for (std::size_t k = 0; k < std::size_t(frames) * std::size_t(format.channels); ++k) {
      peak = std::max<int64_t>(peak, std::abs(int64_t(SampleAt(out.data(), format.bitsPerSample, k))));
    }
    std::memcpy(result.samples.data() + std::size_t(first) * frameBytes, out.data(), std::size_t(frames) * frameBytes);
  }
  report.peak = double(peak) / std::ldexp(1.0, format.bitsPerSample - 1);
  return result;
}

}  // namespace vek::host
