// vekhost audio end to end on WAV files the test writes with libsndfile.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <vector>

#include "vekhost_run.h"

namespace {

using vek::test::Outcome;
using vek::test::Quoted;
using vek::test::ScratchFolder;

struct Wav {
  int rate = 48000, channels = 2, subtype = SF_FORMAT_PCM_16;
  std::vector<int32_t> samples;  // left-justified, as libsndfile takes them
};

void Write(const std::filesystem::path& path, const Wav& wav) {
  SF_INFO info{};
  info.samplerate = wav.rate;
  info.channels = wav.channels;
  info.format = SF_FORMAT_WAV | wav.subtype;
  SNDFILE* file = sf_open(path.string().c_str(), SFM_WRITE, &info);
  ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
  sf_writef_int(file, wav.samples.data(), sf_count_t(wav.samples.size() / wav.channels));
  sf_close(file);
}

Wav Read(const std::filesystem::path& path) {
  SF_INFO info{};
  SNDFILE* file = sf_open(path.string().c_str(), SFM_READ, &info);
  Wav wav;
  if (!file) return wav;
  wav.rate = info.samplerate;
  wav.channels = info.channels;
  wav.subtype = info.format & SF_FORMAT_SUBMASK;
  wav.samples.resize(std::size_t(info.frames * info.channels));
  sf_readf_int(file, wav.samples.data(), info.frames);
  sf_close(file);
  return wav;
}

// 16-bit values as libsndfile's left-justified integers.
Wav Sine16(int frames, double amplitude, double step, int rate = 48000) {
  Wav wav;
  wav.rate = rate;
  for (int f = 0; f < frames; ++f) {
    for (int c = 0; c < 2; ++c) wav.samples.push_back(int32_t(std::lround(amplitude * std::sin(step * f + c))) << 16);
  }
  return wav;
}

Outcome Audio(const std::string& arguments) {
  return vek::test::Vekhost(vek::test::kPlugin + "audio " + arguments);
}

// Constant volumes of 0.5 and 0.25 make 16-bit gains of 1024 and 512: out = (a * 1024 + b * 512) >> 11.
TEST(VekhostAudio, MixesFilesOfDifferentLengthsPaddingWithSilence) {
  ScratchFolder folder("vek_audio");
  const Wav music = Sine16(3000, 9000, 0.01), voice = Sine16(1100, 7000, 0.037);
  Write(folder / "music.wav", music);
  Write(folder / "voice.wav", voice);
  const Outcome run = Audio("DSP_AU_VolumeAdj " + Quoted(folder / "music.wav") + " " + Quoted(folder / "voice.wav") +
                            " --volume 0:0.5 --volume 1:0.25 --block 256 -o " + Quoted(folder / "mix.wav"));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("limiter touched 0 of 12 blocks"), std::string::npos) << run.out;
  const Wav mix = Read(folder / "mix.wav");
  ASSERT_EQ(mix.samples.size(), music.samples.size()) << "as long as the longest input";
  for (std::size_t k = 0; k < mix.samples.size(); ++k) {
    const int32_t a = music.samples[k] >> 16, b = k < voice.samples.size() ? voice.samples[k] >> 16 : 0;
    ASSERT_EQ(mix.samples[k] >> 16, (a * 1024 + b * 512) >> 11) << "sample " << k;
  }
}

