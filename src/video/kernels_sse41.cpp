// The only file of the video effects built with -msse4.1; it includes nothing of the project but
// kernels.h, so no shared inline helper is compiled here for a processor without SSE4.1.
#include <smmintrin.h>

#include "video/kernels.h"

namespace vek {
namespace {

inline __m128i Clamp255(__m128i value) {
  return _mm_min_epi32(_mm_max_epi32(value, _mm_setzero_si128()), _mm_set1_epi32(255));
}

// a * x + b * y + c * z + offset, shifted right by 12 (arithmetic), in 32-bit lanes.
inline __m128i Mix(int a, __m128i x, int b, __m128i y, int c, __m128i z, int offset) {
  const __m128i sum = _mm_add_epi32(_mm_add_epi32(_mm_mullo_epi32(x, _mm_set1_epi32(a)),
                                                  _mm_mullo_epi32(y, _mm_set1_epi32(b))),
                                    _mm_add_epi32(_mm_mullo_epi32(z, _mm_set1_epi32(c)), _mm_set1_epi32(offset)));
  return _mm_srai_epi32(sum, 12);
}

}  // namespace

// Four pixels at a time: the colour transforms in 32-bit lanes, the table looked up per channel.
void PosterizeRowAyuvSse41(const uint8_t* source, uint8_t* out, std::size_t pixels, const PosterizeTable& table) {
  const __m128i low = _mm_set1_epi32(0xFF), zero = _mm_setzero_si128();
  alignas(16) int32_t rgb[3][4], posterized[3][4];
  std::size_t x = 0;
  for (; x + 4 <= pixels; x += 4) {
    const __m128i px = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 4 * x));
    const __m128i v = _mm_and_si128(px, low), u = _mm_and_si128(_mm_srli_epi32(px, 8), low);
    const __m128i y = _mm_and_si128(_mm_srli_epi32(px, 16), low);
    const __m128i r = Clamp255(Mix(4768, y, 6537, v, 0, zero, -910976));
    const __m128i g = Clamp255(Mix(4768, y, -1602, u, -3330, v, 0x88000));
    const __m128i b = Clamp255(Mix(4768, y, 8266, u, 0, zero, -1132288));
    _mm_store_si128(reinterpret_cast<__m128i*>(rgb[0]), r);
    _mm_store_si128(reinterpret_cast<__m128i*>(rgb[1]), g);
    _mm_store_si128(reinterpret_cast<__m128i*>(rgb[2]), b);
    for (int c = 0; c < 3; ++c) {
      for (int k = 0; k < 4; ++k) posterized[c][k] = table.entry[rgb[c][k]];
    }
    const __m128i dr = _mm_sub_epi32(_mm_load_si128(reinterpret_cast<const __m128i*>(posterized[0])), r);
    const __m128i dg = _mm_sub_epi32(_mm_load_si128(reinterpret_cast<const __m128i*>(posterized[1])), g);
    const __m128i db = _mm_sub_epi32(_mm_load_si128(reinterpret_cast<const __m128i*>(posterized[2])), b);
    const __m128i newV = Clamp255(_mm_add_epi32(v, Mix(1798, dr, -1507, dg, -291, db, 2048)));
    const __m128i newU = Clamp255(_mm_add_epi32(u, Mix(1798, db, -1192, dg, -606, dr, 2048)));
    const __m128i newY = Clamp255(_mm_add_epi32(y, Mix(1053, dr, 2064, dg, 401, db, 2048)));
    const __m128i alpha = _mm_andnot_si128(_mm_set1_epi32(0x00FFFFFF), px);
    const __m128i packed = _mm_or_si128(_mm_or_si128(newV, _mm_slli_epi32(newU, 8)),
                                        _mm_or_si128(_mm_slli_epi32(newY, 16), alpha));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * x), packed);
  }
  PosterizeRowAyuv(source + 4 * x, out + 4 * x, pixels - x, table);
}

}  // namespace vek
