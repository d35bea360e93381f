// The wipe family through the reference host: expected frames are composed here from the rules.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <tuple>

#include "geometric_run.h"
#include "image/cpu.h"
#include "transitions/kernels.h"

namespace {

using namespace vek::test;

enum { kUp, kDown, kLeft, kRight };

int Cubed(int length, float p) { return int(length * (double(p) * p * p)); }

// The hard wipe: B covers n rows or columns from the side it enters.
Frame HardWipe(const Frame& a, const Frame& b, int direction, int n) {
  return Compose(a.width, a.height, [&](int x, int y) {
    const bool fromB = direction == kUp ? y >= a.height - n : direction == kDown ? y < n
                       : direction == kLeft ? x >= a.width - n : x < n;
    return At(fromB ? b : a, x, y);
  });
}

TEST(WipeFamily, EndsFieldsOptionsAndTinyFrames) {
  for (const char* id : {"DSP_TR_Wipe", "DSP_TR_DirtyWipe", "DSP_TR_Box", "DSP_TR_WipeClock", "DSP_TR_WipeCenter",
                         "DSP_TR_Cross"}) {
    ExpectEndsAreTheSources(id, 24, 16);
    ExpectTinyFramesRender(id);
  }
  ExpectTinyFramesRender("DSP_TR_WipeSoft");
  for (const char* id : {"DSP_TR_Wipe", "DSP_TR_WipeSoft", "DSP_TR_Box", "DSP_TR_WipeClock", "DSP_TR_WipeCenter"}) {
    ExpectFieldsInterleave(id, 13, 9, {0.3f, 0.62f, 0.9f});
    ExpectMissingSourceAnswered(id, VEK_E_FAIL);
  }
  for (const char* id : {"DSP_TR_Wipe", "DSP_TR_WipeSoft", "DSP_TR_DirtyWipe", "DSP_TR_Box", "DSP_TR_WipeClock"}) {
    ExpectBadOptionsAreRefused(id);
  }
  // Kept on purpose: these two always draw the whole frame.
  for (const char* id : {"DSP_TR_DirtyWipe", "DSP_TR_Cross"}) {
    ExpectMissingSourceAnswered(id, VEK_E_FAIL);
    Frame a = Frame::Random(9, 7, 1), b = Frame::Random(9, 7, 2);
    std::srand(5);
    const Frame frame = RenderShot(id, a, b, {0.6f, 1, {0}});
    std::srand(5);
    EXPECT_FRAME_EQ(RenderShot(id, a, b, {0.6f, 1, {2}}), frame) << id;
  }
}

TEST(Wipe, HalfProgressMovesAnEighthOfTheWayInEveryDirection) {
  Frame a = Frame::Random(100, 100, 1), b = Frame::Random(100, 100, 2);
  for (int direction : {kUp, kDown, kLeft, kRight}) {
    EXPECT_FRAME_EQ(RenderShot("DSP_TR_Wipe", a, b, {0.5f, direction}), HardWipe(a, b, direction, 12));
  }
  for (auto [w, h] : {std::pair{23, 17}, {kStreamedWidth, kStreamedHeight}}) {
    Frame c = Frame::Random(w, h, 3), d = Frame::Random(w, h, 4);
    for (float p : {0.2f, 0.71f, 0.93f}) {
      for (int direction : {kUp, kDown, kLeft, kRight}) {
        const int length = direction < kLeft ? h : w;
        EXPECT_FRAME_EQ(RenderShot("DSP_TR_Wipe", c, d, {p, direction}), HardWipe(c, d, direction, Cubed(length, p)));
      }
    }
  }
}

// m in 64ths from where B appears first; t = trunc(2 * p * 63); a byte moves (B - A) * k / 32.
Frame SoftWipe(const Frame& a, const Frame& b, int direction, float p, bool vector) {
  const int w = a.width, h = a.height, t = int(2.0f * (p * 63.0f));
  Frame out = Frame::Filled(w, h, kUntouched);
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      const int m = direction == kUp     ? ((h - y) * 64 - 64) / h
                    : direction == kDown ? 64 * y / h
                    : direction == kLeft ? ((w - x) * 64 - 64) / w
                                         : 64 * x / w;
      const bool scalarPixel = !vector || (w % 2 == 1 && x == w - 1);
      const int k = std::clamp(t - m, 0, scalarPixel ? 31 : 32);
      for (int c = 0; c < (scalarPixel ? 3 : 4); ++c) {
        const int av = At(a, x, y)[c], bv = At(b, x, y)[c];
        out.Pixel(x, y)[c] = uint8_t(av + (((bv - av) * k) >> 5));
      }
    }
  }
  return out;
}

