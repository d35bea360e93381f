// The only file of the transitions built for AVX2; it includes nothing of the project but kernels.h
// and the gather's templates, which it instantiates with its own lanes. Its kernels are called only
// where Avx2KernelsUsable().
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "transitions/fall_gather.h"
#include "transitions/kernels.h"

namespace vek {
namespace {

struct Avx2Lanes {
  static constexpr std::size_t kBytes = 32;
  static __m256i Load(const uint8_t* at) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at)); }
  static void Store(uint8_t* at, __m256i pixels) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(at), pixels); }
  static void Stream(uint8_t* at, __m256i pixels) { _mm256_stream_si256(reinterpret_cast<__m256i*>(at), pixels); }
  static __m256i Blend(__m256i kept, __m256i taken, __m256i lanes) { return _mm256_blendv_epi8(kept, taken, lanes); }

  // As the SSE4.1 lanes, eight pixels at a time; "below" is a greater-than with its operands swapped.
  template <bool kLumaChroma>
  static __m256i Lands(__m256i colours, int k) {
    const __m256i byteWeights = _mm256_set1_epi32(kLumaChroma ? 0x00010000 : 0x00010101);
    const __m256i sum = _mm256_madd_epi16(_mm256_maddubs_epi16(colours, byteWeights), _mm256_set1_epi16(1));
    if constexpr (kLumaChroma) {
      const __m256i tone = _mm256_srli_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(31)), 6);
      return k == 0 ? _mm256_cmpgt_epi32(_mm256_set1_epi32(2), tone)
                    : _mm256_cmpeq_epi32(tone, _mm256_set1_epi32(k + 1));
    }
    return k == 0 ? _mm256_cmpgt_epi32(_mm256_set1_epi32(256), sum)
                  : _mm256_cmpeq_epi32(_mm256_srli_epi32(sum, 7), _mm256_set1_epi32(k + 1));
  }
};

// The first `count` of eight 32-bit lanes, as a mask for the masked loads.
__m256i FirstLanes(int count) {
  return _mm256_cmpgt_epi32(_mm256_set1_epi32(count), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
}

// Eight pixels of a row sampled through eight columns that lie from the first to the last at most
// 16 apart: the pixels they span, in two masked loads that read no pixel past them, and a permute
// of each. False where the columns do not lie so.
bool Sampled8(const uint8_t* row, const int* columns, __m256i& pixels) {
  const int first = columns[0], span = columns[7] - first + 1;
  if (span > 16) return false;
  const __m256i index =
      _mm256_sub_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(columns)), _mm256_set1_epi32(first));
  const __m256i outside = _mm256_or_si256(_mm256_cmpgt_epi32(_mm256_setzero_si256(), index),
                                          _mm256_cmpgt_epi32(index, _mm256_set1_epi32(span - 1)));
  if (!_mm256_testz_si256(outside, outside)) return false;
  const auto* at = reinterpret_cast<const int*>(row) + first;
  const __m256i low = _mm256_permutevar8x32_epi32(_mm256_maskload_epi32(at, FirstLanes(span)), index);
  const __m256i high = _mm256_permutevar8x32_epi32(_mm256_maskload_epi32(at + 8, FirstLanes(span - 8)), index);
  pixels = _mm256_blendv_epi8(low, high, _mm256_cmpgt_epi32(index, _mm256_set1_epi32(7)));
  return true;
}

void PrefetchAhead(const uint8_t* row, int column, std::ptrdiff_t ahead) {
  _mm_prefetch(
      reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(row) + std::size_t(column) * 4 + uintptr_t(ahead)),
      _MM_HINT_T0);
}

// a + floor((b - a) * w / 256) for eight pixels, as the SSE2 row: mulhi of (b - a) * 128 and 2 w
// in 16-bit lanes. Each weight is spread over its pixel's four lanes by unpacking it with itself.
__m256i Weighted8(__m256i a, __m256i b, const uint8_t* weights) {
  int64_t eight;
  std::memcpy(&eight, weights, sizeof eight);
  const __m256i w32 = _mm256_cvtepu8_epi32(_mm_cvtsi64_si128(eight));
  const __m256i w16 = _mm256_or_si256(w32, _mm256_slli_epi32(w32, 16));
  const __m256i zero = _mm256_setzero_si256();
  const auto step = [](__m256i a16, __m256i b16, __m256i w) {
    return _mm256_add_epi16(
        a16, _mm256_mulhi_epi16(_mm256_slli_epi16(_mm256_sub_epi16(b16, a16), 7), _mm256_add_epi16(w, w)));
  };
  const __m256i low =
      step(_mm256_unpacklo_epi8(a, zero), _mm256_unpacklo_epi8(b, zero), _mm256_unpacklo_epi32(w16, w16));
  const __m256i high =
      step(_mm256_unpackhi_epi8(a, zero), _mm256_unpackhi_epi8(b, zero), _mm256_unpackhi_epi32(w16, w16));
  return _mm256_packus_epi16(low, high);
}

}  // namespace

void GatherPixelsAvx2(const uint8_t* source, const int* columns, uint8_t* out, int pixels, std::ptrdiff_t ahead) {
  int x = 0;
  for (; x + 8 <= pixels; x += 8) {
    PrefetchAhead(source, columns[x], ahead);
    __m256i sampled;
    if (Sampled8(source, columns + x, sampled)) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + std::size_t(x) * 4), sampled);
    } else {
      GatherPixels(source, columns + x, out + std::size_t(x) * 4, 8, 0);
    }
  }
  GatherPixels(source, columns + x, out + std::size_t(x) * 4, pixels - x, ahead);
}

void SampledWeightedRowAvx2(const uint8_t* a, const uint8_t* b, const int* columns, const uint8_t* weights,
                            uint8_t* out, int pixels, std::ptrdiff_t ahead) {
  int x = 0;
  for (; x + 8 <= pixels; x += 8) {
    PrefetchAhead(a, columns[x], ahead);
    PrefetchAhead(b, columns[x], ahead);
    __m256i sampledA, sampledB;
    if (Sampled8(a, columns + x, sampledA) && Sampled8(b, columns + x, sampledB)) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + std::size_t(x) * 4),
                          Weighted8(sampledA, sampledB, weights + x));
    } else {
      SampledWeightedRow(a, b, columns + x, weights + x, out + std::size_t(x) * 4, 8, 0);
    }
  }
  SampledWeightedRow(a, b, columns + x, weights + x, out + std::size_t(x) * 4, pixels - x, 0);
}

void FallGatherRowAvx2(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                       bool lumaChroma, bool stream) {
  fall_gather::GatherRow<Avx2Lanes>(candidates, count, b, out, pixels, lumaChroma, stream);
}

}  // namespace vek
