// The only file of the colour adjustment built with -msse4.1; it includes nothing of the project but
// kernels.h, so no shared inline helper is compiled here for a processor without SSE4.1.
#include <smmintrin.h>

#include <cstring>

#include "color/kernels.h"

namespace vek::colour {
namespace {

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

// Four table entries, one lane at a time (the lanes read as unsigned, so no sign extension).
inline uint32_t Lane(__m128i v, int lane) {
  return uint32_t(lane == 0   ? _mm_cvtsi128_si32(v)
                  : lane == 1 ? _mm_extract_epi32(v, 1)
                  : lane == 2 ? _mm_extract_epi32(v, 2)
                              : _mm_extract_epi32(v, 3));
}
template <class T>
inline __m128i Gather(const T* table, __m128i index) {
  return _mm_setr_epi32(table[Lane(index, 0)], table[Lane(index, 1)], table[Lane(index, 2)], table[Lane(index, 3)]);
}
inline __m128 GatherFloats(const float* table, __m128i index) {
  return _mm_setr_ps(table[Lane(index, 0)], table[Lane(index, 1)], table[Lane(index, 2)], table[Lane(index, 3)]);
}

// The scalar HuePosition in lanes: the sector from three comparisons, its start corner and
// direction looked up by byte shuffles.
inline __m128i HuePositions(__m128i b, __m128i g, __m128i r, __m128i mx, __m128i mn, __m128i d,
                            const int16_t* sectorFraction) {
  const __m128i code = _mm_or_si128(_mm_or_si128(_mm_and_si128(_mm_cmpgt_epi32(r, g), _mm_set1_epi32(4)),
                                                 _mm_and_si128(_mm_cmpgt_epi32(g, b), _mm_set1_epi32(2))),
                                    _mm_and_si128(_mm_cmpgt_epi32(r, b), _mm_set1_epi32(1)));
  const __m128i index = _mm_or_si128(code, _mm_set1_epi32(int32_t(0x80808000u)));
  // Starts in units of 6000 and directions plus 1, by code.
  const __m128i start = _mm_shuffle_epi8(_mm_setr_epi8(4, 0, 2, 2, 4, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0), index);
  const __m128i direction = _mm_sub_epi32(
      _mm_shuffle_epi8(_mm_setr_epi8(0, 1, 2, 0, 2, 0, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0), index), _mm_set1_epi32(1));
  const __m128i offset = _mm_sub_epi32(_mm_sub_epi32(_mm_add_epi32(_mm_add_epi32(b, g), r), mx), _mm_add_epi32(mn, mn));
  const __m128i fraction = Gather(sectorFraction, _mm_add_epi32(_mm_slli_epi32(d, 8), offset));
  const __m128i position =
      _mm_add_epi32(_mm_mullo_epi32(start, _mm_set1_epi32(6000)), _mm_sign_epi32(fraction, direction));
  return _mm_sub_epi32(position,
                       _mm_and_si128(_mm_cmpgt_epi32(position, _mm_set1_epi32(35999)), _mm_set1_epi32(36000)));
}

// The bytes of four pixels, each in its own lane.
struct Channels {
  __m128i b, g, r, mx, mn;
  explicit Channels(__m128i px) {
    const __m128i low = _mm_set1_epi32(0xFF);
    b = _mm_and_si128(px, low), g = _mm_and_si128(_mm_srli_epi32(px, 8), low),
    r = _mm_and_si128(_mm_srli_epi32(px, 16), low);
    mx = _mm_max_epi32(_mm_max_epi32(b, g), r), mn = _mm_min_epi32(_mm_min_epi32(b, g), r);
  }
};

// One hue-sector entry's three places and their luma.
inline __m128 LoadBasis(const HueBasis* bases, uint32_t position) {
  static_assert(sizeof(HueBasis) == 4 * sizeof(float));
  return _mm_loadu_ps(reinterpret_cast<const float*>(bases + position));
}

inline __m128i LoadPixels(const uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

inline __m128i Multiply(__m128i lanes, int32_t factor) {
  return _mm_mullo_epi32(lanes, _mm_set1_epi32(factor));
}

// Bytes 0, 1 and 2 of four pixels from 32-bit lanes, each held to 0..255, and byte 3 as it was.
inline __m128i PackPixels(__m128i byte0, __m128i byte1, __m128i byte2, __m128i px) {
  const __m128i planes =
      _mm_packus_epi16(_mm_packus_epi32(byte0, byte1), _mm_packus_epi32(byte2, _mm_srli_epi32(px, 24)));
  return _mm_shuffle_epi8(planes, _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
}

// Each stage compiled in or out, as in the scalar kernel. A pixel's steps form one long chain of
// dependent operations (table lookups, divisions), so the chunk goes through them step by step,
// each step a short loop over the chunk whose iterations overlap, with the pixels' values kept in
// small arrays between the steps.
template <bool kVibrance, bool kHue, bool kSaturation>
void ChromaLanes(uint8_t* row, int pixels, const ChromaTables& t, const ChromaSettings& settings) {
  constexpr int kChunk = 64;
  alignas(16) float hi[kChunk], lo[kChunk], place[3][kChunk], luma[kChunk], factor[kChunk], y[kChunk];
  alignas(16) int32_t position[kChunk], column[kChunk];
  const float amount = settings.amount, saturation = settings.factor;
  const int32_t turn = settings.turn;
  auto storePlaces = [&](int k, __m128 place0, __m128 place1, __m128 place2, __m128 placeLuma) {
    _mm_store_ps(place[0] + k, place0);
    _mm_store_ps(place[1] + k, place1);
    _mm_store_ps(place[2] + k, place2);
    _mm_store_ps(luma + k, placeLuma);
  };
  int x = 0;
  for (; pixels - x >= 4;) {
    const int count = pixels - x < kChunk ? (pixels - x) & ~3 : kChunk;
    uint8_t* chunk = row + 4 * x;
    // The pixel taken apart: its range, its place on the wheel, and its own places between the
    // minimum and the maximum.
    for (int k = 0; k < count; k += 4) {
      const Channels c(LoadPixels(chunk + 4 * k));
      const __m128i d = _mm_sub_epi32(c.mx, c.mn);
      _mm_store_ps(hi + k, _mm_cvtepi32_ps(c.mx));
      _mm_store_ps(lo + k, _mm_cvtepi32_ps(c.mn));
      if constexpr (kVibrance || kHue) {
        _mm_store_si128(reinterpret_cast<__m128i*>(position + k),
                        HuePositions(c.b, c.g, c.r, c.mx, c.mn, d, t.sectorFraction));
      }
      if constexpr (kVibrance) {
        _mm_store_si128(reinterpret_cast<__m128i*>(column + k),
                        Gather(t.saturationColumn, _mm_add_epi32(_mm_slli_epi32(c.mx, 8), d)));
        _mm_store_ps(y + k, Luma(_mm_cvtepi32_ps(c.b), _mm_cvtepi32_ps(c.g), _mm_cvtepi32_ps(c.r)));
      }
      if constexpr (!kHue) {
        // Single precision 1 / d is the table's double 1 / d rounded to single: rounding twice is exact
        // for a quotient when the wider format has at least twice the digits plus two.
        const __m128 inverse = _mm_div_ps(_mm_set1_ps(1.0f), _mm_cvtepi32_ps(d));
        const __m128 place0 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_sub_epi32(c.b, c.mn)), inverse);
        const __m128 place1 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_sub_epi32(c.g, c.mn)), inverse);
        const __m128 place2 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_sub_epi32(c.r, c.mn)), inverse);
        storePlaces(k, place0, place1, place2, kSaturation ? Luma(place0, place1, place2) : _mm_setzero_ps());
      }
    }
    // What the place on the wheel selects: the vibrance factor, the turned places.
    for (int k = 0; k < count && (kVibrance || kHue); k += 4) {
      const __m128i at = _mm_load_si128(reinterpret_cast<const __m128i*>(position + k));
      if constexpr (kVibrance) {
        // position * 64 / 36000 is 2 position / 1125: (2 position * 59653) >> 26 is exact below 72000.
        const __m128i hue64 = _mm_srli_epi32(_mm_mullo_epi32(_mm_add_epi32(at, at), _mm_set1_epi32(59653)), 26);
        const __m128i cell =
            _mm_add_epi32(_mm_slli_epi32(hue64, 6), _mm_load_si128(reinterpret_cast<const __m128i*>(column + k)));
        _mm_store_ps(factor + k, GatherFloats(t.vibranceFactor, cell));
      }
      if constexpr (kHue) {
        __m128i turned = _mm_add_epi32(at, _mm_set1_epi32(turn));
        turned =
            _mm_sub_epi32(turned, _mm_and_si128(_mm_cmpgt_epi32(turned, _mm_set1_epi32(35999)), _mm_set1_epi32(36000)));
        // Four table entries (three places and their luma) turned into four vectors.
        __m128 place0 = LoadBasis(t.bases, Lane(turned, 0));
        __m128 place1 = LoadBasis(t.bases, Lane(turned, 1));
        __m128 place2 = LoadBasis(t.bases, Lane(turned, 2));
        __m128 placeLuma = LoadBasis(t.bases, Lane(turned, 3));
        _MM_TRANSPOSE4_PS(place0, place1, place2, placeLuma);
        storePlaces(k, place0, place1, place2, placeLuma);
      }
    }
    if constexpr (kVibrance) {
      for (int k = 0; k < count; k += 4) {
        __m128 h = _mm_load_ps(hi + k), l = _mm_load_ps(lo + k);
        Scale(h, l, _mm_load_ps(y + k), _mm_load_ps(factor + k), amount > 0);
        _mm_store_ps(hi + k, h);
        _mm_store_ps(lo + k, l);
      }
    }
    if constexpr (kSaturation) {
      for (int k = 0; k < count; k += 4) {
        __m128 h = _mm_load_ps(hi + k), l = _mm_load_ps(lo + k);
        Scale(h, l, _mm_add_ps(l, _mm_mul_ps(_mm_sub_ps(h, l), _mm_load_ps(luma + k))), _mm_set1_ps(saturation),
              saturation > 1);
        _mm_store_ps(hi + k, h);
        _mm_store_ps(lo + k, l);
      }
    }
    for (int k = 0; k < count; k += 4) {
      const __m128i px = LoadPixels(chunk + 4 * k);
      const __m128 l = _mm_load_ps(lo + k), spread = _mm_sub_ps(_mm_load_ps(hi + k), l);
      const __m128i newB = RoundToBytes(_mm_add_ps(l, _mm_mul_ps(spread, _mm_load_ps(place[0] + k))));
      const __m128i newG = RoundToBytes(_mm_add_ps(l, _mm_mul_ps(spread, _mm_load_ps(place[1] + k))));
      const __m128i newR = RoundToBytes(_mm_add_ps(l, _mm_mul_ps(spread, _mm_load_ps(place[2] + k))));
      // Grey pixels stay as they are.
      const __m128i grey = _mm_cmpeq_epi32(
          _mm_and_si128(_mm_xor_si128(px, _mm_srli_epi32(px, 8)), _mm_set1_epi32(0xFFFF)), _mm_setzero_si128());
      _mm_storeu_si128(reinterpret_cast<__m128i*>(chunk + 4 * k),
                       _mm_blendv_epi8(PackPixels(newB, newG, newR, px), px, grey));
    }
    x += count;
  }
  ChromaRow(row + 4 * x, pixels - x, t, settings);
}