TEST(WipeSoft, ScalarStopsAThirtySecondShortAndLeavesAlphaWhileVectorReachesB) {
  for (int width : {8, 9}) {
    Frame a = Frame::Random(width, 6, 5), b = Frame::Random(width, 6, 6);
    for (int direction : {kUp, kDown, kLeft, kRight}) {
      for (float p : {0.0f, 0.2f, 0.5f, 0.77f, 1.0f}) {
        SCOPED_TRACE("width " + std::to_string(width) + " direction " + std::to_string(direction) + " p " +
                     std::to_string(p));
        const Frame scalar = RenderShot("DSP_TR_WipeSoft", a, b, {p, direction, {0, 0}});
        const Frame vector = RenderShot("DSP_TR_WipeSoft", a, b, {p, direction, {0, 3}});
        EXPECT_FRAME_EQ(scalar, SoftWipe(a, b, direction, p, false));
        EXPECT_FRAME_EQ(vector, SoftWipe(a, b, direction, p, true));
      }
    }
    if (width % 2 == 0) {
      EXPECT_FRAME_EQ(RenderShot("DSP_TR_WipeSoft", a, b, {1.0f, 0, {0, 3}}), b);
    }
  }
}

// The AVX-512 soft edge against the SSE4.1 one, on every reach from before the edge to past it,
// with whole and partial steps of sixteen and an odd last pixel.
TEST(WipeSoft, WideVectorRowGivesTheVectorRowsBytes) {
  if (!vek::Avx512KernelsUsable()) GTEST_SKIP() << "no AVX-512 on this processor";
  const Frame a = Frame::Random(37, 1, 7), b = Frame::Random(37, 1, 8), distances = Frame::Random(37, 1, 9);
  std::vector<int32_t> mask(37);
  for (int x = 0; x < 37; ++x) mask[x] = int32_t(uint8_t(-(distances.bytes[4 * x] % 64)) * 0x01010101u);
  for (int t : {0, 20, 64, 126}) {
    for (int pixels : {37, 32, 15}) {
      std::vector<uint8_t> sse41(a.bytes.size()), avx512 = sse41;
      vek::SoftEdgeRowSse41(a.bytes.data(), b.bytes.data(), mask.data(), sse41.data(), pixels, t);
      vek::SoftEdgeRowAvx512(a.bytes.data(), b.bytes.data(), mask.data(), avx512.data(), pixels, t);
      EXPECT_EQ(avx512, sse41) << "t " << t << ", " << pixels << " pixels";
    }
  }
}

// The hard wipe, then one s x s tile of A per tile along the edge, from the C generator.
Frame DirtyWipe(const Frame& a, const Frame& b, int direction, float p, unsigned seed) {
  const bool rows = direction < kLeft;
  const int length = rows ? a.height : a.width, n = Cubed(length, p), s = std::max(a.width * 8 / 320, 1);
  Frame out = p >= 1.0f ? b : HardWipe(a, b, direction, n);
  std::srand(seed);
  const bool band = p > 0.0f && p < 1.0f && length >= 5;  // the ends draw nothing
  for (int i = 0; band && i < (rows ? a.width : a.height) / s; ++i) {
    const int o = std::rand() % (length / 5) - length / 5;
    const int at = direction == kUp || direction == kLeft ? length - n - o : n + o;
    const bool inside = rows ? at > 0 && at <= a.height - s : at >= 0 && at < a.width - s;
    for (int k = 0; inside && k < s * s; ++k) {
      const int x = rows ? i * s + k % s : at + k % s, y = rows ? at + k / s : i * s + k / s;
      std::memcpy(out.Pixel(x, y), At(a, x, y), 4);
    }
  }
  return out;
}

