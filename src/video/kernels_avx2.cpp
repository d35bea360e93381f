// The only file of the video effects built for AVX2; it includes nothing of the project but the
// kernels' header and the stretch's template, which it instantiates with its own lanes. Its kernels
// are called only where Avx2KernelsUsable().
#include <immintrin.h>

#include <cstdint>

#include "video/kernels.h"
#include "video/stretch_row.h"

namespace vek {
namespace {

// As the SSE2 lanes, eight pixels at a time. Widening and packing work within each 128-bit half, so
// a pack after the two widenings puts the pixels back in their order.
struct Avx2Lanes {
  static constexpr std::size_t kBytes = 32;
  static __m256i Load(const uint8_t* at) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at)); }
  static void Store(uint8_t* at, __m256i value) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(at), value); }
  static __m256i PerChannel(int c0, int c1, int c2, int alpha) {
    return _mm256_broadcastsi128_si256(_mm_setr_epi16(int16_t(c0), int16_t(c1), int16_t(c2), int16_t(alpha),
                                                      int16_t(c0), int16_t(c1), int16_t(c2), int16_t(alpha)));
  }
  static __m256i EveryPixel(uint32_t pixel) { return _mm256_set1_epi32(int(pixel)); }
  static __m256i WidenLow(__m256i bytes) { return _mm256_unpacklo_epi8(bytes, _mm256_setzero_si256()); }
  static __m256i WidenHigh(__m256i bytes) { return _mm256_unpackhi_epi8(bytes, _mm256_setzero_si256()); }
  static __m256i Pack16(__m256i low, __m256i high) { return _mm256_packus_epi16(low, high); }
  static __m256i SubtractSaturated16(__m256i a, __m256i b) { return _mm256_subs_epu16(a, b); }
  static __m256i ShiftLeft16(__m256i a, int bits) { return _mm256_slli_epi16(a, bits); }
  static __m256i ShiftRight16(__m256i a, int bits) { return _mm256_srli_epi16(a, bits); }
  static __m256i MultiplyHigh16(__m256i a, __m256i b) { return _mm256_mulhi_epu16(a, b); }
  static __m256i MultiplyLow16(__m256i a, __m256i b) { return _mm256_mullo_epi16(a, b); }
  static __m256i Add16(__m256i a, __m256i b) { return _mm256_add_epi16(a, b); }
  static __m256i Or(__m256i a, __m256i b) { return _mm256_or_si256(a, b); }
  static __m256i AtOrAbove(__m256i bytes, __m256i bound) {
    return _mm256_cmpeq_epi8(_mm256_max_epu8(bytes, bound), bytes);
  }
};

}  // namespace

void StretchRowAvx2(const uint8_t* source, uint8_t* out, std::size_t pixels, const Stretch (&channels)[3]) {
  stretch_row::Row<Avx2Lanes>(source, out, pixels, channels);
}

}  // namespace vek
