// The only file of the colour adjustment built with -mssse3; it includes nothing of the project but
// kernels.h, so no shared inline helper is compiled here for a processor without SSSE3.
#include <tmmintrin.h>

#include <cstring>

#include "color/kernels.h"

namespace vek::colour {
namespace {

inline __m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void Store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Lanes of mask take a, the others b.
inline __m128i Blend(__m128i mask, __m128i a, __m128i b) {
  return _mm_or_si128(_mm_and_si128(mask, a), _mm_andnot_si128(mask, b));
}
// Lanes of mask0 take a, of mask1 b, the others c.
inline __m128i Select(__m128i mask0, __m128i mask1, __m128i a, __m128i b, __m128i c) {
  return Blend(mask0, a, Blend(mask1, b, c));
}

// Sixteen pixels as planes of bytes 0, 1, 2 and 3.
struct Planes {
  __m128i c0, c1, c2, c3;
};
inline Planes Split(const uint8_t* pixels) {
  const __m128i gather = _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
  const __m128i a = _mm_shuffle_epi8(Load(pixels), gather), b = _mm_shuffle_epi8(Load(pixels + 16), gather);
  const __m128i c = _mm_shuffle_epi8(Load(pixels + 32), gather), d = _mm_shuffle_epi8(Load(pixels + 48), gather);
  const __m128i ab01 = _mm_unpacklo_epi32(a, b), ab23 = _mm_unpackhi_epi32(a, b);
  const __m128i cd01 = _mm_unpacklo_epi32(c, d), cd23 = _mm_unpackhi_epi32(c, d);
  return {_mm_unpacklo_epi64(ab01, cd01), _mm_unpackhi_epi64(ab01, cd01), _mm_unpacklo_epi64(ab23, cd23),
          _mm_unpackhi_epi64(ab23, cd23)};
}
inline void Join(uint8_t* pixels, const Planes& p) {
  const __m128i low01 = _mm_unpacklo_epi8(p.c0, p.c1), high01 = _mm_unpackhi_epi8(p.c0, p.c1);
  const __m128i low23 = _mm_unpacklo_epi8(p.c2, p.c3), high23 = _mm_unpackhi_epi8(p.c2, p.c3);
  Store(pixels, _mm_unpacklo_epi16(low01, low23));
  Store(pixels + 16, _mm_unpackhi_epi16(low01, low23));
  Store(pixels + 32, _mm_unpacklo_epi16(high01, high23));
  Store(pixels + 48, _mm_unpackhi_epi16(high01, high23));
}

// The middle byte's new value for eight pixels in 16-bit lanes: t = newMin + ((d >> 1) + (newMax -
// newMin) * (md - mn)) / d, held between md and M[md]. The quotient is taken in single precision,
// which is exact for numerators below 2^16 and divisors up to 255; for d = 0 the numerator is 0
// and newMin already equals M[md].
inline __m128i Middle(__m128i mx, __m128i mn, __m128i md, __m128i newMax, __m128i newMin, __m128i mappedMid) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i d = _mm_sub_epi16(mx, mn), spread = _mm_sub_epi16(newMax, newMin), offset = _mm_sub_epi16(md, mn);
  const __m128i low = _mm_mullo_epi16(spread, offset), high = _mm_mulhi_epi16(spread, offset), half = _mm_srli_epi16(d, 1);
  const __m128i divisor = _mm_max_epi16(d, _mm_set1_epi16(1));
  const __m128i n0 = _mm_add_epi32(_mm_unpacklo_epi16(low, high), _mm_unpacklo_epi16(half, zero));
  const __m128i n1 = _mm_add_epi32(_mm_unpackhi_epi16(low, high), _mm_unpackhi_epi16(half, zero));
  const __m128i q0 = _mm_cvttps_epi32(_mm_div_ps(_mm_cvtepi32_ps(n0), _mm_cvtepi32_ps(_mm_unpacklo_epi16(divisor, zero))));
  const __m128i q1 = _mm_cvttps_epi32(_mm_div_ps(_mm_cvtepi32_ps(n1), _mm_cvtepi32_ps(_mm_unpackhi_epi16(divisor, zero))));
  const __m128i t = _mm_add_epi16(newMin, _mm_packs_epi32(q0, q1));
  // Either way round, "held between md and M[md]" is a clamp to the interval they span.
  return _mm_min_epi16(_mm_max_epi16(t, _mm_min_epi16(md, mappedMid)), _mm_max_epi16(md, mappedMid));
}

}  // namespace

