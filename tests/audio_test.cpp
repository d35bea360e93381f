// The volume effects driven as a host drives them (Prepare, SetInput per input block, Process),
// checked against a fixed-point oracle written here in closed form, and the limiter's promises.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "audio/mixer.h"
#include "image/cpu.h"
#include "plugin_fixture.h"
#include "vekhost/audio.h"
#include "vekhost/error.h"

namespace {

using vek::host::AudioFormat;
using vek::host::AudioMixer;
using vek::host::VolumeRamp;
using Bytes = std::vector<uint8_t>;

const vek::host::Effect& Volume() { return vek::test::LoadedPlugin().FindEffect("DSP_AU_VolumeAdj"); }

int32_t Get(const Bytes& b, int bits, std::size_t k) {
  const uint8_t* p = b.data() + k * (bits / 8);
  switch (bits) {
    case 8: return p[0] - 128;
    case 16: return int16_t(p[0] | p[1] << 8);
    case 24: return int32_t(uint32_t(p[0]) << 8 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 24) >> 8;
    default: return int32_t(uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24);
  }
}
void Put(Bytes& b, int bits, std::size_t k, int32_t v) {
  uint8_t* p = b.data() + k * (bits / 8);
  if (bits == 8) {
    p[0] = uint8_t(v + 128);
    return;
  }
  for (int i = 0; i < bits / 8; ++i) p[i] = uint8_t(uint32_t(v) >> (8 * i));
}

// Samples uniformly in [-amplitude, amplitude] of full scale.
Bytes Noise(int bits, std::size_t samples, double amplitude, unsigned seed) {
  std::mt19937 random(seed);
  const double top = std::min(std::ldexp(amplitude, bits - 1), std::ldexp(1.0, bits - 1) - 1);
  std::uniform_int_distribution<int64_t> pick(-int64_t(top), int64_t(top));
  Bytes b(samples * (bits / 8));
  for (std::size_t k = 0; k < samples; ++k) Put(b, bits, k, int32_t(pick(random)));
  return b;
}

// The gain of a ramp from a to b after k steps, in closed form: g0 + k * step plus one unit for
// each time the remainder k * r has passed N (a multiple of N counts only once exceeded).
int64_t GainAt(float a, float b, int64_t n, int64_t k) {
  const int64_t g0 = int64_t(a * 2048), g1 = int64_t(b * 2048), d = g1 - g0;
  const int64_t r = std::abs(d) % n, units = (k == 0 || r == 0) ? 0 : (k * r - 1) / n;
  return g0 + k * (d / n) + (d > 0 ? units : -units);
}

// What the mixer gives while its limiter rests.
Bytes Oracle(const std::vector<Bytes>& inputs, const std::vector<VolumeRamp>& ramps, int bits) {
  const std::size_t samples = inputs[0].size() / (bits / 8);
  Bytes out(inputs[0].size());
  for (std::size_t k = 0; k < samples; ++k) {
    int64_t acc = 0;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
      acc += Get(inputs[i], bits, k) * GainAt(ramps[i].start, ramps[i].end, int64_t(samples) - 1, int64_t(k));
    }
    const int64_t v = acc >> (bits == 8 ? 3 : 11);
    Put(out, bits, k, int32_t(bits == 8 ? v >> 8 : v));
  }
  return out;
}

Bytes MixOnce(const std::vector<Bytes>& inputs, const std::vector<VolumeRamp>& ramps, AudioFormat format, int frames,
              bool vector = true) {
  AudioMixer mixer(Volume(), format, frames, vector);
  std::vector<const uint8_t*> blocks;
  for (const Bytes& input : inputs) blocks.push_back(input.data());
  Bytes out(inputs[0].size(), 0xA5);
  mixer.MixBlock(blocks, ramps, out.data());
  return out;
}

