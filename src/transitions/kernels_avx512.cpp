// The only file of the transitions built for AVX-512; it includes nothing of the project but
// kernels.h, and its kernels are called only where Avx512KernelsUsable().
#include <immintrin.h>

#include <cstdint>

#include "transitions/kernels.h"

namespace vek {
namespace {

// The plain shifts' header gives them an undefined pass-through operand, which GCC then reports as
// maybe uninitialised; the zero-masking forms under a full mask are the same instructions.
template <unsigned kBits> __m512i ShiftRight(__m512i lanes) { return _mm512_maskz_srli_epi32(0xFFFF, lanes, kBits); }
template <unsigned kBits> __m512i ShiftRight16(__m512i lanes) {
  return _mm512_maskz_srli_epi16(0xFFFFFFFF, lanes, kBits);
}
template <unsigned kBits> __m512i ShiftLeft16(__m512i lanes) {
  return _mm512_maskz_slli_epi16(0xFFFFFFFF, lanes, kBits);
}
template <unsigned kBits> __m512i ShiftLeft(__m512i lanes) { return _mm512_maskz_slli_epi32(0xFFFF, lanes, kBits); }
template <unsigned kBits> __m512i ShiftRightSigned(__m512i lanes) {
  return _mm512_maskz_srai_epi32(0xFFFF, lanes, kBits);
}

// The X-ray's pixels as in the SSE2 rows: even bytes (0 and 2) and odd ones (1 and 3) in 16-bit
// lanes, one pixel to a 32-bit lane.
__m512i EvenBytes(__m512i pixels) { return _mm512_and_si512(pixels, _mm512_set1_epi16(0xFF)); }
__m512i OddBytes(__m512i pixels) { return ShiftRight16<8>(pixels); }
__m512i Interleave(__m512i even, __m512i odd) { return _mm512_or_si512(even, ShiftLeft16<8>(odd)); }

// c + floor((target - c) * weight / 1024), a lane of weight 0 keeping c.
__m512i Toward(__m512i c, __m512i target, __m512i weights) {
  return _mm512_add_epi16(c, _mm512_mulhi_epi16(ShiftLeft16<6>(_mm512_sub_epi16(target, c)), weights));
}

// 255 - Y of sixteen ARGB pixels, one to a 32-bit lane: (980991 - (401 B + 1053 R + 2064 G)) >> 12.
__m512i NegativeLuma16(__m512i pixels) {
  const __m512i evenFactors = _mm512_set1_epi32(int(uint32_t(-1053) << 16 | uint16_t(-401)));
  const __m512i oddFactors = _mm512_set1_epi32(uint16_t(-2064));
  const __m512i sum = _mm512_add_epi32(_mm512_madd_epi16(EvenBytes(pixels), evenFactors),
                                       _mm512_madd_epi16(OddBytes(pixels), oddFactors));
  return ShiftRightSigned<12>(_mm512_add_epi32(sum, _mm512_set1_epi32(980991)));
}

// The tone of negative greys n in 16-bit lanes: max(n, min(shift + 4n, 255)).
__m512i Tone(__m512i negative, __m512i shifts) {
  const __m512i raised = _mm512_add_epi16(shifts, ShiftLeft16<2>(negative));
  return _mm512_max_epi16(negative, _mm512_min_epi16(raised, _mm512_set1_epi16(255)));
}

// The first `count` of sixteen lanes, all of them from 16 on.
__mmask16 FirstLanes(int count) { return count >= 16 ? __mmask16(0xFFFF) : __mmask16((1u << count) - 1); }

// For each 16-bit lane of the low and of the high unpack of sixteen pixels, the pixel whose weight
// it takes (in its even byte; the odd bytes are masked off).
struct WeightSpread {
  alignas(64) uint8_t low[64];
  alignas(64) uint8_t high[64];
};
constexpr WeightSpread SpreadWeights() {
  WeightSpread spread{};
  for (int lane = 0; lane < 32; ++lane) {
    const int pixel = 4 * (lane / 8) + (lane % 8) / 4;
    spread.low[2 * lane] = uint8_t(pixel), spread.high[2 * lane] = uint8_t(pixel + 2);
  }
  return spread;
}
constexpr WeightSpread kWeightSpread = SpreadWeights();

// The tone sum of sixteen pixels, one to a 32-bit lane, by two multiply-adds: byte 0 + byte 1 +
// byte 2, or the luma byte alone in the luma/chroma layout.
template <bool kLumaChroma>
__m512i ToneSum16(__m512i colours) {
  const __m512i byteWeights = _mm512_set1_epi32(kLumaChroma ? 0x00010000 : 0x00010101);
  return _mm512_madd_epi16(_mm512_maddubs_epi16(colours, byteWeights), _mm512_set1_epi16(1));
}

// Whether each pixel of the candidate k + 1 falls above lands here: its class is k + 1, or for the
// nearest candidate 0 or 1.
template <bool kLumaChroma>
__mmask16 Lands(__m512i colours, int k) {
  const __m512i sum = ToneSum16<kLumaChroma>(colours);
  if constexpr (kLumaChroma) {
    const __m512i tone = ShiftRight<6>(_mm512_add_epi32(sum, _mm512_set1_epi32(31)));
    return k == 0 ? _mm512_cmple_epu32_mask(tone, _mm512_set1_epi32(1))
                  : _mm512_cmpeq_epu32_mask(tone, _mm512_set1_epi32(k + 1));
  }
  return k == 0 ? _mm512_cmplt_epu32_mask(sum, _mm512_set1_epi32(256))
                : _mm512_cmpeq_epu32_mask(ShiftRight<7>(sum), _mm512_set1_epi32(k + 1));
}

// The farthest candidate first, so that a nearer one, from a lower source row, wins.
template <int kCount, bool kLumaChroma>
__m512i Gathered16(const uint8_t* const* candidates, std::size_t at, __m512i chosen, __mmask16 live) {
  for (int k = kCount - 1; k >= 0; --k) {
    const __m512i colours = _mm512_maskz_loadu_epi32(live, candidates[k] + at);
    chosen = _mm512_mask_mov_epi32(chosen, Lands<kLumaChroma>(colours, k), colours);
  }
  return chosen;
}

template <int kCount, bool kLumaChroma>
void GatherRow(const uint8_t* const* candidates, const uint8_t* b, uint8_t* out, int pixels, bool stream) {
  int x = 0;
  for (; x + 16 <= pixels; x += 16) {
    const std::size_t at = std::size_t(x) * 4;
    _mm_prefetch(reinterpret_cast<const char*>(b + at + kFallGatherAhead), _MM_HINT_T0);
    if constexpr (kCount > 0)
      _mm_prefetch(reinterpret_cast<const char*>(candidates[0] + at + kFallGatherAhead), _MM_HINT_T0);
    const __m512i chosen = Gathered16<kCount, kLumaChroma>(candidates, at, _mm512_loadu_si512(b + at), 0xFFFF);
    if (stream) {
      _mm512_stream_si512(reinterpret_cast<__m512i*>(out + at), chosen);
    } else {
      _mm512_storeu_si512(out + at, chosen);
    }
  }
  // The last pixels start a line of their own in a streamed row, so their cached store flushes no
  // streamed line half written.
  if (x < pixels) {
    const __mmask16 live = FirstLanes(pixels - x);
    const std::size_t at = std::size_t(x) * 4;
    const __m512i chosen =
        Gathered16<kCount, kLumaChroma>(candidates, at, _mm512_maskz_loadu_epi32(live, b + at), live);
    _mm512_mask_storeu_epi32(out + at, live, chosen);
  }
}

template <bool kLumaChroma>
void GatherRowOfCount(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                      bool stream) {
  return WithFallCount(
      count, [&](auto k) { return GatherRow<decltype(k)::value, kLumaChroma>(candidates, b, out, pixels, stream); });
}

}  // namespace

// Sixteen pixels a step, each count and layout with its own unrolled loop; the last pixels are
// loaded and stored under a mask that leaves the bytes past the row alone.
void FallGatherRowAvx512(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                         bool lumaChroma, bool stream) {
  stream = stream && (reinterpret_cast<uintptr_t>(out) & 63) == 0;
  if (lumaChroma) return GatherRowOfCount<true>(candidates, count, b, out, pixels, stream);
  GatherRowOfCount<false>(candidates, count, b, out, pixels, stream);
}

// Sixteen pixels a step in 16-bit lanes, as the SSE2 row takes four: within each 128-bit lane the
// low unpack holds the lane's first two pixels and the high unpack its last two, so each weight is
// spread over the four lanes of its pixel by one byte permute. The last pixels are the SSE2 row's.
void GatherPixelsAvx512(const uint8_t* source, const int* columns, uint8_t* out, int pixels, std::ptrdiff_t ahead) {
  const auto* sourcePixels = reinterpret_cast<const int32_t*>(source);
  int x = 0;
  for (; x + 16 <= pixels; x += 16) {
    // The sixteen columns must lie from the first to the last, at most 32 apart, as they do where
    // they grow.
    const int first = columns[x], span = columns[x + 15] - first + 1;
    _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(sourcePixels + first) + uintptr_t(ahead)),
                 _MM_HINT_T0);
    const __m512i index = _mm512_sub_epi32(_mm512_loadu_si512(columns + x), _mm512_set1_epi32(first));
    if (span > 32 || _mm512_cmpge_epu32_mask(index, _mm512_set1_epi32(span)) != 0) {
      GatherPixels(source, columns + x, out + std::size_t(x) * 4, 16, ahead);
      continue;
    }
    // Only the pixels the columns span are read: the masked lanes past them are never touched.
    const __m512i low = _mm512_maskz_loadu_epi32(FirstLanes(span), sourcePixels + first);
    const __m512i high = _mm512_maskz_loadu_epi32(FirstLanes(span > 16 ? span - 16 : 0), sourcePixels + first + 16);
    _mm512_storeu_si512(out + std::size_t(x) * 4, _mm512_permutex2var_epi32(low, index, high));
  }
  GatherPixels(source, columns + x, out + std::size_t(x) * 4, pixels - x, ahead);
}

