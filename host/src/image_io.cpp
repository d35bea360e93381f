#include "vekhost/image_io.h"

#include <cstring>
#include <fstream>
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

Frame ReadImage(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) throw Error("no such file: " + path.string());
  const std::vector<uint8_t> bytes = ReadBytes(path, std::size_t(-1));
  if (StartsWith(bytes, kPngSignature)) return DecodePng(path, bytes);
  if (StartsWith(bytes, kJpegSignature)) return DecodeJpeg(path, bytes);
  throw Error(path.string() + " is neither a PNG nor a JPEG file");
}

void WritePng(const Frame& argb, const std::filesystem::path& path) {
  if (argb.width <= 0 || argb.height <= 0 || argb.bytes.size() != argb.RowBytes() * std::size_t(argb.height)) {
    throw Error("cannot write " + path.string() + ": the frame has no pixels");
  }
  const std::vector<uint8_t> encoded = EncodePng(argb, path);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file.write(reinterpret_cast<const char*>(encoded.data()), std::streamsize(encoded.size())) || !file.flush()) {
    throw Error("cannot write " + path.string());
  }
}

}  // namespace vek::host
