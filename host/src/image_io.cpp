#include "vekhost/image_io.h"

#include <cstring>
#include <fstream>
#include <numeric>
#include <string>
#include <vector>

#include "codecs.h"
#include "text.h"
#include "vekhost/error.h"

namespace vek::host {
namespace {

constexpr uint8_t kPngSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr uint8_t kJpegSignature[] = {0xFF, 0xD8, 0xFF};

template <std::size_t N>
bool StartsWith(const std::vector<uint8_t>& bytes, const uint8_t (&signature)[N]) {
  return bytes.size() >= N && std::memcmp(bytes.data(), signature, N) == 0;
}

std::vector<uint8_t> ReadBytes(const std::filesystem::path& path, std::size_t limit) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Error("cannot read " + path.string());
  std::vector<uint8_t> bytes;
  char buffer[1 << 16];
  while (bytes.size() < limit && file.read(buffer, std::streamsize(sizeof buffer)).gcount() > 0) {
    bytes.insert(bytes.end(), buffer, buffer + file.gcount());
  }
  if (bytes.size() > limit) bytes.resize(limit);
  return bytes;
}

}  // namespace

bool IsPngPath(const std::filesystem::path& path) {
  return Lower(path.extension().string()) == ".png";
}

bool IsImageFile(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return false;
  const std::vector<uint8_t> head = ReadBytes(path, sizeof kPngSignature);
  return StartsWith(head, kPngSignature) || StartsWith(head, kJpegSignature);
}

PixelAspect PixelAspect::Of(uint64_t width, uint64_t height) {
  if (width == 0 || height == 0 || width > 16 * height || height > 16 * width) return {};
  const uint64_t common = std::gcd(width, height);
  return {uint32_t(width / common), uint32_t(height / common)};
}

Still ReadStill(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) throw Error("no such file: " + path.string());
  const std::vector<uint8_t> bytes = ReadBytes(path, std::size_t(-1));
  if (StartsWith(bytes, kPngSignature)) return DecodePng(path, bytes);
  if (StartsWith(bytes, kJpegSignature)) return DecodeJpeg(path, bytes);
  throw Error(path.string() + " is neither a PNG nor a JPEG file");
}

Frame ReadImage(const std::filesystem::path& path) {
  return ReadStill(path).frame;
}

void WritePng(const Frame& argb, const std::filesystem::path& path, PixelAspect pixelAspect) {
  if (argb.width <= 0 || argb.height <= 0 || argb.bytes.size() != argb.RowBytes() * std::size_t(argb.height)) {
    throw Error("cannot write " + path.string() + ": the frame has no pixels");
  }
  const std::vector<uint8_t> encoded = EncodePng(argb, pixelAspect, path);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file.write(reinterpret_cast<const char*>(encoded.data()), std::streamsize(encoded.size())) || !file.flush()) {
    throw Error("cannot write " + path.string());
  }
}

}  // namespace vek::host
