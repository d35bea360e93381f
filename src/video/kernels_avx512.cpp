// The only file of the video effects built for AVX-512 (with its byte permutes); it includes nothing
// of the project but kernels.h, and its kernels are called only where Avx512KernelsUsable().
#include <immintrin.h>

#include "video/kernels.h"

namespace vek {

// Sixteen pixels at a time. A 256-entry table is two 128-entry halves, each looked up by one
// two-register byte permute on the index's low seven bits; the index's top bit picks the half. The
// last pixels are loaded and stored under a mask, which never touches the bytes past the run.
void LookUpChannelsVbmi(const uint8_t* source, uint8_t* out, std::size_t pixels, const ChannelTables& tables) {
  __m512i quarters[3][4];
  for (int channel = 0; channel < 3; ++channel) {
    for (int q = 0; q < 4; ++q) quarters[channel][q] = _mm512_loadu_si512(tables.channel[channel] + 64 * q);
  }
  constexpr __mmask64 kChannel0 = 0x1111111111111111u;
  const auto lookUp = [&](__m512i bytes) {
    const __mmask64 upperHalf = _mm512_movepi8_mask(bytes);
    __m512i result = bytes;
    for (int channel = 0; channel < 3; ++channel) {
      const __m512i* q = quarters[channel];
      const __m512i looked = _mm512_mask_blend_epi8(upperHalf, _mm512_permutex2var_epi8(q[0], bytes, q[1]),
                                                    _mm512_permutex2var_epi8(q[2], bytes, q[3]));
      result = _mm512_mask_blend_epi8(kChannel0 << channel, result, looked);
    }
    return result;
  };
  std::size_t x = 0;
  for (; x + 16 <= pixels; x += 16) {
    _mm512_storeu_si512(out + 4 * x, lookUp(_mm512_loadu_si512(source + 4 * x)));
  }
  if (x < pixels) {
    const __mmask64 rest = (__mmask64(1) << (4 * (pixels - x))) - 1;
    _mm512_mask_storeu_epi8(out + 4 * x, rest, lookUp(_mm512_maskz_loadu_epi8(rest, source + 4 * x)));
  }
}

// Sixteen pixels at a time down groups of up to twelve rows, the rows of a group read side by side
// as in the SSE2 kernel; the pixels left over are the SSE2 kernel's. Sums and counts wrap in 16 bits,
// so the order of the additions does not change them. The zero-masking forms under a full mask
// stand for the plain ones, whose undefined pass-through GCC reports as maybe uninitialised.
void AddColumnSumsAvx512(const uint8_t* first, std::size_t stride, int pixels, int rows, bool opaqueOnly,
                         uint16_t* sums, uint16_t* counts) {
  if (pixels <= 0 || rows <= 0) return;
  constexpr int kGroupRows = 12;
  const int blocks = pixels / 16;
  const __m512i alpha = _mm512_set1_epi32(int(0xFF000000u)), one = _mm512_set1_epi32(1);
  for (int row = 0; row < rows; row += kGroupRows) {
    const int groupRows = rows - row < kGroupRows ? rows - row : kGroupRows;
    const uint8_t* top = first + std::size_t(row) * stride;
    for (int block = 0; block < blocks; ++block) {
      __m512i low = _mm512_setzero_si512(), high = _mm512_setzero_si512(), opaque = _mm512_setzero_si512();
      for (int r = 0; r < groupRows; ++r) {
        __m512i sixteen = _mm512_loadu_si512(top + std::size_t(r) * stride + 64 * std::size_t(block));
        if (opaqueOnly) {
          const __mmask16 seen = _mm512_test_epi32_mask(sixteen, alpha);
          sixteen = _mm512_maskz_mov_epi32(seen, sixteen);
          opaque = _mm512_mask_add_epi32(opaque, seen, opaque, one);
        }
        low = _mm512_add_epi16(low, _mm512_cvtepu8_epi16(_mm512_maskz_extracti64x4_epi64(0xFF, sixteen, 0)));
        high = _mm512_add_epi16(high, _mm512_cvtepu8_epi16(_mm512_maskz_extracti64x4_epi64(0xFF, sixteen, 1)));
      }
      uint16_t* lanes = sums + 64 * std::size_t(block);
      _mm512_storeu_si512(lanes, _mm512_add_epi16(_mm512_loadu_si512(lanes), low));
      _mm512_storeu_si512(lanes + 32, _mm512_add_epi16(_mm512_loadu_si512(lanes + 32), high));
      if (opaqueOnly) {
        auto* tally = reinterpret_cast<__m256i*>(counts + 16 * std::size_t(block));
        const __m256i opaqueRows = _mm512_maskz_cvtepi32_epi16(0xFFFF, opaque);
        _mm256_storeu_si256(tally, _mm256_add_epi16(_mm256_loadu_si256(tally), opaqueRows));
      }
    }
  }
  AddColumnSumsSse2(first + 64 * std::size_t(blocks), stride, pixels - 16 * blocks, rows, opaqueOnly,
                    sums + 64 * std::size_t(blocks), counts ? counts + 16 * std::size_t(blocks) : nullptr);
}

namespace {

// Sixteen pixels at a time, the coverage with the scalar kernel's single-precision steps in lanes.
class WideRoundBlender {
 public:
  WideRoundBlender(int y, const RoundMask& mask)
      : dySquared_(_mm512_set1_ps(Squared((y + 0.5f - mask.centreY) / mask.radiusY))),
        centre_(_mm512_set1_ps(mask.centreX)),
        radius_(_mm512_set1_ps(mask.radiusX)),
        reach_(_mm512_set1_ps(mask.reach)),
        edge_(_mm512_set1_ps(mask.edge)) {}

