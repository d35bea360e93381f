// The only file of the transitions built for AVX2; it includes nothing of the project but kernels.h
// and the gather's templates, which it instantiates with its own lanes. Its kernels are called only
// where Avx2KernelsUsable().
#include <immintrin.h>

#include <cstdint>

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

}  // namespace

void FallGatherRowAvx2(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                       bool lumaChroma, bool stream) {
  fall_gather::GatherRow<Avx2Lanes>(candidates, count, b, out, pixels, lumaChroma, stream);
}

}  // namespace vek