TEST(AudioShortcut, UnityVolumeCopiesEveryWidthBitForBit) {
  for (int bits : {8, 16, 24, 32}) {
    const Bytes loud = Noise(bits, 2 * 333, 1.0, unsigned(bits));
    Bytes out(loud.size() + 7, 0xA5);
    AudioMixer mixer(Volume(), {48000, 2, bits}, 333);
    mixer.MixBlock({loud.data()}, {{1.0f, 1.0f}}, out.data());
    EXPECT_TRUE(std::equal(loud.begin(), loud.end(), out.begin())) << bits << "-bit";
    EXPECT_EQ(Bytes(out.end() - 7, out.end()), Bytes(7, 0xA5)) << "nothing written past the block";
  }
  // Just below unity the block goes through the mixer: the gain is 2045/2048.
  const Bytes quiet = Noise(16, 2 * 256, 0.3, 5);
  EXPECT_EQ(MixOnce({quiet}, {{1.0f, 0.999f}}, {48000, 2, 16}, 256), Oracle({quiet}, {{1.0f, 0.999f}}, 16));
  EXPECT_NE(MixOnce({quiet}, {{1.0f, 0.999f}}, {48000, 2, 16}, 256), quiet);
}

// Both kernels, at frame counts around the vector widths and up to 8 channels, on quiet mixes
// (which must match the oracle) and on loud ones (which the limiter shapes alike in both).
TEST(AudioFixedPoint, BothKernelsMatchTheOracleWhenQuietAndEachOtherWhenLoud) {
  const std::vector<VolumeRamp> ramps = {{0.5f, 0.5f}, {1.0f, 1.0f}, {0.0f, 1.0f}, {1.0f, 0.25f}, {2.0f, 0.1f}};
  for (int bits : {8, 16, 24, 32}) {
    for (int channels : {1, 2, 3, 5, 8}) {
      for (int frames : {2, 7, 64, 301, 1001}) {
        for (double amplitude : {0.05, 1.0}) {
          SCOPED_TRACE(testing::Message() << bits << "-bit, " << channels << " channels, " << frames
                                          << " frames, amplitude " << amplitude);
          std::vector<Bytes> inputs;
          for (unsigned i = 0; i < ramps.size(); ++i) {
            inputs.push_back(Noise(bits, std::size_t(channels * frames), amplitude, unsigned(bits + channels) + i));
          }
          const AudioFormat format{44100, channels, bits};
          const Bytes scalar = MixOnce(inputs, ramps, format, frames, false);
          EXPECT_EQ(scalar, MixOnce(inputs, ramps, format, frames, true));
          if (amplitude < 1) {
            EXPECT_EQ(scalar, Oracle(inputs, ramps, bits));
          }
        }
      }
    }
  }
}

// A constant sample of 2048 makes every output sample the gain itself.
TEST(AudioFixedPoint, RampsWithARemainderStopOneUnitShort) {
  for (int bits : {16, 24, 32}) {
    for (bool vector : {false, true}) {
      // 0 to 1990/2048 divides evenly over N = 199 and reaches its end gain there.
      for (const VolumeRamp ramp : {VolumeRamp{0.25f, 1.0f}, VolumeRamp{1.0f, 0.25f}, VolumeRamp{0.5f, 1.5f},
                                    VolumeRamp{0.0f, 1990.0f / 2048}}) {
        for (int frames : {100, 512, 1023}) {  // N = 199, 1023, 2045
          Bytes input(2 * frames * (bits / 8));
          for (int k = 0; k < 2 * frames; ++k) Put(input, bits, k, 2048);
          const Bytes out = MixOnce({input}, {ramp}, {48000, 2, bits}, frames, vector);
          const int64_t g0 = int64_t(ramp.start * 2048), g1 = int64_t(ramp.end * 2048), n = 2 * frames - 1;
          const int64_t shortfall = (std::abs(g1 - g0) % n) ? (g1 > g0 ? 1 : -1) : 0;
          EXPECT_EQ(Get(out, bits, 0), g0);
          EXPECT_EQ(Get(out, bits, n), g1 - shortfall) << bits << "-bit, N = " << n << ", " << g0 << ".." << g1;
          EXPECT_EQ(out, Oracle({input}, {ramp}, bits)) << bits << "-bit, N = " << n;
        }
      }
    }
  }
}