  // Twice the coverage of pixels x .. x + 15, one to a 32-bit lane.
  __m512i TwiceCoverage(int x) const {
    const __m512i lanes = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    const __m512 column = _mm512_maskz_cvtepi32_ps(0xFFFF, _mm512_add_epi32(_mm512_set1_epi32(x), lanes));
    const __m512 dx = _mm512_div_ps(_mm512_sub_ps(_mm512_add_ps(column, _mm512_set1_ps(0.5f)), centre_), radius_);
    const __m512 distance = _mm512_maskz_sqrt_ps(0xFFFF, _mm512_add_ps(_mm512_mul_ps(dx, dx), dySquared_));
    const __m512 inside = _mm512_div_ps(_mm512_mul_ps(_mm512_sub_ps(_mm512_set1_ps(1.0f), distance), reach_), edge_);
    const __m512 in256ths = _mm512_maskz_min_ps(
        0xFFFF, _mm512_maskz_max_ps(0xFFFF, _mm512_mul_ps(inside, _mm512_set1_ps(256.0f)), _mm512_setzero_ps()),
        _mm512_set1_ps(256.0f));
    const __m512i coverage = _mm512_maskz_cvttps_epi32(0xFFFF, in256ths);
    return _mm512_add_epi32(coverage, coverage);
  }

  // Pixels x .. x + 15, pixel i by 32-bit lane i of `twice`.
  static void Blend(const uint8_t* source, const uint8_t* over, uint8_t* out, int x, __m512i twice) {
    // 16-bit lane j of a half of eight pixels takes the low half of the 32-bit lane of its pixel.
    alignas(64) static constexpr int16_t kFirstEight[32] = {0, 0, 0, 0, 2,  2,  2,  2,  4,  4,  4,  4,  6,  6,  6,  6,
                                                            8, 8, 8, 8, 10, 10, 10, 10, 12, 12, 12, 12, 14, 14, 14, 14};
    const __m512i firstEight = _mm512_load_si512(kFirstEight);
    const __m512i secondEight = _mm512_add_epi16(firstEight, _mm512_set1_epi16(16));
    const std::size_t at = 4 * std::size_t(x);
    // floor(d * c / 256) as the multiply-high of d * 128 and c * 2, neither beyond 16 bits.
    const auto half = [&](std::size_t offset, __m512i spread) {
      const __m512i s =
          _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(source + at + offset)));
      const __m512i o = _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(over + at + offset)));
      const __m512i difference = _mm512_maskz_slli_epi16(0xFFFFFFFF, _mm512_sub_epi16(o, s), 7);
      return _mm512_maskz_cvtepi16_epi8(
          0xFFFFFFFF, _mm512_add_epi16(s, _mm512_mulhi_epi16(difference, _mm512_permutexvar_epi16(spread, twice))));
    };
    const __m256i low = half(0, firstEight), high = half(32, secondEight);
    _mm512_storeu_si512(out + at, _mm512_maskz_inserti64x4(0xFF, _mm512_castsi256_si512(low), high, 1));
  }

 private:
  static float Squared(float value) { return value * value; }

  __m512 dySquared_, centre_, radius_, reach_, edge_;
};

}  // namespace

