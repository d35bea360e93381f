// Still pictures in and out: PNG (any bit depth and colour type) and JPEG read into ARGB frames,
// ARGB frames written as 8-bit RGBA PNG.
#pragma once

#include <cstdint>
#include <filesystem>

#include "vekhost/frame.h"

namespace vek::host {

// Names ending .png, in any case.
bool IsPngPath(const std::filesystem::path& path);

// True when the file starts as a PNG or a JPEG does; false for other content or no file. Throws
// Error for a file that cannot be read.
bool IsImageFile(const std::filesystem::path& path);

// The shape of a pixel where it is shown: its width over its height, in lowest terms (4:3 for
// 1440x1080 HDV shown at 1920x1080).
struct PixelAspect {
  uint32_t width = 1;
  uint32_t height = 1;

  // Lowest terms; a shape further from square than 1:16 is taken as a mistake of the file's and
  // read as square, as is a zero term.
  static PixelAspect Of(uint64_t width, uint64_t height);
  bool Square() const { return width == height; }
  double Ratio() const { return double(width) / double(height); }
};

// A picture and the shape of its pixels as the file gives them.
struct Still {
  Frame frame;
  PixelAspect pixelAspect;
};

// The picture as 8 bits a sample, opaque where the file has no alpha. PNG samples are taken as
// stored (no gamma conversion); 16-bit samples are scaled to 8 bits. The pixels' shape is a PNG's
// pHYs chunk or a JPEG's JFIF density, in any unit; square when the file gives none. Throws Error
// naming the file.
Still ReadStill(const std::filesystem::path& path);
// The same picture without its pixels' shape.
Frame ReadImage(const std::filesystem::path& path);

// Pixels that are not square are marked with a pHYs chunk without a unit. Throws Error when the
// file cannot be written.
void WritePng(const Frame& argb, const std::filesystem::path& path, PixelAspect pixelAspect = {});

}  // namespace vek::host