TEST(AudioInputs, SixteenInputsSumAndASeventeenthIsRefused) {
  const int frames = 200;
  std::vector<Bytes> inputs;
  std::vector<VolumeRamp> ramps;
  for (int i = 0; i < 17; ++i) {
    inputs.push_back(Noise(16, 2 * frames, 0.02, unsigned(40 + i)));
    ramps.push_back({0.1f * float(i % 5), 1.0f - 0.05f * float(i)});
  }
  AudioMixer mixer(Volume(), {48000, 2, 16}, frames);
  for (int i = 0; i < 16; ++i) mixer.GetInstance().SetAudioInput(i, inputs[i].data(), ramps[i].start, ramps[i].end);
  try {
    mixer.GetInstance().SetAudioInput(16, inputs[16].data(), 1.0f, 1.0f);
    ADD_FAILURE() << "a 17th input was taken";
  } catch (const vek::host::Error& error) {
    EXPECT_EQ(error.Status(), VEK_E_FAIL);
  }
  Bytes out(inputs[0].size());
  mixer.GetInstance().Process(out.data());
  inputs.pop_back();
  ramps.pop_back();
  EXPECT_EQ(out, Oracle(inputs, ramps, 16)) << "the refused block is not mixed";
}

TEST(AudioContract, PrepareRefusesFormatsAndKeepsTheOldOne) {
  vek::host::Instance instance(Volume());
  VekEffectInstance& record = instance.Record();
  const VekEffectCallbacks& calls = Volume().descriptor->callbacks;
  const auto prepare = [&](int32_t rate, int32_t channels, int32_t bits, int32_t frames) {
    const int32_t words[4] = {rate, channels, bits, frames};
    std::memcpy(record.audioFormat, words, sizeof words);
    return calls.prepare(&record);
  };
  Bytes block(2 * 64 * 2), out(block.size());
  VekInputSample sample{};
  float volumes[2] = {0.5f, 0.5f};
  sample.privateBlock = instance.PrivateBlock();
  sample.frame = block.data();
  sample.paramValues = reinterpret_cast<uint8_t*>(volumes);
  sample.endValueOffset = 4;
  EXPECT_EQ(calls.setInput(0, &sample), VEK_E_FAIL) << "no input before Prepare";
  EXPECT_EQ(calls.process(&record), VEK_E_FAIL) << "no output block";
  EXPECT_EQ(prepare(192000, 2, 16, 64), VEK_S_OK);
  const std::array<int32_t, 4> refused[] = {{192001, 2, 16, 64}, {48000, 2, 12, 64}, {48000, 2, 0, 64},
                                            {48000, 9, 16, 64},  {48000, 0, 16, 64}, {48000, 2, 16, 20001},
                                            {48000, 1, 16, 1},   {0, 2, 16, 64}};
  for (const auto& bad : refused) {
    EXPECT_EQ(prepare(bad[0], bad[1], bad[2], bad[3]), VEK_E_FAIL) << bad[0] << " Hz " << bad[1] << " ch " << bad[2]
                                                                   << " bits " << bad[3] << " frames";
  }
  // Still 2 x 64 16-bit samples: a constant 1000 at volume 0.5 mixes to 500 everywhere.
  for (std::size_t k = 0; k < 128; ++k) Put(block, 16, k, 1000);
  ASSERT_EQ(calls.setInput(0, &sample), VEK_S_OK);
  EXPECT_EQ(calls.setInput(0, nullptr), VEK_E_FAIL);
  VekInputSample empty = sample;
  empty.frame = nullptr;
  EXPECT_EQ(calls.setInput(0, &empty), VEK_E_FAIL);
  record.output = nullptr;
  EXPECT_EQ(calls.process(&record), VEK_E_FAIL) << "a null output leaves the queue";
  record.output = out.data();
  ASSERT_EQ(calls.process(&record), VEK_S_OK);
  for (std::size_t k = 0; k < 128; ++k) ASSERT_EQ(Get(out, 16, k), 500) << k;
}