// Sixteen distances at a time in single precision: below 2^24, k * k + dy2 is exact as a float, and
// its correctly rounded square root, rounded up, is the exact one for every such value.
void RingWeightsAvx512(const uint32_t* profile, int ringWidth, int rho, int dy2, int first, int blocks, uint8_t* right,
                       uint8_t* leftOfFirst) {
  const __m512i lanes = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  const __m128i reversed = _mm_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
  const __m512i deepest = _mm512_set1_epi32(ringWidth - 1), rhoLanes = _mm512_set1_epi32(rho);
  for (int block = 0; block < blocks; ++block) {
    const __m512i k = _mm512_add_epi32(_mm512_set1_epi32(first + 16 * block), lanes);
    const __m512i square = _mm512_add_epi32(_mm512_mullo_epi32(k, k), _mm512_set1_epi32(dy2));
    const __m512 root = _mm512_maskz_sqrt_ps(0xFFFF, _mm512_maskz_cvtepi32_ps(0xFFFF, square));
    const __m512i d = _mm512_maskz_cvt_roundps_epi32(0xFFFF, root, _MM_FROUND_TO_POS_INF | _MM_FROUND_NO_EXC);
    const __m512i depth = _mm512_maskz_min_epi32(0xFFFF, _mm512_sub_epi32(rhoLanes, d), deepest);
    const __m512i gathered =
        _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), 0xFFFF, depth, reinterpret_cast<const int*>(profile), 4);
    const __m128i weights = _mm512_maskz_cvtepi32_epi8(0xFFFF, gathered);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(right + 16 * block), weights);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(leftOfFirst - 16 * block - 15), _mm_shuffle_epi8(weights, reversed));
  }
}

