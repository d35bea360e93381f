// The only file of the transitions built with -msse4.1; it includes nothing of the project but
// kernels.h, so no shared inline helper is compiled here for a processor without SSE4.1.
#include <smmintrin.h>

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

}  // namespace vek