TEST(DirtyWipe, TilesOfAFollowTheGeneratorOneDrawPerTileAndNoneAtTheEnds) {
  for (auto [w, h] : {std::pair{90, 40}, {10, 8}, {8, 10}, {30, 4}}) {
    Frame a = Frame::Random(w, h, 9), b = Frame::Random(w, h, 10);
    for (int direction : {kUp, kDown, kLeft, kRight}) {
      for (float p : {0.0f, 0.6f, 0.85f, 1.0f}) {
        SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + " direction " + std::to_string(direction) +
                     " p " + std::to_string(p));
        std::srand(77);
        const Frame got = RenderShot("DSP_TR_DirtyWipe", a, b, {p, direction});
        const int next = std::rand();
        EXPECT_FRAME_EQ(got, DirtyWipe(a, b, direction, p, 77));
        const int length = direction < kLeft ? h : w;
        const int tiles = (direction < kLeft ? w : h) / std::max(w * 8 / 320, 1);
        const int draws = p > 0.0f && p < 1.0f && length >= 5 ? tiles : 0;
        std::srand(77);
        for (int k = 0; k < draws; ++k) std::rand();
        EXPECT_EQ(next, std::rand()) << "expected " << draws << " draws";
      }
    }
  }
}

TEST(DirtyWipe, FarBoundIsStrictAcrossButReachesTheLastTileDown) {
  // 10 pixels of travel at p = 0.6: n = 2, offsets -2 or -1, so tiles land at 9 or 10.
  Frame a = Frame::Random(10, 10, 11), b = Frame::Random(10, 10, 12);
  std::srand(3);
  EXPECT_FRAME_EQ(RenderShot("DSP_TR_DirtyWipe", a, b, {0.6f, kLeft}), HardWipe(a, b, kLeft, 2));
  std::srand(3);
  const Frame up = RenderShot("DSP_TR_DirtyWipe", a, b, {0.6f, kUp});
  EXPECT_FALSE(up.RowEquals(9, HardWipe(a, b, kUp, 2))) << "some tile lands on the last row";
}

TEST(Box, OddSidesKeepOneLineOfTheOtherPictureAndInsetsAreTruncatedHalves) {
  for (auto [w, h] : {std::pair{5, 5}, {12, 8}, {13, 9}, {kStreamedWidth + 1, kStreamedHeight}}) {
    Frame a = Frame::Random(w, h, 13), b = Frame::Random(w, h, 14);
    for (int type : {0, 1}) {
      for (float p : {0.0f, 0.3f, 0.55f, 1.0f}) {
        const int hx = int(w * 0.5 * p), hy = int(h * 0.5 * p);
        const int ix = type == 0 ? hx : w / 2 - hx, iy = type == 0 ? hy : h / 2 - hy;
        const Frame& outer = type == 0 ? b : a;
        const Frame& inner = type == 0 ? a : b;
        EXPECT_FRAME_EQ(RenderShot("DSP_TR_Box", a, b, {p, type}), Compose(w, h, [&](int x, int y) {
                          const bool out = x < ix || x >= w - ix || y < iy || y >= h - iy;
                          return At(out ? outer : inner, x, y);
                        })) << w << "x" << h << " type " << type << " p " << p;
      }
    }
  }
}

// Which pixels show B (A is all 0, B all 255).
std::vector<bool> ClockMask(int w, int h, int degrees, int direction) {
  Frame a = Frame::Filled(w, h, 0), b = Frame::Filled(w, h, 255);
  const Frame out = RenderShot("DSP_TR_WipeClock", a, b, {(degrees + 0.5f) / 360.0f, direction});
  std::vector<bool> mask(std::size_t(w) * h);
  for (std::size_t i = 0; i < mask.size(); ++i) mask[i] = out.bytes[i * 4] == 255;
  return mask;
}

