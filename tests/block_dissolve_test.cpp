// The block dissolve and the collapse, driven through the reference host, against block patterns
// drawn here from the instance's seed by the rules each effect describes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "pattern_run.h"

namespace {

using vek::test::Frame;
using vek::test::RecordSetup;
using vek::test::TransitionRun;

int Side(int width, int factor) { return std::max(1, width * factor / 320); }
int Blocks(int length, int side) { return (length + side - 1) / side; }

// Copies pixel (sx, sy) of `from` to (dx, dy) of `to`.
void CopyPixel(const Frame& from, int sx, int sy, Frame& to, int dx, int dy) {
  std::copy_n(from.Row(sy) + sx * 4, 4, to.Pixel(dx, dy));
}

// ---- DSP_TR_DissolveType

std::vector<int> Ranks(int count, uint32_t seed) {
  std::srand(seed);
  std::vector<int> ranks(count);
  for (int& rank : ranks) rank = std::rand() % 100;
  return ranks;
}

Frame ExpectedDissolve(const Frame& a, const Frame& b, int side, const std::vector<int>& ranks, float progress) {
  const int level = int(progress * 100), across = Blocks(a.width, side);
  Frame out = a;
  for (int y = 0; y < a.height; ++y) {
    for (int x = 0; x < a.width; ++x) {
      const bool showsB = level == 100 || (level > 0 && ranks[(y / side) * across + x / side] <= level);
      if (showsB) CopyPixel(b, x, y, out, x, y);
    }
  }
  return out;
}

TEST(DissolveType, BlocksUpToTheLevelShowB) {
  const int factors[] = {4, 8, 12};
  bool rankEqualToLevelSeen = false;
  for (int width : {79, 200}) {
    Frame a = Frame::Random(width, 23, 1), b = Frame::Random(width, 23, 2);
    for (int type : {0, 1, 2}) {
      const int side = Side(width, factors[type]);
      const std::vector<int> ranks = Ranks(Blocks(width, side) * Blocks(23, side), 1234);
      TransitionRun run("DSP_TR_DissolveType", width, 23);
      run.SetRaw("P2", int64_t(type));
      run.Prepare();
      for (float progress : {0.0f, 0.004f, 0.37f, 0.5f, 0.999f, 1.0f}) {
        SCOPED_TRACE("width " + std::to_string(width) + " type " + std::to_string(type) + " progress " +
                     std::to_string(progress));
        EXPECT_EQ(run.Render(a, b, progress).bytes, ExpectedDissolve(a, b, side, ranks, progress).bytes);
      }
      rankEqualToLevelSeen |= std::count(ranks.begin(), ranks.end(), 50) > 0;
    }
  }
  EXPECT_TRUE(rankEqualToLevelSeen) << "a block whose rank equals the level must be seen to show B";
  EXPECT_EQ(Side(79, 4), 1) << "below 80 pixels the fine grain is one pixel";
}

TEST(DissolveType, TypeChangesRedrawFromTheSeedAndProgressChangesDoNot) {
  Frame a = Frame::Random(200, 30, 3), b = Frame::Random(200, 30, 4);
  const std::vector<int> fine = Ranks(Blocks(200, 2) * Blocks(30, 2), 1234);
  const std::vector<int> coarse = Ranks(Blocks(200, 7) * Blocks(30, 7), 1234);
  TransitionRun run("DSP_TR_DissolveType", 200, 30);
  run.Prepare();
  EXPECT_EQ(run.Render(a, b, 0.5f).bytes, ExpectedDissolve(a, b, 2, fine, 0.5f).bytes);
  run.Record().randomSeed = 99;  // read only when the ranks are drawn
  EXPECT_EQ(run.Render(a, b, 0.3f).bytes, ExpectedDissolve(a, b, 2, fine, 0.3f).bytes);
  run.Record().randomSeed = 1234;
  run.SetRaw("P2", int64_t(2));
  EXPECT_EQ(run.Render(a, b, 0.3f).bytes, ExpectedDissolve(a, b, 7, coarse, 0.3f).bytes);
  run.SetRaw("P2", int64_t(0));
  EXPECT_EQ(run.Render(a, b, 0.3f).bytes, ExpectedDissolve(a, b, 2, fine, 0.3f).bytes);

  TransitionRun otherSeed("DSP_TR_DissolveType", 200, 30, RecordSetup{0, 0, 1235});
  EXPECT_NE(otherSeed.RenderOnce(a, b, 0.3f).bytes, ExpectedDissolve(a, b, 2, fine, 0.3f).bytes);
}

TEST(DissolveType, FieldModesRenderTheWholeFrame) {
  Frame a = Frame::Random(90, 9, 5), b = Frame::Random(90, 9, 6);
  const Frame frame = TransitionRun("DSP_TR_DissolveType", 90, 9).RenderOnce(a, b, 0.6f);
  for (int field : {1, 2}) {
    EXPECT_EQ(TransitionRun("DSP_TR_DissolveType", 90, 9, RecordSetup{0, field}).RenderOnce(a, b, 0.6f).bytes,
              frame.bytes);
  }
}

TEST(DissolveType, StatusWords) {
  Frame a = Frame::Random(8, 4, 5), b = Frame::Random(8, 4, 6), out = Frame::Filled(8, 4, 0);
  TransitionRun run("DSP_TR_DissolveType", 8, 4);
  const VekEffectCallbacks& c = run.Callbacks();
  run.Prepare();
  run.Attach(a, b, 0.5f);
  run.Record().output = out.Data();
  for (int64_t type : {-1, 3}) {
    run.SetRaw("P2", type);
    EXPECT_EQ(c.process(&run.Record()), VEK_E_FAIL) << type;
  }
  run.SetRaw("P2", int64_t(1));
  EXPECT_EQ(c.releaseResources(&run.Record()), VEK_S_OK);
  EXPECT_EQ(c.releaseResources(&run.Record()), VEK_S_OK);
  EXPECT_EQ(c.process(&run.Record()), VEK_S_OK) << "the ranks are drawn again when needed";
  run.Record().output = nullptr;
  EXPECT_EQ(c.process(&run.Record()), VEK_E_FAIL);
}

// ---- DSP_TR_Collapse

struct Path {
  int drift, fall;
};

std::vector<Path> Paths(int count, int width, int height, uint32_t seed) {
  std::srand(seed);
  std::vector<Path> paths(count);
  for (Path& path : paths) {
    path.drift = std::rand() % width + width / 2;
    path.fall = std::rand() % (2 * height) + height;
  }
  return paths;
}

// B, then every block of A moved along its path, later blocks over earlier ones. A block pushed past
// the left edge keeps its left part, drawn from column 0.
Frame ExpectedCollapse(const Frame& a, const Frame& b, int side, const std::vector<Path>& paths, float progress) {
  if (progress == 0.0f) return a;
  const int w = a.width, h = a.height, across = Blocks(w, side);
  const float e = progress * progress;
  Frame out = b;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const int x = int(i % across) * side, y = int(i / across) * side;
    const int toY = y + int(float(paths[i].fall) * e);
    int toX = x + int(float(paths[i].drift - w) * e) / 2;
    if (toY >= h || toX >= w || toX < -side) continue;
    int columns = side;
    if (toX < 0) columns += toX, toX = 0;
    for (int dy = 0; dy < side && y + dy < h && toY + dy < h; ++dy) {
      for (int dx = 0; dx < columns && x + dx < w && toX + dx < w; ++dx)
        CopyPixel(a, x + dx, y + dy, out, toX + dx, toY + dy);
    }
  }
  return out;
}

