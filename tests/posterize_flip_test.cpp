// Posterize and FlipCanvas through the reference host: every setting against its level table, the
// luma/chroma rule, the variants that must agree, and the flips with their field rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "effect_run.h"
#include "vek_dsp/colour.h"

namespace {

using vek::test::EffectRun;
using vek::test::Frame;
using vek::test::kUntouched;
using vek::test::RenderMode;

Frame Posterize(Frame& source, uint8_t setting, RenderMode mode = {}) {
  EffectRun run("DSP_VI_Posterize");
  run.Instance().Values()[0] = setting;  // raw, so that settings beyond the row's range get through
  return run.Render(source, mode);
}

// The table for L levels, from its definition: band t of the input maps to t * 256 / (L - 1).
uint8_t Level(int value, int levels) {
  const int band = (value * levels) >> 8;
  return band < 1 ? 0 : band < levels - 1 ? uint8_t(band * 256 / (levels - 1)) : 255;
}

// Every value in every colour byte over an odd pixel count, so that runs end between vector groups.
TEST(Posterize, EverySettingFollowsItsLevelTable) {
  Frame source = Frame::Random(37, 7, 3);
  for (std::size_t i = 0; i < source.bytes.size(); ++i) {
    if (i % 4 != 3) source.bytes[i] = uint8_t(i / 4 * (2 * (i % 4) + 1) + 85 * (i % 4));
  }
  for (int setting = 0; setting < 256; ++setting) {
    const uint32_t levels = 65u - uint32_t(setting);  // 0 gives 65 levels, beyond 64 it wraps round
    for (int workers : {1, 2}) {
      const Frame out = Posterize(source, uint8_t(setting), {.workers = workers});
      for (std::size_t i = 0; i < out.bytes.size(); ++i) {
        const bool copied = i % 4 == 3 || levels < 2 || levels > 64;
        ASSERT_EQ(out.bytes[i], copied ? source.bytes[i] : Level(source.bytes[i], int(levels)))
            << "setting " << setting << " byte " << i << " workers " << workers;
      }
    }
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

TEST(Posterize, FieldsVariantsAndWorkerCounts) {
  vek::test::ExpectVariantsAgree([](Frame& source, RenderMode mode) { return Posterize(source, 58, mode); },
                                 {1, 3, 4, 5, 13}, 11);
}

TEST(Posterize, AlternatingInstancesRebuildTheSharedTable) {
  Frame source = Frame::Random(6, 6, 9);
  EffectRun four("DSP_VI_Posterize"), two("DSP_VI_Posterize");
  two.Set("P1", "63");
  const Frame firstFour = four.Render(source), firstTwo = two.Render(source);
  EXPECT_EQ(four.Render(source).bytes, firstFour.bytes);
  EXPECT_EQ(two.Render(source).bytes, firstTwo.bytes);
  EXPECT_NE(firstFour.bytes, firstTwo.bytes);
}

Frame Flip(Frame& source, const std::string& mode, int field = 0) {
  return EffectRun("DSP_VI_FlipCanvas").Set("P1", mode).Render(source, {.fieldMode = field});
}

bool PixelEquals(const Frame& out, int x, int y, const Frame& source, int sx, int sy) {
  return std::equal(out.Row(y) + 4 * x, out.Row(y) + 4 * x + 4, source.Row(sy) + 4 * sx);
}

// 710 to 713 are a second numbering of the four modes; other values copy. 37 columns: two blocks of
// the sixteen-pixel mirror and a tail.
TEST(FlipCanvas, ModesMapPixelsAsNamed) {
  Frame source = Frame::Random(37, 3, 12);
  Frame hor = Flip(source, "Hor"), ver = Flip(source, "Ver"), both = Flip(source, "HnV");
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 37; ++x) {
      ASSERT_TRUE(PixelEquals(hor, x, y, source, 36 - x, y)) << x << "," << y;
      ASSERT_TRUE(PixelEquals(ver, x, y, source, x, 2 - y)) << x << "," << y;
      ASSERT_TRUE(PixelEquals(both, x, y, source, 36 - x, 2 - y)) << x << "," << y;
    }
  }
  EffectRun run("DSP_VI_FlipCanvas");
  auto withRaw = [&](uint32_t value) {
    std::memcpy(run.Instance().Values(), &value, sizeof value);
    return run.Render(source).bytes;
  };
  EXPECT_EQ(withRaw(711), hor.bytes);
  EXPECT_EQ(withRaw(713), both.bytes);
  for (uint32_t copying : {0u, 4u, 709u}) EXPECT_EQ(withRaw(copying), source.bytes) << copying;
}

TEST(FlipCanvas, FieldsUseTheWholeFrameMapping) {
  Frame source = Frame::Random(3, 4, 14);
  const Frame odd = Flip(source, "Ver", 2), whole = Flip(source, "Ver");
  for (int y = 0; y < 4; ++y) {
    EXPECT_TRUE(y % 2 == 1 ? odd.RowEquals(y, whole) : odd.RowIsAll(y, kUntouched)) << "row " << y;
  }
  Frame single = Frame::Random(3, 1, 15);
  EXPECT_TRUE(Flip(single, "Hor", 2).RowIsAll(0, kUntouched)) << "one row has no odd field";
}

// A source never attached: Process answers 0 and writes nothing, in every field mode.
TEST(VideoEffects, WithoutASourceNothingIsWritten) {
  for (const char* id : {"DSP_VI_Posterize", "DSP_VI_FlipCanvas", "DSP_VI_AutoLevels", "DSP_VI_AutoContrast",
                         "DSP_VI_Equalize", "DSP_VI_ContrastMask", "DSP_VI_Mosaic"}) {
    for (int field : {0, 1, 2}) {
      EffectRun run(id);
      VekEffectInstance& record = run.Instance().Record();
      record.width = 5, record.height = 3, record.fieldMode = field;
      Frame out = Frame::Filled(5, 3, kUntouched);
      run.Instance().Process(out.Data());  // throws unless the answer is 0
      EXPECT_TRUE(std::all_of(out.bytes.begin(), out.bytes.end(), [](uint8_t b) { return b == kUntouched; })) << id;
    }
  }
}

}  // namespace