TEST(VekhostAudio, RampsAcrossTheWholeMixAndReportsTheLimiter) {
  ScratchFolder folder("vek_audio");
  Wav constant;
  constant.samples.assign(2 * 4096, 8000 << 16);
  Write(folder / "dc.wav", constant);
  const Outcome fade = Audio("DSP_AU_VolumeAdj " + Quoted(folder / "dc.wav") + " --volume 0:1.0:0.0 -o " +
                             Quoted(folder / "fade.wav"));
  ASSERT_EQ(fade.status, 0) << fade.err;
  const Wav faded = Read(folder / "fade.wav");
  ASSERT_EQ(faded.samples.size(), constant.samples.size());
  EXPECT_EQ(faded.samples.front() >> 16, 8000);
  EXPECT_LE(std::abs(faded.samples.back() >> 16), 8) << "the ramp ends near silence";
  for (std::size_t k = 1; k < faded.samples.size(); ++k) ASSERT_LE(faded.samples[k], faded.samples[k - 1]) << k;

  Write(folder / "loud.wav", Sine16(4096, 30000, 0.02));
  const Outcome loud = Audio("DSP_AU_VolumeAdj " + Quoted(folder / "loud.wav") + " " + Quoted(folder / "loud.wav") +
                             " --volume 0:2 --volume 1:2 -o " + Quoted(folder / "loud_mix.wav"));
  ASSERT_EQ(loud.status, 0) << loud.err;
  EXPECT_NE(loud.out.find("limiter touched 4 of 4 blocks"), std::string::npos) << loud.out;
  int32_t peak = 0;
  for (int32_t v : Read(folder / "loud_mix.wav").samples) peak = std::max(peak, std::abs(v >> 16));
  EXPECT_LE(peak, 32766);
  EXPECT_GT(peak, 20000);
}

TEST(VekhostAudio, EveryWidthAtUnityComesBackUnchanged) {
  ScratchFolder folder("vek_audio");
  for (int subtype : {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_24, SF_FORMAT_PCM_32}) {
    Wav wav;
    wav.channels = 3;
    wav.subtype = subtype;
    for (int k = 0; k < 3 * 777; ++k) wav.samples.push_back(int32_t(uint32_t(k) * 2654435761u));
    Write(folder / "in.wav", wav);
    const Outcome run = Audio("DSP_AU_VolumeAdj_Exp " + Quoted(folder / "in.wav") + " --block 100 -o " +
                              Quoted(folder / "out.wav"));
    ASSERT_EQ(run.status, 0) << run.err;
    const Wav in = Read(folder / "in.wav"), out = Read(folder / "out.wav");
    EXPECT_EQ(out.subtype, in.subtype);
    EXPECT_EQ(out.samples, in.samples) << "subtype " << subtype;
  }
}

TEST(VekhostAudio, RefusesWhatItCannotMix) {
  ScratchFolder folder("vek_audio");
  Write(folder / "a.wav", Sine16(100, 1000, 0.1));
  Write(folder / "b.wav", Sine16(100, 1000, 0.1, 44100));
  const std::string a = Quoted(folder / "a.wav"), out = " -o " + Quoted(folder / "out.wav");
  const auto expectFailure = [](const Outcome& run, const std::string& message) {
    EXPECT_EQ(run.status, 1) << run.out;
    EXPECT_NE(run.err.find(message), std::string::npos) << run.err;
  };
  expectFailure(Audio("DSP_AU_VolumeAdj " + a + " " + Quoted(folder / "b.wav") + out),
                "is 44100 Hz, 2 channels, 16-bit but");
  std::string seventeen;
  for (int i = 0; i < 17; ++i) seventeen += a + " ";
  expectFailure(Audio("DSP_AU_VolumeAdj " + seventeen + out), "at most 16 inputs");
  expectFailure(Audio("DSP_AU_VolumeAdj " + a + " --volume 0:5" + out), "--volume 0:5");
  expectFailure(Audio("DSP_AU_VolumeAdj " + a + " --volume 1:1" + out), "only 1 inputs");
  expectFailure(Audio("DSP_AU_VolumeAdj " + a + " -o " + Quoted(folder / "out.mp3")), "give a .wav name");
  expectFailure(Audio("DSP_TR_Fade " + a + out), "not an audio effect");
  expectFailure(Audio("DSP_AU_VolumeAdj " + Quoted(folder / "missing.wav") + out), "cannot read");
  EXPECT_FALSE(std::filesystem::exists(folder / "out.wav"));
}

}  // namespace
