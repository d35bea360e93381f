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

// The scalar kernel's arithmetic, operation for operation, so both give the same bytes.
inline __m128 Luma(__m128 b, __m128 g, __m128 r) {
  return _mm_add_ps(_mm_add_ps(_mm_mul_ps(_mm_set1_ps(0.299f), r), _mm_mul_ps(_mm_set1_ps(0.587f), g)),
                    _mm_mul_ps(_mm_set1_ps(0.114f), b));
}

// The factor of lanes above 1 cut where hi or lo would pass 255 or 0 (min and max keep the scalar
// std::min / std::max operand order).
inline __m128 CutFactor(__m128 hi, __m128 lo, __m128 y, __m128 factor) {
  const __m128 one = _mm_set1_ps(1.0f);
  // The floor keeps grey lanes (hi = lo = y, thrown away later) from dividing by zero. It can change
  // a cut only where hi - lo is below 0.01 and y within 0.002 of 0 or 255, where every factor up
  // to 2 rounds to the same bytes.
  const __m128 floor = _mm_set1_ps(0.001f);
  const __m128 toTop = _mm_div_ps(_mm_sub_ps(_mm_set1_ps(255.0f), y), _mm_max_ps(_mm_sub_ps(hi, y), floor));
  const __m128 toBottom = _mm_div_ps(y, _mm_max_ps(_mm_sub_ps(y, lo), floor));
  const __m128 cut = _mm_max_ps(_mm_min_ps(toBottom, _mm_min_ps(toTop, factor)), one);
  return _mm_blendv_ps(factor, cut, _mm_cmpgt_ps(factor, one));
}

// hi and lo moved away from y by factor; when no lane's factor can exceed 1 there is nothing to cut.
inline void Scale(__m128& hi, __m128& lo, __m128 y, __m128 factor, bool mayExceedOne) {
  if (mayExceedOne) factor = CutFactor(hi, lo, y, factor);
  hi = _mm_add_ps(y, _mm_mul_ps(factor, _mm_sub_ps(hi, y)));
  lo = _mm_add_ps(y, _mm_mul_ps(factor, _mm_sub_ps(lo, y)));
}

inline __m128i RoundToBytes(__m128 value) {
  const __m128 held = _mm_min_ps(_mm_max_ps(value, _mm_setzero_ps()), _mm_set1_ps(255.0f));
  return _mm_cvttps_epi32(_mm_add_ps(held, _mm_set1_ps(0.5f)));
}

inline __m128i Gather(const int32_t* table, __m128i index) {
  return _mm_setr_epi32(table[_mm_cvtsi128_si32(index)], table[_mm_extract_epi32(index, 1)],
                        table[_mm_extract_epi32(index, 2)], table[_mm_extract_epi32(index, 3)]);
}

