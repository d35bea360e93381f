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
// Where Avx512KernelsUsable().
void ToneRowAvx512(const uint8_t* source, uint8_t* out, int pixels, const uint8_t* map, int32_t range);

// Every colour byte scaled by gain[max of the three] (16.16), so the brightest byte follows the
// recovery and fill-light curve and the others keep their ratio to it.
void LightRow(const uint8_t* source, uint8_t* out, int pixels, const int32_t* gain);
void LightRowSse41(const uint8_t* source, uint8_t* out, int pixels, const int32_t* gain);

// Tables that Prepare builds once for the chroma stages (see stage_tables.cpp), and one that
// Process fills for the frame's vibrance amount.
struct HueSector {
  int32_t colour1, colour2;  // byte masks (bit k: byte k at the maximum) of the two hexagon corners
  int32_t weight1, weight2;  // their weights in 1/65536, summing to 65536
};
// A hue-sector entry as the chroma kernel uses it: each byte's place between the minimum (0) and
// the maximum (1), and the luma of those places.
struct HueBasis {
  float place[3];
  float luma;
};
constexpr int kDivisionTableSide = 256;  // the two-dimensional tables below are 256 x 256
struct ChromaTables {
  const int16_t* sectorFraction;    // [d * 256 + m], m <= d: m / d of a sector in 1/6000, rounded
  const uint8_t* saturationColumn;  // [max * 256 + d], d <= max: d / max as a byte, over 4
  const float* inverse;             // [d]: 1 / d
  const float* vibranceFactor;      // [hue / 4][saturation / 4], 64 x 64: 1 + amount * weight, not below 0
  const HueBasis* bases;            // 36,000 hue positions, 0.01 degree apart
};

// Vibrance, hue and saturation in one pass, in that order, each skipped when off. The pixel is
// taken apart once into its largest and smallest byte and its place on the colour wheel:
// - vibrance moves both away from (or towards) the luma by the factor of its hue and saturation
//   (amount -1..1), the factor favouring muted colours and sparing skin tones;
// - the hue turns the place by `turn` hundredths of a degree (0..35999);
// - saturation moves both away from the luma of the turned colour by `factor` (0..2).
// A move by more than 1 stops where the first byte would reach 0 or 255, so no byte clips and the
// hue never shifts. The three bytes are rebuilt from their places between the two.
struct ChromaSettings {
  bool vibrance, hue, saturation;
  float amount;
  int32_t turn;
  float factor;
};
void ChromaRow(uint8_t* row, int pixels, const ChromaTables& tables, const ChromaSettings& settings);
void ChromaRowSse41(uint8_t* row, int pixels, const ChromaTables& tables, const ChromaSettings& settings);

// The chroma tables' entries from the kernels' own arithmetic, so that a looked-up value is the
// one the per-pixel steps gave.
void BuildHueBases(const HueSector* sectors, int count, HueBasis* bases) noexcept;
void BuildVibranceFactors(const int32_t* weights, float amount, float* factors) noexcept;

// Luma for the sharpening: (77 R + 150 G + 29 B + 128) >> 8, one byte a pixel.
void LumaRow(const uint8_t* row, uint8_t* luma, int pixels);
void LumaRowSse41(const uint8_t* row, uint8_t* luma, int pixels);
// Byte 2 (the luma of the luma/chroma layout) of each pixel.
void LumaOfYuvRow(const uint8_t* row, uint8_t* luma, int pixels);

// Luma/chroma pixels (V, U, Y, alpha) to RGB bytes (B, G, R, alpha), clamped.
void YuvToRgbRow(const uint8_t* source, uint8_t* rgb, int pixels);
void YuvToRgbRowSse41(const uint8_t* source, uint8_t* rgb, int pixels);
// Carries the change from `before` to `after` (RGB) back onto the luma/chroma source pixels, so a
// pixel the stages left alone keeps its exact bytes.
void AddRgbChangeToYuvRow(const uint8_t* source, const uint8_t* before, const uint8_t* after, uint8_t* out, int pixels);
void AddRgbChangeToYuvRowSse41(const uint8_t* source, const uint8_t* before, const uint8_t* after, uint8_t* out,
                               int pixels);

// Sharpening keeps changes where the luma varies by more than the threshold: the coring factor for
// |laplacian| a is 0 up to it and ((a - threshold) * 65536) / a above.
constexpr int kCoringThreshold = 4;
constexpr int kCoringEntries = 1021;  // |4 y - four neighbours| is at most 1020

// Sharpening of columns [x0, x1) of one row. up, centre and down are luma rows; the 3 x 3 kernel
// (16.16, centre and the four edge taps; corners are 0) gives the sharpened luma, whose change is
// cored (coring[|laplacian|], 16.16) and held to the local luma range (peaks may pass it a little)
// before it is added to the RGB bytes (rgb true) or to byte 2 alone (luma/chroma).
struct SharpenKernel {
  int64_t centre;
  int64_t edge;
  const int32_t* coring;  // kCoringEntries factors in 16.16
  bool rgb;
};
void SharpenRow(const uint8_t* up, const uint8_t* centre, const uint8_t* down, const uint8_t* pixels, uint8_t* out,
                int width, int x0, int x1, const SharpenKernel& kernel);
void SharpenRowSse41(const uint8_t* up, const uint8_t* centre, const uint8_t* down, const uint8_t* pixels, uint8_t* out,
                     int width, int x0, int x1, const SharpenKernel& kernel);

}  // namespace vek::colour