void GatherBytesAvx512(const uint8_t* table, const int* indices, int offset, uint8_t* out, int count) {
  const auto firstBytes = [](int n) {
    return n >= 64 ? __mmask64(~0ull) : n <= 0 ? __mmask64(0) : __mmask64((1ull << n) - 1);
  };
  int i = 0;
  for (; i + 64 <= count; i += 64) {
    const int first = indices[i] - offset, span = indices[i + 63] - offset - first + 1;
    if (span > 128) {
      GatherBytes(table, indices + i, offset, out + i, 64);
      continue;
    }
    // The indices as bytes from the first, sixteen at a time.
    const __m512i base = _mm512_set1_epi32(first + offset);
    const auto quarter = [&](int q) {
      return _mm512_maskz_cvtepi32_epi8(0xFFFF, _mm512_sub_epi32(_mm512_loadu_si512(indices + i + 16 * q), base));
    };
    __m512i index = _mm512_zextsi128_si512(quarter(0));
    index = _mm512_inserti32x4(index, quarter(1), 1);
    index = _mm512_inserti32x4(index, quarter(2), 2);
    index = _mm512_inserti32x4(index, quarter(3), 3);
    const __m512i low = _mm512_maskz_loadu_epi8(firstBytes(span), table + first);
    const __m512i high = _mm512_maskz_loadu_epi8(firstBytes(span - 64), table + first + 64);
    _mm512_storeu_si512(out + i, _mm512_permutex2var_epi8(low, index, high));
  }
  GatherBytes(table, indices + i, offset, out + i, count - i);
}

