// The SSE4.1 forms of the narrow mixing kernel: interleaved samples eight or four at a time, each
// input's ramp carried in as many lanes, one sample apart. They give MixNarrowScalar's values
// exactly.
#include <smmintrin.h>

#include <cstring>

#include "audio/mixer.h"

namespace vek::audio {
namespace {

constexpr int kLanes = 4;

__m128i LoadFour(const uint8_t* block, int bits, int k) {
  if (bits == 8) {
    int32_t bytes;
    std::memcpy(&bytes, block + k, sizeof bytes);
    return _mm_sub_epi32(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(bytes)), _mm_set1_epi32(128));
  }
  return _mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(block + 2 * k)));
}

// A ramp in four lanes. Once a ramp has taken a step its accumulator lies in (0, N], and four
// steps then move it by 4r = q N + r4: q whole units and one more when the accumulator passes N.
struct LaneRamp {
  __m128i gain, remainder, step, remainderStep, unit;
  bool active;
};

// Where the mixed samples go: the planar buffer of their channel, at their frame.
struct PlanarCursor {
  const MixJob& job;
  int channel, frame;

  PlanarCursor(const MixJob& j, int first) : job(j), channel(first % j.channels), frame(first / j.channels) {}
  // Four mixed samples in interleaved order.
  void Store(__m128i mixed) {
    if (job.channels == 2) {
      const __m128i split = _mm_shuffle_epi32(mixed, _MM_SHUFFLE(3, 1, 2, 0));
      _mm_storel_epi64(reinterpret_cast<__m128i*>(job.planar[0] + frame), split);
      _mm_storel_epi64(reinterpret_cast<__m128i*>(job.planar[1] + frame), _mm_unpackhi_epi64(split, split));
      frame += 2;
    } else if (job.channels == 1) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(job.planar[0] + frame), mixed);
      frame += 4;
    } else {
      alignas(16) int32_t values[4];
      _mm_store_si128(reinterpret_cast<__m128i*>(values), mixed);
      for (int32_t value : values) {
        job.planar[channel][frame] = value;
        if (++channel == job.channels) {
          channel = 0;
          ++frame;
        }
      }
    }
  }
};

__m128i LoadEight(const uint8_t* block, int bits, int k) {
  if (bits == 8) {
    return _mm_sub_epi16(_mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(block + k))),
                         _mm_set1_epi16(128));
  }
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + 2 * k));
}

// Eight lanes of 16 bits, for ramps of N <= 32,767: gains stay within +-8,193 and accumulators
// below 2N, so both fit (the accumulators unsigned), and 16-bit wrap-around of the lane steps
// cancels out. Sixteen-bit products are put together from their low and high halves.
void MixEightLanes(const MixJob& job, int bits, int samples) {
  constexpr int kWide = 8;
  const int32_t n = job.rampLength;
  struct Ramp {
    __m128i gain, remainder, step, remainderStep, unit;
    bool active;
  } ramps[kMaxInputs];
  for (int i = 0; i < job.inputs; ++i) {
    InputSlot slot = job.slots[i];
    alignas(16) int16_t gains[kWide], remainders[kWide];
    for (int j = 0; j < kWide; ++j) {
      gains[j] = int16_t(slot.gain);
      remainders[j] = int16_t(uint16_t(slot.remainder));
      AdvanceRamp(slot, n);
    }
    const int32_t direction = slot.rising ? 1 : -1;
    const int32_t whole = kWide * slot.remainderStep / n, rest = kWide * slot.remainderStep % n;
    ramps[i] = {_mm_load_si128(reinterpret_cast<const __m128i*>(gains)),
                _mm_load_si128(reinterpret_cast<const __m128i*>(remainders)),
                _mm_set1_epi16(int16_t(kWide * slot.gainStep + whole * direction)),
                _mm_set1_epi16(int16_t(uint16_t(rest))), _mm_set1_epi16(int16_t(direction)), slot.rampActive != 0};
  }
  const __m128i flip = _mm_set1_epi16(int16_t(0x8000)), limit = _mm_set1_epi16(int16_t(uint16_t(n)));
  const __m128i flippedLimit = _mm_xor_si128(limit, flip);
  const int shift = bits == 8 ? 3 : kGainBits;
  const int end = kWide + (samples - kWide) / kWide * kWide;
  PlanarCursor out(job, kWide);
  for (int k = kWide; k < end; k += kWide) {
    __m128i low = _mm_setzero_si128(), high = _mm_setzero_si128();
    for (int i = 0; i < job.inputs; ++i) {
      Ramp& ramp = ramps[i];
      const __m128i s = LoadEight(job.cursors[i], bits, k);
      const __m128i productLow = _mm_mullo_epi16(s, ramp.gain), productHigh = _mm_mulhi_epi16(s, ramp.gain);
      low = _mm_add_epi32(low, _mm_unpacklo_epi16(productLow, productHigh));
      high = _mm_add_epi32(high, _mm_unpackhi_epi16(productLow, productHigh));
      if (!ramp.active) continue;
      ramp.gain = _mm_add_epi16(ramp.gain, ramp.step);
      ramp.remainder = _mm_add_epi16(ramp.remainder, ramp.remainderStep);
      const __m128i over = _mm_cmpgt_epi16(_mm_xor_si128(ramp.remainder, flip), flippedLimit);
      ramp.remainder = _mm_sub_epi16(ramp.remainder, _mm_and_si128(over, limit));
      ramp.gain = _mm_add_epi16(ramp.gain, _mm_and_si128(over, ramp.unit));
    }
    out.Store(_mm_srai_epi32(low, shift));
    out.Store(_mm_srai_epi32(high, shift));
  }
  for (int i = 0; i < job.inputs; ++i) {
    job.slots[i].gain = int16_t(_mm_extract_epi16(ramps[i].gain, 0));
    job.slots[i].remainder = uint16_t(_mm_extract_epi16(ramps[i].remainder, 0));
  }
  MixNarrowScalar(job, bits, end, samples);
}

}  // namespace

