#include "audio/mixer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vek::audio {
namespace {

// 8-bit samples are unsigned around 128; 24-bit ones are three little-endian bytes, sign-extended.
int32_t Read8(const uint8_t* p) { return int32_t(p[0]) - 128; }
int32_t Read16(const uint8_t* p) {
  int16_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
int32_t Read24(const uint8_t* p) {
  return int32_t((uint32_t(p[0]) << 8) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 24)) >> 8;
}
int32_t Read32(const uint8_t* p) {
  int32_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

template <int Bits> int32_t ReadSample(const uint8_t* block, int k) {
  if constexpr (Bits == 8) return Read8(block + k);
  if constexpr (Bits == 16) return Read16(block + 2 * k);
  if constexpr (Bits == 24) return Read24(block + 3 * k);
  if constexpr (Bits == 32) return Read32(block + 4 * k);
}

// 8-bit audio is mixed on the 16-bit scale.
template <int Bits> constexpr int kMixShift = Bits == 8 ? 3 : kGainBits;

template <int Bits> void WriteSample(uint8_t* out, int k, int32_t v) {
  if constexpr (Bits == 8) out[k] = uint8_t((v >> 8) + 128);
  if constexpr (Bits == 16) {
    const int16_t low = int16_t(v);
    std::memcpy(out + 2 * k, &low, sizeof low);
  }
  if constexpr (Bits == 24) {
    out[3 * k] = uint8_t(v);
    out[3 * k + 1] = uint8_t(v >> 8);
    out[3 * k + 2] = uint8_t(v >> 16);
  }
  if constexpr (Bits == 32) std::memcpy(out + 4 * k, &v, sizeof v);
}

// A volume as an 11-bit fixed-point gain, truncated toward zero. Volumes the rows do not allow
// (negative, NaN, above 4) are taken as 0 and 4, so no sum can outgrow the accumulators.
int32_t ToGain(float volume) {
  if (!(volume > 0.0f)) return 0;
  return int32_t(std::min(volume, kMaxVolume) * float(1 << kGainBits));
}

const uint8_t* const* CursorTable(const MixerState& state) {
  switch (state.bitsPerSample) {
    case 8: return state.cursors8;
    case 16: return state.cursors16;
    case 24: return state.cursors24;
    default: return state.cursors32;
  }
}
const uint8_t** CursorTable(MixerState& state) {
  return const_cast<const uint8_t**>(CursorTable(static_cast<const MixerState&>(state)));
}

int32_t CeilingFor(int bits) {
  // Kept on purpose: 8- and 16-bit audio stops at 32,766, one short of full scale.
  return bits <= 16 ? 32766 : bits == 24 ? 0x7FFFFF : 0x7FFFFFFF;
}

// A 16-bit sum of products fits 32 bits when the gains' largest magnitudes add up to less than
// 65,536 (32,768 * 65,535 < 2^31); an 8-bit one always does (128 * 16 * 8,192 = 2^24).
bool NarrowSumFits(const MixerState& state) {
  if (state.bitsPerSample == 8) return true;
  if (state.bitsPerSample != 16) return false;
  int64_t total = 0;
  for (int i = 0; i < state.queued; ++i) {
    const InputSlot& slot = state.slots[i];
    total += std::max(std::abs(int64_t(slot.gain)), std::abs(int64_t(ToGain(slot.endVolume))));
  }
  return total < 65536;
}

template <int Bits> void MixNarrow(const MixJob& job, int first, int last) {
  int channel = first % job.channels, frame = first / job.channels;
  for (int k = first; k < last; ++k) {
    int32_t acc = 0;
    for (int i = 0; i < job.inputs; ++i) {
      acc += ReadSample<Bits>(job.cursors[i], k) * job.slots[i].gain;
      AdvanceRamp(job.slots[i], job.rampLength);
    }
    job.planar[channel][frame] = acc >> kMixShift<Bits>;
    if (++channel == job.channels) {
      channel = 0;
      ++frame;
    }
  }
}

template <int Bits> void MixWide(const MixJob& job, int frames, uint8_t* shifts) {
  for (int f = 0, k = 0; f < frames; ++f) {
    int64_t mixed[kMaxChannels];
    int64_t loudest = 0;
    for (int c = 0; c < job.channels; ++c, ++k) {
      int64_t acc = 0;
      for (int i = 0; i < job.inputs; ++i) {
        acc += int64_t(ReadSample<Bits>(job.cursors[i], k)) * job.slots[i].gain;
        AdvanceRamp(job.slots[i], job.rampLength);
      }
      mixed[c] = acc >> kMixShift<Bits>;
      loudest = std::max(loudest, mixed[c] < 0 ? -mixed[c] - 1 : mixed[c]);
    }
    // Only 32-bit sums can leave the planar buffer's range (by up to 2^6); such a frame is stored
    // shifted, and the limiter, which brings it back under the ceiling, undoes the shift.
    int shift = 0;
    while ((loudest >> shift) > INT32_MAX) ++shift;
    shifts[f] = uint8_t(shift);
    for (int c = 0; c < job.channels; ++c) job.planar[c][f] = int32_t(mixed[c] >> shift);
  }
}

// The limiter's gains applied to the planar buffers, rounded half away from zero; up to 24 bits
// in float, which holds every value up to the ceiling exactly.
void ApplyGains(MixerState& state, const float* gains, int32_t ceiling) {
  const float top = float(ceiling);
  const int frames = state.samplesPerChannel;
  for (int c = 0; c < state.channels; ++c) {
    int32_t* __restrict samples = state.planar[c];
    const float* __restrict gain = gains;
    for (int f = 0; f < frames; ++f) {
      const float scaled = std::min(std::max(float(samples[f]) * gain[f], -top), top);
      samples[f] = int32_t(scaled + std::copysign(0.5f, scaled));
    }
  }
}

// 32-bit audio in double, with the shift of frames too loud for the planar buffer undone.
void WriteBack32(const MixerState& state, const float* gains, const uint8_t* shifts, int32_t ceiling, uint8_t* out) {
  for (int f = 0, k = 0; f < state.samplesPerChannel; ++f) {
    const double gain = gains[f];
    const int shift = shifts ? shifts[f] : 0;
    for (int c = 0; c < state.channels; ++c, ++k) {
      const double scaled = double(int64_t(state.planar[c][f]) * (int64_t(1) << shift)) * gain;
      const int64_t rounded = int64_t(scaled + std::copysign(0.5, scaled));
      const int32_t v = int32_t(std::clamp<int64_t>(rounded, -ceiling, ceiling));
      std::memcpy(out + 4 * k, &v, sizeof v);
    }
  }
}

// Writes the planar buffers back interleaved in the input's format.
template <int Bits> void WriteBack(const MixerState& state, uint8_t* out) {
  const int channels = state.channels, frames = state.samplesPerChannel;
  if (channels == 2) {
    for (int f = 0; f < frames; ++f) {
      WriteSample<Bits>(out, 2 * f, state.planar[0][f]);
      WriteSample<Bits>(out, 2 * f + 1, state.planar[1][f]);
    }
    return;
  }
  for (int f = 0, k = 0; f < frames; ++f) {
    for (int c = 0; c < channels; ++c, ++k) WriteSample<Bits>(out, k, state.planar[c][f]);
  }
}

}  // namespace

void AdvanceRamp(InputSlot& slot, int32_t rampLength) noexcept {
  if (!slot.rampActive) return;
  slot.gain += slot.gainStep;
  slot.remainder += slot.remainderStep;
  // Kept on purpose: the extra unit comes only when the accumulator strictly exceeds N, so a ramp
  // with a remainder ends one unit short of its end gain.
  if (slot.remainder > rampLength) {
    slot.remainder -= rampLength;
    slot.gain += slot.rising ? 1 : -1;
  }
}

void MixNarrowScalar(const MixJob& job, int bits, int first, int last) {
  if (bits == 8) {
    MixNarrow<8>(job, first, last);
  } else {
    MixNarrow<16>(job, first, last);
  }
}

void MixWideScalar(const MixJob& job, int bits, int frames, uint8_t* shifts) {
  switch (bits) {
    case 8: return MixWide<8>(job, frames, shifts);
    case 16: return MixWide<16>(job, frames, shifts);
    case 24: return MixWide<24>(job, frames, shifts);
    default: return MixWide<32>(job, frames, shifts);
  }
}

VekStatus PrepareMixer(MixerState& state, const AudioFormat& format) noexcept {
  const int bits = format.bitsPerSample;
  if (format.sampleRate <= 0 || format.sampleRate > kMaxSampleRate) return VEK_E_FAIL;
  if (bits != 8 && bits != 16 && bits != 24 && bits != 32) return VEK_E_FAIL;
  // The host is to keep within the planar buffer and never pass a block of one sample (a ramp of
  // length 0); a host that does not is refused here rather than trusted.
  if (format.channels < 1 || format.channels > kMaxChannels) return VEK_E_FAIL;
  if (format.samplesPerChannel < 1 || format.samplesPerChannel > kMaxFrames) return VEK_E_FAIL;
  if (format.channels * format.samplesPerChannel < 2) return VEK_E_FAIL;
  state.sampleRate = format.sampleRate;
  state.channels = format.channels;
  state.bitsPerSample = bits;
  state.gainProcessing = 1;
  state.samplesPerChannel = format.samplesPerChannel;
  const float scale = bits == 32 ? 0x1p-31f : bits == 24 ? 0x1p-23f : bits == 16 ? 0x1p-15f : 0x1p-7f;
  state.limiterCoefficient = float(2.0 * std::log(11.0 / 31.0)) * scale;
  state.queued = 0;
  state.rampLength = format.channels * format.samplesPerChannel - 1;
  state.limiter.lastCeiling = 0;
  state.limiter.gain = 1.0f;
  return VEK_S_OK;
}

bool MixerReady(const MixerState& state) noexcept {
  const int bits = state.bitsPerSample;
  return state.gainProcessing == 1 && (bits == 8 || bits == 16 || bits == 24 || bits == 32) &&
         state.channels >= 1 && state.channels <= kMaxChannels && state.samplesPerChannel >= 1 &&
         state.samplesPerChannel <= kMaxFrames && state.rampLength >= 1 &&
         state.rampLength == state.channels * state.samplesPerChannel - 1 && state.queued >= 0 &&
         state.queued <= kMaxInputs;
}

VekStatus AddInput(MixerState& state, float startVolume, float endVolume, const uint8_t* block) noexcept {
  if (state.queued >= kMaxInputs) return VEK_E_FAIL;
  const int index = state.queued;
  InputSlot& slot = state.slots[index];
  CursorTable(state)[index] = block;
  slot.startVolume = startVolume;
  slot.endVolume = endVolume;
  const int32_t n = state.rampLength;
  const int32_t g0 = ToGain(startVolume), g1 = ToGain(endVolume);
  slot.gain = g0;
  slot.floatStep = (endVolume - startVolume) / float(n);
  slot.gainStep = (g1 - g0) / n;
  slot.remainderStep = g1 > g0 ? (g1 - g0) % n : g1 < g0 ? (g0 - g1) % n : 0;
  slot.rising = g1 > g0;
  slot.rampActive = g1 != g0;
  slot.remainder = 0;
  ++state.queued;
  return VEK_S_OK;
}

VekStatus Mix(MixerState& state, uint8_t* output, bool vector) noexcept {
  if (!output) return VEK_E_POINTER;
  const int bits = state.bitsPerSample, channels = state.channels, frames = state.samplesPerChannel;
  const int samples = channels * frames;
  const uint8_t* const* cursors = CursorTable(state);
  if (state.queued == 1 && state.gainProcessing && state.slots[0].startVolume == 1.0f &&
      state.slots[0].endVolume == 1.0f) {
    std::memmove(output, cursors[0], std::size_t(samples) * std::size_t(bits / 8));
    state.queued = 0;
    return VEK_S_OK;
  }
  const MixJob job{cursors, state.slots, state.queued, channels, state.rampLength, state.planar};
  const bool narrow = NarrowSumFits(state);
  if (narrow && vector) {
    MixNarrowSse41(job, bits, samples);
  } else if (narrow) {
    MixNarrowScalar(job, bits, 0, samples);
  } else {
    MixWideScalar(job, bits, frames, state.limiter.shifts);
  }
  const int32_t ceiling = CeilingFor(bits);
  const bool shifted = !narrow && bits == 32;
  const float* gains =
      LimiterGains(state.limiter, state.planar, channels, frames, ceiling, shifted) ? state.limiter.peaks : nullptr;
  if (bits == 32 && gains) {
    WriteBack32(state, gains, shifted ? state.limiter.shifts : nullptr, ceiling, output);
    state.queued = 0;
    return VEK_S_OK;
  }
  if (gains) ApplyGains(state, gains, ceiling);
  switch (bits) {
    case 8: WriteBack<8>(state, output); break;
    case 16: WriteBack<16>(state, output); break;
    case 24: WriteBack<24>(state, output); break;
    default: WriteBack<32>(state, output); break;
  }
  state.queued = 0;
  return VEK_S_OK;
}

// The peak limiter. Its gain curve, applied to the loudest channel x of each frame (all channels
// get the same gain, so the stereo image stays put), with threshold T = 0.33 L below the ceiling L:
//   x <= T:  gain 1; a block that stays below T while the limiter rests passes bit for bit.
//   x >  T:  the output peak follows y(x) = L - (L - T) * exp(-(x - T) / (L - T)), a soft knee
//            with slope 1 at T that approaches L and never reaches it; gain = y(x) / x.
// The curve is taken at the loudest frame of each group of 16 frames, and the gain is planned at
// the groups' edges and drawn as a straight line across each group. An edge's gain is at most the
// curve's for both groups it touches, so no frame passes the ceiling. Going back from each loud
// group the gain starts to fall early enough (a look-ahead within the block) that it never falls
// by more than 1/64 from one frame to the next: the attack. Going forward it rises back toward 1
// by (section frames * T / 10,855) / (L * 40) of the remaining gap a frame, the recovery of its
// section: about 0.12 % a frame for a 1,600-frame section, a time constant of 822 frames. The one
// step larger than the attack can come at a block's first frame, when the block opens louder than
// the gain carried over from the block before allows: the ceiling comes first.
bool LimiterGains(LimiterState& limiter, const int32_t (*planar)[kMaxFrames], int channels, int frames,
                  int32_t ceiling, bool shifted) noexcept {
  if (limiter.lastCeiling != ceiling) {
    limiter.lastCeiling = ceiling;
    limiter.ceilingValue = float(ceiling);
    limiter.gain = 1.0f;
  }
  const float top = limiter.ceilingValue, threshold = kThreshold * top, knee = top - threshold;
  float* gains = limiter.peaks;
  for (int f = 0; f < frames; ++f) gains[f] = std::fabs(float(planar[0][f]));
  for (int c = 1; c < channels; ++c) {
    for (int f = 0; f < frames; ++f) gains[f] = std::max(gains[f], std::fabs(float(planar[c][f])));
  }
  if (shifted) {
    for (int f = 0; f < frames; ++f) gains[f] *= float(1u << limiter.shifts[f]);
  }
  // targets[j]: first the loudest frame of group j, then the curve's gain for it; edges[j]: the
  // gain at the start of group j, and edges[groups] the gain after the last frame.
  const int groups = (frames + kTargetGroup - 1) / kTargetGroup;
  float* targets = limiter.targets;
  float* edges = limiter.edges;
  const auto groupLength = [&](int j) { return std::min(kTargetGroup, frames - j * kTargetGroup); };
  float blockPeak = 0.0f;
  for (int j = 0; j < groups; ++j) {
    const float* group = gains + j * kTargetGroup;
    float x = 0.0f;
    for (int i = 0, length = groupLength(j); i < length; ++i) x = std::max(x, group[i]);
    targets[j] = x;
    blockPeak = std::max(blockPeak, x);
  }
  if (limiter.gain == 1.0f && blockPeak <= threshold) return false;
  for (int j = 0; j < groups; ++j) {
    const float x = targets[j];
    if (x > threshold) targets[j] = (top - knee * std::exp(-(x - threshold) / knee)) / x;
    else targets[j] = 1.0f;
  }
  edges[groups] = targets[groups - 1];
  for (int j = groups - 1; j >= 0; --j) {
    const float below = std::min(targets[j], j > 0 ? targets[j - 1] : 1.0f);
    edges[j] = std::min(below, edges[j + 1] + float(groupLength(j)) * kAttackStep);
  }
  // Forward: the first edge follows the block before one frame on; each later edge a group on.
  const auto recover = [](float gain, float keep) {
    const float recovered = 1.0f - (1.0f - gain) * keep;
    return 1.0f - recovered < kRestGap ? 1.0f : recovered;
  };
  // The part of the gap to 1 kept a frame in the section of a frame: sections of 1,600 frames,
  // the rest of the block taken whole once fewer than 2,400 frames remain.
  const auto keepFor = [&](int frame) {
    int start = 0;
    while (frames - start >= kWholeSection && frame >= start + kSectionFrames) start += kSectionFrames;
    const int section = frames - start < kWholeSection ? frames - start : kSectionFrames;
    return 1.0f - float(section) * threshold / kRecoveryDivisor / (top * kRecoveryCeilingFactor);
  };
  edges[0] = std::min(edges[0], recover(limiter.gain, keepFor(0)));
  float keep = -1.0f, acrossGroup = 1.0f;
  for (int j = 1; j <= groups; ++j) {
    const int length = groupLength(j - 1);
    if (const float sectionKeep = keepFor((j - 1) * kTargetGroup); sectionKeep != keep) {
      keep = sectionKeep;
      acrossGroup = std::pow(keep, float(kTargetGroup));
    }
    const float across = length == kTargetGroup ? acrossGroup : std::pow(keep, float(length));
    edges[j] = std::min(edges[j], recover(edges[j - 1], across));
  }
  for (int j = 0; j < groups; ++j) {
    const int length = groupLength(j);
    const float from = edges[j], slope = (edges[j + 1] - from) / float(length);
    float* group = gains + j * kTargetGroup;
    for (int i = 0; i < length; ++i) group[i] = from + slope * float(i);
  }
  limiter.gain = edges[groups];
  return true;
}

}  // namespace vek::audio
