// Frames for tests: filled, seeded random, and compared byte by byte.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace vek::test {

struct Frame {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> bytes;

  static Frame Filled(int width, int height, uint8_t value) {
    return {width, height, std::vector<uint8_t>(std::size_t(width) * height * 4, value)};
  }
  static Frame Random(int width, int height, uint32_t seed) {
    Frame frame = Filled(width, height, 0);
    std::mt19937 generator(seed);
    for (uint8_t& byte : frame.bytes) byte = uint8_t(generator());
    return frame;
  }
  uint8_t* Data() { return bytes.data(); }
  uint8_t* Pixel(int x, int y) { return bytes.data() + (std::size_t(y) * width + x) * 4; }
  const uint8_t* Row(int y) const { return bytes.data() + std::size_t(y) * width * 4; }
  bool RowEquals(int y, const Frame& other) const {
    return std::equal(Row(y), Row(y) + width * 4, other.Row(y));
  }
  bool RowIsAll(int y, uint8_t value) const {
    return std::all_of(Row(y), Row(y) + width * 4, [value](uint8_t b) { return b == value; });
  }
};

inline const uint8_t* At(const Frame& frame, int x, int y) { return frame.Row(y) + std::size_t(x) * 4; }

inline bool AllBytesAre(const Frame& frame, uint8_t value) {
  return std::all_of(frame.bytes.begin(), frame.bytes.end(), [value](uint8_t b) { return b == value; });
}

}  // namespace vek::test