// a + floor((b - a) * w / 256) for sixteen pixels a and b, with their sixteen weights: in 16-bit
// lanes, mulhi of (b - a) * 128 and 2 w, as the SSE2 row.
__m512i Weighted16(__m512i va, __m512i vb, const uint8_t* weights) {
  const __m512i lowSpread = _mm512_loadu_si512(kWeightSpread.low);
  const __m512i highSpread = _mm512_loadu_si512(kWeightSpread.high);
  constexpr __mmask64 kEvenBytes = 0x5555555555555555u;
  const __m512i zero = _mm512_setzero_si512();
  const auto step = [](__m512i a16, __m512i b16, __m512i w16) {
    return _mm512_add_epi16(a16, _mm512_mulhi_epi16(ShiftLeft16<7>(_mm512_sub_epi16(b16, a16)),
                                                    _mm512_add_epi16(w16, w16)));
  };
  const __m512i sixteen = _mm512_castsi128_si512(_mm_loadu_si128(reinterpret_cast<const __m128i*>(weights)));
  const __m512i wLow = _mm512_maskz_permutexvar_epi8(kEvenBytes, lowSpread, sixteen);
  const __m512i wHigh = _mm512_maskz_permutexvar_epi8(kEvenBytes, highSpread, sixteen);
  const __m512i low = step(_mm512_unpacklo_epi8(va, zero), _mm512_unpacklo_epi8(vb, zero), wLow);
  const __m512i high = step(_mm512_unpackhi_epi8(va, zero), _mm512_unpackhi_epi8(vb, zero), wHigh);
  return _mm512_packus_epi16(low, high);
}

void WeightedRowAvx512(const uint8_t* a, const uint8_t* b, const uint8_t* weights, uint8_t* out, int pixels,
                       std::ptrdiff_t ahead) {
  int x = 0;
  for (; x + 16 <= pixels; x += 16) {
    const std::size_t at = std::size_t(x) * 4;
    _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(a + at) + uintptr_t(ahead)), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(b + at) + uintptr_t(ahead)), _MM_HINT_T0);
    _mm512_storeu_si512(out + at, Weighted16(_mm512_loadu_si512(a + at), _mm512_loadu_si512(b + at), weights + x));
  }
  const std::size_t at = std::size_t(x) * 4;
  WeightedRowSse2(a + at, b + at, weights + x, out + at, pixels - x, ahead);
}

