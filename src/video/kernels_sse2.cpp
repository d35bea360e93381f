// Kernels written for SSE2, which every x86-64 processor has, so they need no render hint. Each
// takes four pixels at a time and leaves the last few to its scalar kernel.
#include <emmintrin.h>

#include <xmmintrin.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "video/kernels.h"
#include "video/stretch_row.h"

namespace vek {
namespace {

inline __m128i Load(const uint8_t* bytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}
inline void Store(uint8_t* bytes, __m128i value) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), value);
}

inline __m128i AlphaBytes() {
  return _mm_set1_epi32(int(0xFF000000u));
}

// The colour bytes of `colour` with the alpha bytes of `pixels`.
inline __m128i WithAlphaOf(__m128i pixels, __m128i colour) {
  return _mm_or_si128(_mm_and_si128(pixels, AlphaBytes()), _mm_andnot_si128(AlphaBytes(), colour));
}

// The address is computed as an integer: it may lie outside every object.
inline void PrefetchAhead(const uint8_t* at, std::ptrdiff_t ahead) {
  _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(at) + uintptr_t(ahead)), _MM_HINT_T0);
}

}  // namespace

void MirrorRow(const uint8_t* source, uint8_t* out, int pixels, std::ptrdiff_t ahead) {
  const std::size_t count = pixels > 0 ? std::size_t(pixels) : 0;
  const uint8_t* end = source + 4 * count;
  std::size_t x = 0;
  for (; x + 16 <= count; x += 16) {
    const uint8_t* from = end - 4 * (x + 16);
    PrefetchAhead(from, ahead);
    for (int k = 0; k < 4; ++k) Store(out + 4 * x + 16 * k, _mm_shuffle_epi32(Load(from + 48 - 16 * k), 0x1B));
  }
  for (; x < count; ++x) std::memcpy(out + 4 * x, end - 4 * (x + 1), 4);
}

void PosterizeRowArgbSse2(const uint8_t* source, uint8_t* out, std::size_t pixels, const PosterizeTable& table) {
  const __m128i levels = _mm_set1_epi16(int16_t(table.levels));
  const __m128i multiplier = _mm_set1_epi16(int16_t(table.multiplier));
  const __m128i shift = _mm_cvtsi32_si128(table.shift);
  const __m128i stepStart = _mm_set1_epi16(int16_t(0xFF00));
  const __m128i zero = _mm_setzero_si128();
  // (v * levels) & 0xFF00 is the step times 256; the multiply-high divides it by levels - 1.
  auto level = [&](__m128i bytes16) {
    const __m128i step = _mm_and_si128(_mm_mullo_epi16(bytes16, levels), stepStart);
    return _mm_srl_epi16(_mm_mulhi_epu16(step, multiplier), shift);
  };
  std::size_t x = 0;
  for (; x + 4 <= pixels; x += 4) {
    const __m128i px = Load(source + 4 * x);
    const __m128i levelled = _mm_packus_epi16(level(_mm_unpacklo_epi8(px, zero)), level(_mm_unpackhi_epi8(px, zero)));
    Store(out + 4 * x, WithAlphaOf(px, levelled));
  }
  LookUpColourBytes(source + 4 * x, out + 4 * x, pixels - x, table.colours);
}