// The coring table's factor for |laplacian| a in 32-bit lanes, computed: above the threshold t,
// ((a - t) * 65536) / a is 65536 - ceil(t * 65536 / a). The single-precision quotient lies within
// its value / 2^24 of the true one, and never reaches the next integer, which is at least 1 / a
// away, so its ceiling is exact.
inline __m128i Coring(__m128i a) {
  const __m128 top = _mm_set1_ps(float(kCoringThreshold * 65536));
  const __m128i ceiling = _mm_cvttps_epi32(_mm_ceil_ps(_mm_div_ps(top, _mm_cvtepi32_ps(a))));
  return _mm_and_si128(_mm_cmpgt_epi32(a, _mm_set1_epi32(kCoringThreshold)),
                       _mm_sub_epi32(_mm_set1_epi32(65536), ceiling));
}

// The sharpened luma's change for four pixels in 32-bit lanes: the kernel, then the coring.
inline __m128i Change(__m128i y, __m128i neighbours, __m128i centreTap, __m128i edgeTap) {
  const __m128i half = _mm_set1_epi32(32768);
  const __m128i sharpened = _mm_srai_epi32(
      _mm_add_epi32(_mm_add_epi32(_mm_mullo_epi32(centreTap, y), _mm_mullo_epi32(edgeTap, neighbours)), half), 16);
  const __m128i laplacian = _mm_abs_epi32(_mm_sub_epi32(_mm_slli_epi32(y, 2), neighbours));
  return _mm_srai_epi32(_mm_add_epi32(_mm_mullo_epi32(_mm_sub_epi32(sharpened, y), Coring(laplacian)), half), 16);
}

