// The only file of the transitions built with -msse4.1; it includes nothing of the project but
// kernels.h, so no shared inline helper is compiled here for a processor without SSE4.1.
#include <smmintrin.h>

#include <cstdint>
#include <cstring>

#include "transitions/kernels.h"

namespace vek {

namespace {

// 16-bit lanes: (b - a) * weight fits, as |b - a| <= 255 and weight <= 127.
inline __m128i Lerp16(__m128i a, __m128i b, __m128i weights) {
  const __m128i step = _mm_srai_epi16(_mm_mullo_epi16(_mm_subs_epi16(b, a), weights), 7);
  return _mm_adds_epi16(a, step);
}

}  // namespace

void LerpRowSse41(const uint8_t* a, const uint8_t* b, uint8_t* out, std::size_t bytes, int weight) {
  const __m128i weights = _mm_set1_epi16(int16_t(weight));
  const __m128i zero = _mm_setzero_si128();
  std::size_t i = 0;
  for (; i + 16 <= bytes; i += 16) {  // four pixels
    const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + i));
    const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + i));
    const __m128i low = Lerp16(_mm_cvtepu8_epi16(va), _mm_cvtepu8_epi16(vb), weights);
    const __m128i high = Lerp16(_mm_unpackhi_epi8(va, zero), _mm_unpackhi_epi8(vb, zero), weights);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(low, high));
  }
  for (; i + 8 <= bytes; i += 8) {  // two pixels
    const __m128i va = _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a + i)));
    const __m128i vb = _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(b + i)));
    const __m128i blended = Lerp16(va, vb, weights);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(blended, blended));
  }
  LerpRowScalar(a + i, b + i, out + i, bytes - i, weight);
}

namespace {

// One step of the soft edge on 16-bit lanes: k = clamp(t + mask, 0, 32), a + ((b - a) * k >> 5).
// |b - a| * 32 fits a lane.
inline __m128i SoftStep16(__m128i a, __m128i b, __m128i mask, __m128i t) {
  const __m128i k = _mm_min_epi16(_mm_max_epi16(_mm_add_epi16(mask, t), _mm_setzero_si128()), _mm_set1_epi16(32));
  return _mm_add_epi16(a, _mm_srai_epi16(_mm_mullo_epi16(_mm_sub_epi16(b, a), k), 5));
}

}  // namespace

void SoftEdgeRowSse41(const uint8_t* a, const uint8_t* b, const int32_t* mask, uint8_t* out, int pixels, int t) {
  const __m128i vt = _mm_set1_epi16(int16_t(t));
  const __m128i tBytes = _mm_set1_epi8(int8_t(t)), full = _mm_set1_epi8(32);
  int x = 0;
  // Four pixels at a time as a * (32 - k) + b * k, which is 32 a + (b - a) k: the same bytes after
  // the shift. t - m lies in -63..126, so it fits a signed byte.
  for (; x + 4 <= pixels; x += 4) {
    const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + x * 4));
    const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + x * 4));
    const __m128i vm = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mask + x));
    const __m128i k = _mm_min_epi8(_mm_max_epi8(_mm_add_epi8(vm, tBytes), _mm_setzero_si128()), full);
    const __m128i kept = _mm_sub_epi8(full, k);
    const __m128i low = _mm_maddubs_epi16(_mm_unpacklo_epi8(va, vb), _mm_unpacklo_epi8(kept, k));
    const __m128i high = _mm_maddubs_epi16(_mm_unpackhi_epi8(va, vb), _mm_unpackhi_epi8(kept, k));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x * 4),
                     _mm_packus_epi16(_mm_srli_epi16(low, 5), _mm_srli_epi16(high, 5)));
  }
  for (; x + 2 <= pixels; x += 2) {  // one pair
    const __m128i va = _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a + x * 4)));
    const __m128i vb = _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(b + x * 4)));
    const __m128i vm = _mm_cvtepi8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(mask + x)));
    const __m128i blended = SoftStep16(va, vb, vm, vt);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + x * 4), _mm_packus_epi16(blended, blended));
  }
  if (x < pixels) {
    // Kept on purpose: the odd last pixel goes through the scalar rule, which stops at 31/32 and
    // leaves alpha alone; its mask byte is read back as -m.
    const int32_t word = int8_t(uint32_t(mask[x]) & 0xFF);
    SoftEdgeRowScalar(a + x * 4, b + x * 4, &word, out + x * 4, 1, t);
  }
}