// Every degree on small frames; whole quadrants only on a frame whose mixed rows are streamed.
TEST(WipeClock, QuadrantsFillInSweepOrderWithNoGapAndTheSweepOnlyAddsB) {
  for (auto [w, h, step] : {std::tuple{40, 30, 1}, {41, 31, 1}, {7, 1, 1}, {kStreamedWidth, kStreamedHeight, 90}}) {
    for (int direction : {0, 1}) {
      std::vector<bool> previous(std::size_t(w) * h, false);
      for (int degrees = 0; degrees <= 360; degrees += step) {
        const std::vector<bool> mask = ClockMask(w, h, degrees, direction);
        for (int y = 0; y < h; ++y) {
          for (int x = 0; x < w; ++x) {
            const bool top = y < h / 2, lead = (x >= w / 2) == (direction == 1);
            const int order = top ? (lead ? 0 : 3) : (lead ? 1 : 2);
            const std::size_t i = std::size_t(y) * w + x;
            ASSERT_TRUE(mask[i] || !previous[i]) << "B taken back at " << degrees << " degrees";
            if (order < degrees / 90) {
              ASSERT_TRUE(mask[i]) << "gap in a swept quadrant at " << degrees;
            }
            if (order > degrees / 90 || degrees % 90 == 0) {
              ASSERT_EQ(mask[i], order < degrees / 90) << degrees << " degrees";
            }
          }
        }
        previous = mask;
      }
    }
  }
}

TEST(WipeClock, HandStandsAtTheAngleAndClockwiseMirrorsCounterClockwise) {
  const int w = 64, h = 48;
  for (int degrees : {10, 45, 80, 100, 135, 170, 190, 225, 260, 280, 315, 350}) {
    const std::vector<bool> cw = ClockMask(w, h, degrees, 1), ccw = ClockMask(w, h, degrees, 0);
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < w; ++x) {
        ASSERT_EQ(cw[std::size_t(y) * w + x], ccw[std::size_t(y) * w + (w - 1 - x)]) << degrees;
        const double dx = x + 0.5 - w / 2, dy = y + 0.5 - h / 2;
        const double angle = std::fmod(std::atan2(dx, -dy) * 180 / 3.141592653589793 + 360, 360);
        if (std::hypot(dx, dy) > 4 && std::abs(angle - degrees) > 4) {
          ASSERT_EQ(cw[std::size_t(y) * w + x], angle < degrees) << degrees << " at " << x << "," << y;
        }
      }
    }
  }
}

// The circle about (w'/2, h/2) with R and the ring profile from the frame's display geometry.
struct IrisOracle {
  int radius, ring, rho;
  int Weight(int depth) const {
    return int((std::cos(depth * 3.141592653589793 / ring + 3.141592653589793) + 1) * 0.5 * 255);
  }
};
IrisOracle IrisFor(int displayWidth, int h, float p) {
  const int radius = int(std::sqrt(double(h / 2) * (h / 2) + double(displayWidth / 2) * (displayWidth / 2)));
  return {radius, radius / 5 + 1, int(p * double(radius + radius / 5))};
}

TEST(WipeCenter, BInsideTheCircleAndARimBlendedThroughTheRaisedCosine) {
  // Rows the same distance above and below the centre share their ring; at an even height the top
  // row has no partner. The largest frame is streamed out row by row.
  for (const auto& [width, height] : {std::pair{61, 37}, std::pair{61, 36}, std::pair{1101, 1001}}) {
    Frame a = Frame::Random(width, height, 17), b = Frame::Random(width, height, 18);
    for (float p : {0.1f, 0.45f, 0.8f}) {
      const IrisOracle iris = IrisFor(width, height, p);
      Frame want = Frame::Filled(width, height, 0);
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          const int d2 = (x - width / 2) * (x - width / 2) + (y - height / 2) * (y - height / 2);
          int d = int(std::sqrt(double(d2)));
          if (d * d < d2) ++d;  // distance rounded up
          const int depth = iris.rho - d;
          for (int c = 0; c < 4; ++c) {
            const int av = At(a, x, y)[c], bv = At(b, x, y)[c];
            const int blended = av + (((bv - av) * iris.Weight(std::min(depth, iris.ring - 1))) >> 8);
            want.Pixel(x, y)[c] = uint8_t(depth < 0 ? av : depth >= iris.ring ? bv : blended);
          }
        }
      }
      EXPECT_FRAME_EQ(RenderShot("DSP_TR_WipeCenter", a, b, {p}), want) << width << "x" << height << " p " << p;
    }
  }
  ExpectFieldsInterleave("DSP_TR_WipeCenter", 13, 10, {0.3f, 0.62f});
}