inline __m128i Luma8(const uint8_t* luma) {
  return _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(luma)));
}

}  // namespace

// Four pixels at a time, lane for lane the scalar kernel's integer and floating-point steps.
void ChromaRowSse41(uint8_t* row, int pixels, const ChromaTables& tables, const ChromaSettings& settings) {
  using Kernel = void (*)(uint8_t*, int, const ChromaTables&, const ChromaSettings&);
  static constexpr Kernel kKernels[8] = {ChromaLanes<false, false, false>, ChromaLanes<false, false, true>,
                                         ChromaLanes<false, true, false>,  ChromaLanes<false, true, true>,
                                         ChromaLanes<true, false, false>,  ChromaLanes<true, false, true>,
                                         ChromaLanes<true, true, false>,   ChromaLanes<true, true, true>};
  kKernels[settings.vibrance * 4 + settings.hue * 2 + settings.saturation](row, pixels, tables, settings);
}

// Four pixels in 32-bit lanes: each colour byte times its pixel's gain, whose product stays below
// 2^24 because no byte exceeds the maximum the gain was made for.
void LightRowSse41(const uint8_t* source, uint8_t* out, int pixels, const int32_t* gain) {
  const __m128i half = _mm_set1_epi32(32768);
  int x = 0;
  for (; x + 4 <= pixels; x += 4) {
    const __m128i px = LoadPixels(source + 4 * x);
    const Channels c(px);
    const __m128i factor = Gather(gain, c.mx);
    auto scaled = [&](__m128i byte) { return _mm_srli_epi32(_mm_add_epi32(_mm_mullo_epi32(byte, factor), half), 16); };
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * x), PackPixels(scaled(c.b), scaled(c.g), scaled(c.r), px));
  }
  LightRow(source + 4 * x, out + 4 * x, pixels - x, gain);
}