TEST(Collapse, BlocksLandWhereTheirSeededPathsEnd) {
  const int factors[] = {4, 8, 16, 20};
  for (auto [width, height] : {std::pair{79, 13}, {160, 40}}) {
    Frame a = Frame::Random(width, height, 7), b = Frame::Random(width, height, 8);
    for (int type : {0, 1, 2, 3}) {
      const int side = Side(width, factors[type]);
      const std::vector<Path> paths = Paths(Blocks(width, side) * Blocks(height, side), width, height, 1234);
      TransitionRun run("DSP_TR_Collapse", width, height);
      run.SetRaw("P2", int64_t(type));
      run.Prepare();
      for (float progress : {0.0f, 0.3f, 0.5f, 0.8f, 1.0f}) {
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height) + " type " + std::to_string(type) +
                     " progress " + std::to_string(progress));
        EXPECT_EQ(run.Render(a, b, progress).bytes, ExpectedCollapse(a, b, side, paths, progress).bytes);
      }
      EXPECT_EQ(run.Render(a, b, 1.0f).bytes, b.bytes) << "every fall is at least the height";
    }
  }
}

// Each pixel of A names its own place, so where it lands shows how far its block has moved.
TEST(Collapse, HalfwayEveryBlockHasDroppedAQuarterToThreeQuartersOfTheHeight) {
  constexpr int kWidth = 200, kHeight = 100;
  Frame a = Frame::Filled(kWidth, kHeight, 0), b = Frame::Filled(kWidth, kHeight, 0);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const uint8_t named[4] = {uint8_t(x), uint8_t(y), 0xA0, 255};
      std::copy_n(named, 4, a.Pixel(x, y));
    }
  }
  const Frame out = TransitionRun("DSP_TR_Collapse", kWidth, kHeight).RenderOnce(a, b, 0.5f);
  int moved = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const uint8_t* pixel = out.Row(y) + x * 4;
      if (pixel[3] == 0) continue;  // B
      ++moved;
      ASSERT_GE(y - pixel[1], kHeight / 4) << x << "," << y;
      ASSERT_LE(y - pixel[1], (3 * kHeight - 1) / 4) << x << "," << y;
      ASSERT_LE(std::abs(x - pixel[0]), kWidth / 16) << x << "," << y;
    }
  }
  EXPECT_GT(moved, kWidth * kHeight / 4);
}

