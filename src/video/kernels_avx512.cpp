// The only file of the video effects built for AVX-512 (with its byte permutes); it includes nothing
// of the project but kernels.h, and its kernel is called only where Avx512KernelsUsable().
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

}  // namespace vek