void SampledWeightedRowAvx512(const uint8_t* a, const uint8_t* b, const int* columns, const uint8_t* weights,
                              uint8_t* out, int pixels, std::ptrdiff_t ahead) {
  const auto* pixelsA = reinterpret_cast<const int32_t*>(a);
  const auto* pixelsB = reinterpret_cast<const int32_t*>(b);
  int x = 0;
  for (; x + 16 <= pixels; x += 16) {
    const int first = columns[x], span = columns[x + 15] - first + 1;
    const uintptr_t from = std::size_t(first) * 4 + uintptr_t(ahead);
    _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(a) + from), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(b) + from), _MM_HINT_T0);
    const __m512i index = _mm512_sub_epi32(_mm512_loadu_si512(columns + x), _mm512_set1_epi32(first));
    if (span > 32 || _mm512_cmpge_epu32_mask(index, _mm512_set1_epi32(span)) != 0) {
      SampledWeightedRow(a, b, columns + x, weights + x, out + std::size_t(x) * 4, 16, 0);
      continue;
    }
    const __mmask16 low = FirstLanes(span), high = FirstLanes(span > 16 ? span - 16 : 0);
    const __m512i va = _mm512_permutex2var_epi32(_mm512_maskz_loadu_epi32(low, pixelsA + first), index,
                                                 _mm512_maskz_loadu_epi32(high, pixelsA + first + 16));
    const __m512i vb = _mm512_permutex2var_epi32(_mm512_maskz_loadu_epi32(low, pixelsB + first), index,
                                                 _mm512_maskz_loadu_epi32(high, pixelsB + first + 16));
    _mm512_storeu_si512(out + std::size_t(x) * 4, Weighted16(va, vb, weights + x));
  }
  SampledWeightedRow(a, b, columns + x, weights + x, out + std::size_t(x) * 4, pixels - x, 0);
}

// Sixteen pixels a step, as the SSE4.1 row takes four: a * (32 - k) + b * k with k = clamp(t - m,
// 0, 32) per byte, shifted down by 5. The last pixels are the SSE4.1 row's, its odd last pixel too.
void SoftEdgeRowAvx512(const uint8_t* a, const uint8_t* b, const int32_t* mask, uint8_t* out, int pixels, int t) {
  const __m512i tBytes = _mm512_set1_epi8(int8_t(t)), full = _mm512_set1_epi8(32), zero = _mm512_setzero_si512();
  int x = 0;
  for (; x + 16 <= pixels; x += 16) {
    const std::size_t at = std::size_t(x) * 4;
    const __m512i va = _mm512_loadu_si512(a + at), vb = _mm512_loadu_si512(b + at);
    const __m512i reach = _mm512_add_epi8(_mm512_loadu_si512(mask + x), tBytes);
    const __m512i k = _mm512_min_epi8(_mm512_max_epi8(reach, zero), full);
    const __m512i kept = _mm512_sub_epi8(full, k);
    const __m512i low = _mm512_maddubs_epi16(_mm512_unpacklo_epi8(va, vb), _mm512_unpacklo_epi8(kept, k));
    const __m512i high = _mm512_maddubs_epi16(_mm512_unpackhi_epi8(va, vb), _mm512_unpackhi_epi8(kept, k));
    _mm512_storeu_si512(out + at, _mm512_packus_epi16(ShiftRight16<5>(low), ShiftRight16<5>(high)));
  }
  const std::size_t at = std::size_t(x) * 4;
  SoftEdgeRowSse41(a + at, b + at, mask + x, out + at, pixels - x, t);
}