namespace {

// Whether each pixel of the candidate k + 1 falls above lands here, as a lane of ones: its class is
// k + 1, or for the nearest candidate 0 or 1. The tone sum takes two multiply-adds.
template <bool kLumaChroma>
__m128i Lands4(__m128i colours, int k) {
  const __m128i byteWeights = _mm_set1_epi32(kLumaChroma ? 0x00010000 : 0x00010101);
  const __m128i sum = _mm_madd_epi16(_mm_maddubs_epi16(colours, byteWeights), _mm_set1_epi16(1));
  if constexpr (kLumaChroma) {
    const __m128i tone = _mm_srli_epi32(_mm_add_epi32(sum, _mm_set1_epi32(31)), 6);
    return k == 0 ? _mm_cmplt_epi32(tone, _mm_set1_epi32(2)) : _mm_cmpeq_epi32(tone, _mm_set1_epi32(k + 1));
  }
  return k == 0 ? _mm_cmplt_epi32(sum, _mm_set1_epi32(256))
                : _mm_cmpeq_epi32(_mm_srli_epi32(sum, 7), _mm_set1_epi32(k + 1));
}

// Four pixels at `at`, the farthest candidate first, so that a nearer one, from a lower source row,
// wins.
template <int kCount, bool kLumaChroma>
void Gather4(const uint8_t* const* candidates, const uint8_t* b, uint8_t* out, std::size_t at, bool stream) {
  __m128i chosen = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + at));
  for (int k = kCount - 1; k >= 0; --k) {
    const __m128i colours = _mm_loadu_si128(reinterpret_cast<const __m128i*>(candidates[k] + at));
    chosen = _mm_blendv_epi8(chosen, colours, Lands4<kLumaChroma>(colours, k));
  }
  if (stream) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(out + at), chosen);
  } else {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + at), chosen);
  }
}

// Returns the pixels done, a multiple of four.
template <int kCount, bool kLumaChroma>
int GatherRow(const uint8_t* const* candidates, const uint8_t* b, uint8_t* out, int pixels, bool stream) {
  int x = 0;
  for (; x + 16 <= pixels; x += 16) {
    const std::size_t at = std::size_t(x) * 4;
    _mm_prefetch(reinterpret_cast<const char*>(b + at + kFallGatherAhead), _MM_HINT_T0);
    if constexpr (kCount > 0) {
      _mm_prefetch(reinterpret_cast<const char*>(candidates[0] + at + kFallGatherAhead), _MM_HINT_T0);
    }
    for (std::size_t quarter = 0; quarter < 64; quarter += 16) {
      Gather4<kCount, kLumaChroma>(candidates, b, out, at + quarter, stream);
    }
  }
  for (; x + 4 <= pixels; x += 4) Gather4<kCount, kLumaChroma>(candidates, b, out, std::size_t(x) * 4, stream);
  return x;
}

template <bool kLumaChroma>
int GatherRowOfCount(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                     bool stream) {
  return WithFallCount(
      count, [&](auto k) { return GatherRow<decltype(k)::value, kLumaChroma>(candidates, b, out, pixels, stream); });
}

}  // namespace

// Each count and layout with its own unrolled loop. The last pixels are gathered aside by the
// scalar row and stored one by one, streamed too in a streamed row: a cached store into a line that
// is being streamed would flush it half written.
void FallGatherRowSse41(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                        bool lumaChroma, bool stream) {
  stream = stream && (reinterpret_cast<uintptr_t>(out) & 15) == 0;
  const int x = lumaChroma ? GatherRowOfCount<true>(candidates, count, b, out, pixels, stream)
                           : GatherRowOfCount<false>(candidates, count, b, out, pixels, stream);
  const uint8_t* rest[kFallClasses];
  for (int k = 0; k < count; ++k) rest[k] = candidates[k] + std::size_t(x) * 4;
  int32_t last[3];
  FallGatherRowScalar(rest, count, b + std::size_t(x) * 4, reinterpret_cast<uint8_t*>(last), pixels - x, lumaChroma);
  for (int i = 0; i < pixels - x; ++i) {
    uint8_t* target = out + std::size_t(x + i) * 4;
    if (stream) {
      _mm_stream_si32(reinterpret_cast<int*>(target), last[i]);
    } else {
      std::memcpy(target, &last[i], 4);
    }
  }
}

}  // namespace vek
