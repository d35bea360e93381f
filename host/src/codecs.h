// The PNG and JPEG codecs behind image_io.h: libpng and libjpeg-turbo (codecs.cpp), or, in a build
// without them, functions that say so (codecs_unavailable.cpp). Errors are thrown as Error.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "vekhost/frame.h"
#include "vekhost/image_io.h"

namespace vek::host {

// The file's bytes, already known to start as a PNG or a JPEG; the path is for messages.
Still DecodePng(const std::filesystem::path& path, const std::vector<uint8_t>& bytes);
Still DecodeJpeg(const std::filesystem::path& path, const std::vector<uint8_t>& bytes);
// An 8-bit RGBA PNG of a frame with pixels, with a pHYs chunk for pixels that are not square.
std::vector<uint8_t> EncodePng(const Frame& argb, PixelAspect pixelAspect, const std::filesystem::path& path);

}  // namespace vek::host