// Thirty-two pixels a step, in the SSE2 row's lane order within each 128 bits; the last pixels are
// the SSE2 row's.
void XRayNegativeRowAvx512(const uint8_t* source, uint8_t* out, int pixels, int weight) {
  const __m512i evenWeights = _mm512_set1_epi16(int16_t(weight)), oddWeights = _mm512_set1_epi32(weight);
  int x = 0;
  for (; x + 32 <= pixels; x += 32, source += 128, out += 128) {
    const __m512i first = _mm512_loadu_si512(source), second = _mm512_loadu_si512(source + 64);
    const __m512i negative = _mm512_packs_epi32(NegativeLuma16(first), NegativeLuma16(second));
    const __m512i firstTargets = _mm512_unpacklo_epi16(negative, negative);
    const __m512i secondTargets = _mm512_unpackhi_epi16(negative, negative);
    _mm512_storeu_si512(out, Interleave(Toward(EvenBytes(first), firstTargets, evenWeights),
                                        Toward(OddBytes(first), firstTargets, oddWeights)));
    _mm512_storeu_si512(out + 64, Interleave(Toward(EvenBytes(second), secondTargets, evenWeights),
                                             Toward(OddBytes(second), secondTargets, oddWeights)));
  }
  XRayNegativeRowSse2(source, out, pixels - x, weight);
}

// Thirty-two pixels a step, in the SSE2 row's lane order within each 128 bits; the last pixels are
// the SSE2 row's.
void XRayToneRowAvx512(const uint8_t* source, uint8_t* out, int pixels, int shift) {
  const __m512i shifts = _mm512_set1_epi16(int16_t(shift)), alpha = _mm512_set1_epi32(int(0xFF000000u));
  int x = 0;
  for (; x + 32 <= pixels; x += 32, source += 128, out += 128) {
    const __m512i first = _mm512_loadu_si512(source), second = _mm512_loadu_si512(source + 64);
    const __m512i grey = Tone(_mm512_packs_epi32(NegativeLuma16(first), NegativeLuma16(second)), shifts);
    // Bytes g g in each 16-bit lane, then g g g 0 in each pixel.
    const __m512i greyBytes = _mm512_packus_epi16(grey, grey);
    const __m512i greyPairs = _mm512_unpacklo_epi8(greyBytes, greyBytes);
    _mm512_storeu_si512(out, _mm512_or_si512(_mm512_unpacklo_epi16(greyPairs, grey), _mm512_and_si512(first, alpha)));
    _mm512_storeu_si512(out + 64,
                        _mm512_or_si512(_mm512_unpackhi_epi16(greyPairs, grey), _mm512_and_si512(second, alpha)));
  }
  XRayToneRowSse2(source, out, pixels - x, shift);
}

// Thirty-two pixels a step, as the SSE2 row takes eight; the last pixels are the SSE2 row's.
void XRayLumaToneRowAvx512(const uint8_t* source, uint8_t* out, int pixels, int shift) {
  const __m512i shifts = _mm512_set1_epi16(int16_t(shift)), lowByte = _mm512_set1_epi32(0xFF);
  const __m512i white = _mm512_set1_epi16(255), zero = _mm512_setzero_si512();
  const __m512i alpha = _mm512_set1_epi32(int(0xFF000000u)), neutral = _mm512_set1_epi32(0x8080);
  // The luma of greys given one to a 32-bit lane: (3518 g + 67584) >> 12.
  const auto greyLuma = [](__m512i greys) {
    return ShiftRight<12>(
        _mm512_add_epi32(_mm512_madd_epi16(greys, _mm512_set1_epi32(3518)), _mm512_set1_epi32(67584)));
  };
  int x = 0;
  for (; x + 32 <= pixels; x += 32, source += 128, out += 128) {
    const __m512i first = _mm512_loadu_si512(source), second = _mm512_loadu_si512(source + 64);
    const __m512i luma = _mm512_packs_epi32(_mm512_and_si512(ShiftRight<16>(first), lowByte),
                                            _mm512_and_si512(ShiftRight<16>(second), lowByte));
    const __m512i grey = Tone(_mm512_sub_epi16(white, luma), shifts);
    const __m512i firstLuma = greyLuma(_mm512_unpacklo_epi16(grey, zero));
    const __m512i secondLuma = greyLuma(_mm512_unpackhi_epi16(grey, zero));
    _mm512_storeu_si512(
        out, _mm512_or_si512(_mm512_or_si512(ShiftLeft<16>(firstLuma), neutral), _mm512_and_si512(first, alpha)));
    _mm512_storeu_si512(out + 64, _mm512_or_si512(_mm512_or_si512(ShiftLeft<16>(secondLuma), neutral),
                                                  _mm512_and_si512(second, alpha)));
  }
  XRayLumaToneRowSse2(source, out, pixels - x, shift);
}