// A loud mix through several blocks: sines that swell far past full scale, with a burst that starts
// inside a block. The gain a frame got is read back as output / (mix without the limiter).
struct LoudRun {
  std::vector<double> reference;  // the exact mix, per sample
  Bytes out;
};
LoudRun RunLoud(int bits, int channels, int frames, int blocks) {
  AudioMixer mixer(Volume(), {48000, channels, bits}, frames);
  LoudRun run;
  const double top = std::ldexp(1.0, bits - 1) - 1;
  for (int b = 0; b < blocks; ++b) {
    std::vector<Bytes> inputs(3, Bytes(std::size_t(channels * frames * (bits / 8))));
    for (int f = 0; f < frames; ++f) {
      const int t = b * frames + f;
      const double swell = t < frames / 2 ? 0.05 : 0.95;  // the burst starts mid-block
      for (int c = 0; c < channels; ++c) {
        for (int i = 0; i < 3; ++i) {
          Put(inputs[i], bits, std::size_t(f * channels + c),
              int32_t(swell * top * std::sin(0.01 * t * (i + 1) + c)));
        }
      }
    }
    const std::vector<VolumeRamp> ramps = {{1.0f, 1.5f}, {1.5f, 1.5f}, {2.0f, 1.0f}};
    Bytes out(inputs[0].size());
    mixer.MixBlock({inputs[0].data(), inputs[1].data(), inputs[2].data()}, ramps, out.data());
    const std::size_t samples = std::size_t(channels * frames);
    for (std::size_t k = 0; k < samples; ++k) {
      double mix = 0;
      for (int i = 0; i < 3; ++i) {
        mix += Get(inputs[i], bits, k) * (ramps[i].start + (ramps[i].end - ramps[i].start) * double(k) / (samples - 1));
      }
      run.reference.push_back(bits == 8 ? mix * 256 : mix);
    }
    run.out.insert(run.out.end(), out.begin(), out.end());
  }
  return run;
}

TEST(AudioLimiter, LoudMixesStayUnderTheCeilingWithoutClicks) {
  for (int bits : {8, 16, 24, 32}) {
    const int channels = 2, frames = 4000, blocks = 3;
    const LoudRun run = RunLoud(bits, channels, frames, blocks);
    // 8-bit output keeps the top byte of the 16-bit scale, so -32,766 shows as -128 * 256.
    const double ceiling = bits == 8 ? 32768 : bits == 16 ? 32766 : bits == 24 ? 0x7FFFFF : 0x7FFFFFFF;
    const double scale = bits == 8 ? 256 : 1;
    double lowest = 1.0, previous = -1.0;
    for (std::size_t f = 0; f < run.reference.size() / channels; ++f) {
      double gain = 1.0, loudest = 0.0;
      for (int c = 0; c < channels; ++c) {
        const std::size_t k = f * channels + c;
        const double out = Get(run.out, bits, k) * scale, ref = run.reference[k];
        ASSERT_LE(std::fabs(out), ceiling) << bits << "-bit sample " << k;
        if (std::fabs(ref) > std::fabs(loudest)) loudest = ref, gain = out / ref;
        if (std::fabs(ref) > ceiling / 8) {
          ASSERT_GT(out * ref, 0) << bits << "-bit sample " << k << " changed sign";
        }
      }
      // Read the gain only where the sample is loud enough to show it to 0.2 %.
      if (std::fabs(loudest) * 0.002 < 3 * scale || f % frames == 0) {
        previous = -1.0;
        continue;
      }
      if (previous >= 0) {
        ASSERT_GT(gain, previous - 1.0 / 64 - 0.004) << bits << "-bit frame " << f << ": the gain fell too fast";
      }
      previous = gain;
      lowest = std::min(lowest, gain);
    }
    // 8-bit output is too coarse to read a gain from.
    if (bits > 8) {
      EXPECT_LT(lowest, 0.5) << bits << "-bit: the limiter did not work";
    }
  }
}

