// The only file of the colour adjustment built for AVX-512; like the SSSE3 file it includes nothing
// of the project but kernels.h, and it is called only where Avx512KernelsUsable().
// GCC 12's AVX-512 intrinsics pass an undefined vector through their masked builtins and then warn
// that it may be used uninitialised, for every plain operation this file makes.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

#include "color/kernels.h"

namespace vek::colour {

// Sixteen pixels at a time, each in a 32-bit lane, the map looked up with byte permutes; the
// pixels left over are a masked sixteen.
void ToneRowAvx512(const uint8_t* source, uint8_t* out, int pixels, const uint8_t* map, int32_t range) {
  if (range < 255) return ToneRow(source, out, pixels, map, range);
  __m512i quarters[4];
  for (int q = 0; q < 4; ++q) quarters[q] = _mm512_loadu_si512(map + 64 * q);
  const __m512i byteMask = _mm512_set1_epi32(255), one = _mm512_set1_epi32(1), zero = _mm512_setzero_si512();
  const __mmask64 alphaBytes = 0x8888888888888888u;
  // Shuffles that move byte k of every lane to the lane's low byte and clear the others.
  __m512i byteIndexes[3];
  for (int k = 0; k < 3; ++k) {
    const auto lane = [k](int j) { return int(0x80808000u | uint32_t(4 * j + k)); };
    byteIndexes[k] = _mm512_broadcast_i32x4(_mm_setr_epi32(lane(0), lane(1), lane(2), lane(3)));
  }
  const auto tone = [&](__m512i p) {
    // Every byte through the map, alpha too; alpha is put back below.
    const __m512i looked = _mm512_mask_blend_epi8(_mm512_movepi8_mask(p), _mm512_permutex2var_epi8(quarters[0], p, quarters[1]),
                                                  _mm512_permutex2var_epi8(quarters[2], p, quarters[3]));
    const auto byteOf = [&](__m512i v, int k) { return _mm512_shuffle_epi8(v, byteIndexes[k]); };
    const __m512i c0 = byteOf(p, 0), c1 = byteOf(p, 1), c2 = byteOf(p, 2);
    const __m512i m0 = byteOf(looked, 0), m1 = byteOf(looked, 1), m2 = byteOf(looked, 2);
    const __m512i mx = _mm512_max_epi32(_mm512_max_epi32(c0, c1), c2), mn = _mm512_min_epi32(_mm512_min_epi32(c0, c1), c2);
    // The scalar rule's indexes, as the SSSE3 kernel finds them.
    const __mmask16 max0 = _mm512_cmpeq_epi32_mask(c0, mx), atMax1 = _mm512_cmpeq_epi32_mask(c1, mx);
    const __mmask16 max1 = __mmask16(atMax1 & ~max0), max2 = __mmask16(~(max0 | atMax1));
    const __mmask16 atMin0 = _mm512_cmpeq_epi32_mask(c0, mn);
    const __mmask16 min0 = __mmask16(atMin0 & ~max0);
    const __mmask16 min1 = __mmask16((max0 & _mm512_cmpeq_epi32_mask(c1, mn)) | (max2 & ~atMin0));
    const __mmask16 mid0 = __mmask16(~(max0 | min0)), mid1 = __mmask16(~(max1 | min1));
    const auto select = [](__mmask16 first, __mmask16 second, __m512i a, __m512i b, __m512i c) {
      return _mm512_mask_blend_epi32(first, _mm512_mask_blend_epi32(second, c, b), a);
    };
    const __m512i md = _mm512_sub_epi32(_mm512_add_epi32(_mm512_add_epi32(c0, c1), c2), _mm512_add_epi32(mx, mn));
    const __m512i newMax = select(max0, max1, m0, m1, m2), newMin = select(min0, min1, m0, m1, m2);
    const __m512i mappedMid = select(mid0, mid1, m0, m1, m2);
    // t = newMin + ((d >> 1) + (newMax - newMin) (md - mn)) / d; the single-precision quotient is
    // exact for these numerators (below 2^16) and divisors (up to 255). For d = 0 the numerator is 0.
    const __m512i d = _mm512_sub_epi32(mx, mn);
    const __m512i numerator = _mm512_add_epi32(_mm512_mullo_epi32(_mm512_sub_epi32(newMax, newMin), _mm512_sub_epi32(md, mn)),
                                               _mm512_srli_epi32(d, 1));
    const __m512i quotient = _mm512_cvttps_epi32(
        _mm512_div_ps(_mm512_cvtepi32_ps(numerator), _mm512_cvtepi32_ps(_mm512_max_epi32(d, one))));
    const __m512i t = _mm512_add_epi32(newMin, quotient);
    // "Held between md and M[md]" either way round: a clamp to the interval they span.
    const __m512i middle = _mm512_min_epi32(_mm512_max_epi32(t, _mm512_min_epi32(md, mappedMid)), _mm512_max_epi32(md, mappedMid));
    // The mapped bytes with alpha back, and the middle byte in its own place.
    const __m512i shift = _mm512_mask_mov_epi32(_mm512_mask_mov_epi32(_mm512_set1_epi32(16), mid1, _mm512_set1_epi32(8)), mid0, zero);
    const __m512i kept = _mm512_mask_blend_epi8(alphaBytes, looked, p);
    return _mm512_or_si512(_mm512_andnot_si512(_mm512_sllv_epi32(byteMask, shift), kept), _mm512_sllv_epi32(middle, shift));
  };
  int x = 0;
  for (; x + 16 <= pixels; x += 16) _mm512_storeu_si512(out + 4 * x, tone(_mm512_loadu_si512(source + 4 * x)));
  if (x < pixels) {
    const __mmask64 rest = (__mmask64(1) << (4 * (pixels - x))) - 1;
    _mm512_mask_storeu_epi8(out + 4 * x, rest, tone(_mm512_maskz_loadu_epi8(rest, source + 4 * x)));
  }
}

}  // namespace vek::colour