// Sixteen pixels a step; the last pixels are the SSE2 row's.
void XRayLumaNegativeRowAvx512(const uint8_t* source, uint8_t* out, int pixels, int weight) {
  const __m512i evenWeights = _mm512_set1_epi16(int16_t(weight)), oddWeights = _mm512_set1_epi32(weight);
  const __m512i neutral = _mm512_set1_epi16(128);
  const __m512i lumaFactor = _mm512_set1_epi32(int(uint32_t(-3518) << 16)), greyBase = _mm512_set1_epi32(964674);
  int x = 0;
  for (; x + 16 <= pixels; x += 16, source += 64, out += 64) {
    const __m512i sixteen = _mm512_loadu_si512(source);
    const __m512i even = EvenBytes(sixteen), odd = OddBytes(sixteen);
    const __m512i lumaTargets = ShiftRightSigned<12>(_mm512_add_epi32(_mm512_madd_epi16(even, lumaFactor), greyBase));
    const __m512i evenTargets = _mm512_or_si512(ShiftLeft<16>(lumaTargets), _mm512_set1_epi32(128));
    _mm512_storeu_si512(out, Interleave(Toward(even, evenTargets, evenWeights), Toward(odd, neutral, oddWeights)));
  }
  XRayLumaNegativeRowSse2(source, out, pixels - x, weight);
}

// Sixteen pixels a step; the last pixels are the SSE2 row's.
void TowardColourRowAvx512(const uint8_t* source, uint8_t* out, int pixels, int weight, const uint8_t* colour) {
  const __m512i evenWeights = _mm512_set1_epi16(int16_t(weight)), oddWeights = _mm512_set1_epi32(weight);
  const __m512i evenTargets = _mm512_set1_epi32(colour[2] << 16 | colour[0]);
  const __m512i oddTargets = _mm512_set1_epi32(colour[1]);
  int x = 0;
  for (; x + 16 <= pixels; x += 16, source += 64, out += 64) {
    const __m512i sixteen = _mm512_loadu_si512(source);
    _mm512_storeu_si512(out, Interleave(Toward(EvenBytes(sixteen), evenTargets, evenWeights),
                                        Toward(OddBytes(sixteen), oddTargets, oddWeights)));
  }
  TowardColourRowSse2(source, out, pixels - x, weight, colour);
}

// Sixteen pixels a step; the last pixels are the SSE2 row's.
void ThresholdRowAvx512(const uint8_t* key, const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels, int limit,
                        bool lumaKey) {
  const __m512i lowByte = _mm512_set1_epi32(0xFF), limits = _mm512_set1_epi32(limit);
  int x = 0;
  for (; x + 16 <= pixels; x += 16, key += 64, a += 64, b += 64, out += 64) {
    const __m512i k = _mm512_loadu_si512(key);
    __m512i brightness = _mm512_and_si512(ShiftRight<16>(k), lowByte);
    if (!lumaKey) {
      brightness = _mm512_add_epi32(brightness, _mm512_and_si512(k, lowByte));
      brightness = _mm512_add_epi32(brightness, _mm512_and_si512(ShiftRight<8>(k), lowByte));
    }
    const __mmask16 showsA = _mm512_cmpge_epi32_mask(brightness, limits);
    _mm512_storeu_si512(out, _mm512_mask_blend_epi32(showsA, _mm512_loadu_si512(b), _mm512_loadu_si512(a)));
  }
  ThresholdRowSse2(key, a, b, out, pixels - x, limit, lumaKey);
}

}  // namespace vek
