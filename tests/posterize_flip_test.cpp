// Posterize and FlipCanvas through the reference host: the level table, the luma/chroma rule, the
// variants that must agree, and the flips with their field rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "effect_run.h"
#include "vek_dsp/colour.h"

namespace {

using vek::test::EffectRun;
using vek::test::Frame;
using vek::test::kUntouched;
using vek::test::RenderMode;

Frame Posterize(Frame& source, int levelsSetting, RenderMode mode = {}) {
  return EffectRun("DSP_VI_Posterize").Set("P1", std::to_string(levelsSetting)).Render(source, mode);
}

// The table for L levels, from its definition: band t of the input maps to t * 256 / (L - 1).
uint8_t Level(int value, int levels) {
  const int band = (value * levels) >> 8;
  return band < 1 ? 0 : band < levels - 1 ? uint8_t(band * 256 / (levels - 1)) : 255;
}

TEST(Posterize, DefaultGivesFourLevelsAndKeepsAlpha) {
  Frame source = Frame::Random(16, 16, 3);
  Frame out = Posterize(source, 61);
  std::set<uint8_t> colours;
  for (std::size_t i = 0; i < out.bytes.size(); ++i) {
    if (i % 4 == 3) {
      ASSERT_EQ(out.bytes[i], source.bytes[i]);
    } else {
      colours.insert(out.bytes[i]);
      ASSERT_EQ(out.bytes[i], Level(source.bytes[i], 4));
    }
  }
  EXPECT_EQ(colours, (std::set<uint8_t>{0, 85, 170, 255}));
}

TEST(Posterize, TwoLevelsSplitAtTheMiddle) {
  Frame source = Frame::Random(8, 8, 4);
  Frame out = Posterize(source, 63);
  for (std::size_t i = 0; i < out.bytes.size(); ++i) {
    if (i % 4 != 3) {
      ASSERT_EQ(out.bytes[i], source.bytes[i] < 128 ? 0 : 255);
    }
  }
}

TEST(Posterize, SettingsWithoutAUsableLevelCountCopy) {
  Frame source = Frame::Random(7, 5, 5);
  EXPECT_EQ(Posterize(source, 0).bytes, source.bytes) << "65 levels";
  for (uint8_t setting : {64, 65, 200, 255}) {  // beyond the row's range, as a host may still send
    EffectRun run("DSP_VI_Posterize");
    run.Instance().Values()[0] = setting;
    EXPECT_EQ(run.Render(source).bytes, source.bytes) << int(setting);
  }
}

TEST(Posterize, LumaChromaCarriesTheRgbChangeBack) {
  Frame source = Frame::Random(9, 4, 6);
  const int levels = 65 - 60;
  Frame out = Posterize(source, 60, {.layout = 1});
  for (std::size_t p = 0; p < source.bytes.size(); p += 4) {
    const int y = source.bytes[p + 2], u = source.bytes[p + 1], v = source.bytes[p];
    const VekRgb rgb = VekYuvToRgb(uint8_t(y), uint8_t(u), uint8_t(v));
    const int dr = Level(rgb.r, levels) - rgb.r, dg = Level(rgb.g, levels) - rgb.g;
    const int db = Level(rgb.b, levels) - rgb.b;
    ASSERT_EQ(out.bytes[p + 2], VekClampByte(y + ((1053 * dr + 2064 * dg + 401 * db + 2048) >> 12))) << p;
    ASSERT_EQ(out.bytes[p + 1], VekClampByte(u + ((1798 * db - 1192 * dg - 606 * dr + 2048) >> 12))) << p;
    ASSERT_EQ(out.bytes[p], VekClampByte(v + ((1798 * dr - 1507 * dg - 291 * db + 2048) >> 12))) << p;
    ASSERT_EQ(out.bytes[p + 3], source.bytes[p + 3]);
  }
}

TEST(Posterize, VectorPathsAndWorkerCountsGiveTheSameBytes) {
  for (int width : {1, 3, 4, 5, 13}) {
    Frame source = Frame::Random(width, 11, width);
    for (int layout : {0, 1}) {
      for (int field : {0, 1, 2}) {
        const Frame reference = Posterize(source, 58, {.fieldMode = field, .layout = layout});
        for (RenderMode mode : {RenderMode{field, 3, 1, layout}, RenderMode{field, 0, 2, layout},
                                RenderMode{field, 3, 4, layout}}) {
          ASSERT_EQ(Posterize(source, 58, mode).bytes, reference.bytes)
              << "width " << width << " layout " << layout << " field " << field << " hint " << mode.renderHint
              << " workers " << mode.workers;
        }
      }
    }
  }
}

TEST(Posterize, AlternatingInstancesRebuildTheSharedTable) {
  Frame source = Frame::Random(6, 6, 9);
  EffectRun four("DSP_VI_Posterize"), two("DSP_VI_Posterize");
  two.Set("P1", "63");
  const Frame firstFour = four.Render(source);
  const Frame firstTwo = two.Render(source);
  EXPECT_EQ(four.Render(source).bytes, firstFour.bytes);
  EXPECT_EQ(two.Render(source).bytes, firstTwo.bytes);
  EXPECT_NE(firstFour.bytes, firstTwo.bytes);
}

Frame Flip(Frame& source, const std::string& mode, int field = 0) {
  return EffectRun("DSP_VI_FlipCanvas").Set("P1", mode).Render(source, {.fieldMode = field});
}

bool PixelEquals(const Frame& out, int x, int y, const Frame& source, int sx, int sy) {
  const uint8_t* a = out.Row(y) + 4 * x;
  const uint8_t* b = source.Row(sy) + 4 * sx;
  return std::equal(a, a + 4, b);
}

TEST(FlipCanvas, ModesMapPixelsAsNamed) {
  Frame source = Frame::Random(5, 3, 12);
  Frame hor = Flip(source, "Hor"), ver = Flip(source, "Ver"), both = Flip(source, "HnV");
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 5; ++x) {
      ASSERT_TRUE(PixelEquals(hor, x, y, source, 4 - x, y));
      ASSERT_TRUE(PixelEquals(ver, x, y, source, x, 2 - y));
      ASSERT_TRUE(PixelEquals(both, x, y, source, 4 - x, 2 - y));
    }
  }
  EXPECT_EQ(Flip(source, "No").bytes, source.bytes);
}

