/* The integer transforms between RGB and the luma/chroma layout (studio range). Effects use the
 * forward one for their colour constants; hosts use both to convert frames in and out. */
#ifndef VEK_DSP_COLOUR_H
#define VEK_DSP_COLOUR_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct VekYuv {
  uint8_t y, u, v;
} VekYuv;

typedef struct VekRgb {
  uint8_t r, g, b;
} VekRgb;

/* RGB to luma/chroma, rounded: black is (16, 128, 128), white (235, 128, 128). */
static inline VekYuv VekRgbToYuv(uint8_t r, uint8_t g, uint8_t b) {
  VekYuv yuv;
  yuv.y = (uint8_t)((1053 * r + 2064 * g + 401 * b + 0x10800) >> 12);
  yuv.u = (uint8_t)((1798 * b - 1192 * g - 606 * r + 0x80800) >> 12);
  yuv.v = (uint8_t)((1798 * r - 1507 * g - 291 * b + 0x80800) >> 12);
  return yuv;
}

static inline uint8_t VekClampByte(int32_t value) {
  return (uint8_t)(value < 0 ? 0 : value > 255 ? 255 : value);
}

/* Luma/chroma back to RGB, clamped to 0..255. */
static inline VekRgb VekYuvToRgb(uint8_t y, uint8_t u, uint8_t v) {
  VekRgb rgb;
  rgb.r = VekClampByte((4768 * y + 6537 * v - 910976) >> 12);
  rgb.g = VekClampByte((4768 * y - 1602 * u - 3330 * v + 0x88000) >> 12);
  rgb.b = VekClampByte((4768 * y + 8266 * u - 1132288) >> 12);
  return rgb;
}

#ifdef __cplusplus
}
#endif

#endif