// The ring's vector blends against the scalar rule, weights 0 and 255 among them, on runs that
// end inside a step of four and of sixteen.
TEST(WipeCenter, VectorRingBlendsGiveTheScalarBytes) {
  const Frame a = Frame::Random(67, 1, 23), b = Frame::Random(67, 1, 24), weightBytes = Frame::Random(17, 1, 25);
  std::vector<uint8_t> weights(weightBytes.bytes.begin(), weightBytes.bytes.begin() + 67);
  weights[3] = 0, weights[20] = 255;
  for (int pixels : {67, 64, 13}) {
    std::vector<uint8_t> want(a.bytes.size()), sse2 = want, avx512 = want;
    vek::WeightedRowScalar(a.bytes.data(), b.bytes.data(), weights.data(), want.data(), pixels);
    vek::WeightedRowSse2(a.bytes.data(), b.bytes.data(), weights.data(), sse2.data(), pixels, 0);
    EXPECT_EQ(sse2, want) << pixels << " pixels";
    if (!vek::Avx512KernelsUsable()) continue;
    vek::WeightedRowAvx512(a.bytes.data(), b.bytes.data(), weights.data(), avx512.data(), pixels, 0);
    EXPECT_EQ(avx512, want) << pixels << " pixels";
  }
}

// The ring of a display of another width: two rows sampled through the same columns and blended,
// against the gathered rows blended by the scalar rule, with columns that take the vector permutes
// and columns that do not, and runs ending inside a step of sixteen.
TEST(WipeCenter, SampledRingBlendsGiveTheGatheredBytes) {
  const auto resampled = [](int count, int from) {
    std::vector<int> columns(std::size_t(count), 0);
    for (int x = 0; x < count; ++x) columns[std::size_t(x)] = int((int64_t(2 * x + 1) * from) / (2 * count));
    return columns;
  };
  std::vector<int> jumping(40);
  for (int x = 0; x < 40; ++x) jumping[std::size_t(x)] = (x * 37) % 101;
  const Frame weightBytes = Frame::Random(50, 1, 26);
  for (const std::vector<int>& columns : {resampled(150, 110), resampled(67, 90), resampled(40, 100), jumping}) {
    const int sourcePixels = *std::max_element(columns.begin(), columns.end()) + 1;
    const Frame a = Frame::Random(sourcePixels, 1, 27), b = Frame::Random(sourcePixels, 1, 28);
    std::vector<uint8_t> weights(weightBytes.bytes.begin(), weightBytes.bytes.begin() + columns.size());
    weights[1] = 0, weights[17] = 255;
    for (int pixels : {int(columns.size()), 16, 13}) {
      std::vector<uint8_t> gatheredA(std::size_t(pixels) * 4), gatheredB(gatheredA.size()), want(gatheredA.size());
      vek::GatherPixels(a.bytes.data(), columns.data(), gatheredA.data(), pixels, 0);
      vek::GatherPixels(b.bytes.data(), columns.data(), gatheredB.data(), pixels, 0);
      vek::WeightedRowScalar(gatheredA.data(), gatheredB.data(), weights.data(), want.data(), pixels);
      std::vector<uint8_t> got(want.size());
      vek::SampledWeightedRow(a.bytes.data(), b.bytes.data(), columns.data(), weights.data(), got.data(), pixels, 0);
      EXPECT_EQ(got, want) << pixels << " pixels from " << sourcePixels;
      if (vek::Avx512KernelsUsable()) {
        vek::SampledWeightedRowAvx512(a.bytes.data(), b.bytes.data(), columns.data(), weights.data(), got.data(),
                                      pixels, 0);
        EXPECT_EQ(got, want) << pixels << " pixels from " << sourcePixels << ", AVX-512";
      }
      if (vek::Avx2KernelsUsable()) {
        vek::SampledWeightedRowAvx2(a.bytes.data(), b.bytes.data(), columns.data(), weights.data(), got.data(), pixels,
                                    0);
        EXPECT_EQ(got, want) << pixels << " pixels from " << sourcePixels << ", AVX2";
      }
    }
  }
}