// The scalar HuePosition in lanes: the sector from three comparisons, its start corner and
// direction looked up by byte shuffles, and the 64-bit product of the fraction in two halves.
inline __m128i HuePositions(__m128i b, __m128i g, __m128i r, __m128i mx, __m128i mn, const int32_t* fractionScale) {
  const __m128i one = _mm_set1_epi32(1);
  const __m128i code = _mm_add_epi32(
      _mm_add_epi32(_mm_and_si128(_mm_cmpgt_epi32(r, g), _mm_set1_epi32(4)), _mm_and_si128(_mm_cmpgt_epi32(g, b), _mm_set1_epi32(2))),
      _mm_and_si128(_mm_cmpgt_epi32(r, b), one));
  const __m128i index = _mm_or_si128(code, _mm_set1_epi32(int32_t(0x80808000u)));
  // Starts in units of 6000 and directions plus 1, by code.
  const __m128i start = _mm_shuffle_epi8(_mm_setr_epi8(4, 0, 2, 2, 4, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0), index);
  const __m128i direction = _mm_sub_epi32(
      _mm_shuffle_epi8(_mm_setr_epi8(0, 1, 2, 0, 2, 0, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0), index), one);
  const __m128i offset = _mm_sub_epi32(_mm_sub_epi32(_mm_add_epi32(_mm_add_epi32(b, g), r), mx), _mm_add_epi32(mn, mn));
  const __m128i scale = Gather(fractionScale, _mm_sub_epi32(mx, mn));
  const __m128i half = _mm_set1_epi64x(32768);
  const __m128i even = _mm_srli_epi64(_mm_add_epi64(_mm_mul_epi32(offset, scale), half), 16);
  const __m128i odd = _mm_srli_epi64(_mm_add_epi64(_mm_mul_epi32(_mm_srli_epi64(offset, 32), _mm_srli_epi64(scale, 32)), half), 16);
  const __m128i fraction = _mm_blend_epi16(even, _mm_slli_epi64(odd, 32), 0xCC);
  const __m128i position = _mm_add_epi32(_mm_mullo_epi32(start, _mm_set1_epi32(6000)), _mm_mullo_epi32(direction, fraction));
  return _mm_sub_epi32(position, _mm_and_si128(_mm_cmpgt_epi32(position, _mm_set1_epi32(35999)), _mm_set1_epi32(36000)));
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

// Four pixels at a time, lane for lane the scalar kernel's integer and floating-point steps; only
// the table lookups are made one lane at a time.
void ChromaRowSse41(uint8_t* row, int pixels, const ChromaTables& tables, const ChromaSettings& settings) {
  const __m128i low = _mm_set1_epi32(0xFF);
  const __m128 unit = _mm_set1_ps(1.0f / 65536);
  int x = 0;
  for (; x + 4 <= pixels; x += 4) {
    const __m128i px = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + 4 * x));
    const __m128i b = _mm_and_si128(px, low), g = _mm_and_si128(_mm_srli_epi32(px, 8), low);
    const __m128i r = _mm_and_si128(_mm_srli_epi32(px, 16), low);
    const __m128i mx = _mm_max_epi32(_mm_max_epi32(b, g), r), mn = _mm_min_epi32(_mm_min_epi32(b, g), r);
    const __m128i d = _mm_sub_epi32(mx, mn);
    __m128i position = _mm_setzero_si128();
    if (settings.vibrance || settings.hue) position = HuePositions(b, g, r, mx, mn, tables.fractionScale);
    __m128 hi = _mm_cvtepi32_ps(mx), lo = _mm_cvtepi32_ps(mn);
    if (settings.vibrance) {
      // position * 64 / 36000 is 2 position / 1125: (2 position * 59653) >> 26 is exact below 72000.
      const __m128i saturation = _mm_srai_epi32(
          _mm_add_epi32(_mm_mullo_epi32(d, Gather(tables.saturationScale, mx)), _mm_set1_epi32(32768)), 16);
      const __m128i hue64 = _mm_srli_epi32(_mm_mullo_epi32(_mm_add_epi32(position, position), _mm_set1_epi32(59653)), 26);
      const __m128i cell = _mm_add_epi32(_mm_slli_epi32(hue64, 6), _mm_srai_epi32(saturation, 2));
      const __m128 weight = _mm_mul_ps(_mm_cvtepi32_ps(Gather(tables.vibranceWeight, cell)), unit);
      const __m128 factor = _mm_max_ps(_mm_add_ps(_mm_set1_ps(1.0f), _mm_mul_ps(_mm_set1_ps(settings.amount), weight)),
                                       _mm_setzero_ps());
      Scale(hi, lo, Luma(_mm_cvtepi32_ps(b), _mm_cvtepi32_ps(g), _mm_cvtepi32_ps(r)), factor, settings.amount > 0);
    }
    __m128 basis0, basis1, basis2;
    if (settings.hue) {
      position = _mm_add_epi32(position, _mm_set1_epi32(settings.turn));
      position = _mm_sub_epi32(position, _mm_and_si128(_mm_cmpgt_epi32(position, _mm_set1_epi32(35999)), _mm_set1_epi32(36000)));
      // Four table entries (colour1, colour2, weight1, weight2) turned into four vectors.
      const __m128i s0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(tables.sectors + _mm_cvtsi128_si32(position)));
      const __m128i s1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(tables.sectors + _mm_extract_epi32(position, 1)));
      const __m128i s2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(tables.sectors + _mm_extract_epi32(position, 2)));
      const __m128i s3 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(tables.sectors + _mm_extract_epi32(position, 3)));
      const __m128i t0 = _mm_unpacklo_epi32(s0, s1), t1 = _mm_unpacklo_epi32(s2, s3);
      const __m128i t2 = _mm_unpackhi_epi32(s0, s1), t3 = _mm_unpackhi_epi32(s2, s3);
      const __m128i colour1 = _mm_unpacklo_epi64(t0, t1), colour2 = _mm_unpackhi_epi64(t0, t1);
      const __m128i weight1 = _mm_unpacklo_epi64(t2, t3), weight2 = _mm_unpackhi_epi64(t2, t3);
      const auto corner = [&](int k) {
        const __m128i one = _mm_set1_epi32(1), zero = _mm_setzero_si128();
        const __m128i first = _mm_sub_epi32(zero, _mm_and_si128(_mm_srli_epi32(colour1, k), one));
        const __m128i second = _mm_sub_epi32(zero, _mm_and_si128(_mm_srli_epi32(colour2, k), one));
        return _mm_mul_ps(_mm_cvtepi32_ps(_mm_add_epi32(_mm_and_si128(first, weight1), _mm_and_si128(second, weight2))), unit);
      };
      basis0 = corner(0), basis1 = corner(1), basis2 = corner(2);
    } else {
      const __m128 inv = _mm_setr_ps(tables.inverse[_mm_cvtsi128_si32(d)], tables.inverse[_mm_extract_epi32(d, 1)],
                                     tables.inverse[_mm_extract_epi32(d, 2)], tables.inverse[_mm_extract_epi32(d, 3)]);
      basis0 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_sub_epi32(b, mn)), inv);
      basis1 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_sub_epi32(g, mn)), inv);
      basis2 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_sub_epi32(r, mn)), inv);
    }
    if (settings.saturation) {
      Scale(hi, lo, _mm_add_ps(lo, _mm_mul_ps(_mm_sub_ps(hi, lo), Luma(basis0, basis1, basis2))),
            _mm_set1_ps(settings.factor), settings.factor > 1);
    }
    const __m128 spread = _mm_sub_ps(hi, lo);
    const __m128i newB = RoundToBytes(_mm_add_ps(lo, _mm_mul_ps(spread, basis0)));
    const __m128i newG = RoundToBytes(_mm_add_ps(lo, _mm_mul_ps(spread, basis1)));
    const __m128i newR = RoundToBytes(_mm_add_ps(lo, _mm_mul_ps(spread, basis2)));
    const __m128i rebuilt = _mm_or_si128(_mm_or_si128(newB, _mm_slli_epi32(newG, 8)),
                                         _mm_or_si128(_mm_slli_epi32(newR, 16), _mm_andnot_si128(_mm_set1_epi32(0x00FFFFFF), px)));
    // Grey pixels stay as they are.
    _mm_storeu_si128(reinterpret_cast<__m128i*>(row + 4 * x), _mm_blendv_epi8(rebuilt, px, _mm_cmpeq_epi32(mx, mn)));
  }
  ChromaRow(row + 4 * x, pixels - x, tables, settings);
}

}  // namespace vek::colour
