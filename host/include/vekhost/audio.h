// Audio through the volume effects as a host mixes it: WAV files in and out (libsndfile), and the
// mix of whole files block by block, each input with its own volume ramp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "vekhost/catalogue.h"
#include "vekhost/instance.h"

namespace vek::host {

struct AudioFormat {
  int sampleRate = 0;
  int channels = 0;
  int bitsPerSample = 0;  // 8, 16, 24 or 32
  bool operator==(const AudioFormat&) const = default;
};
// "48000 Hz, 2 channels, 16-bit"
std::string FormatText(const AudioFormat& format);

// Interleaved PCM as the plug-in takes it: little-endian, 8-bit samples unsigned around 128.
struct Audio {
  AudioFormat format;
  int64_t frames = 0;
  std::vector<uint8_t> samples;
  std::size_t FrameBytes() const { return std::size_t(format.channels) * std::size_t(format.bitsPerSample / 8); }
};

// A PCM WAV file of 8, 16, 24 or 32 bits. Throws Error naming the file, also for any other
// encoding and in a build without libsndfile.
Audio ReadWav(const std::filesystem::path& path);
void WriteWav(const Audio& audio, const std::filesystem::path& path);

// The volume of one input across the whole mix: linear from start to end.
struct VolumeRamp {
  float start = 1.0f;
  float end = 1.0f;
};

struct MixReport {
  int64_t blocks = 0;
  // Blocks in which some sample left the mix of the ramped inputs by more than the fixed-point
  // rounding of the mixer explains: the blocks the limiter touched.
  int64_t limitedBlocks = 0;
  double peak = 0.0;  // the loudest output sample as a fraction of full scale
};

constexpr int kMaxAudioInputs = 16;

// One volume effect instance prepared for a format and block length: each block, SetInput once
// per input with its start and end volume, then Process. Throws Error when Prepare refuses.
class AudioMixer {
 public:
  AudioMixer(const Effect& effect, const AudioFormat& format, int blockFrames, bool vector = true);
  // One output block from up to 16 input blocks of blockFrames frames each.
  void MixBlock(const std::vector<const uint8_t*>& blocks, const std::vector<VolumeRamp>& ramps, uint8_t* out);
  Instance& GetInstance() { return instance_; }

 private:
  Instance instance_;
};

// Mixes whole inputs of one format (Error otherwise): shorter ones are padded with silence, the
// last block is padded and cut back. One ramp per input.
Audio MixAudio(const Effect& effect, const std::vector<Audio>& inputs, const std::vector<VolumeRamp>& ramps,
               int blockFrames, MixReport& report);

}  // namespace vek::host