void BlendRoundRowAvx512(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int y,
                         const RoundMask& mask) {
  const WideRoundBlender blender(y, mask);
  int x = from;
  for (; x + 16 <= to; x += 16) WideRoundBlender::Blend(source, over, out, x, blender.TwiceCoverage(x));
  BlendRoundRowSse2(source, over, out, x, to, y, mask);
}

// Sixteen pixels and their sixteen mirror images, the latter in reverse order.
void BlendRoundRowMirroredAvx512(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int mirror,
                                 int y, const RoundMask& mask) {
  const __m512i reversed = _mm512_setr_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
  const WideRoundBlender blender(y, mask);
  int x = from;
  for (; x + 16 <= to; x += 16) {
    const __m512i twice = blender.TwiceCoverage(x);
    WideRoundBlender::Blend(source, over, out, x, twice);
    WideRoundBlender::Blend(source, over, out, mirror - x - 15,
                            _mm512_maskz_permutexvar_epi32(0xFFFF, reversed, twice));
  }
  BlendRoundRowMirroredSse2(source, over, out, x, to, mirror, y, mask);
}

namespace {

// Eight pixels in 16-bit lanes through the contrast mask, two in each 128 bits as the SSE2 kernel
// takes them. The alpha lanes are blended with a degree of 0 and come out as they went in.
__m512i ContrastMaskQuad(__m512i v, __m512i twiceDegree) {
  const __m512i c127 = _mm512_set1_epi16(127);
  // (c0 + c1 + c2) / 3 in all four lanes of its pixel: 21846 / 65536 divides sums up to 765 exactly.
  __m512i sum = _mm512_madd_epi16(v, _mm512_set1_epi64(0x0000555655565556));
  sum = _mm512_add_epi32(sum, _mm512_maskz_srli_epi64(0xFF, sum, 32));
  const __m512i third =
      _mm512_maskz_shufflehi_epi16(0xFFFFFFFF, _mm512_maskz_shufflelo_epi16(0xFFFFFFFF, sum, 0x55), 0x55);
  const __m512i grey = _mm512_sub_epi16(_mm512_set1_epi16(255), third);
  // The dark half at min(o, 127) plus the light half's rise above it; 33027 / 2^22 divides by 127
  // exactly up to 255 * 127.
  const __m512i darkProduct = _mm512_mullo_epi16(grey, _mm512_min_epi16(v, c127));
  const __m512i dark =
      _mm512_maskz_srli_epi16(0xFFFFFFFF, _mm512_mulhi_epu16(darkProduct, _mm512_set1_epi16(int16_t(33027))), 6);
  const __m512i rise = _mm512_maskz_srli_epi16(0xFFFFFFFF, _mm512_mullo_epi16(_mm512_subs_epu16(v, c127), third), 7);
  const __m512i overlay = _mm512_add_epi16(dark, rise);
  const __m512i difference = _mm512_maskz_slli_epi16(0xFFFFFFFF, _mm512_sub_epi16(overlay, v), 7);
  return _mm512_add_epi16(v, _mm512_mulhi_epi16(difference, twiceDegree));
}

}  // namespace

void ContrastMaskRowAvx512(const uint8_t* source, uint8_t* out, std::size_t pixels, int32_t degree) {
  const __m512i twiceDegree = _mm512_set1_epi64(int64_t(uint64_t(uint16_t(2 * degree)) * 0x000000010001'0001u));
  const __m512i zero = _mm512_setzero_si512();
  std::size_t x = 0;
  for (; x + 16 <= pixels; x += 16) {
    const __m512i px = _mm512_loadu_si512(source + 4 * x);
    _mm512_storeu_si512(out + 4 * x,
                        _mm512_packus_epi16(ContrastMaskQuad(_mm512_unpacklo_epi8(px, zero), twiceDegree),
                                            ContrastMaskQuad(_mm512_unpackhi_epi8(px, zero), twiceDegree)));
  }
  ContrastMaskRowSse2(source + 4 * x, out + 4 * x, pixels - x, degree);
}

}  // namespace vek