// The vector gather against the scalar one: columns resampled up and down (down by 2.5, further
// than one permute reaches), running backwards or jumping, and runs ending inside a step of
// sixteen. Each source is exactly as long as its columns need.
TEST(WipeCenter, VectorGatherGivesTheScalarBytes) {
  if (!vek::Avx512KernelsUsable() && !vek::Avx2KernelsUsable()) GTEST_SKIP() << "no AVX2 here";
  const auto resampled = [](int count, int from) {
    std::vector<int> columns(std::size_t(count), 0);
    for (int x = 0; x < count; ++x) columns[std::size_t(x)] = int((int64_t(2 * x + 1) * from) / (2 * count));
    return columns;
  };
  std::vector<int> backwards(40), jumping(40);
  for (int x = 0; x < 40; ++x) backwards[std::size_t(x)] = 39 - x, jumping[std::size_t(x)] = (x * 37) % 101;
  for (const std::vector<int>& columns :
       {resampled(67, 50), resampled(67, 90), resampled(40, 100), resampled(33, 33), backwards, jumping}) {
    const int sourcePixels = *std::max_element(columns.begin(), columns.end()) + 1;
    const Frame source = Frame::Random(sourcePixels, 1, 31);
    for (int pixels : {int(columns.size()), 16, 13}) {
      std::vector<uint8_t> want(std::size_t(pixels) * 4), got(want.size());
      vek::GatherPixels(source.bytes.data(), columns.data(), want.data(), pixels, 0);
      if (vek::Avx512KernelsUsable()) {
        vek::GatherPixelsAvx512(source.bytes.data(), columns.data(), got.data(), pixels, 0);
        EXPECT_EQ(got, want) << pixels << " pixels from " << sourcePixels << ", AVX-512";
      }
      if (vek::Avx2KernelsUsable()) {
        vek::GatherPixelsAvx2(source.bytes.data(), columns.data(), got.data(), pixels, 0);
        EXPECT_EQ(got, want) << pixels << " pixels from " << sourcePixels << ", AVX2";
      }
    }
  }
  if (!vek::Avx512KernelsUsable()) return;
  // The ring weights through the same kind of columns, counted from an offset: down by 2.3 is
  // further than one byte permute reaches.
  constexpr int kOffset = 7;
  for (std::vector<int> indices : {resampled(67, 50), resampled(67, 90), resampled(130, 300), resampled(200, 210)}) {
    const Frame table = Frame::Random(indices.back() + 1, 1, 32);
    for (int& index : indices) index += kOffset;
    for (int count : {int(indices.size()), 64, 13}) {
      std::vector<uint8_t> want(static_cast<std::size_t>(count)), got(want.size());
      vek::GatherBytes(table.bytes.data(), indices.data(), kOffset, want.data(), count);
      vek::GatherBytesAvx512(table.bytes.data(), indices.data(), kOffset, got.data(), count);
      EXPECT_EQ(got, want) << count << " bytes from " << indices.back() + 1 - kOffset;
    }
  }
}

// The vector ring weights against the rounded-up distance in integers, over the whole radius they
// take: one weight for each depth, so that a distance one off shows.
TEST(WipeCenter, VectorRingWeightsFollowTheDistanceRoundedUp) {
  if (!vek::Avx512KernelsUsable()) GTEST_SKIP() << "no AVX-512 here";
  const int rho = vek::kVectorRingRadius - 1, ringWidth = 300;
  std::vector<uint32_t> profile(ringWidth);
  for (int i = 0; i < ringWidth; ++i) profile[std::size_t(i)] = uint32_t(i % 251);
  const auto ceilSqrt = [](int64_t value) {
    int64_t d = int64_t(std::sqrt(double(value)));
    while (d * d < value) ++d;
    while (d > 0 && (d - 1) * (d - 1) >= value) --d;
    return d;
  };
  for (int dy = 0; dy < rho; dy += 7) {
    const int dy2 = dy * dy, outer = int(ceilSqrt(int64_t(rho) * rho - dy2 + 1) - 1);
    const int first = dy * 3 % 17, blocks = (outer - first + 1) / 16;
    std::vector<uint8_t> right(std::size_t(blocks) * 16), left(right.size());
    vek::RingWeightsAvx512(profile.data(), ringWidth, rho, dy2, first, blocks, right.data(),
                           left.data() + left.size() - 1);
    for (int i = 0; i < blocks * 16; ++i) {
      const int64_t k = first + i, depth = std::min<int64_t>(rho - ceilSqrt(k * k + dy2), ringWidth - 1);
      ASSERT_EQ(right[std::size_t(i)], profile[std::size_t(depth)]) << "k " << k << " dy " << dy;
      ASSERT_EQ(left[left.size() - 1 - std::size_t(i)], right[std::size_t(i)]) << "k " << k << " dy " << dy;
    }
  }
}

