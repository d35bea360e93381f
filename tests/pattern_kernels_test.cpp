// The vector row kernels of the pattern transitions against their scalar versions, byte for byte,
// on every width up to a few vectors and on every value range that switches a path.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "transitions/kernels.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes RandomBytes(std::size_t count, uint32_t seed) {
  std::mt19937 generator(seed);
  Bytes bytes(count);
  for (uint8_t& byte : bytes) byte = uint8_t(generator());
  return bytes;
}

constexpr int kWidths[] = {1, 2, 3, 4, 5, 7, 8, 9, 16, 17, 31};

TEST(PatternKernels, VectorRowsGiveTheScalarBytes) {
  for (int width : kWidths) {
    SCOPED_TRACE("width " + std::to_string(width));
    const std::size_t bytes = std::size_t(width) * 4;
    const Bytes a = RandomBytes(bytes, 1), b = RandomBytes(bytes, 2), flame = RandomBytes(30 * 4, 3);
    Bytes scalar(bytes), vector(bytes);
    // A map that runs through A, the band and B within the row, in steps of 7.
    std::vector<int32_t> map(width);
    for (int x = 0; x < width; ++x) map[x] = 100 - 7 * x;
    for (int32_t threshold : {-50, 60, 90, 200}) {
      vek::BurnRowScalar(map.data(), a.data(), b.data(), scalar.data(), width, threshold, flame.data());
      vek::BurnRowSse2(map.data(), a.data(), b.data(), vector.data(), width, threshold, flame.data());
      ASSERT_EQ(scalar, vector) << "burn threshold " << threshold;
    }
    for (bool luma : {false, true}) {
      for (int limit : {0, 1, 200, 381, 765, 766}) {
        vek::ThresholdRowScalar(a.data(), a.data(), b.data(), scalar.data(), width, limit, luma);
        vek::ThresholdRowSse2(a.data(), a.data(), b.data(), vector.data(), width, limit, luma);
        ASSERT_EQ(scalar, vector) << "threshold " << limit << " luma " << luma;
      }
    }
    const uint8_t white[3] = {255, 255, 255}, yuvWhite[3] = {128, 128, 235};
    Bytes targets = RandomBytes(256, 4);
    for (int weight : {0, 1, 511, 1023, 1024}) {
      vek::XRayNegativeRowScalar(a.data(), scalar.data(), width, weight);
      vek::XRayNegativeRowSse2(a.data(), vector.data(), width, weight);
      ASSERT_EQ(scalar, vector) << "negative " << weight;
      vek::XRayLumaRowScalar(a.data(), scalar.data(), width, weight, targets.data());
      vek::XRayLumaRowSse2(a.data(), vector.data(), width, weight, targets.data());
      ASSERT_EQ(scalar, vector) << "luma " << weight;
      for (const uint8_t* colour : {white, yuvWhite}) {
        vek::TowardColourRowScalar(a.data(), scalar.data(), width, weight, colour);
        vek::TowardColourRowSse2(a.data(), vector.data(), width, weight, colour);
        ASSERT_EQ(scalar, vector) << "toward colour " << weight;
      }
    }
    for (int shift : {-765, -400, 0, 100, 255}) {
      vek::XRayToneRowScalar(a.data(), scalar.data(), width, shift);
      vek::XRayToneRowSse2(a.data(), vector.data(), width, shift);
      ASSERT_EQ(scalar, vector) << "tone " << shift;
    }
  }
}

TEST(PatternKernels, VectorFallGivesTheScalarFrame) {
  constexpr int kHeight = 12;
  for (int width : {1, 3, 4, 5, 17, 300}) {
    const std::size_t rowBytes = std::size_t(width) * 4;
    const Bytes source = RandomBytes(rowBytes * kHeight, 5);
    for (bool luma : {false, true}) {
      for (int parity : {-1, 0, 1}) {
        for (int64_t fall : {1, 2, 5}) {
          Bytes scalar = RandomBytes(rowBytes * kHeight, 6), vector = scalar;
          for (int y = 0; y < kHeight; ++y) {
            vek::FallRowScalar(source.data() + y * rowBytes, y, scalar.data(), rowBytes, width, kHeight, fall, parity,
                               luma);
            vek::FallRowSse2(source.data() + y * rowBytes, y, vector.data(), rowBytes, width, kHeight, fall, parity,
                             luma);
          }
          ASSERT_EQ(scalar, vector) << "width " << width << " luma " << luma << " parity " << parity << " fall " << fall;
        }
      }
    }
  }
}

}  // namespace