// Four pixels: (29 B + 150 G + 77 R + 128) >> 8 from pairs of 16-bit products.
void LumaRowSse41(const uint8_t* row, uint8_t* luma, int pixels) {
  const __m128i weights = _mm_setr_epi16(29, 150, 77, 0, 29, 150, 77, 0);
  const __m128i half = _mm_set1_epi32(128);
  int x = 0;
  for (; x + 4 <= pixels; x += 4) {
    const __m128i px = LoadPixels(row + 4 * x);
    const __m128i low = _mm_madd_epi16(_mm_cvtepu8_epi16(px), weights);
    const __m128i high = _mm_madd_epi16(_mm_unpackhi_epi8(px, _mm_setzero_si128()), weights);
    const __m128i sums = _mm_srli_epi32(_mm_add_epi32(_mm_hadd_epi32(low, high), half), 8);
    const int32_t bytes = _mm_cvtsi128_si32(
        _mm_shuffle_epi8(sums, _mm_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1)));
    std::memcpy(luma + x, &bytes, 4);
  }
  LumaRow(row + 4 * x, luma + x, pixels - x);
}

// Four pixels at a time in 32-bit lanes, the scalar conversion's products and shifts.
void YuvToRgbRowSse41(const uint8_t* source, uint8_t* rgb, int pixels) {
  const __m128i low = _mm_set1_epi32(0xFF);
  int x = 0;
  for (; x + 4 <= pixels; x += 4) {
    const __m128i px = LoadPixels(source + 4 * x);
    const __m128i v = _mm_and_si128(px, low), u = _mm_and_si128(_mm_srli_epi32(px, 8), low);
    const __m128i luma = Multiply(_mm_and_si128(_mm_srli_epi32(px, 16), low), 4768);
    const __m128i r = _mm_add_epi32(_mm_add_epi32(luma, Multiply(v, 6537)), _mm_set1_epi32(-910976));
    const __m128i g = _mm_add_epi32(_mm_sub_epi32(_mm_sub_epi32(luma, Multiply(u, 1602)), Multiply(v, 3330)),
                                    _mm_set1_epi32(0x88000));
    const __m128i b = _mm_add_epi32(_mm_add_epi32(luma, Multiply(u, 8266)), _mm_set1_epi32(-1132288));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rgb + 4 * x),
                     PackPixels(_mm_srai_epi32(b, 12), _mm_srai_epi32(g, 12), _mm_srai_epi32(r, 12), px));
  }
  YuvToRgbRow(source + 4 * x, rgb + 4 * x, pixels - x);
}

