// The burn: its fire-front map against the diamond-square rules worked out here, its frames, driven
// through the reference host, against that map, and its vector row against the scalar one.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <random>
#include <vector>

#include "allocation_failures.h"
#include "pattern_run.h"
#include "transitions/burn.h"
#include "transitions/kernels.h"
#include "vek_dsp/colour.h"

namespace {

using vek::test::Frame;
using vek::test::kUntouched;
using vek::test::RecordSetup;
using vek::test::TransitionRun;

struct Map {
  int width = 0, height = 0;
  std::vector<int32_t> values;  // pixel (x, y) at y * width + x
  int32_t maximum = -4096, minimum = 4096;
  int32_t At(int x, int y) const { return values[std::size_t(y) * width + x]; }
};

// Diamond-square as the burn describes it: a wrapping grid of a power-of-two side, level by level,
// cells row by row, three draws a cell (centre, lower edge, right edge); pixel (x, y) reads grid
// row x, column y.
Map ExpectedMap(int width, int height, uint32_t seed) {
  int side = 1;
  while (side < std::max(width, height)) side *= 2;
  std::vector<int32_t> grid(std::size_t(side) * side, 0);
  auto cell = [&](int row, int column) -> int32_t& { return grid[std::size_t(row % side) * side + column % side]; };
  std::srand(seed);
  for (int step = side; step > 1; step /= 2) {
    const int amplitude = int(float(step) * 0.6f + 8.0f), half = step / 2;
    for (int y = 0; y < side; y += step) {
      for (int x = 0; x < side; x += step) {
        const int top = cell(y, x) + cell(y, x + step), bottom = cell(y + step, x) + cell(y + step, x + step);
        const int right = cell(y, x + step) + cell(y + step, x + step);
        cell(y + half, x + half) = std::rand() % amplitude + (top + bottom) / 4 - amplitude / 2;
        cell(y + step, x + half) = std::rand() % amplitude + bottom / 2 - amplitude / 2;
        cell(y + half, x + step) = std::rand() % amplitude + right / 2 - amplitude / 2;
      }
    }
  }
  Map map{width, height, {}};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      map.values.push_back(cell(x, y));
      map.maximum = std::max(map.maximum, cell(x, y));
      map.minimum = std::min(map.minimum, cell(x, y));
    }
  }
  return map;
}

// The band's colour number i: green 105 rising by 10 to 245, then falling back by 10.
std::array<uint8_t, 3> FlameColour(int i, bool lumaChroma) {
  const uint8_t green = uint8_t(i < 15 ? 105 + 10 * i : 245 - 10 * (i - 15));
  if (!lumaChroma) return {0, green, 255};
  const VekYuv yuv = VekRgbToYuv(255, green, 0);
  return {yuv.v, yuv.u, yuv.y};
}

int Threshold(const Map& map, float progress) {
  return int(float(map.maximum - map.minimum + 30) * progress) + map.minimum;
}

Frame ExpectedBurn(const Map& map, const Frame& a, const Frame& b, float progress, bool lumaChroma) {
  const int threshold = Threshold(map, progress);
  Frame out = a;
  for (int y = 0; y < a.height; ++y) {
    for (int x = 0; x < a.width; ++x) {
      const int m = map.At(x, y);
      const std::size_t at = (std::size_t(y) * a.width + x) * 4;
      if (m >= threshold) continue;
      if (m < threshold - 30) {
        std::copy_n(b.bytes.begin() + at, 4, out.bytes.begin() + at);
        continue;
      }
      const auto colour = FlameColour(m - threshold + 30, lumaChroma);
      std::copy(colour.begin(), colour.end(), out.bytes.begin() + at);
      out.bytes[at + 3] = a.bytes[at + 3] || b.bytes[at + 3] ? 255 : 0;
    }
  }
  return out;
}

// Random frames whose alpha is 0 in A on even columns and in B on even rows, so the band meets
// all four alpha pairs.
std::pair<Frame, Frame> Sources(int width, int height) {
  Frame a = Frame::Random(width, height, 21), b = Frame::Random(width, height, 22);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      a.Pixel(x, y)[3] = x % 2 ? uint8_t(1 + x) : 0;
      b.Pixel(x, y)[3] = y % 2 ? uint8_t(1 + y) : 0;
    }
  }
  return {a, b};
}

TEST(BurnMap, FollowsTheDiamondSquareRulesOnOddSizesAndFailsWithoutMemory) {
  for (auto [width, height] : {std::pair{1, 1}, {2, 2}, {3, 5}, {37, 23}, {64, 17}, {5, 70}}) {
    SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
    const Map expected = ExpectedMap(width, height, 77);
    std::srand(77);
    int32_t maximum = -4096, minimum = 4096;
    vek::BurnMap* map = vek::BuildBurnMap(uint32_t(width), uint32_t(height), 0.6f, 8.0f, maximum, minimum);
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(std::vector<int32_t>(map->Values(), map->Values() + expected.values.size()), expected.values);
    EXPECT_EQ(maximum, expected.maximum);
    EXPECT_EQ(minimum, expected.minimum);
    vek::FreeBurnMap(map);
  }
  int32_t maximum = -4096, minimum = 4096;
  EXPECT_EQ(vek::BuildBurnMap(1u << 20, 1u << 20, 0.6f, 8.0f, maximum, minimum), nullptr) << "no memory holds it";
  EXPECT_EQ(vek::BuildBurnMap(1u << 30, 1, 0.6f, 8.0f, maximum, minimum), nullptr);
}