// Chunks of up to 128 pixels: first every colour byte through the map into three planes (scalar,
// so the stores have landed before the vector loads read them), then sixteen pixels at a time the
// middle byte is found, with the scalar rule's order for equal bytes, and replaced.
void ToneRowSsse3(const uint8_t* source, uint8_t* out, int pixels, const uint8_t* map, int32_t range) {
  if (range < 255) return ToneRow(source, out, pixels, map, range);
  constexpr int kChunk = 128;
  alignas(16) uint8_t mapped[3][kChunk];
  const __m128i zero = _mm_setzero_si128();
  int x = 0;
  while (pixels - x >= 16) {
    const int count = pixels - x < kChunk ? (pixels - x) & ~15 : kChunk;
    const uint8_t* s = source + 4 * x;
    for (int k = 0; k < count; ++k) {
      uint32_t p;
      std::memcpy(&p, s + 4 * k, 4);
      mapped[0][k] = map[p & 255], mapped[1][k] = map[(p >> 8) & 255], mapped[2][k] = map[(p >> 16) & 255];
    }
    for (int k = 0; k < count; k += 16) {
      const Planes c = Split(s + 4 * k);
      const Planes m{Load(mapped[0] + k), Load(mapped[1] + k), Load(mapped[2] + k), zero};
      const __m128i mx = _mm_max_epu8(_mm_max_epu8(c.c0, c.c1), c.c2), mn = _mm_min_epu8(_mm_min_epu8(c.c0, c.c1), c.c2);
      // The scalar rule's indexes: byte 0 is the maximum when it equals it; byte 1 when it does and
      // byte 0 does not. With the maximum at 0 the minimum is byte 1 when byte 1 equals it, with the
      // maximum at 1 or 2 it is byte 0 when byte 0 equals it; otherwise the remaining byte.
      const __m128i max0 = _mm_cmpeq_epi8(c.c0, mx), atMax1 = _mm_cmpeq_epi8(c.c1, mx);
      const __m128i max1 = _mm_andnot_si128(max0, atMax1), max2 = _mm_andnot_si128(_mm_or_si128(max0, atMax1), _mm_set1_epi8(-1));
      const __m128i atMin0 = _mm_cmpeq_epi8(c.c0, mn);
      const __m128i min0 = _mm_andnot_si128(max0, atMin0);
      const __m128i min1 = _mm_or_si128(_mm_and_si128(max0, _mm_cmpeq_epi8(c.c1, mn)), _mm_andnot_si128(atMin0, max2));
      const __m128i mid0 = _mm_andnot_si128(_mm_or_si128(max0, min0), _mm_set1_epi8(-1));
      const __m128i mid1 = _mm_andnot_si128(_mm_or_si128(max1, min1), _mm_set1_epi8(-1));
      const __m128i md = _mm_sub_epi8(_mm_add_epi8(_mm_add_epi8(c.c0, c.c1), c.c2), _mm_add_epi8(mx, mn));
      const __m128i newMax = Select(max0, max1, m.c0, m.c1, m.c2), newMin = Select(min0, min1, m.c0, m.c1, m.c2);
      const __m128i mappedMid = Select(mid0, mid1, m.c0, m.c1, m.c2);
      const __m128i lowHalf = Middle(_mm_unpacklo_epi8(mx, zero), _mm_unpacklo_epi8(mn, zero), _mm_unpacklo_epi8(md, zero),
                                     _mm_unpacklo_epi8(newMax, zero), _mm_unpacklo_epi8(newMin, zero),
                                     _mm_unpacklo_epi8(mappedMid, zero));
      const __m128i highHalf = Middle(_mm_unpackhi_epi8(mx, zero), _mm_unpackhi_epi8(mn, zero), _mm_unpackhi_epi8(md, zero),
                                      _mm_unpackhi_epi8(newMax, zero), _mm_unpackhi_epi8(newMin, zero),
                                      _mm_unpackhi_epi8(mappedMid, zero));
      const __m128i middle = _mm_packus_epi16(lowHalf, highHalf);
      const __m128i mid2 = _mm_andnot_si128(_mm_or_si128(mid0, mid1), _mm_set1_epi8(-1));
      Join(out + 4 * (x + k), {Blend(mid0, middle, m.c0), Blend(mid1, middle, m.c1), Blend(mid2, middle, m.c2), c.c3});
    }
    x += count;
  }
  ToneRow(source + 4 * x, out + 4 * x, pixels - x, map, range);
}

}  // namespace vek::colour
