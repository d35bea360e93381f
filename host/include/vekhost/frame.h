// Frames as the plug-in takes them: 4 bytes a pixel, rows top first without padding. In the ARGB
// layout the bytes are blue, green, red, alpha; in the luma/chroma (AYUV) layout V, U, Y, alpha.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vek::host {

// The largest width or height the host reads or makes.
inline constexpr int kMaxFrameSide = 16384;

struct Frame {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> bytes;

  Frame() = default;
  // Every pixel set to the four bytes given.
  Frame(int width, int height, std::array<uint8_t, 4> pixel = {0, 0, 0, 0});

  std::size_t RowBytes() const { return std::size_t(width) * 4; }
  uint8_t* Pixel(int x, int y) { return bytes.data() + std::size_t(y) * RowBytes() + std::size_t(x) * 4; }
  const uint8_t* Pixel(int x, int y) const { return bytes.data() + std::size_t(y) * RowBytes() + std::size_t(x) * 4; }
  bool SameSize(const Frame& other) const { return width == other.width && height == other.height; }
};

// "640x360", as sizes are written in messages and on the command line.
std::string SizeText(int width, int height);

// Black and fully transparent in each layout: what a host clears an output frame to.
inline constexpr std::array<uint8_t, 4> kArgbBlack = {0, 0, 0, 0};
inline constexpr std::array<uint8_t, 4> kAyuvBlack = {128, 128, 16, 0};

// Through VekRgbToYuv and VekYuvToRgb (include/vek_dsp/colour.h); alpha is carried unchanged.
Frame ArgbToAyuv(const Frame& argb);
Frame AyuvToArgb(const Frame& ayuv);

// Bilinear resampling of all four bytes, pixel centres mapped onto pixel centres.
Frame Resized(const Frame& frame, int width, int height);
// The same for an interlaced frame: each field, rows 0, 2, 4 ... and rows 1, 3, 5 ..., is resampled
// on its own into that field of the result, so that the two moments it holds do not mix.
Frame ResizedFields(const Frame& frame, int width, int height);

}  // namespace vek::host
