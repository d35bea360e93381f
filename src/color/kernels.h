// Row kernels of the colour adjustment: bytes, a pixel count and tables in, one row out (in place
// where source and output are the same row). Pixels are 4 bytes; the RGB kernels read byte 0 as
// blue, 1 as green, 2 as red, and never write byte 3. Kernels are defined out of line in
// kernels.cpp, so no copy compiled in the -mssse3 or -msse4.1 file can stand in for the scalar one.
#pragma once

#include <cstdint>

namespace vek::colour {

// The tone map applied so that the pixel keeps its hue: the largest and smallest byte go through
// the map, the middle one keeps its place between them. `range` is the top of the input scale.
void ToneRow(const uint8_t* source, uint8_t* out, int pixels, const uint8_t* map, int32_t range);
void ToneRowSsse3(const uint8_t* source, uint8_t* out, int pixels, const uint8_t* map, int32_t range);

// Every colour byte scaled by gain[max of the three] (16.16), so the brightest byte follows the
// recovery and fill-light curve and the others keep their ratio to it.
void LightRow(const uint8_t* source, uint8_t* out, int pixels, const int32_t* gain);

// Tables that Prepare builds once for the chroma stages (see stage_tables.cpp).
struct HueSector {
  int32_t colour1, colour2;  // byte masks (bit k: byte k at the maximum) of the two hexagon corners
  int32_t weight1, weight2;  // their weights in 1/65536, summing to 65536
};
struct ChromaTables {
  const int32_t* fractionScale;    // [d]: 6000 * 65536 / d, so m * it >> 16 is m / d of a sector in 1/6000
  const int32_t* saturationScale;  // [max]: 255 * 65536 / max, so d * it >> 16 is d / max as a byte
  const float* inverse;            // [d]: 1 / d
  const int32_t* vibranceWeight;   // [hue / 4][saturation / 4], 64 x 64: how strongly vibrance acts, 1/65536
  const HueSector* sectors;        // 36,000 hue positions, 0.01 degree apart
};

// Vibrance, hue and saturation in one pass, in that order, each skipped when off. The pixel is
// taken apart once into its largest and smallest byte and its place on the colour wheel:
// - vibrance moves both away from (or towards) the luma by 1 + amount * weight (amount -1..1), the
//   weight favouring muted colours and sparing skin tones;
// - the hue turns the place by `turn` hundredths of a degree (0..35999);
// - saturation moves both away from the luma of the turned colour by `factor` (0..2).
// A move by more than 1 stops where the first byte would reach 0 or 255, so no byte clips and the
// hue never shifts. The three bytes are rebuilt from the hexagon corners of the hue-sector table.
struct ChromaSettings {
  bool vibrance, hue, saturation;
  float amount;
  int32_t turn;
  float factor;
};
void ChromaRow(uint8_t* row, int pixels, const ChromaTables& tables, const ChromaSettings& settings);
void ChromaRowSse41(uint8_t* row, int pixels, const ChromaTables& tables, const ChromaSettings& settings);

// Luma for the sharpening: (77 R + 150 G + 29 B + 128) >> 8, one byte a pixel.
void LumaRow(const uint8_t* row, uint8_t* luma, int pixels);
// Byte 2 (the luma of the luma/chroma layout) of each pixel.
void LumaOfYuvRow(const uint8_t* row, uint8_t* luma, int pixels);

// Luma/chroma pixels (V, U, Y, alpha) to RGB bytes (B, G, R, alpha), clamped.
void YuvToRgbRow(const uint8_t* source, uint8_t* rgb, int pixels);
// Carries the change from `before` to `after` (RGB) back onto the luma/chroma source pixels, so a
// pixel the stages left alone keeps its exact bytes.
void AddRgbChangeToYuvRow(const uint8_t* source, const uint8_t* before, const uint8_t* after, uint8_t* out,
                          int pixels);

// Sharpening of columns [x0, x1) of one row. up, centre and down are luma rows; the 3 x 3 kernel
// (16.16, centre and the four edge taps; corners are 0) gives the sharpened luma, whose change is
// cored (coring[|laplacian|], 16.16) and held to the local luma range (peaks may pass it a little)
// before it is added to the RGB bytes (rgb true) or to byte 2 alone (luma/chroma).
struct SharpenKernel {
  int64_t centre;
  int64_t edge;
  const int32_t* coring;  // 1021 entries
  bool rgb;
};
void SharpenRow(const uint8_t* up, const uint8_t* centre, const uint8_t* down, const uint8_t* pixels, uint8_t* out,
                int width, int x0, int x1, const SharpenKernel& kernel);
void SharpenRowSse41(const uint8_t* up, const uint8_t* centre, const uint8_t* down, const uint8_t* pixels,
                     uint8_t* out, int width, int x0, int x1, const SharpenKernel& kernel);

}  // namespace vek::colour
