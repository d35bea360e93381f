#include "video/kernels.h"

#include "vek_dsp/colour.h"

namespace vek {

void PosterizeRowArgb(const uint8_t* source, uint8_t* out, int pixels, const uint8_t* table) {
  for (int x = 0; x < pixels; ++x, source += 4, out += 4) {
    out[0] = table[source[0]], out[1] = table[source[1]], out[2] = table[source[2]], out[3] = source[3];
  }
}

void PosterizeRowAyuv(const uint8_t* source, uint8_t* out, int pixels, const uint8_t* table) {
  for (int x = 0; x < pixels; ++x, source += 4, out += 4) {
    const int32_t y = source[2], u = source[1], v = source[0];
    const int32_t r = VekClampByte((4768 * y + 6537 * v - 910976) >> 12);
    const int32_t g = VekClampByte((4768 * y - 1602 * u - 3330 * v + 0x88000) >> 12);
    const int32_t b = VekClampByte((4768 * y + 8266 * u - 1132288) >> 12);
    const int32_t dr = table[r] - r, dg = table[g] - g, db = table[b] - b;
    out[0] = VekClampByte(v + ((1798 * dr - 1507 * dg - 291 * db + 2048) >> 12));
    out[1] = VekClampByte(u + ((1798 * db - 1192 * dg - 606 * dr + 2048) >> 12));
    out[2] = VekClampByte(y + ((1053 * dr + 2064 * dg + 401 * db + 2048) >> 12));
    out[3] = source[3];
  }
}

void MirrorRow(const uint8_t* source, uint8_t* out, int pixels) {
  for (int x = 0; x < pixels; ++x) {
    const uint8_t* from = source + 4 * (pixels - 1 - x);
    out[4 * x] = from[0], out[4 * x + 1] = from[1], out[4 * x + 2] = from[2], out[4 * x + 3] = from[3];
  }
}

}  // namespace vek
