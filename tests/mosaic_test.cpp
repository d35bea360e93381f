// Mosaic: block sizes from the reference picture, the centred grid, averages with and without the
// alpha-aware flag, the area rules, and the round area with and without a host buffer service.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "effect_run.h"
#include "image/cpu.h"
#include "video/kernels.h"

namespace {

using vek::test::EffectRun;
using vek::test::Frame;

// Lengths of the runs of equal pixels from (x, y) on in steps of (dx, dy): the block sizes, on a
// random picture.
std::vector<int> RunLengths(const Frame& frame, int x, int y, int dx, int dy) {
  std::vector<int> runs;
  for (const uint8_t* previous = nullptr; x < frame.width && y < frame.height; x += dx, y += dy) {
    const uint8_t* pixel = frame.Row(y) + 4 * x;
    if (previous && std::memcmp(pixel, previous, 4) == 0) {
      ++runs.back();
    } else {
      runs.push_back(1);
    }
    previous = pixel;
  }
  return runs;
}
std::vector<int> RunLengths(const Frame& frame, int y) { return RunLengths(frame, 0, y, 1, 0); }

// n blocks of `size` between two outer blocks.
std::vector<int> Grid(int first, int n, int size, int last) {
  std::vector<int> runs = {first};
  runs.insert(runs.end(), n, size);
  runs.push_back(last);
  return runs;
}

struct Options {
  const char* area = "0,0,1,1";
  const char* type = "box";
  bool alphaAware = false;
  bool bufferService = true;
  vek::test::RenderMode mode = {};
};

// Block counts beyond the rows' ranges are written as a host may still send them.
Frame Mosaic(Frame& source, int32_t across, int32_t down, Options options = {}) {
  EffectRun run("DSP_VI_Mosaic");
  run.Set("P3", options.area).Set("P4", options.type);
  std::memcpy(run.Instance().Values(), &across, sizeof across);
  std::memcpy(run.Instance().Values() + sizeof across, &down, sizeof down);
  run.Instance().Record().alphaAware = options.alphaAware;
  if (!options.bufferService) run.Instance().Record().bufferService = nullptr;
  return run.Render(source, options.mode);
}

TEST(Mosaic, GridIsCentredAndOuterBlocksTakeTheRest) {
  Frame source = Frame::Random(320, 6, 1);
  EXPECT_EQ(RunLengths(Mosaic(source, 5, 1), 0), Grid(2, 63, 5, 3)) << "320 wide, blocks of 5: 64 blocks, even";

  Frame odd = Frame::Random(330, 4, 2);
  EXPECT_EQ(RunLengths(Mosaic(odd, 10, 1), 0), std::vector<int>(33, 10)) << "330 wide, blocks of 10";

  Frame rest = Frame::Random(335, 4, 3);  // blocks of 10 (trunc(10 * 335 / 320)), 5 left over
  EXPECT_EQ(RunLengths(Mosaic(rest, 10, 1), 0), Grid(2, 33, 10, 3));
}

TEST(Mosaic, BlockSizeFollowsTheReferencePicture) {
  Frame source = Frame::Random(640, 480, 4);
  const Frame out = Mosaic(source, 5, 4);
  for (int y : {100, 103}) EXPECT_EQ(RunLengths(out, y), Grid(5, 63, 10, 5)) << "blocks 10 wide, row " << y;
  for (int x : {100, 639}) EXPECT_EQ(RunLengths(out, x, 0, 0, 1), Grid(4, 59, 8, 4)) << "blocks 8 high, column " << x;
}

// Every pixel of the block holds the plain average of the source beneath it, or with the
// alpha-aware flag the average of the pixels whose alpha is not 0, alpha included.
void ExpectAverages(const Frame& source, const Frame& plain, const Frame& aware, int x0, int y0, int width,
                    int height) {
  unsigned sumPlain[3] = {}, sumAware[4] = {}, countAware = 0;
  for (int y = y0; y < y0 + height; ++y) {
    for (int x = x0; x < x0 + width; ++x) {
      const uint8_t* pixel = source.Row(y) + 4 * x;
      for (int c = 0; c < 3; ++c) sumPlain[c] += pixel[c];
      if (pixel[3] == 0) continue;
      for (int c = 0; c < 4; ++c) sumAware[c] += pixel[c];
      ++countAware;
    }
  }
  uint8_t expectedPlain[4] = {0, 0, 0, 0}, expectedAware[4];  // plain blocks lose their alpha
  for (int c = 0; c < 3; ++c) expectedPlain[c] = uint8_t(sumPlain[c] / unsigned(width * height));
  for (int c = 0; c < 4; ++c) expectedAware[c] = uint8_t(sumAware[c] / countAware);
  for (int y = y0; y < y0 + height; ++y) {
    for (int x = x0; x < x0 + width; ++x) {
      ASSERT_EQ(std::memcmp(plain.Row(y) + 4 * x, expectedPlain, 4), 0) << "block at " << x0 << "," << y0;
      ASSERT_EQ(std::memcmp(aware.Row(y) + 4 * x, expectedAware, 4), 0) << "block at " << x0 << "," << y0;
    }
  }
}

TEST(Mosaic, BlocksAverageTheSourceBeneathThem) {
  // Blocks of 10 x 1 (a height setting of 0 gives rows of one pixel).
  Frame row = Frame::Random(330, 8, 5);
  for (std::size_t p = 3; p < row.bytes.size(); p += 12) row.bytes[p] = 0;  // some transparent pixels
  const Frame plain = Mosaic(row, 10, 0), aware = Mosaic(row, 10, 0, {.alphaAware = true});
  for (int block = 0; block < 33; ++block) ExpectAverages(row, plain, aware, 10 * block, 3, 10, 1);

  // Blocks of 64 x 48, the second of each axis at 32, 24: larger than one pass of the sums holds.
  Frame large = Frame::Random(640, 480, 6);
  for (std::size_t p = 3; p < large.bytes.size(); p += 28) large.bytes[p] = 0;
  for (int y = 24; y < 72; ++y) std::fill(large.Pixel(32, y), large.Pixel(32, y) + 4 * 64, uint8_t(255));
  const Frame largePlain = Mosaic(large, 32, 24), largeAware = Mosaic(large, 32, 24, {.alphaAware = true});
  ExpectAverages(large, largePlain, largeAware, 32, 24, 64, 48);
  ExpectAverages(large, largePlain, largeAware, 96, 72, 64, 48);
}

// Random pixels with every fifth one transparent.
Frame PartlyClear(int width, int height, uint32_t seed) {
  Frame frame = Frame::Random(width, height, seed);
  for (std::size_t p = 3; p < frame.bytes.size(); p += 20) frame.bytes[p] = 0;
  return frame;
}

// Bands of up to 257 rows are summed by pixel column in 16 bits, taller ones block by block.
TEST(Mosaic, TallBandsAverageLikeShortOnes) {
  for (auto [height, tallest] : {std::pair{514, 257}, std::pair{520, 260}}) {
    Frame white = Frame::Filled(64, height, 255);  // 257 rows of 255 fill 16 bits exactly
    Frame random = PartlyClear(64, height, 10);
    const int32_t down = 120;  // bands of trunc(120 * height / 240) rows, the middle one of `tallest`
    const int first = (height - tallest) / 2;
    for (Frame* source : {&white, &random}) {
      const Frame plain = Mosaic(*source, 32, down), aware = Mosaic(*source, 32, down, {.alphaAware = true});
      for (int x : {0, 5, 53, 59}) {  // columns of 5, 9 of 6, 5
        const int width = x == 0 || x == 59 ? 5 : 6;
        ExpectAverages(*source, plain, aware, x, first, width, tallest);
        ExpectAverages(*source, plain, aware, x, 0, width, first);
      }
    }
  }
}

// Field modes and the layout change nothing: the whole frame is rendered.
TEST(Mosaic, AreaRules) {
  Frame source = Frame::Random(64, 48, 6);
  const Frame whole = Mosaic(source, 5, 4);
  EXPECT_EQ(Mosaic(source, 5, 4, {.area = "0.5,0.5,0.5,0.5"}).bytes, source.bytes) << "an empty area copies";
  EXPECT_EQ(Mosaic(source, 5, 4, {.area = "0,0,0,0"}).bytes, whole.bytes) << "all zeros is the frame";
  EXPECT_EQ(Mosaic(source, 5, 4, {.area = "0.4,0.4,0.6,0.6", .type = "none"}).bytes, whole.bytes);
  for (int field : {1, 2}) EXPECT_EQ(Mosaic(source, 5, 4, {.mode = {field, 0, 1, 1}}).bytes, whole.bytes);
  Frame small = Mosaic(source, 5, 4, {.area = "0.5,0.5,1,1"});
  EXPECT_TRUE(small.RowEquals(10, source)) << "rows above the area are the source";
  EXPECT_EQ(std::memcmp(small.Row(40), source.Row(40), 4 * 31), 0) << "columns left of it too";
  EXPECT_NE(std::memcmp(small.Row(40) + 4 * 32, source.Row(40) + 4 * 32, 4 * 32), 0);
  for (auto [width, height] : {std::pair{100, 20}, std::pair{3, 2}}) {
    Frame tiny = Frame::Random(width, height, 7);
    Frame single = Mosaic(tiny, 3, 0);
    for (std::size_t i = 0; i < tiny.bytes.size(); ++i) {
      ASSERT_EQ(single.bytes[i], i % 4 == 3 ? 0 : tiny.bytes[i]) << width << "x" << height << ": blocks of one pixel";
    }
  }
  // A block as wide as the area loses a pixel: in a frame of one pixel none is left, and a block of
  // 86 that starts an area of 87 (x 30 .. 116, rounded) leaves column 115 to the source.
  Frame one = Frame::Random(1, 1, 8);
  EXPECT_EQ(Mosaic(one, 5, 4).bytes, one.bytes);
  Frame wide = Frame::Random(600, 48, 9);
  EffectRun run("DSP_VI_Mosaic");
  run.Set("P2", "24").Set("P3", "0.05,0,0.195,1");
  const int32_t across = 46;  // beyond the row's range, as a host may still send
  std::memcpy(run.Instance().Values(), &across, sizeof across);
  const Frame trimmed = run.Render(wide);
  for (int y : {2, 3, 5}) {
    const uint8_t* row = trimmed.Row(y);
    EXPECT_EQ(std::memcmp(row + 4 * 115, wide.Row(y) + 4 * 115, 4), 0) << "row " << y;
    EXPECT_NE(std::memcmp(row + 4 * 30, wide.Row(y) + 4 * 30, 4), 0) << "row " << y;
    EXPECT_EQ(std::memcmp(row + 4 * 30, trimmed.Row(2) + 4 * 30, 4 * 85), 0) << "row " << y << " is band 2 .. 5";
    for (int x = 31; x < 115; ++x) ASSERT_EQ(std::memcmp(row + 4 * x, row + 4 * 30, 4), 0) << x << "," << y;
  }
}

// Inside the rectangle the circle shows the box mosaic through the coverage of the inscribed
// ellipse, which falls from 256 to 0 over the last 1.5 pixels (the whole of a narrow one); outside
// the rectangle the source.
TEST(Mosaic, CircleKeepsBlocksInsideTheRoundAreaOnly) {
  struct Case {
    const char* area;
    int x0, y0, width, height;
  };
  Frame source = Frame::Random(161, 121, 8);
  for (const Case& area : {Case{"0.1,0.25,0.9,0.75", 16, 30, 128, 60}, Case{"0.5,0.1,0.51,0.9", 80, 12, 1, 96}}) {
    const Frame box = Mosaic(source, 8, 6, {.area = area.area});
    const Frame circle = Mosaic(source, 8, 6, {.area = area.area, .type = "circle"});
    const float radiusX = area.width * 0.5f, radiusY = area.height * 0.5f, reach = std::min(radiusX, radiusY);
    auto coverage = [&](int x, int y) {
      if (x < area.x0 || x >= area.x0 + area.width || y < area.y0 || y >= area.y0 + area.height) return 0;
      const float dx = (x + 0.5f - (area.x0 + radiusX)) / radiusX, dy = (y + 0.5f - (area.y0 + radiusY)) / radiusY;
      const float inside = (1.0f - std::sqrt(dx * dx + dy * dy)) * reach / std::max(1.5f, reach / 48.0f);
      return inside <= 0 ? 0 : inside >= 1 ? 256 : int(inside * 256.0f);
    };
    int rim = 0;
    for (int y = 0; y < 121; ++y) {
      for (int x = 0; x < 161; ++x) {
        const int c = coverage(x, y);
        rim += c > 0 && c < 256;
        for (int k = 4 * x; k < 4 * x + 4; ++k) {
          const int s = source.Row(y)[k], b = box.Row(y)[k];
          ASSERT_EQ(circle.Row(y)[k], s + (((b - s) * c) >> 8)) << area.area << " at " << x << "," << y;
        }
      }
    }
    EXPECT_GT(rim, 50) << area.area;
    EXPECT_EQ(Mosaic(source, 8, 6, {.area = area.area, .type = "circle", .bufferService = false}).bytes, circle.bytes)
        << area.area << ": without the host's images the output is both";
  }
}

// Bands are painted by whichever worker is free, each with its own sums; the rows above and below
// the area, between trimmed bands and outside the round area come out as on one worker.
TEST(Mosaic, EveryWorkerCountPaintsTheBytesOfOne) {
  struct Case {
    const char* area;
    int32_t across, down;
  };
  Frame source = PartlyClear(161, 121, 14);
  for (const Case& blocks : {Case{"0,0,1,1", 5, 4}, Case{"0.1,0.3,0.8,0.9", 32, 24}, Case{"0.05,0.2,0.5,0.45", 3, 0},
                             Case{"0.3,0,0.6,1", 46, 300}}) {
    for (const char* type : {"box", "circle"}) {
      for (bool alphaAware : {false, true}) {
        for (bool bufferService : {false, true}) {
          Options options{.area = blocks.area, .type = type, .alphaAware = alphaAware, .bufferService = bufferService};
          const Frame one = Mosaic(source, blocks.across, blocks.down, options);
          for (int workers : {2, 3, 4}) {
            options.mode.workers = workers;
            ASSERT_EQ(Mosaic(source, blocks.across, blocks.down, options).bytes, one.bytes)
                << blocks.area << " " << type << (alphaAware ? ", alpha-aware" : "")
                << (bufferService ? ", buffer service" : "") << ", " << workers << " workers";
          }
        }
      }
    }
  }
}

TEST(BufferService, LendsWrapsAndTakesBack) {
  EffectRun run("DSP_VI_Mosaic");
  VekObject* service = run.Instance().Record().bufferService;
  ASSERT_NE(service, nullptr);
  auto create = reinterpret_cast<VekBufferCreateFn>(service->operations[VEK_BUFFER_SLOT_CREATE]);
  auto wrap = reinterpret_cast<VekBufferWrapFn>(service->operations[VEK_BUFFER_SLOT_WRAP]);
  auto release = reinterpret_cast<VekBufferReleaseFn>(service->operations[VEK_BUFFER_SLOT_RELEASE]);
  VekImageBuffer* made = create(service, 5, 3);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->rowBytes, 20u);
  made->pixels[5 * 3 * 4 - 1] = 7;  // the whole image is writable (checked under the sanitizers)
  uint8_t pixels[2 * 2 * 4];
  VekImageBuffer* wrapped = wrap(service, pixels, 2, 2, 8);
  ASSERT_NE(wrapped, nullptr);
  EXPECT_EQ(wrapped->pixels, pixels);
  EXPECT_EQ(wrap(service, pixels, 2, 2, 4), nullptr) << "rows shorter than the width";
  EXPECT_EQ(create(service, 0, 3), nullptr);
  EXPECT_EQ(run.Instance().Buffers().Outstanding(), 2);
  EXPECT_EQ(release(service, made), VEK_S_OK);
  EXPECT_EQ(release(service, made), VEK_E_FAIL) << "given back twice";
  EXPECT_EQ(release(service, wrapped), VEK_S_OK);
  EXPECT_EQ(run.Instance().Buffers().Outstanding(), 0);

