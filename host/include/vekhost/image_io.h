// Still pictures in and out: PNG (any bit depth and colour type) and JPEG read into ARGB frames,
// ARGB frames written as 8-bit RGBA PNG.
#pragma once

#include <filesystem>

#include "vekhost/frame.h"

namespace vek::host {

// Names ending .png, in any case.
bool IsPngPath(const std::filesystem::path& path);

// True when the file starts as a PNG or a JPEG does; false for other content or no file. Throws
// Error for a file that cannot be read.
bool IsImageFile(const std::filesystem::path& path);

// The picture as 8 bits a sample, opaque where the file has no alpha. PNG samples are taken as
// stored (no gamma conversion); 16-bit samples are scaled to 8 bits. Throws Error naming the file.
Frame ReadImage(const std::filesystem::path& path);

// Throws Error when the file cannot be written.
void WritePng(const Frame& argb, const std::filesystem::path& path);

}  // namespace vek::host