namespace {

struct Sse2Lanes {
  static constexpr std::size_t kBytes = 16;
  static __m128i Load(const uint8_t* at) { return vek::Load(at); }
  static void Store(uint8_t* at, __m128i value) { vek::Store(at, value); }
  // Two pixels of 16-bit lanes, in the order of their bytes.
  static __m128i PerChannel(int c0, int c1, int c2, int alpha) {
    return _mm_setr_epi16(int16_t(c0), int16_t(c1), int16_t(c2), int16_t(alpha), int16_t(c0), int16_t(c1), int16_t(c2),
                          int16_t(alpha));
  }
  static __m128i EveryPixel(uint32_t pixel) { return _mm_set1_epi32(int(pixel)); }
  static __m128i WidenLow(__m128i bytes) { return _mm_unpacklo_epi8(bytes, _mm_setzero_si128()); }
  static __m128i WidenHigh(__m128i bytes) { return _mm_unpackhi_epi8(bytes, _mm_setzero_si128()); }
  static __m128i Pack16(__m128i low, __m128i high) { return _mm_packus_epi16(low, high); }
  static __m128i SubtractSaturated16(__m128i a, __m128i b) { return _mm_subs_epu16(a, b); }
  static __m128i ShiftLeft16(__m128i a, int bits) { return _mm_slli_epi16(a, bits); }
  static __m128i ShiftRight16(__m128i a, int bits) { return _mm_srli_epi16(a, bits); }
  static __m128i MultiplyHigh16(__m128i a, __m128i b) { return _mm_mulhi_epu16(a, b); }
  static __m128i MultiplyLow16(__m128i a, __m128i b) { return _mm_mullo_epi16(a, b); }
  static __m128i Add16(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
  static __m128i Or(__m128i a, __m128i b) { return _mm_or_si128(a, b); }
  // All ones in each byte at or above the same byte of `bound`.
  static __m128i AtOrAbove(__m128i bytes, __m128i bound) { return _mm_cmpeq_epi8(_mm_max_epu8(bytes, bound), bytes); }
};

}  // namespace

void StretchRowSse2(const uint8_t* source, uint8_t* out, std::size_t pixels, const Stretch (&channels)[3]) {
  stretch_row::Row<Sse2Lanes>(source, out, pixels, channels);
}

namespace {

// Two pixels in 16-bit lanes through the contrast mask. The alpha lanes are blended with a degree
// of 0 and come out as they went in.
inline __m128i ContrastMaskPair(__m128i v, __m128i twiceDegree) {
  const __m128i c127 = _mm_set1_epi16(127);
  // (c0 + c1 + c2) / 3 in all four lanes of its pixel: 21846 / 65536 divides sums up to 765 exactly.
  __m128i sum = _mm_madd_epi16(v, _mm_setr_epi16(21846, 21846, 21846, 0, 21846, 21846, 21846, 0));
  sum = _mm_add_epi32(sum, _mm_srli_epi64(sum, 32));
  const __m128i third = _mm_shufflehi_epi16(_mm_shufflelo_epi16(sum, 0x55), 0x55);
  const __m128i grey = _mm_sub_epi16(_mm_set1_epi16(255), third);
  // Both halves of the overlay give g at o = 127, so it is the dark half taken at min(o, 127) plus
  // the light half's rise (o - 127) * (255 - g) / 128 above it, 0 below. 33027 / 2^22 divides by 127
  // exactly up to 255 * 127.
  const __m128i darkProduct = _mm_mullo_epi16(grey, _mm_min_epi16(v, c127));
  const __m128i dark = _mm_srli_epi16(_mm_mulhi_epu16(darkProduct, _mm_set1_epi16(int16_t(33027))), 6);
  const __m128i rise = _mm_srli_epi16(_mm_mullo_epi16(_mm_subs_epu16(v, c127), third), 7);
  const __m128i overlay = _mm_add_epi16(dark, rise);
  // o + floor((overlay - o) * degree / 256): the difference times 128 and the degree times 2 fit 16 bits.
  return _mm_add_epi16(v, _mm_mulhi_epi16(_mm_slli_epi16(_mm_sub_epi16(overlay, v), 7), twiceDegree));
}

}  // namespace

void ContrastMaskRowSse2(const uint8_t* source, uint8_t* out, std::size_t pixels, int32_t degree) {
  const int16_t twice = int16_t(2 * degree);
  const __m128i twiceDegree = _mm_setr_epi16(twice, twice, twice, 0, twice, twice, twice, 0);
  const __m128i zero = _mm_setzero_si128();
  std::size_t x = 0;
  for (; x + 4 <= pixels; x += 4) {
    const __m128i px = Load(source + 4 * x);
    Store(out + 4 * x, _mm_packus_epi16(ContrastMaskPair(_mm_unpacklo_epi8(px, zero), twiceDegree),
                                        ContrastMaskPair(_mm_unpackhi_epi8(px, zero), twiceDegree)));
  }
  ContrastMaskRow(source + 4 * x, out + 4 * x, pixels - x, degree);
}

// Pairs of pixels are summed in 16-bit lanes, at most 128 groups of four pixels before they are
// widened. The last group of a row ends at the row's end and overlaps the one before: the pixels
// it shares with that one are cleared, so they add nothing and are not counted again.
uint32_t SumBlockSse2(const uint8_t* first, std::size_t stride, int pixels, int rows, bool opaqueOnly,
                      uint32_t sums[4]) {
  if (pixels < 4) return SumBlock(first, stride, pixels, rows, opaqueOnly, sums);
  const __m128i zero = _mm_setzero_si128(), ones = _mm_set1_epi32(-1);
  const int tail = pixels & 3;
  const __m128i tailKept = _mm_cmpgt_epi32(_mm_setr_epi32(0, 1, 2, 3), _mm_set1_epi32(3 - tail));
  __m128i total = zero, opaque = zero, pairs = zero;
  int groups = 0;
  auto flush = [&] {
    total = _mm_add_epi32(total, _mm_add_epi32(_mm_unpacklo_epi16(pairs, zero), _mm_unpackhi_epi16(pairs, zero)));
    pairs = zero, groups = 0;
  };
  auto add = [&](__m128i px) {
    if (opaqueOnly) {
      const __m128i clear = _mm_cmpeq_epi32(_mm_and_si128(px, AlphaBytes()), zero);
      px = _mm_andnot_si128(clear, px);
      opaque = _mm_sub_epi32(opaque, _mm_andnot_si128(clear, ones));
    }
    pairs = _mm_add_epi16(pairs, _mm_add_epi16(_mm_unpacklo_epi8(px, zero), _mm_unpackhi_epi8(px, zero)));
    if (++groups == 128) flush();
  };
  for (int row = 0; row < rows; ++row, first += stride) {
    int x = 0;
    for (; x + 4 <= pixels; x += 4) add(Load(first + 4 * x));
    if (tail) add(_mm_and_si128(Load(first + 4 * (pixels - 4)), tailKept));
  }
  flush();
  alignas(16) uint32_t lanes[4], opaqueLanes[4];
  _mm_store_si128(reinterpret_cast<__m128i*>(lanes), total);
  _mm_store_si128(reinterpret_cast<__m128i*>(opaqueLanes), opaque);
  for (int c = 0; c < 4; ++c) sums[c] = lanes[c];
  if (!opaqueOnly) return uint32_t(pixels) * uint32_t(rows);
  return opaqueLanes[0] + opaqueLanes[1] + opaqueLanes[2] + opaqueLanes[3];
}

namespace {

// Rows are taken a group at a time, four pixels down the whole group before the next four: the
// group's rows are read as side-by-side streams, and the sums go to memory once a group. A group's
// rows are unrolled, so that no row costs a branch.
constexpr int kLargestRowGroup = 12;

template <int kRows, bool kOpaqueOnly>
void AddColumnSumsOfGroup(const uint8_t* first, std::size_t stride, int quads, uint16_t* sums, uint16_t* counts) {
  const __m128i zero = _mm_setzero_si128();
  for (int quad = 0; quad < quads; ++quad) {
    const uint8_t* top = first + 16 * std::size_t(quad);
    __m128i low = zero, high = zero, transparent = zero;
    for (int row = 0; row < kRows; ++row) {
      __m128i px = Load(top + std::size_t(row) * stride);
      if (kOpaqueOnly) {
        const __m128i clear = _mm_cmpeq_epi32(_mm_and_si128(px, AlphaBytes()), zero);
        px = _mm_andnot_si128(clear, px);
        transparent = _mm_sub_epi32(transparent, clear);
      }
      low = _mm_add_epi16(low, _mm_unpacklo_epi8(px, zero));
      high = _mm_add_epi16(high, _mm_unpackhi_epi8(px, zero));
    }
    auto* lanes = reinterpret_cast<uint8_t*>(sums + 16 * std::size_t(quad));
    Store(lanes, _mm_add_epi16(Load(lanes), low));
    Store(lanes + 16, _mm_add_epi16(Load(lanes + 16), high));
    if (kOpaqueOnly) {
      auto* tally = reinterpret_cast<__m128i*>(counts + 4 * std::size_t(quad));
      const __m128i opaque = _mm_sub_epi16(_mm_set1_epi16(kRows), _mm_packs_epi32(transparent, zero));
      _mm_storel_epi64(tally, _mm_add_epi16(_mm_loadl_epi64(tally), opaque));
    }
  }
}

using ColumnSumsOfGroup = void (*)(const uint8_t*, std::size_t, int, uint16_t*, uint16_t*);

template <bool kOpaqueOnly, int... k>
constexpr std::array<ColumnSumsOfGroup, sizeof...(k)> GroupKernels(std::integer_sequence<int, k...>) {
  return {&AddColumnSumsOfGroup<k + 1, kOpaqueOnly>...};
}

// By opacity rule, then by the number of rows less 1.
constexpr std::array<ColumnSumsOfGroup, kLargestRowGroup> kGroupKernels[2] = {
    GroupKernels<false>(std::make_integer_sequence<int, kLargestRowGroup>()),
    GroupKernels<true>(std::make_integer_sequence<int, kLargestRowGroup>())};

}  // namespace

// The rows are shared out evenly among as few groups as hold them.
void AddColumnSumsSse2(const uint8_t* first, std::size_t stride, int pixels, int rows, bool opaqueOnly, uint16_t* sums,
                       uint16_t* counts) {
  if (pixels <= 0 || rows <= 0) return;
  const int quads = pixels / 4, groups = (rows + kLargestRowGroup - 1) / kLargestRowGroup;
  for (int group = 0, row = 0; group < groups; ++group) {
    const int end = int(int64_t(rows) * (group + 1) / groups);
    kGroupKernels[opaqueOnly][end - row - 1](first + std::size_t(row) * stride, stride, quads, sums, counts);
    row = end;
  }
  AddColumnSums(first + 16 * std::size_t(quads), stride, pixels - 4 * quads, rows, opaqueOnly,
                sums + 16 * std::size_t(quads), counts ? counts + 4 * std::size_t(quads) : nullptr);
}

namespace {

// Four pixels at a time, the coverage with the scalar kernel's single-precision steps in lanes.
class RoundBlender {
 public:
  RoundBlender(int y, const RoundMask& mask)
      : dySquared_(_mm_set1_ps(Squared((y + 0.5f - mask.centreY) / mask.radiusY))),
        centre_(_mm_set1_ps(mask.centreX)),
        radius_(_mm_set1_ps(mask.radiusX)),
        reach_(_mm_set1_ps(mask.reach)),
        edge_(_mm_set1_ps(mask.edge)) {}

