// Kernels written for SSE2, which every x86-64 processor has, so they need no render hint.
#include <emmintrin.h>

#include "transitions/kernels.h"

namespace vek {
namespace {

// floor((b - a) * alpha / 256) for 16-bit lanes: mulhi of (b - a) * 128 and 2 * alpha is exactly
// the product shifted right by 8, and neither factor overflows.
inline __m128i AlphaStep(__m128i a, __m128i b, __m128i alpha) {
  return _mm_mulhi_epi16(_mm_slli_epi16(_mm_sub_epi16(b, a), 7), _mm_add_epi16(alpha, alpha));
}

// Each pixel's alpha repeated over its four 16-bit lanes.
inline __m128i SpreadAlpha(__m128i pixels16) {
  return _mm_shufflehi_epi16(_mm_shufflelo_epi16(pixels16, _MM_SHUFFLE(3, 3, 3, 3)), _MM_SHUFFLE(3, 3, 3, 3));
}

}  // namespace

void AlphaOverRowSse2(const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i opaque = _mm_set1_epi32(int(0xFF000000u));
  const __m128i full = _mm_set1_epi32(255);
  int x = 0;
  for (; x + 4 <= pixels; x += 4, a += 16, b += 16, out += 16) {
    const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a));
    const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b));
    const __m128i aLow = _mm_unpacklo_epi8(va, zero), aHigh = _mm_unpackhi_epi8(va, zero);
    const __m128i bLow = _mm_unpacklo_epi8(vb, zero), bHigh = _mm_unpackhi_epi8(vb, zero);
    const __m128i low = _mm_add_epi16(aLow, AlphaStep(aLow, bLow, SpreadAlpha(bLow)));
    const __m128i high = _mm_add_epi16(aHigh, AlphaStep(aHigh, bHigh, SpreadAlpha(bHigh)));
    const __m128i blended = _mm_or_si128(_mm_packus_epi16(low, high), opaque);
    const __m128i alpha = _mm_srli_epi32(vb, 24);
    const __m128i takeB = _mm_cmpeq_epi32(alpha, full), takeA = _mm_cmpeq_epi32(alpha, zero);
    const __m128i blend = _mm_andnot_si128(_mm_or_si128(takeA, takeB), blended);
    const __m128i kept = _mm_or_si128(_mm_and_si128(takeB, vb), _mm_and_si128(takeA, va));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_or_si128(kept, blend));
  }
  AlphaOverRow(a, b, out, pixels - x);
}

}  // namespace vek