// Sixteen full-scale 16-bit inputs at volume 4 sum past 32 bits; the mix still keeps its sign and
// the ceiling.
TEST(AudioLimiter, SixteenFullScaleInputsAtFullVolume) {
  const int frames = 512;
  const Bytes loud = Noise(16, 2 * frames, 1.0, 3);
  const std::vector<Bytes> inputs(16, loud);
  const std::vector<VolumeRamp> ramps(16, VolumeRamp{4.0f, 4.0f});
  for (bool vector : {false, true}) {
    const Bytes out = MixOnce(inputs, ramps, {48000, 2, 16}, frames, vector);
    for (std::size_t k = 0; k < 2 * frames; ++k) {
      ASSERT_LE(std::abs(Get(out, 16, k)), 32766) << k;
      if (std::abs(Get(loud, 16, k)) > 100) {
        ASSERT_GT(Get(out, 16, k) * Get(loud, 16, k), 0) << k;
      }
    }
  }
}

TEST(AudioLimiter, QuietBlocksAfterALoudOneBecomeExactAgain) {
  AudioMixer mixer(Volume(), {48000, 2, 16}, 1024);
  const Bytes loud = Noise(16, 2048, 1.0, 7), quiet = Noise(16, 2048, 0.2, 8);
  Bytes out(loud.size());
  mixer.MixBlock({loud.data(), loud.data()}, {{2.0f, 2.0f}, {2.0f, 2.0f}}, out.data());
  for (int b = 0; b < 20; ++b) mixer.MixBlock({quiet.data()}, {{1.0f, 0.5f}}, out.data());
  EXPECT_EQ(out, Oracle({quiet}, {{1.0f, 0.5f}}, 16)) << "the limiter has recovered and rests";
}

// Kernels on their own, with ramps whose remainders hit every case of the lane steps, in eight
// 16-bit lanes (N up to 32,767) and in four 32-bit lanes.
TEST(AudioVariants, NarrowKernelsAgreeSampleForSample) {
  using namespace vek::audio;
  if (!vek::Sse41KernelsUsable()) GTEST_SKIP() << "no SSE4.1 on this processor";
  static MixerState a, b;
  for (int32_t rampLength : {11, 12, 13, 40, 1023, 32767, 39999}) {
    for (int bits : {8, 16}) {
      const int samples = rampLength + 1, channels = samples % 3 == 0 ? 3 : samples % 2 == 0 ? 2 : 1;
      const Bytes input = Noise(bits, std::size_t(samples), 1.0, unsigned(rampLength));
      const uint8_t* cursors[1] = {input.data()};
      for (int32_t g1 : {0, 1, 3, std::min(4 * rampLength / 3, 8192), 2048, 8192}) {
        const int32_t d = g1 - 1024;
        const InputSlot slot{0, 0, 0, 1024, d / rampLength, std::abs(d) % rampLength, 0, d > 0, d != 0};
        InputSlot slotA = slot, slotB = slot;
        MixNarrowScalar({cursors, &slotA, 1, channels, rampLength, a.planar}, bits, 0, samples);
        MixNarrowSse41({cursors, &slotB, 1, channels, rampLength, b.planar}, bits, samples);
        for (int c = 0; c < channels; ++c) {
          ASSERT_TRUE(std::equal(a.planar[c], a.planar[c] + samples / channels, b.planar[c]))
              << "N = " << rampLength << ", g1 = " << g1 << ", " << bits << "-bit";
        }
        EXPECT_EQ(slotA.gain, slotB.gain);
      }
    }
  }
}

}  // namespace