TEST(FlipCanvas, SecondNumberingAndUnknownValues) {
  Frame source = Frame::Random(4, 4, 13);
  EffectRun run("DSP_VI_FlipCanvas");
  auto withRaw = [&](uint32_t value) {
    std::memcpy(run.Instance().Values(), &value, sizeof value);
    return run.Render(source);
  };
  EXPECT_EQ(withRaw(711).bytes, Flip(source, "Hor").bytes);
  EXPECT_EQ(withRaw(713).bytes, Flip(source, "HnV").bytes);
  EXPECT_EQ(withRaw(4).bytes, source.bytes);
  EXPECT_EQ(withRaw(709).bytes, source.bytes);
}

TEST(FlipCanvas, FieldsUseTheWholeFrameMapping) {
  Frame source = Frame::Random(3, 4, 14);
  Frame odd = Flip(source, "Ver", 2);
  for (int y = 0; y < 4; ++y) {
    if (y % 2 == 1) {
      EXPECT_TRUE(odd.RowEquals(y, Flip(source, "Ver"))) << "odd row " << y << " reads row " << 3 - y;
    } else {
      EXPECT_TRUE(odd.RowIsAll(y, kUntouched)) << "even row " << y;
    }
  }
  Frame single = Frame::Random(3, 1, 15);
  EXPECT_TRUE(Flip(single, "Hor", 2).RowIsAll(0, kUntouched)) << "one row has no odd field";
}

}  // namespace
