// The only file of the transitions built with -msse4.1; it includes nothing of the project but
// kernels.h and the gather's templates, which it instantiates with its own lanes, so no shared
// inline helper is compiled here for a processor without SSE4.1.
#include <smmintrin.h>

#include <cstdint>
#include <cstring>

#include "transitions/fall_gather.h"
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

struct Sse41Lanes {
  static constexpr std::size_t kBytes = 16;
  static __m128i Load(const uint8_t* at) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at)); }
  static void Store(uint8_t* at, __m128i pixels) { _mm_storeu_si128(reinterpret_cast<__m128i*>(at), pixels); }
  static void Stream(uint8_t* at, __m128i pixels) { _mm_stream_si128(reinterpret_cast<__m128i*>(at), pixels); }
  static __m128i Blend(__m128i kept, __m128i taken, __m128i lanes) { return _mm_blendv_epi8(kept, taken, lanes); }

  // Whether each pixel of the candidate k + 1 falls above lands here, as a lane of ones: its class
  // is k + 1, or for the nearest candidate 0 or 1. The tone sum takes two multiply-adds.
  template <bool kLumaChroma>
  static __m128i Lands(__m128i colours, int k) {
    const __m128i byteWeights = _mm_set1_epi32(kLumaChroma ? 0x00010000 : 0x00010101);
    const __m128i sum = _mm_madd_epi16(_mm_maddubs_epi16(colours, byteWeights), _mm_set1_epi16(1));
    if constexpr (kLumaChroma) {
      const __m128i tone = _mm_srli_epi32(_mm_add_epi32(sum, _mm_set1_epi32(31)), 6);
      return k == 0 ? _mm_cmplt_epi32(tone, _mm_set1_epi32(2)) : _mm_cmpeq_epi32(tone, _mm_set1_epi32(k + 1));
    }
    return k == 0 ? _mm_cmplt_epi32(sum, _mm_set1_epi32(256))
                  : _mm_cmpeq_epi32(_mm_srli_epi32(sum, 7), _mm_set1_epi32(k + 1));
  }
};

}  // namespace

void FallGatherRowSse41(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                        bool lumaChroma, bool stream) {
  fall_gather::GatherRow<Sse41Lanes>(candidates, count, b, out, pixels, lumaChroma, stream);
}

}  // namespace vek
