// The shutter and the splices through the reference host: expected frames composed from the rules.
#include "geometric_run.h"

namespace {

using namespace vek::test;

enum { kUp, kDown, kLeft, kRight };

TEST(StripeFamily, EndsFieldsOptionsAndTinyFrames) {
  for (const char* id : {"DSP_TR_Shutter", "DSP_TR_Splices"}) {
    ExpectEndsAreTheSources(id, 24, 16);
    ExpectTinyFramesRender(id);
    ExpectFieldsInterleave(id, 13, 9, {0.3f, 0.62f, 0.9f});
    ExpectBadOptionsAreRefused(id);
    ExpectMissingSourceAnswered(id, VEK_E_FAIL);
  }
}

// Slat i spans [L * i >> 4, L * (i + 1) >> 4); `k` counts A's rows for Up and B's lines otherwise,
// and a slat smaller than k is all of that picture.
Frame Shutter(const Frame& a, const Frame& b, int direction, int k) {
  return Compose(a.width, a.height, [&](int x, int y) {
    const int length = direction < kLeft ? a.height : a.width, at = direction < kLeft ? y : x;
    int slat = 0;
    while (((slat + 1) * length >> 4) <= at) ++slat;
    const int start = slat * length >> 4, end = (slat + 1) * length >> 4;
    const bool fromB = direction == kUp     ? at - start >= k
                       : direction == kDown ? at - start < k
                       : direction == kLeft ? at >= end - k
                                            : at < start + k;
    return At(fromB ? b : a, x, y);
  });
}

TEST(Shutter, SixteenSlatsShareOneDepthThatUpCountsFromTheOtherEnd) {
  Frame a = Frame::Random(30, 100, 1), b = Frame::Random(30, 100, 2);
  const Frame down = RenderShot("DSP_TR_Shutter", a, b, {0.5f, kDown});
  const Frame up = RenderShot("DSP_TR_Shutter", a, b, {0.5f, kUp});
  for (int y = 0; y < 6; ++y) {  // k = trunc(3.125) = 3 in slat 0, rows 0 to 5
    EXPECT_TRUE(down.RowEquals(y, y < 3 ? b : a)) << y;
    EXPECT_TRUE(up.RowEquals(y, y < 3 ? a : b)) << y;
  }
  EXPECT_FRAME_EQ(down, Shutter(a, b, kDown, 3));
  // Slats of unequal size, slats narrower than k, and a frame whose mixed rows are streamed.
  for (auto [w, h] : {std::pair{37, 23}, {100, 9}, {7, 11}, {kStreamedWidth, kStreamedHeight}}) {
    Frame c = Frame::Random(w, h, 3), d = Frame::Random(w, h, 4);
    for (float p : {0.2f, 0.5f, 0.81f, 0.97f}) {
      for (int direction : {kUp, kDown, kLeft, kRight}) {
        const int k = direction == kUp     ? int(h * (1.0 - p) * 0.0625)
                      : direction == kDown ? int(h * double(p) * 0.0625)
                                           : int(w * double(p) * 0.0625);
        EXPECT_FRAME_EQ(RenderShot("DSP_TR_Shutter", c, d, {p, direction}), Shutter(c, d, direction, k))
            << w << "x" << h << " direction " << direction << " p " << p;
      }
    }
  }
}

// Strip i spans [L * i / 50, L * (i + 1) / 50); even strips shove one way, odd ones the other.
Frame Splices(const Frame& a, const Frame& b, int type, float p) {
  const int w = a.width, h = a.height;
  return Compose(w, h, [&](int x, int y) {
    const int length = type == 0 ? h : w, at = type == 0 ? y : x;
    int strip = 0;
    while ((strip + 1) * length / 50 <= at) ++strip;
    const bool even = strip % 2 == 0;
    if (type == 0) {  // rows: even strips push A left, odd ones right
      const int n = int(double(p) * w);
      if (even) return x < w - n ? At(a, x + n, y) : At(b, x - (w - n), y);
      return x < n ? At(b, x + w - n, y) : At(a, x - n, y);
    }
    const int n = int(double(p) * h);  // columns: even strips push A up, odd ones down
    if (even) return y < h - n ? At(a, x, y + n) : At(b, x, y - (h - n));
    return y < n ? At(b, x, y + h - n) : At(a, x, y - n);
  });
}

TEST(Splices, FiftyStripsShoveInTurnAndNumbersDecideEvenWhereStripsAreEmpty) {
  Frame a = Frame::Random(60, 100, 5), b = Frame::Random(60, 100, 6);
  const Frame vertical = RenderShot("DSP_TR_Splices", a, b, {0.5f, 1});
  for (int y = 0; y < 50; ++y) {  // strip 0 is column 0, strip 1 column 1 (60 * i / 50)
    EXPECT_EQ(std::memcmp(At(vertical, 0, y), At(a, 0, y + 50), 4), 0) << "strip 0 row " << y;
    EXPECT_EQ(std::memcmp(At(vertical, 1, y), At(b, 1, y + 50), 4), 0) << "strip 1 row " << y;
  }
  for (auto [w, h] : {std::pair{60, 100}, {23, 120}, {120, 17}, {7, 3}, {kStreamedWidth, kStreamedHeight}}) {
    Frame c = Frame::Random(w, h, 7), d = Frame::Random(w, h, 8);
    for (int type : {0, 1}) {
      for (float p : {0.25f, 0.5f, 0.9f}) {
        EXPECT_FRAME_EQ(RenderShot("DSP_TR_Splices", c, d, {p, type}), Splices(c, d, type, p))
            << w << "x" << h << " type " << type << " p " << p;
      }
    }
  }
}

}  // namespace