TEST(Collapse, SizeChangesRedrawBothTablesAndProgressChangesDoNot) {
  constexpr int kWidth = 160, kHeight = 40;
  Frame a = Frame::Random(kWidth, kHeight, 9), b = Frame::Random(kWidth, kHeight, 10);
  const std::vector<Path> small = Paths(Blocks(kWidth, 2) * Blocks(kHeight, 2), kWidth, kHeight, 1234);
  const std::vector<Path> large = Paths(Blocks(kWidth, 10) * Blocks(kHeight, 10), kWidth, kHeight, 1234);
  TransitionRun run("DSP_TR_Collapse", kWidth, kHeight);
  run.Prepare();
  EXPECT_EQ(run.Render(a, b, 0.5f).bytes, ExpectedCollapse(a, b, 2, small, 0.5f).bytes);
  run.Record().randomSeed = 99;  // read only when the tables are drawn
  EXPECT_EQ(run.Render(a, b, 0.6f).bytes, ExpectedCollapse(a, b, 2, small, 0.6f).bytes);
  run.Record().randomSeed = 1234;
  run.SetRaw("P2", int64_t(3));
  EXPECT_EQ(run.Render(a, b, 0.6f).bytes, ExpectedCollapse(a, b, 10, large, 0.6f).bytes);
  run.SetRaw("P2", int64_t(0));
  EXPECT_EQ(run.Render(a, b, 0.6f).bytes, ExpectedCollapse(a, b, 2, small, 0.6f).bytes);

  TransitionRun otherSeed("DSP_TR_Collapse", kWidth, kHeight, RecordSetup{0, 0, 1235});
  EXPECT_NE(otherSeed.RenderOnce(a, b, 0.6f).bytes, ExpectedCollapse(a, b, 2, small, 0.6f).bytes);
}

TEST(Collapse, StatusWords) {
  Frame a = Frame::Random(8, 4, 5), b = Frame::Random(8, 4, 6), out = Frame::Filled(8, 4, 0);
  TransitionRun run("DSP_TR_Collapse", 8, 4, RecordSetup{0, 1});
  const VekEffectCallbacks& c = run.Callbacks();
  run.Prepare();
  run.Attach(a, b, 0.5f);
  run.Record().output = out.Data();
  EXPECT_EQ(c.process(&run.Record()), VEK_S_OK);
  EXPECT_FALSE(out.RowIsAll(1, 0)) << "the field mode is not read";
  run.SetRaw("P2", int64_t(4));
  EXPECT_EQ(c.process(&run.Record()), VEK_E_FAIL);
  run.SetRaw("P2", int64_t(0));
  EXPECT_EQ(c.releaseResources(&run.Record()), VEK_S_OK);
  EXPECT_EQ(c.releaseResources(&run.Record()), VEK_S_OK);
  EXPECT_EQ(c.process(&run.Record()), VEK_E_FAIL) << "released tables come back with Prepare, not Process";
  EXPECT_EQ(c.prepare(&run.Record()), VEK_S_OK);
  // A new frame size draws the tables again (the sanitizers see a table too short for it).
  Frame wideA = Frame::Random(9, 4, 7), wideB = Frame::Random(9, 4, 8), wideOut = Frame::Filled(9, 4, 0);
  run.Record().width = 9;
  run.Attach(wideA, wideB, 0.5f);
  run.Record().output = wideOut.Data();
  EXPECT_EQ(c.process(&run.Record()), VEK_S_OK);
}

}  // namespace
