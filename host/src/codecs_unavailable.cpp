// A build without libpng and libjpeg-turbo (a cross build that lacks them) reads and writes no
// picture files and says so; everything else of the host works.
#include "codecs.h"

#include "vekhost/error.h"

namespace vek::host {
namespace {

[[noreturn]] void Unavailable(const std::filesystem::path& path) {
  throw Error("cannot read or write " + path.string() + ": this build has no libpng and libjpeg-turbo");
}

}  // namespace

Still DecodePng(const std::filesystem::path& path, const std::vector<uint8_t>&) {
  Unavailable(path);
}

Still DecodeJpeg(const std::filesystem::path& path, const std::vector<uint8_t>&) {
  Unavailable(path);
}

std::vector<uint8_t> EncodePng(const Frame&, PixelAspect, const std::filesystem::path& path) {
  Unavailable(path);
}

}  // namespace vek::host
