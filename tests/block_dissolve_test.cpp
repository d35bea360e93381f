// The block dissolve and the collapse, driven through the reference host, against block patterns
// drawn here from the instance's seed by the rules each effect describes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "geometric_run.h"
#include "pattern_run.h"

namespace {

using vek::test::Frame;
using vek::test::RecordSetup;
using vek::test::TransitionRun;

int Side(int width, int factor) { return std::max(1, width * factor / 320); }
int Blocks(int length, int side) { return (length + side - 1) / side; }

void CopyPixel(const Frame& from, int sx, int sy, Frame& to, int dx, int dy) {
  std::copy_n(from.Row(sy) + sx * 4, 4, to.Pixel(dx, dy));
}

// The blocks of the dissolve show B once their rank rand() % 100, drawn block by block from the
// seed, is at most trunc(progress * 100).
Frame ExpectedDissolve(const Frame& a, const Frame& b, int type, float progress, uint32_t seed) {
  const int grains[] = {4, 8, 12};
  const int side = Side(a.width, grains[type]), across = Blocks(a.width, side);
  std::srand(seed);
  std::vector<int> ranks(std::size_t(across) * Blocks(a.height, side));
  for (int& rank : ranks) rank = std::rand() % 100;
  const int level = int(progress * 100);
  Frame out = a;
  for (int y = 0; y < a.height; ++y) {
    for (int x = 0; x < a.width; ++x) {
      if (level == 100 || (level > 0 && ranks[(y / side) * across + x / side] <= level)) CopyPixel(b, x, y, out, x, y);
    }
  }
  return out;
}

// B, then every block of A moved along its path (drift, then fall, drawn block by block from the
// seed), later blocks over earlier ones. A block pushed past the left edge keeps its left part,
// drawn from column 0.
Frame ExpectedCollapse(const Frame& a, const Frame& b, int type, float progress, uint32_t seed) {
  if (progress == 0.0f) return a;
  const int sizes[] = {4, 8, 16, 20};
  const int w = a.width, h = a.height, side = Side(w, sizes[type]), across = Blocks(w, side);
  const float e = progress * progress;
  std::srand(seed);
  Frame out = b;
  for (int i = 0; i < across * Blocks(h, side); ++i) {
    const int drift = std::rand() % w + w / 2, fall = std::rand() % (2 * h) + h;
    const int x = i % across * side, y = i / across * side, toY = y + int(float(fall) * e);
    int toX = x + int(float(drift - w) * e) / 2, columns = side;
    if (toY >= h || toX >= w || toX < -side) continue;
    if (toX < 0) columns += toX, toX = 0;
    for (int dy = 0; dy < side && y + dy < h && toY + dy < h; ++dy) {
      for (int dx = 0; dx < columns && x + dx < w && toX + dx < w; ++dx) {
        CopyPixel(a, x + dx, y + dy, out, toX + dx, toY + dy);
      }
    }
  }
  return out;
}

struct Pattern {
  const char* classId;
  int types;
  Frame (*expected)(const Frame&, const Frame&, int, float, uint32_t);
};
const Pattern kPatterns[] = {{"DSP_TR_DissolveType", 3, ExpectedDissolve}, {"DSP_TR_Collapse", 4, ExpectedCollapse}};

// Widths below 80 make the finest blocks one pixel; the tallest frame is higher than the bands the
// collapse is built in, and the largest one of the frame sizes that are written with streaming
// stores. The field mode is not read: every call renders the whole frame.
TEST(BlockPatterns, FramesFollowTheSeededPatternInEveryFieldMode) {
  for (const Pattern& pattern : kPatterns) {
    for (auto [width, height] : {std::pair{79, 13}, {200, 23}, {90, 150}, {1031, 1019}}) {
      Frame a = Frame::Random(width, height, 7), b = Frame::Random(width, height, 8);
      for (int type = 0; type < pattern.types; ++type) {
        TransitionRun run(pattern.classId, width, height, RecordSetup{0, type % 3});
        run.SetRaw("P2", int64_t(type));
        run.Prepare();
        for (float progress : {0.0f, 0.004f, 0.2f, 0.37f, 0.5f, 0.8f, 0.999f, 1.0f}) {
          SCOPED_TRACE(std::string(pattern.classId) + " " + std::to_string(width) + "x" + std::to_string(height) +
                       " type " + std::to_string(type) + " progress " + std::to_string(progress));
          EXPECT_EQ(run.Render(a, b, progress).bytes, pattern.expected(a, b, type, progress, 1234).bytes);
        }
      }
    }
  }
}

TEST(BlockPatterns, TypeChangesRedrawFromTheSeedAndProgressChangesDoNot) {
  for (const Pattern& pattern : kPatterns) {
    SCOPED_TRACE(pattern.classId);
    Frame a = Frame::Random(160, 40, 9), b = Frame::Random(160, 40, 10);
    TransitionRun run(pattern.classId, 160, 40);
    run.Prepare();
    EXPECT_EQ(run.Render(a, b, 0.5f).bytes, pattern.expected(a, b, 0, 0.5f, 1234).bytes);
    run.Record().randomSeed = 99;  // read only when the pattern is drawn
    EXPECT_EQ(run.Render(a, b, 0.3f).bytes, pattern.expected(a, b, 0, 0.3f, 1234).bytes);
    run.Record().randomSeed = 1234;
    run.SetRaw("P2", int64_t(2));
    EXPECT_EQ(run.Render(a, b, 0.3f).bytes, pattern.expected(a, b, 2, 0.3f, 1234).bytes);
    run.SetRaw("P2", int64_t(0));
    EXPECT_EQ(run.Render(a, b, 0.3f).bytes, pattern.expected(a, b, 0, 0.3f, 1234).bytes);
    TransitionRun otherSeed(pattern.classId, 160, 40, RecordSetup{0, 0, 1235});
    EXPECT_NE(otherSeed.RenderOnce(a, b, 0.3f).bytes, pattern.expected(a, b, 0, 0.3f, 1234).bytes);
  }
}

TEST(BlockPatterns, TypesOutsideTheListAreRefused) {
  vek::test::ExpectBadOptionsAreRefused("DSP_TR_DissolveType");
  vek::test::ExpectBadOptionsAreRefused("DSP_TR_Collapse");
}

}  // namespace