// Rows wider than a span, so that whole spans are copied beside spans the front crosses; each
// field writes its rows of the frame and leaves the others alone.
TEST(Burn, FramesAndFieldsFollowTheFrontOfTheSeed) {
  constexpr int kWidth = 150, kHeight = 31;
  auto [a, b] = Sources(kWidth, kHeight);
  const Map map = ExpectedMap(kWidth, kHeight, 1234);
  ASSERT_GT(std::count_if(map.values.begin(), map.values.end(),
                          [&](int32_t m) { return m < Threshold(map, 0.5f) && m >= Threshold(map, 0.5f) - 30; }),
            20)
      << "the band must be seen for the colours to be checked";
  for (int layout : {0, 1}) {
    for (int field : {0, 1, 2}) {
      TransitionRun run("DSP_TR_Burn", kWidth, kHeight, RecordSetup{layout, field});
      run.Prepare();
      for (float progress : {0.0f, 0.2f, 0.5f, 0.77f, 1.0f}) {
        SCOPED_TRACE("layout " + std::to_string(layout) + " field " + std::to_string(field) + " progress " +
                     std::to_string(progress));
        const Frame out = run.Render(a, b, progress), expected = ExpectedBurn(map, a, b, progress, layout == 1);
        for (int y = 0; y < kHeight; ++y) {
          const bool visited = field == 0 || y % 2 == field - 1;
          EXPECT_TRUE(visited ? out.RowEquals(y, expected) : out.RowIsAll(y, kUntouched)) << "row " << y;
        }
      }
      EXPECT_NE(run.Render(a, b, 1.0f).bytes, b.bytes) << "the pixels at the maximum still show flame colour 0";
    }
  }
}

TEST(Burn, OneSeedGivesOnePatternWhateverTheGeneratorDidBefore) {
  auto [a, b] = Sources(40, 30);
  TransitionRun first("DSP_TR_Burn", 40, 30, RecordSetup{0, 0, 7});
  const Frame reference = first.RenderOnce(a, b, 0.5f);
  std::srand(99);
  for (int i = 0; i < 1000; ++i) std::rand();
  TransitionRun again("DSP_TR_Burn", 40, 30, RecordSetup{0, 0, 7}), other("DSP_TR_Burn", 40, 30, RecordSetup{0, 0, 8});
  EXPECT_EQ(again.RenderOnce(a, b, 0.5f).bytes, reference.bytes);
  EXPECT_NE(other.RenderOnce(a, b, 0.5f).bytes, reference.bytes);
  std::srand(1);
  EXPECT_EQ(first.Render(a, b, 0.5f).bytes, reference.bytes) << "Process draws nothing";
}

// Smooth random rows with a little noise, so that spans lie wholly on either side of the front or
// are crossed by it, in every combination, and the row ends in a part span.
TEST(BurnKernels, VectorRowGivesTheScalarBytesWithPlainAndStreamingStores) {
  std::mt19937 generator(5);
  uint8_t flame[vek::kBurnBand][4];
  for (auto& colour : flame) {
    for (uint8_t& byte : colour) byte = uint8_t(generator());
  }
  for (int pixels : {1, 3, 4, 63, 64, 65, 130, 257}) {
    const Frame a = Frame::Random(pixels, 1, 31), b = Frame::Random(pixels, 1, 32);
    std::vector<int32_t> map(pixels);
    int32_t value = 0;
    for (int32_t& m : map) m = value += int32_t(generator() % 7) - 3;
    std::vector<int32_t> bounds(2 * vek::BurnSpans(std::size_t(pixels)));
    vek::BurnSpanBounds(map.data(), pixels, bounds.data());
    for (int32_t threshold = *std::min_element(map.begin(), map.end()) - 31;
         threshold <= *std::max_element(map.begin(), map.end()) + 31; ++threshold) {
      Frame scalar = Frame::Filled(pixels, 1, kUntouched);
      vek::BurnRowScalar(map.data(), a.Row(0), b.Row(0), scalar.Data(), pixels, threshold, &flame[0][0]);
      for (vek::CopyPixelsFn copy : {vek::CopyPixels, vek::StreamPixelsSse2}) {
        Frame vector = Frame::Filled(pixels, 1, kUntouched);
        vek::BurnRowSse2(map.data(), bounds.data(), a.Row(0), b.Row(0), vector.Data(), pixels, threshold,
                         &flame[0][0], copy, 0);
        vek::StreamFenceSse2();
        ASSERT_EQ(vector.bytes, scalar.bytes) << pixels << " pixels, threshold " << threshold;
      }
    }
  }
}

}  // namespace
