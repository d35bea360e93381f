// WAV files through libsndfile. Samples travel as left-justified 32-bit integers, which libsndfile
// converts exactly from and to every PCM width.
#include <sndfile.h>

#include <memory>

#include "vekhost/audio.h"
#include "vekhost/error.h"

namespace vek::host {
namespace {

struct FileCloser {
  void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, FileCloser>;

int BitsOf(int subtype) {
  switch (subtype) {
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_S8: return 8;
    case SF_FORMAT_PCM_16: return 16;
    case SF_FORMAT_PCM_24: return 24;
    case SF_FORMAT_PCM_32: return 32;
    default: return 0;
  }
}

int SubtypeOf(int bits) {
  return bits == 8 ? SF_FORMAT_PCM_U8 : bits == 16 ? SF_FORMAT_PCM_16 : bits == 24 ? SF_FORMAT_PCM_24 : SF_FORMAT_PCM_32;
}

void Put(uint8_t* out, int bits, int32_t v) {
  switch (bits) {
    case 8: out[0] = uint8_t((v >> 24) + 128); return;
    case 16: out[0] = uint8_t(v >> 16); out[1] = uint8_t(v >> 24); return;
    case 24: out[0] = uint8_t(v >> 8); out[1] = uint8_t(v >> 16); out[2] = uint8_t(v >> 24); return;
    default: for (int b = 0; b < 4; ++b) out[b] = uint8_t(v >> (8 * b));
  }
}

int32_t Get(const uint8_t* in, int bits) {
  switch (bits) {
    case 8: return int32_t(uint32_t(in[0] - 128) << 24);
    case 16: return int32_t((uint32_t(in[0]) << 16) | (uint32_t(in[1]) << 24));
    case 24: return int32_t((uint32_t(in[0]) << 8) | (uint32_t(in[1]) << 16) | (uint32_t(in[2]) << 24));
    default: return int32_t(uint32_t(in[0]) | (uint32_t(in[1]) << 8) | (uint32_t(in[2]) << 16) | (uint32_t(in[3]) << 24));
  }
}

}  // namespace

Audio ReadWav(const std::filesystem::path& path) {
  SF_INFO info{};
  SoundFile file(sf_open(path.string().c_str(), SFM_READ, &info));
  if (!file) throw Error("cannot read " + path.string() + ": " + sf_strerror(nullptr));
  Audio audio;
  audio.format = {info.samplerate, info.channels, BitsOf(info.format & SF_FORMAT_SUBMASK)};
  if (audio.format.bitsPerSample == 0) {
    throw Error("cannot mix " + path.string() + ": it is not PCM audio of 8, 16, 24 or 32 bits");
  }
  audio.frames = info.frames;
  std::vector<int32_t> values(std::size_t(info.frames) * std::size_t(info.channels));
  if (sf_readf_int(file.get(), values.data(), info.frames) != info.frames) {
    throw Error("cannot read " + path.string() + ": the file ends early");
  }
  const int bytes = audio.format.bitsPerSample / 8;
  audio.samples.resize(values.size() * std::size_t(bytes));
  for (std::size_t k = 0; k < values.size(); ++k) Put(audio.samples.data() + k * bytes, audio.format.bitsPerSample, values[k]);
  return audio;
}

void WriteWav(const Audio& audio, const std::filesystem::path& path) {
  SF_INFO info{};
  info.samplerate = audio.format.sampleRate;
  info.channels = audio.format.channels;
  info.format = SF_FORMAT_WAV | SubtypeOf(audio.format.bitsPerSample);
  SoundFile file(sf_open(path.string().c_str(), SFM_WRITE, &info));
  if (!file) throw Error("cannot write " + path.string() + ": " + sf_strerror(nullptr));
  const int bytes = audio.format.bitsPerSample / 8;
  std::vector<int32_t> values(audio.samples.size() / std::size_t(bytes));
  for (std::size_t k = 0; k < values.size(); ++k) values[k] = Get(audio.samples.data() + k * bytes, audio.format.bitsPerSample);
  if (sf_writef_int(file.get(), values.data(), audio.frames) != audio.frames) {
    throw Error("cannot write " + path.string() + ": " + sf_strerror(file.get()));
  }
}

}  // namespace vek::host