  Frame source = Frame::Random(40, 30, 9);
  run.Set("P4", "circle").Render(source);
  EXPECT_EQ(run.Instance().Buffers().Outstanding(), 0) << "the effect gave back what it borrowed";
}

// The vector kernels against the scalar ones, on random pixels with every fifth one transparent.
TEST(MosaicKernels, ColumnSumsMatchScalarAndBlockSums) {
  constexpr int kStride = 160, kRows = 300;  // 40 pixels a row
  const std::vector<uint8_t> pixels = PartlyClear(kStride / 4, kRows, 11).bytes;
  for (bool opaqueOnly : {false, true}) {
    for (int width : {1, 3, 4, 7, 13, 20, 37}) {
      for (int rows : {1, 2, 9, 12, 13, 25, 257}) {
        const uint8_t* first = pixels.data() + 4 * (40 - width);
        std::vector<uint16_t> sums(4 * width, 3), counts(width, 2);  // added to what they hold
        vek::AddColumnSums(first, kStride, width, rows, opaqueOnly, sums.data(), counts.data());
        for (auto vector : {vek::AddColumnSumsSse2, vek::AddColumnSumsAvx512}) {
          if (vector == vek::AddColumnSumsAvx512 && !vek::Avx512KernelsUsable()) continue;
          std::vector<uint16_t> vectorSums(4 * width, 3), vectorCounts(width, 2);
          vector(first, kStride, width, rows, opaqueOnly, vectorSums.data(), vectorCounts.data());
          EXPECT_EQ(vectorSums, sums) << width << " x " << rows << (opaqueOnly ? ", opaque only" : "");
          EXPECT_EQ(vectorCounts, counts) << width << " x " << rows << (opaqueOnly ? ", opaque only" : "");
        }

        uint32_t block[4], vectorBlock[4], total[4] = {0, 0, 0, 0}, counted = 0;
        const uint32_t count = vek::SumBlock(first, kStride, width, rows, opaqueOnly, block);
        EXPECT_EQ(vek::SumBlockSse2(first, kStride, width, rows, opaqueOnly, vectorBlock), count);
        for (int x = 0; x < width; ++x) {
          for (int c = 0; c < 4; ++c) total[c] += sums[4 * x + c] - 3u;
          counted += counts[x] - 2u;
        }
        EXPECT_EQ(opaqueOnly ? counted : uint32_t(width * rows), count) << width << " x " << rows;
        for (int c = 0; c < 4; ++c) {
          EXPECT_EQ(vectorBlock[c], block[c]) << width << " x " << rows << ", byte " << c;
          EXPECT_EQ(total[c], block[c]) << width << " x " << rows << ", byte " << c;
        }
      }
    }
  }
}

