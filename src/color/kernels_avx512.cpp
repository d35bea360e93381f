// The only file of the colour adjustment built for AVX-512; like the SSSE3 file it includes nothing
// of the project but kernels.h, and it is called only where Avx512KernelsUsable().
//
// GCC 12's AVX-512 intrinsics pass an undefined vector through their masked builtins and then warn
// that it may be used uninitialised, for every plain operation this file makes.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

#include "color/kernels.h"

namespace vek::colour {
namespace {

constexpr __mmask64 kLowBytes = 0x5555555555555555u, kAlphaBytes = 0x8888888888888888u;

// Byte k of each of 32 pixels (two registers) in the low byte of a 16-bit lane, for k = 0, 1, 2.
__m512i PlaneIndexes(int k) {
  alignas(64) uint8_t bytes[64] = {};
  for (int j = 0; j < 32; ++j) bytes[2 * j] = uint8_t(4 * j + k);
  return _mm512_load_si512(bytes);
}
// Back to the pixels of register r (pixels 16 r ..): bytes 0 and 1 from the first two planes of a
// two-plane permute, byte 2 from a one-plane permute of the third.
__m512i JoinIndexes(int r) {
  alignas(64) uint8_t bytes[64] = {};
  for (int j = 0; j < 16; ++j) {
    const uint8_t lane = uint8_t(32 * r + 2 * j);
    bytes[4 * j] = lane, bytes[4 * j + 1] = uint8_t(64 + lane), bytes[4 * j + 2] = lane;
  }
  return _mm512_load_si512(bytes);
}

}  // namespace

// Thirty-two pixels at a time as planes of 16-bit lanes, the map looked up with byte permutes; the
// arithmetic is the SSSE3 kernel's, so are the bytes. The pixels left over are a masked thirty-two.
void ToneRowAvx512(const uint8_t* source, uint8_t* out, int pixels, const uint8_t* map, int32_t range) {
  if (range < 255) return ToneRow(source, out, pixels, map, range);
  __m512i quarters[4];
  for (int q = 0; q < 4; ++q) quarters[q] = _mm512_loadu_si512(map + 64 * q);
  const __m512i planeIndexes[3] = {PlaneIndexes(0), PlaneIndexes(1), PlaneIndexes(2)};
  const __m512i joinIndexes[2] = {JoinIndexes(0), JoinIndexes(1)};
  const __m512i zero = _mm512_setzero_si512(), one = _mm512_set1_epi16(1);
  const auto lookUp = [&](__m512i plane) {
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(plane),
                                  _mm512_maskz_permutex2var_epi8(kLowBytes, quarters[0], plane, quarters[1]),
                                  _mm512_maskz_permutex2var_epi8(kLowBytes, quarters[2], plane, quarters[3]));
  };
  const auto select = [](__mmask32 first, __mmask32 second, __m512i a, __m512i b, __m512i c) {
    return _mm512_mask_blend_epi16(first, _mm512_mask_blend_epi16(second, c, b), a);
  };
  // The 32 pixels in p[0], p[1], toned into o[0], o[1].
  const auto tone = [&](const __m512i (&p)[2], __m512i (&o)[2]) {
    __m512i c[3], m[3];
    for (int k = 0; k < 3; ++k) {
      c[k] = _mm512_maskz_permutex2var_epi8(kLowBytes, p[0], planeIndexes[k], p[1]);
      m[k] = lookUp(c[k]);
    }
    const __m512i mx = _mm512_max_epi16(_mm512_max_epi16(c[0], c[1]), c[2]);
    const __m512i mn = _mm512_min_epi16(_mm512_min_epi16(c[0], c[1]), c[2]);
    // The scalar rule's indexes, as the SSSE3 kernel finds them.
    const __mmask32 max0 = _mm512_cmpeq_epi16_mask(c[0], mx), atMax1 = _mm512_cmpeq_epi16_mask(c[1], mx);
    const __mmask32 max1 = atMax1 & ~max0, max2 = ~(max0 | atMax1);
    const __mmask32 atMin0 = _mm512_cmpeq_epi16_mask(c[0], mn);
    const __mmask32 min0 = atMin0 & ~max0, min1 = (max0 & _mm512_cmpeq_epi16_mask(c[1], mn)) | (max2 & ~atMin0);
    const __mmask32 mid0 = ~(max0 | min0), mid1 = ~(max1 | min1), mid2 = ~(mid0 | mid1);
    const __m512i md = _mm512_sub_epi16(_mm512_add_epi16(_mm512_add_epi16(c[0], c[1]), c[2]), _mm512_add_epi16(mx, mn));
    const __m512i newMax = select(max0, max1, m[0], m[1], m[2]), newMin = select(min0, min1, m[0], m[1], m[2]);
    const __m512i mappedMid = select(mid0, mid1, m[0], m[1], m[2]);
    // t = newMin + ((d >> 1) + (newMax - newMin) (md - mn)) / d in 32-bit lanes; the single-precision
    // quotient is exact for these numerators (below 2^16) and divisors (up to 255). For d = 0 the
    // numerator is 0.
    const __m512i d = _mm512_sub_epi16(mx, mn), spread = _mm512_sub_epi16(newMax, newMin), offset = _mm512_sub_epi16(md, mn);
    const __m512i low = _mm512_mullo_epi16(spread, offset), high = _mm512_mulhi_epi16(spread, offset);
    const __m512i half = _mm512_srli_epi16(d, 1), divisor = _mm512_max_epi16(d, one);
    const auto quotient = [](__m512i numerator, __m512i denominator) {
      return _mm512_cvttps_epi32(_mm512_div_ps(_mm512_cvtepi32_ps(numerator), _mm512_cvtepi32_ps(denominator)));
    };
    const __m512i q0 = quotient(_mm512_add_epi32(_mm512_unpacklo_epi16(low, high), _mm512_unpacklo_epi16(half, zero)),
                                _mm512_unpacklo_epi16(divisor, zero));
    const __m512i q1 = quotient(_mm512_add_epi32(_mm512_unpackhi_epi16(low, high), _mm512_unpackhi_epi16(half, zero)),
                                _mm512_unpackhi_epi16(divisor, zero));
    const __m512i t = _mm512_add_epi16(newMin, _mm512_packs_epi32(q0, q1));
    // "Held between md and M[md]" either way round: a clamp to the interval they span.
    const __m512i middle =
        _mm512_min_epi16(_mm512_max_epi16(t, _mm512_min_epi16(md, mappedMid)), _mm512_max_epi16(md, mappedMid));
    const __m512i b0 = _mm512_mask_blend_epi16(mid0, m[0], middle), b1 = _mm512_mask_blend_epi16(mid1, m[1], middle);
    const __m512i b2 = _mm512_mask_blend_epi16(mid2, m[2], middle);
    for (int r = 0; r < 2; ++r) {
      const __m512i joined = _mm512_mask_permutexvar_epi8(_mm512_permutex2var_epi8(b0, joinIndexes[r], b1),
                                                          kAlphaBytes >> 1, joinIndexes[r], b2);
      o[r] = _mm512_mask_blend_epi8(kAlphaBytes, joined, p[r]);
    }
  };
  int x = 0;
  for (; x + 32 <= pixels; x += 32) {
    const __m512i p[2] = {_mm512_loadu_si512(source + 4 * x), _mm512_loadu_si512(source + 4 * x + 64)};
    __m512i o[2];
    tone(p, o);
    _mm512_storeu_si512(out + 4 * x, o[0]);
    _mm512_storeu_si512(out + 4 * x + 64, o[1]);
  }
  if (x < pixels) {
    const int bytes = 4 * (pixels - x);
    const __mmask64 first = bytes >= 64 ? ~__mmask64(0) : (__mmask64(1) << bytes) - 1;
    const __mmask64 second = bytes > 64 ? (__mmask64(1) << (bytes - 64)) - 1 : 0;
    const __m512i p[2] = {_mm512_maskz_loadu_epi8(first, source + 4 * x), _mm512_maskz_loadu_epi8(second, source + 4 * x + 64)};
    __m512i o[2];
    tone(p, o);
    _mm512_mask_storeu_epi8(out + 4 * x, first, o[0]);
    _mm512_mask_storeu_epi8(out + 4 * x + 64, second, o[1]);
  }
}

}  // namespace vek::colour
