// A build without libsndfile (a cross build that lacks it) reads and writes no audio files and
// says so; mixing audio in memory works.
#include "vekhost/audio.h"
#include "vekhost/error.h"

namespace vek::host {
namespace {

[[noreturn]] void Unavailable(const std::filesystem::path& path) {
  throw Error("cannot read or write " + path.string() + ": this build has no libsndfile");
}

}  // namespace

Audio ReadWav(const std::filesystem::path& path) {
  Unavailable(path);
}

void WriteWav(const Audio&, const std::filesystem::path& path) {
  Unavailable(path);
}

}  // namespace vek::host
