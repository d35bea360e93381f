// Images, the luma/chroma transform and the row split.
#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "image/image.h"
#include "image/rows.h"

namespace {

using namespace VEKImageUtility;

TEST(RgbToYuv, StudioRangeWithRounding) {
  const VekYuv black = VekRgbToYuv(0, 0, 0), white = VekRgbToYuv(255, 255, 255);
  EXPECT_EQ(black.y, 16);
  EXPECT_EQ(black.u, 128);
  EXPECT_EQ(black.v, 128);
  EXPECT_EQ(white.y, 235);
  EXPECT_EQ(white.u, 128);
  EXPECT_EQ(white.v, 128);
  const VekYuv red = VekRgbToYuv(255, 0, 0);
  EXPECT_EQ(red.y, (1053 * 255 + 0x10800) >> 12);
  EXPECT_EQ(red.v, (1798 * 255 + 0x80800) >> 12);
  EXPECT_EQ(red.u, (-606 * 255 + 0x80800) >> 12);
}

TEST(Images, PixelsAreWrittenInTheirLayout) {
  CImageARGB argb;
  ASSERT_TRUE(argb.Allocate(3, 2));
  argb.FillColour({10, 20, 30, 40});
  EXPECT_EQ(argb.Row(1)[8], 30);   // blue first
  EXPECT_EQ(argb.Row(1)[10], 10);  // red third
  EXPECT_EQ(argb.Row(1)[11], 40);

  CImageAYUV ayuv;
  ASSERT_TRUE(ayuv.Allocate(2, 2));
  ayuv.FillColour({0, 0, 0, 0});
  const uint8_t black[4] = {128, 128, 16, 0};
  EXPECT_TRUE(std::equal(black, black + 4, ayuv.Row(1) + 4));
}

TEST(Images, ViewsCopyTheirCommonArea) {
  std::vector<uint8_t> host(4 * 4 * 2, 0);
  CImageARGB view;
  view.Attach(host.data(), 4, 2);
  CImageARGB small;
  ASSERT_TRUE(small.Allocate(2, 3));
  small.Fill(0xFFFFFFFF);
  view.CopyFrom(small);
  EXPECT_EQ(host[7], 0xFF);
  EXPECT_EQ(host[8], 0x00) << "columns beyond the smaller image stay";
  EXPECT_EQ(host[16 + 7], 0xFF);
  EXPECT_FALSE(small.Allocate(0, 5));
  EXPECT_TRUE(small.Empty());
}

TEST(Rows, FieldModesVisitTheirRows) {
  const vek::RowSet even = vek::RowsFor(VEK_FIELD_EVEN, 5), odd = vek::RowsFor(VEK_FIELD_ODD, 5);
  EXPECT_EQ(even.count, 3);
  EXPECT_EQ(odd.count, 2);
  EXPECT_EQ(odd.first, 1);
  EXPECT_EQ(vek::RowsFor(VEK_FIELD_ODD, 1).count, 0);
  EXPECT_EQ(vek::RowsFor(7, 5).count, 5) << "an unknown mode renders the whole frame";
}

TEST(Rows, WorkerBandsCoverEveryRowOnceAtTheSplitBounds) {
  for (int height : {1, 2, 7, 480, 1081}) {
    for (int workers : {1, 2, 3, 4, 7, 16}) {
      std::vector<std::atomic<int>> visits(height);
      std::vector<std::pair<int, int>> bands(workers, {-1, -1});
      vek::ParallelRows(workers, height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) ++visits[y];
        if (workers >= 2) {
          for (int k = 0; k < workers; ++k) {
            if (int(float(k) * float(height) / float(workers)) == y0) bands[k] = {y0, y1};
          }
        }
      });
      for (int y = 0; y < height; ++y) ASSERT_EQ(visits[y], 1) << height << " rows, " << workers << " workers";
      if (workers < 2) continue;
      for (int k = 0; k < workers; ++k) {
        const int y0 = int(float(k) * float(height) / float(workers));
        const int y1 = int(float(k + 1) * float(height) / float(workers));
        if (y0 < y1) {
          EXPECT_EQ(bands[k], std::make_pair(y0, y1));
        }
      }
    }
  }
}

}  // namespace