void AddRgbChangeToYuvRowSse41(const uint8_t* source, const uint8_t* before, const uint8_t* after, uint8_t* out,
                               int pixels) {
  const __m128i low = _mm_set1_epi32(0xFF), half = _mm_set1_epi32(2048);
  int x = 0;
  for (; x + 4 <= pixels; x += 4) {
    const __m128i px = LoadPixels(source + 4 * x);
    const Channels was(LoadPixels(before + 4 * x)), is(LoadPixels(after + 4 * x));
    const __m128i db = _mm_sub_epi32(is.b, was.b), dg = _mm_sub_epi32(is.g, was.g), dr = _mm_sub_epi32(is.r, was.r);
    const __m128i dv = _mm_sub_epi32(_mm_sub_epi32(Multiply(dr, 1798), Multiply(dg, 1507)), Multiply(db, 291));
    const __m128i du = _mm_sub_epi32(_mm_sub_epi32(Multiply(db, 1798), Multiply(dg, 1192)), Multiply(dr, 606));
    const __m128i dy = _mm_add_epi32(_mm_add_epi32(Multiply(dr, 1053), Multiply(dg, 2064)), Multiply(db, 401));
    auto shifted = [&](__m128i byte, __m128i change) {
      return _mm_add_epi32(byte, _mm_srai_epi32(_mm_add_epi32(change, half), 12));
    };
    _mm_storeu_si128(
        reinterpret_cast<__m128i*>(out + 4 * x),
        PackPixels(shifted(_mm_and_si128(px, low), dv), shifted(_mm_and_si128(_mm_srli_epi32(px, 8), low), du),
                   shifted(_mm_and_si128(_mm_srli_epi32(px, 16), low), dy), px));
  }
  AddRgbChangeToYuvRow(source + 4 * x, before + 4 * x, after + 4 * x, out + 4 * x, pixels - x);
}