  // Twice the coverage of pixels x .. x + 3, in the low four 16-bit lanes.
  __m128i TwiceCoverage(int x) const {
    const __m128 column = _mm_cvtepi32_ps(_mm_setr_epi32(x, x + 1, x + 2, x + 3));
    const __m128 dx = _mm_div_ps(_mm_sub_ps(_mm_add_ps(column, _mm_set1_ps(0.5f)), centre_), radius_);
    const __m128 distance = _mm_sqrt_ps(_mm_add_ps(_mm_mul_ps(dx, dx), dySquared_));
    const __m128 inside = _mm_div_ps(_mm_mul_ps(_mm_sub_ps(_mm_set1_ps(1.0f), distance), reach_), edge_);
    const __m128 in256ths =
        _mm_min_ps(_mm_max_ps(_mm_mul_ps(inside, _mm_set1_ps(256.0f)), _mm_setzero_ps()), _mm_set1_ps(256.0f));
    const __m128i coverage = _mm_cvttps_epi32(in256ths);
    return _mm_packs_epi32(_mm_add_epi32(coverage, coverage), _mm_setzero_si128());
  }

  // Pixels x .. x + 3, each by its lane of `twice16`.
  static void Blend(const uint8_t* source, const uint8_t* over, uint8_t* out, int x, __m128i twice16) {
    const __m128i zero = _mm_setzero_si128();
    // floor(d * c / 256) as the multiply-high of d * 128 and c * 2, neither beyond 16 bits.
    auto blend = [](__m128i s16, __m128i o16, __m128i twiceCoverage) {
      return _mm_add_epi16(s16, _mm_mulhi_epi16(_mm_slli_epi16(_mm_sub_epi16(o16, s16), 7), twiceCoverage));
    };
    const __m128i pairs = _mm_unpacklo_epi16(twice16, twice16);  // c0 c0 c1 c1 c2 c2 c3 c3
    const __m128i s = Load(source + 4 * std::ptrdiff_t(x)), o = Load(over + 4 * std::ptrdiff_t(x));
    const __m128i low = blend(_mm_unpacklo_epi8(s, zero), _mm_unpacklo_epi8(o, zero), _mm_unpacklo_epi32(pairs, pairs));
    const __m128i high =
        blend(_mm_unpackhi_epi8(s, zero), _mm_unpackhi_epi8(o, zero), _mm_unpackhi_epi32(pairs, pairs));
    Store(out + 4 * std::ptrdiff_t(x), _mm_packus_epi16(low, high));
  }

 private:
  static float Squared(float value) { return value * value; }

  __m128 dySquared_, centre_, radius_, reach_, edge_;
};

}  // namespace

void BlendRoundRowSse2(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int y,
                       const RoundMask& mask) {
  const RoundBlender blender(y, mask);
  int x = from;
  for (; x + 4 <= to; x += 4) RoundBlender::Blend(source, over, out, x, blender.TwiceCoverage(x));
  BlendRoundRow(source, over, out, x, to, y, mask);
}

// Four pixels and their four mirror images, the latter in reverse order.
void BlendRoundRowMirroredSse2(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int mirror,
                               int y, const RoundMask& mask) {
  const RoundBlender blender(y, mask);
  int x = from;
  for (; x + 4 <= to; x += 4) {
    const __m128i twice16 = blender.TwiceCoverage(x);
    RoundBlender::Blend(source, over, out, x, twice16);
    RoundBlender::Blend(source, over, out, mirror - x - 3, _mm_shufflelo_epi16(twice16, 0x1B));
  }
  BlendRoundRowMirrored(source, over, out, x, to, mirror, y, mask);
}

}  // namespace vek