// Each span of a row, alone and with its mirror image, into a separate output and into the mosaic
// itself, by the SSE2 and the AVX-512 kernels; spans reach past a step of sixteen, and a wide edge
// gives coverages all the way from 0 to 256.
TEST(MosaicKernels, RoundBlendsMatchScalar) {
  constexpr int kWidth = 96;
  const std::vector<uint8_t> source = PartlyClear(kWidth, 1, 12).bytes, mosaic = PartlyClear(kWidth, 1, 13).bytes;
  struct Kernels {
    const char* name;
    decltype(&vek::BlendRoundRow) blend;
    decltype(&vek::BlendRoundRowMirrored) mirrored;
  };
  std::vector<Kernels> kernels = {{"SSE2", vek::BlendRoundRowSse2, vek::BlendRoundRowMirroredSse2}};
  if (vek::Avx512KernelsUsable())
    kernels.push_back({"AVX-512", vek::BlendRoundRowAvx512, vek::BlendRoundRowMirroredAvx512});
  for (int areaWidth : {96, 95}) {
    for (float edge : {1.5f, 12.0f}) {
      const float radiusX = areaWidth * 0.5f;
      const vek::RoundMask mask{radiusX, 15.0f, radiusX, 15.0f, 15.0f, edge};
      const int mirror = areaWidth - 1;
      for (int y : {0, 1, 7, 15}) {
        for (int from = 0; from < 8; ++from) {
          for (int to = from; to <= from + 40 && mirror + 1 - to >= to; ++to) {
            std::vector<uint8_t> expected = mosaic, mirroredExpected = mosaic;
            vek::BlendRoundRow(source.data(), mosaic.data(), expected.data(), from, to, y, mask);
            mirroredExpected = expected;
            vek::BlendRoundRow(source.data(), mosaic.data(), mirroredExpected.data(), mirror + 1 - to,
                               mirror + 1 - from, y, mask);
            for (const Kernels& kernel : kernels) {
              SCOPED_TRACE(testing::Message() << kernel.name << ", " << areaWidth << " wide, edge " << edge << ", row "
                                              << y << ", " << from << " .. " << to);
              std::vector<uint8_t> separate = mosaic, inPlace = mosaic;
              kernel.blend(source.data(), mosaic.data(), separate.data(), from, to, y, mask);
              ASSERT_EQ(separate, expected);
              separate = mosaic;
              kernel.mirrored(source.data(), mosaic.data(), separate.data(), from, to, mirror, y, mask);
              kernel.mirrored(source.data(), inPlace.data(), inPlace.data(), from, to, mirror, y, mask);
              ASSERT_EQ(separate, mirroredExpected);
              ASSERT_EQ(inPlace, mirroredExpected);
            }
          }
        }
      }
    }
  }
}

}  // namespace