// Eight pixels at a time, for kernels whose products fit in 32 bits (the scalar kernel takes the
// others, the frame's edge columns and the tail): the products in 32-bit lanes, the bounds and the
// change in 16-bit ones, where every value fits.
void SharpenRowSse41(const uint8_t* up, const uint8_t* centre, const uint8_t* down, const uint8_t* pixels, uint8_t* out,
                     int width, int x0, int x1, const SharpenKernel& kernel) {
  constexpr int64_t kNarrow = int64_t(1) << 20;
  const bool narrow =
      kernel.centre > -kNarrow && kernel.centre < kNarrow && kernel.edge > -kNarrow && kernel.edge < kNarrow;
  const int first = x0 > 1 ? x0 : 1, last = x1 < width - 1 ? x1 : width - 1;
  if (!narrow || first >= last) return SharpenRow(up, centre, down, pixels, out, width, x0, x1, kernel);
  SharpenRow(up, centre, down, pixels, out, width, x0, first, kernel);
  const __m128i centreTap = _mm_set1_epi32(int32_t(kernel.centre)), edgeTap = _mm_set1_epi32(int32_t(kernel.edge));
  const __m128i zero = _mm_setzero_si128();
  // The luma change of pixel k spread over its colour bytes (RGB) or its byte 2 (luma/chroma).
  const __m128i spreadLow = kernel.rgb ? _mm_setr_epi8(0, 1, 0, 1, 0, 1, -1, -1, 2, 3, 2, 3, 2, 3, -1, -1)
                                       : _mm_setr_epi8(-1, -1, -1, -1, 0, 1, -1, -1, -1, -1, -1, -1, 2, 3, -1, -1);
  const __m128i spreadHigh = kernel.rgb ? _mm_setr_epi8(4, 5, 4, 5, 4, 5, -1, -1, 6, 7, 6, 7, 6, 7, -1, -1)
                                        : _mm_setr_epi8(-1, -1, -1, -1, 4, 5, -1, -1, -1, -1, -1, -1, 6, 7, -1, -1);
  auto addTo = [&](const uint8_t* p, uint8_t* o, __m128i delta) {
    const __m128i colour = LoadPixels(p);
    const __m128i low = _mm_add_epi16(_mm_cvtepu8_epi16(colour), _mm_shuffle_epi8(delta, spreadLow));
    const __m128i high = _mm_add_epi16(_mm_unpackhi_epi8(colour, zero), _mm_shuffle_epi8(delta, spreadHigh));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(low, high));
  };
  int x = first;
  for (; x + 8 <= last; x += 8) {
    const __m128i y = Luma8(centre + x), left = Luma8(centre + x - 1), right = Luma8(centre + x + 1);
    const __m128i above = Luma8(up + x), below = Luma8(down + x);
    const __m128i neighbours = _mm_add_epi16(_mm_add_epi16(left, right), _mm_add_epi16(above, below));
    const __m128i change =
        _mm_packs_epi32(Change(_mm_unpacklo_epi16(y, zero), _mm_unpacklo_epi16(neighbours, zero), centreTap, edgeTap),
                        Change(_mm_unpackhi_epi16(y, zero), _mm_unpackhi_epi16(neighbours, zero), centreTap, edgeTap));
    // Held within the five taps' range; a peak or a pit (beyond both neighbours along the row or
    // the column) may pass it by a quarter of it.
    const __m128i rowMax = _mm_max_epi16(left, right), columnMax = _mm_max_epi16(above, below);
    const __m128i rowMin = _mm_min_epi16(left, right), columnMin = _mm_min_epi16(above, below);
    const __m128i hi = _mm_max_epi16(y, _mm_max_epi16(rowMax, columnMax)),
                  lo = _mm_min_epi16(y, _mm_min_epi16(rowMin, columnMin));
    const __m128i margin = _mm_srai_epi16(_mm_sub_epi16(hi, lo), 2);
    const __m128i peak = _mm_or_si128(_mm_cmpgt_epi16(y, rowMax), _mm_cmpgt_epi16(y, columnMax));
    const __m128i pit = _mm_or_si128(_mm_cmpgt_epi16(rowMin, y), _mm_cmpgt_epi16(columnMin, y));
    const __m128i lower = _mm_sub_epi16(lo, _mm_and_si128(pit, margin)),
                  upper = _mm_add_epi16(hi, _mm_and_si128(peak, margin));
    const __m128i delta = _mm_sub_epi16(_mm_min_epi16(_mm_max_epi16(_mm_add_epi16(y, change), lower), upper), y);
    addTo(pixels + 4 * x, out + 4 * x, delta);
    addTo(pixels + 4 * x + 16, out + 4 * x + 16, _mm_srli_si128(delta, 8));
  }
  SharpenRow(up, centre, down, pixels, out, width, x, x1, kernel);
}

}  // namespace vek::colour
