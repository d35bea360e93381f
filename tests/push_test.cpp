// The push family through the reference host: expected frames are composed here from the rules.
#include <tuple>

#include "geometric_run.h"

namespace {

using namespace vek::test;

enum { kUp, kDown, kLeft, kRight };
const uint8_t kUntouchedPixel[4] = {kUntouched, kUntouched, kUntouched, kUntouched};

TEST(PushFamily, EndsFieldsOptionsAndTinyFrames) {
  for (const char* id : {"DSP_TR_Slide", "DSP_TR_Shove", "DSP_TR_Swap", "DSP_TR_Door"}) {
    ExpectEndsAreTheSources(id, 24, 16);
    ExpectTinyFramesRender(id);
  }
  for (const char* id : {"DSP_TR_Slide", "DSP_TR_Shove", "DSP_TR_Swap"}) {
    ExpectFieldsInterleave(id, 13, 9, {0.3f, 0.62f, 0.9f});
    ExpectBadOptionsAreRefused(id);
    ExpectMissingSourceAnswered(id, VEK_E_FAIL);
  }
  // Kept on purpose: Door answers success without its buffers, and draws nothing.
  ExpectMissingSourceAnswered("DSP_TR_Door", VEK_S_OK);
  Frame a = Frame::Random(9, 7, 1), b = Frame::Random(9, 7, 2);
  EXPECT_FRAME_EQ(RenderShot("DSP_TR_Door", a, b, {0.4f, 0, {1}}), RenderShot("DSP_TR_Door", a, b, {0.4f}))
      << "Door always draws the whole frame";
}

// Output (x, y) shows `first` at an offset before the split and `second` after it, along the
// direction's axis; a null frame is black.
Frame TwoPieces(int w, int h, bool vertical, int split, const Frame* first, int firstShift, const Frame* second,
                int secondShift, const uint8_t* black = nullptr) {
  return Compose(w, h, [=](int x, int y) {
    const int along = vertical ? y : x;
    const Frame* piece = along < split ? first : second;
    const int shift = along < split ? firstShift : secondShift;
    if (!piece) return black;
    return vertical ? At(*piece, x, y + shift) : At(*piece, x + shift, y);
  });
}

Frame Slide(const Frame& a, const Frame& b, int direction, int n) {
  const int w = a.width, h = a.height;
  switch (direction) {
    case kUp: return TwoPieces(w, h, true, h - n, &a, 0, &b, n - h);
    case kDown: return TwoPieces(w, h, true, n, &b, h - n, &a, 0);
    case kLeft: return TwoPieces(w, h, false, w - n, &a, 0, &b, n - w);
    default: return TwoPieces(w, h, false, n, &b, w - n, &a, 0);
  }
}

Frame Shove(const Frame& a, const Frame& b, int direction, int n) {
  const int w = a.width, h = a.height;
  switch (direction) {
    case kUp: return TwoPieces(w, h, true, h - n, &a, n, &b, n - h);
    case kDown: return TwoPieces(w, h, true, n, &b, h - n, &a, -n);
    case kLeft: return TwoPieces(w, h, false, w - n, &a, n, &b, n - w);
    default: return TwoPieces(w, h, false, n, &b, w - n, &a, -n);
  }
}

TEST(Slide, BMovesInOverAStillAEasedByTheCube) {
  Frame a = Frame::Random(100, 100, 3), b = Frame::Random(100, 100, 4);
  const Frame up = RenderShot("DSP_TR_Slide", a, b, {0.5f, kUp});
  for (int y = 0; y < 100; ++y) {  // rows 88 to 99 show B's rows 0 to 11
    ASSERT_TRUE(std::equal(up.Row(y), up.Row(y) + 400, y < 88 ? a.Row(y) : b.Row(y - 88))) << "row " << y;
  }
  for (auto [w, h] : {std::pair{23, 17}, {kStreamedWidth, kStreamedHeight}}) {
    Frame c = Frame::Random(w, h, 5), d = Frame::Random(w, h, 6);
    for (float p : {0.3f, 0.66f, 0.95f}) {
      for (int direction : {kUp, kDown, kLeft, kRight}) {
        const int n = int((direction < kLeft ? h : w) * (double(p) * p * p));
        EXPECT_FRAME_EQ(RenderShot("DSP_TR_Slide", c, d, {p, direction}), Slide(c, d, direction, n)) << p;
      }
    }
  }
}

TEST(Shove, BPushesAOutLinearly) {
  Frame a = Frame::Random(400, 3, 7), b = Frame::Random(400, 3, 8);
  const Frame left = RenderShot("DSP_TR_Shove", a, b, {0.25f, kLeft});
  for (int y = 0; y < 3; ++y) {  // columns 0-299 show A's 100-399, columns 300-399 B's 0-99
    EXPECT_TRUE(std::equal(left.Row(y), left.Row(y) + 1200, a.Row(y) + 400));
    EXPECT_TRUE(std::equal(left.Row(y) + 1200, left.Row(y) + 1600, b.Row(y)));
  }
  for (auto [w, h] : {std::pair{23, 17}, {kStreamedWidth, kStreamedHeight}}) {
    Frame c = Frame::Random(w, h, 9), d = Frame::Random(w, h, 10);
    for (float p : {0.1f, 0.5f, 0.87f}) {
      for (int direction : {kUp, kDown, kLeft, kRight}) {
        const int n = int((direction < kLeft ? h : w) * double(p));
        EXPECT_FRAME_EQ(RenderShot("DSP_TR_Shove", c, d, {p, direction}), Shove(c, d, direction, n)) << p;
      }
    }
  }
}

TEST(Swap, AOutThroughAnEdgeBlackInTheLayoutsOwnBytesThenBBackIn) {
  const uint8_t argbBlack[4] = {0, 0, 0, 0}, ayuvBlack[4] = {128, 128, 16, 0};
  for (auto [w, h, layouts] : {std::tuple{23, 17, 2}, {kStreamedWidth, kStreamedHeight, 1}}) {
    Frame a = Frame::Random(w, h, 11), b = Frame::Random(w, h, 12);
    for (int layout = 2 - layouts; layout < 2; ++layout) {
      const uint8_t* black = layout ? ayuvBlack : argbBlack;
      for (int direction : {kUp, kDown, kLeft, kRight}) {
        EXPECT_FRAME_EQ(RenderShot("DSP_TR_Swap", a, b, {0.5f, direction, {0, 0, 1, layout}}),
                        Compose(w, h, [&](int, int) { return black; }));
        for (float p : {0.2f, 0.45f, 0.7f, 0.9f}) {
          const Frame& moving = p <= 0.5f ? a : b;
          const int length = direction < kLeft ? h : w;
          // Up counts what is visible in single precision, the others what is hidden.
          const int k = direction == kUp ? int(2.0f * (p <= 0.5f ? 0.5f - p : p - 0.5f) * float(h))
                        : p <= 0.5f      ? int(2.0f * p * float(length))
                                         : int(2.0 * (1.0 - double(p)) * length);
          const Frame want = direction == kUp     ? TwoPieces(w, h, true, k, &moving, h - k, nullptr, 0, black)
                             : direction == kDown ? TwoPieces(w, h, true, k, nullptr, 0, &moving, -k, black)
                             : direction == kLeft ? TwoPieces(w, h, false, w - k, &moving, k, nullptr, 0, black)
                                                  : TwoPieces(w, h, false, k, nullptr, 0, &moving, -k, black);
          EXPECT_FRAME_EQ(RenderShot("DSP_TR_Swap", a, b, {p, direction, {0, 0, 1, layout}}), want)
              << w << "x" << h << " direction " << direction << " p " << p;
        }
      }
    }
  }
}

// Doors of d columns around an opening of o columns; door column c (from the edge) shows A's column
// c * (w/2) / d, c * q / d rows shorter at top and bottom, rows stretched over the whole of A.
Frame Door(const Frame& a, const Frame& b, float p) {
  const int w = a.width, h = a.height;
  const int o = int(w * double(p)) / 2 * 2, d = (w - o) / 2, q = int(h * double(p)) / 2 * 2 / 2 / 2;
  return Compose(w, h, [&](int x, int y) -> const uint8_t* {
    if (x >= d && x < d + o) return At(b, x, y);
    if (x >= d + o && x < w - d) return kUntouchedPixel;  // odd widths
    const bool left = x < d;
    const int c = left ? x : w - 1 - x, source = c * (w / 2) / d, top = c * q / d, height = h - 2 * top;
    if (y < top || y >= h - top) return At(b, x, y);
    return At(a, left ? source : w - 1 - source, (y - top) * h / height);
  });
}

TEST(Door, DoorsAreTrapezoidsOfAsHalvesOverBAndOddWidthsLeaveAColumn) {
  // Narrow doors are drawn group by group down each chunk of 32 rows (41 x 71 has three chunks),
  // wide ones (320 x 40 at p 0.3: four groups of 28 columns) row by row.
  for (auto [w, h] : {std::pair{40, 30}, {41, 71}, {7, 2}, {320, 40}}) {
    Frame a = Frame::Random(w, h, 13), b = Frame::Random(w, h, 14);
    for (float p : {0.0f, 0.3f, 0.55f, 0.8f, 1.0f}) {
      EXPECT_FRAME_EQ(RenderShot("DSP_TR_Door", a, b, {p}), Door(a, b, p)) << w << "x" << h << " p " << p;
    }
  }
  // Kept on purpose: the opening is even, so odd widths leave the middle column at p = 0 and the
  // last at p = 1 as the output held them.
  Frame a = Frame::Random(5, 3, 15), b = Frame::Random(5, 3, 16);
  const Frame closed = RenderShot("DSP_TR_Door", a, b, {0.0f}), open = RenderShot("DSP_TR_Door", a, b, {1.0f});
  for (int y = 0; y < 3; ++y) {
    EXPECT_EQ(std::memcmp(At(closed, 2, y), kUntouchedPixel, 4), 0);
    EXPECT_EQ(std::memcmp(At(open, 4, y), kUntouchedPixel, 4), 0);
    EXPECT_EQ(std::memcmp(At(closed, 0, y), At(a, 0, y), 4), 0);
    EXPECT_EQ(std::memcmp(At(open, 3, y), At(b, 3, y), 4), 0);
  }
}

}  // namespace
