// The only file of the colour adjustment built with -msse4.1; it includes nothing of the project but
// kernels.h, so no shared inline helper is compiled here for a processor without SSE4.1.
#include <smmintrin.h>

#include <cstring>

#include "color/kernels.h"

namespace vek::colour {
namespace {

// Four luma bytes as 32-bit lanes.
inline __m128i Luma4(const uint8_t* luma) {
  int32_t bytes;
  std::memcpy(&bytes, luma, 4);
  return _mm_cvtepu8_epi32(_mm_cvtsi32_si128(bytes));
}

}  // namespace

// Four pixels at a time in 32-bit lanes, for kernels whose products fit in 32 bits (the scalar
// kernel takes the others, the frame's edge columns and the tail). The coring factors are looked
// up lane by lane.
void SharpenRowSse41(const uint8_t* up, const uint8_t* centre, const uint8_t* down, const uint8_t* pixels,
                     uint8_t* out, int width, int x0, int x1, const SharpenKernel& kernel) {
  constexpr int64_t kNarrow = int64_t(1) << 20;
  const bool narrow = kernel.centre > -kNarrow && kernel.centre < kNarrow && kernel.edge > -kNarrow && kernel.edge < kNarrow;
  const int first = x0 > 1 ? x0 : 1, last = x1 < width - 1 ? x1 : width - 1;
  if (!narrow || first >= last) return SharpenRow(up, centre, down, pixels, out, width, x0, x1, kernel);
  SharpenRow(up, centre, down, pixels, out, width, x0, first, kernel);
  const __m128i centreTap = _mm_set1_epi32(int32_t(kernel.centre)), edgeTap = _mm_set1_epi32(int32_t(kernel.edge));
  const __m128i half = _mm_set1_epi32(32768), zero = _mm_setzero_si128();
  // The luma change of pixel k spread over its colour bytes (RGB) or its byte 2 (luma/chroma).
  const __m128i spreadLow = kernel.rgb ? _mm_setr_epi8(0, 1, 0, 1, 0, 1, -1, -1, 2, 3, 2, 3, 2, 3, -1, -1)
                                       : _mm_setr_epi8(-1, -1, -1, -1, 0, 1, -1, -1, -1, -1, -1, -1, 2, 3, -1, -1);
  const __m128i spreadHigh = kernel.rgb ? _mm_setr_epi8(4, 5, 4, 5, 4, 5, -1, -1, 6, 7, 6, 7, 6, 7, -1, -1)
                                        : _mm_setr_epi8(-1, -1, -1, -1, 4, 5, -1, -1, -1, -1, -1, -1, 6, 7, -1, -1);
  int x = first;
  for (; x + 4 <= last; x += 4) {
    const __m128i y = Luma4(centre + x), left = Luma4(centre + x - 1), right = Luma4(centre + x + 1);
    const __m128i above = Luma4(up + x), below = Luma4(down + x);
    const __m128i neighbours = _mm_add_epi32(_mm_add_epi32(left, right), _mm_add_epi32(above, below));
    const __m128i sharpened = _mm_srai_epi32(
        _mm_add_epi32(_mm_add_epi32(_mm_mullo_epi32(centreTap, y), _mm_mullo_epi32(edgeTap, neighbours)), half), 16);
    alignas(16) int32_t laplacian[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(laplacian),
                    _mm_abs_epi32(_mm_sub_epi32(_mm_slli_epi32(y, 2), neighbours)));
    const __m128i coring = _mm_setr_epi32(kernel.coring[laplacian[0]], kernel.coring[laplacian[1]],
                                          kernel.coring[laplacian[2]], kernel.coring[laplacian[3]]);
    const __m128i change = _mm_srai_epi32(_mm_add_epi32(_mm_mullo_epi32(_mm_sub_epi32(sharpened, y), coring), half), 16);
    const __m128i lo = _mm_min_epi32(_mm_min_epi32(_mm_min_epi32(y, left), _mm_min_epi32(right, above)), below);
    const __m128i hi = _mm_max_epi32(_mm_max_epi32(_mm_max_epi32(y, left), _mm_max_epi32(right, above)), below);
    const __m128i margin = _mm_srai_epi32(_mm_sub_epi32(hi, lo), 2);
    const __m128i peak = _mm_or_si128(_mm_and_si128(_mm_cmpgt_epi32(y, left), _mm_cmpgt_epi32(y, right)),
                                      _mm_and_si128(_mm_cmpgt_epi32(y, above), _mm_cmpgt_epi32(y, below)));
    const __m128i pit = _mm_or_si128(_mm_and_si128(_mm_cmpgt_epi32(left, y), _mm_cmpgt_epi32(right, y)),
                                     _mm_and_si128(_mm_cmpgt_epi32(above, y), _mm_cmpgt_epi32(below, y)));
    const __m128i lower = _mm_blendv_epi8(lo, _mm_sub_epi32(lo, margin), pit);
    const __m128i upper = _mm_blendv_epi8(hi, _mm_add_epi32(hi, margin), peak);
    const __m128i target = _mm_min_epi32(_mm_max_epi32(_mm_add_epi32(y, change), lower), upper);
    const __m128i delta = _mm_packs_epi32(_mm_sub_epi32(target, y), zero);
    const __m128i colour = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + 4 * x));
    const __m128i low = _mm_add_epi16(_mm_cvtepu8_epi16(colour), _mm_shuffle_epi8(delta, spreadLow));
    const __m128i high = _mm_add_epi16(_mm_unpackhi_epi8(colour, zero), _mm_shuffle_epi8(delta, spreadHigh));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * x), _mm_packus_epi16(low, high));
  }
  SharpenRow(up, centre, down, pixels, out, width, x, x1, kernel);
}

}  // namespace vek::colour
