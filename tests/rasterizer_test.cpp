// The rasterizer driven directly: its ways of drawing the same queued fills must give the same bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "render/rasterizer.h"
#include "render/texture_manager.h"

namespace {

using namespace vek::render;

constexpr int kWidth = 101, kHeight = 150;

// Projection box +-1 at depth 1: row 0 looks up along y = depth.
void InitPerspective(RasterizerGen& raster, int width, int height, uint32_t* colour) {
  raster.Init(1, float(width), float(height), -1, 1, -1, 1, 1, 100, colour);
}

// A square of half-size `half` centred at (x, y, depth), turned about the view axis, then tilted
// about its horizontal axis; texture 0..sMax across, 0..1 down.
void QueueQuad(RasterizerGen& raster, const TextureRecord* texture, float x, float y, float depth, float half,
               float turn, float tilt, float sMax) {
  RasterVertex corners[4];
  const float spots[4][2] = {{-1, 1}, {1, 1}, {1, -1}, {-1, -1}};
  for (int k = 0; k < 4; ++k) {
    const float cx = spots[k][0] * half, cy = spots[k][1] * half;
    const float rx = cx * std::cos(turn) - cy * std::sin(turn), ry = cx * std::sin(turn) + cy * std::cos(turn);
    // One normal for every corner, so that a light lights the square as one.
    corners[k] = {x + rx, y + ry * std::cos(tilt), depth + ry * std::sin(tilt), 0.3f, -0.2f, -1, 0, 0};
    corners[k].s = (spots[k][0] + 1) / 2 * sMax, corners[k].t = (1 - spots[k][1]) / 2;
  }
  const uint8_t opaque[4] = {255, 255, 255, 255};
  for (int k : {1, 2}) {
    if (raster.SetUp(0, corners[0], corners[k], corners[k + 1], opaque)) raster.FillTextured(texture, kSampleBilinear);
  }
}

void QueueTriangle(RasterizerGen& raster, float x0, float y0, float x1, float y1, float x2, float y2,
                   const uint8_t colour[4]) {
  const RasterVertex a{x0, y0, 2, 0, 0, -1, 0, 0}, b{x1, y1, 2, 0, 0, -1, 0, 0}, c{x2, y2, 2, 0, 0, -1, 0, 0};
  if (raster.SetUp(0, a, b, c, colour)) raster.FillUntextured(0);
}

std::vector<uint32_t> RandomTexels(std::size_t count, uint32_t seed) {
  std::vector<uint32_t> texels(count);
  std::mt19937 generator(seed);
  for (uint32_t& t : texels) t = generator();
  return texels;
}

// Where two images of one width first differ, as "column,row", or "none".
std::string FirstDifference(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b, int width) {
  const auto at = std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin();
  return at == std::ptrdiff_t(a.size()) && a.size() == b.size()
             ? "none"
             : std::to_string(at % width) + "," + std::to_string(at / width);
}

// Different in every pixel, so that a row or column drawn out of place shows.
uint32_t Background(int x, int y) {
  return uint32_t(x * 7919 + y * 104729) * 2654435761u;
}

// The hooks' side: each run gets the background, and its rows are copied into a full image.
struct RunCopy {
  static void Before(void*, int y0, int y1, const RasterizerGen::RowCoverage*, uint32_t* image) {
    for (int y = y0; y < y1; ++y)
      for (int x = 0; x < kWidth; ++x) image[std::size_t(y - y0) * kWidth + x] = Background(x, y);
  }
  static void After(void* context, int y0, int y1, const RasterizerGen::RowCoverage* rows, const uint32_t* image) {
    RunCopy& copy = *static_cast<RunCopy*>(context);
    for (int y = y0; y < y1; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const uint32_t pixel = image[std::size_t(y - y0) * kWidth + x];
        copy.image[std::size_t(y) * kWidth + x] = pixel;
        const bool covered = x >= rows[y - y0].from && x <= rows[y - y0].to;
        copy.changedOutsideCoverage += !covered && pixel != Background(x, y);
      }
    }
  }
  std::vector<uint32_t> image = std::vector<uint32_t>(std::size_t(kWidth) * kHeight, 0xDEADBEEFu);
  int changedOutsideCoverage = 0;
};