void MixNarrowSse41(const MixJob& job, int bits, int samples) {
  constexpr int kHead = kLanes;
  if (samples < kHead + 2 * kLanes) return MixNarrowScalar(job, bits, 0, samples);
  if (job.rampLength <= 32767 && samples >= 24) {
    // The scalar head takes the first steps of every ramp, as below.
    MixNarrowScalar(job, bits, 0, 8);
    return MixEightLanes(job, bits, samples);
  }
  // The scalar head takes the first step of every ramp, so the lanes start from accumulators
  // that are already in (0, N].
  MixNarrowScalar(job, bits, 0, kHead);
  const int32_t n = job.rampLength;
  LaneRamp ramps[kMaxInputs];
  for (int i = 0; i < job.inputs; ++i) {
    InputSlot slot = job.slots[i];
    alignas(16) int32_t gains[kLanes], remainders[kLanes];
    for (int j = 0; j < kLanes; ++j) {
      gains[j] = slot.gain;
      remainders[j] = slot.remainder;
      AdvanceRamp(slot, n);
    }
    const int32_t direction = slot.rising ? 1 : -1;
    const int32_t whole = int32_t(int64_t(kLanes) * slot.remainderStep / n);
    const int32_t rest = int32_t(int64_t(kLanes) * slot.remainderStep % n);
    ramps[i] = {_mm_load_si128(reinterpret_cast<const __m128i*>(gains)),
                _mm_load_si128(reinterpret_cast<const __m128i*>(remainders)),
                _mm_set1_epi32(kLanes * slot.gainStep + whole * direction), _mm_set1_epi32(rest),
                _mm_set1_epi32(direction), slot.rampActive != 0};
  }
  const __m128i limit = _mm_set1_epi32(n);
  const int shift = bits == 8 ? 3 : kGainBits;
  const int end = kHead + (samples - kHead) / kLanes * kLanes;
  PlanarCursor out(job, kHead);
  for (int k = kHead; k < end; k += kLanes) {
    __m128i acc = _mm_setzero_si128();
    for (int i = 0; i < job.inputs; ++i) {
      LaneRamp& ramp = ramps[i];
      acc = _mm_add_epi32(acc, _mm_mullo_epi32(LoadFour(job.cursors[i], bits, k), ramp.gain));
      if (!ramp.active) continue;
      ramp.gain = _mm_add_epi32(ramp.gain, ramp.step);
      ramp.remainder = _mm_add_epi32(ramp.remainder, ramp.remainderStep);
      const __m128i over = _mm_cmpgt_epi32(ramp.remainder, limit);
      ramp.remainder = _mm_sub_epi32(ramp.remainder, _mm_and_si128(over, limit));
      ramp.gain = _mm_add_epi32(ramp.gain, _mm_and_si128(over, ramp.unit));
    }
    out.Store(_mm_srai_epi32(acc, shift));
  }
  // Lane 0 has reached the first sample of the tail.
  for (int i = 0; i < job.inputs; ++i) {
    job.slots[i].gain = _mm_cvtsi128_si32(ramps[i].gain);
    job.slots[i].remainder = _mm_cvtsi128_si32(ramps[i].remainder);
  }
  MixNarrowScalar(job, bits, end, samples);
}

}  // namespace vek::audio