TEST(WipeCenter, CircleIsRoundOnTheDisplayNotInPixels) {
  Frame a = Frame::Filled(64, 64, 0), b = Frame::Filled(64, 64, 255);
  EffectRun run("DSP_TR_WipeCenter");
  SetShot(run, "DSP_TR_WipeCenter", {0.5f});
  run.Instance().Record().sourceGeometry[0] = 128;  // shown twice as wide as tall
  run.Instance().Record().sourceGeometry[1] = 64;
  const Frame out = run.Render(a, b);
  const IrisOracle iris = IrisFor(128, 64, 0.5f);
  // Frame column x shows display column 2x + 1; the centre is display column 64, row 32.
  const int inner = iris.rho - iris.ring;
  int across = 0, down = 0, wantAcross = 0, wantDown = 0;
  for (int k = 0; k < 64; ++k) {
    across += At(out, k, 32)[0] == 255, down += At(out, 32, k)[0] == 255;
    wantAcross += std::abs(2 * k + 1 - 64) <= inner, wantDown += 1 + (k - 32) * (k - 32) <= inner * inner;
  }
  EXPECT_EQ(across, wantAcross);
  EXPECT_EQ(down, wantDown);
  EXPECT_NEAR(across, down / 2.0, 2) << "half as many frame pixels across as down";
}

TEST(WipeCenter, DisplayAspectsOfTinyFramesStayInside) {
  for (auto [w, h] : {std::pair{1, 1}, {3, 2}, {17, 5}}) {
    Frame a = Frame::Random(w, h, 21), b = Frame::Random(w, h, 22);
    for (auto [dw, dh] : {std::pair{16u, 9u}, {1u, 7u}, {9u, 1u}}) {
      for (float p : {0.3f, 0.7f}) {
        EffectRun run("DSP_TR_WipeCenter");
        SetShot(run, "DSP_TR_WipeCenter", {p});
        run.Instance().Record().sourceGeometry[0] = dw;
        run.Instance().Record().sourceGeometry[1] = dh;
        const Frame out = run.Render(a, b, {1});
        for (int y = 1; y < h; y += 2) EXPECT_TRUE(out.RowIsAll(y, kUntouched)) << "the odd rows are not the field's";
      }
    }
  }
}

TEST(Cross, SamplesFollowTheZoomTablesAndHalfProgressSamplesAAt128Over316) {
  for (auto [w, h] : {std::pair{40, 30}, {31, 17}, {17, 31}}) {
    Frame a = Frame::Random(w, h, 19), b = Frame::Random(w, h, 20);
    for (float p : {0.05f, 0.5f, 0.9f}) {
      const int weight = int(p * 127), cx = w / 2, cy = h / 2;
      const auto sample = [](int centre, int at, int divisor) {
        return at < centre ? centre - (centre - at) * 128 / divisor : centre + (at - centre) * 128 / divisor;
      };
      Frame want = Frame::Filled(w, h, 0);
      for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
          const uint8_t* pa = At(a, sample(cx, x, 3 * weight + 127), sample(cy, y, 3 * weight + 127));
          const uint8_t* pb = At(b, sample(cx, x, 508 - 3 * weight), sample(cy, y, 508 - 3 * weight));
          for (int c = 0; c < 4; ++c) want.Pixel(x, y)[c] = uint8_t(pa[c] + (((pb[c] - pa[c]) * weight) >> 7));
        }
      }
      EXPECT_FRAME_EQ(RenderShot("DSP_TR_Cross", a, b, {p, 0, {0, 3}}), want) << w << "x" << h << " p " << p;
    }
  }
  // 79 pixels right of the centre, A is sampled 79 * 128 / 316 = 32 pixels right of it.
  Frame a = Frame::Filled(200, 3, 0), b = Frame::Filled(200, 3, 0);
  for (int x = 0; x < 200; ++x) a.Pixel(x, 1)[0] = uint8_t(x);
  const Frame out = RenderShot("DSP_TR_Cross", a, b, {0.5f});
  EXPECT_EQ(At(out, 179, 1)[0], uint8_t(132 + ((-132 * 63) >> 7)));
}

}  // namespace