TEST(Rasterizer, RunsDrawnBetweenHooksMatchTheDirectDrawing) {
  const std::vector<uint32_t> picture = RandomTexels(33 * 21, 3);
  TextureManager store;
  const TextureRecord* texture = store.CreateTexture(picture.data(), 33, 21);
  // The last rows stay empty, so that the runs there are reached only because every run is visited.
  // The second square lies almost on its side, so the workers also share the making of a turned copy.
  auto queueFills = [&](RasterizerGen& raster) {
    const uint8_t glass[4] = {200, 40, 90, 128}, solid[4] = {10, 220, 30, 255};
    QueueTriangle(raster, -0.9f, 1.8f, 1.6f, 1.9f, 0.2f, 1.5f, glass);  // in the top rows only
    QueueQuad(raster, texture, 0.1f, 0.2f, 3, 1.2f, 0.5f, 0.7f, 1);
    QueueQuad(raster, texture, -0.2f, -0.5f, 3, 0.8f, 1.5f, 0.2f, 1);
    QueueTriangle(raster, -1.5f, -0.2f, 0.4f, 0.6f, 0.9f, -0.8f, solid);
  };
  std::vector<uint32_t> direct(std::size_t(kWidth) * kHeight);
  RunCopy::Before(nullptr, 0, kHeight, nullptr, direct.data());
  RasterizerGen directRaster;
  InitPerspective(directRaster, kWidth, kHeight, direct.data());
  queueFills(directRaster);
  directRaster.Execute();
  for (int workers : {1, 2, 3}) {
    for (int runRows : {2, 16, 64}) {
      RunCopy copy;
      std::vector<uint32_t> untouched(std::size_t(kWidth) * kHeight, 0);
      RasterizerGen raster;
      InitPerspective(raster, kWidth, kHeight, untouched.data());
      raster.SetWorkers(workers);
      raster.Hold(true);
      queueFills(raster);
      ASSERT_TRUE(raster.ExecuteInRuns(runRows, {&copy, &RunCopy::Before, &RunCopy::After}));
      EXPECT_EQ(FirstDifference(copy.image, direct, kWidth), "none") << workers << " workers, runs of " << runRows;
      EXPECT_EQ(copy.changedOutsideCoverage, 0) << workers << " workers, runs of " << runRows;
      EXPECT_TRUE(std::all_of(untouched.begin(), untouched.end(), [](uint32_t p) { return p == 0; }));
    }
  }
}

// Textures up to 32767 texels across go through a loop that samples four pixels at once, wider ones
// pixel by pixel. The wide texture repeats the picture across, and texture coordinates scaled by a
// power of two stay exact, so they reach the same texels with the same weights. Turned almost on its
// side, the picture is walked down its columns, which the loop reads from a turned copy.
TEST(Rasterizer, FourPixelBilinearLoopMatchesThePixelByPixelPath) {
  constexpr int kPictureWidth = 151, kPictureHeight = 29, kRepeats = 256, kCanvas = 256;
  const std::vector<uint32_t> picture = RandomTexels(kPictureWidth * kPictureHeight, 11);
  std::vector<uint32_t> wide(std::size_t(kPictureWidth) * kRepeats * kPictureHeight);
  for (std::size_t k = 0; k < wide.size(); ++k)
    wide[k] = picture[k / (kPictureWidth * kRepeats) * kPictureWidth + k % kPictureWidth];
  TextureManager store;
  const TextureRecord* narrow = store.CreateTexture(picture.data(), kPictureWidth, kPictureHeight);
  const TextureRecord* repeated = store.CreateTexture(wide.data(), kPictureWidth * kRepeats, kPictureHeight);
  for (const float turn : {0.45f, 1.5f}) {
    for (int layout : {kLayoutArgb, kLayoutAyuv}) {
      for (bool lit : {false, true}) {
        auto draw = [&](const TextureRecord* texture, float sMax) {
          std::vector<uint32_t> colour(kCanvas * kCanvas, 0);
          RasterizerGen raster;
          InitPerspective(raster, kCanvas, kCanvas, colour.data());
          raster.SetMode(layout);
          // Ambient and diffuse light only, the same at every corner: the loop is taken for flat lighting alone.
          raster.SetLighting(lit);
          raster.SetLightEnabled(0, true);
          raster.SetLightColour(0, 0, 90, 160, 40);
          raster.SetLightColour(0, 1, 100, 60, 150);
          raster.SetLightPosition(0, 0.5f, 0.5f, -1, 0);
          QueueQuad(raster, texture, 0, 0.3f, 4, 2.1f, turn, 0.9f, sMax);
          raster.Execute();
          return colour;
        };
        const std::vector<uint32_t> fourAtOnce = draw(narrow, 1);
        EXPECT_EQ(FirstDifference(fourAtOnce, draw(repeated, 1.0f / kRepeats), kCanvas), "none")
            << "turn " << turn << " layout " << layout << " lit " << lit;
        EXPECT_GT(std::count_if(fourAtOnce.begin(), fourAtOnce.end(), [](uint32_t p) { return p != 0; }), 10000);
      }
    }
  }
}

}  // namespace
