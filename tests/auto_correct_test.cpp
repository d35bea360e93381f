// The automatic corrections against their rules, computed here from histograms of the input.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "effect_run.h"

namespace {

using vek::test::EffectRun;
using vek::test::Frame;

Frame Flat(int width, int height, uint8_t value) {
  Frame frame = Frame::Filled(width, height, value);
  for (std::size_t p = 3; p < frame.bytes.size(); p += 4) frame.bytes[p] = 200;
  return frame;
}

bool ColourBytesAre(const Frame& frame, uint8_t value) {
  for (std::size_t i = 0; i < frame.bytes.size(); ++i) {
    if (i % 4 != 3 && frame.bytes[i] != value) return false;
  }
  return true;
}

TEST(AutoCorrections, SwitchedOffTheyCopyTheFrame) {
  Frame source = Frame::Random(9, 7, 1);
  for (const char* id : {"DSP_VI_AutoLevels", "DSP_VI_AutoContrast", "DSP_VI_Equalize", "DSP_VI_ContrastMask"}) {
    EXPECT_EQ(EffectRun(id).Set("P1", "off").Render(source).bytes, source.bytes) << id;
  }
}

TEST(AutoCorrections, EveryRowIsWrittenInFieldModes) {
  Frame source = Frame::Random(6, 5, 2);
  for (const char* id : {"DSP_VI_AutoLevels", "DSP_VI_Equalize", "DSP_VI_ContrastMask"}) {
    EXPECT_EQ(EffectRun(id).Render(source, {.fieldMode = 1}).bytes, EffectRun(id).Render(source).bytes) << id;
  }
}

TEST(LevelsStretch, FlatFrameIsWidenedToSixteenLevels) {
  for (uint8_t value : {8, 100, 247}) {
    Frame flat = Flat(25, 20, value);  // 500 pixels: the cut points find the value itself
    Frame out = EffectRun("DSP_VI_AutoLevels").Render(flat);
    EXPECT_TRUE(ColourBytesAre(out, 127)) << int(value);
    EXPECT_EQ(out.bytes[3], 200) << "alpha is kept";
  }
  Frame edge = Flat(25, 20, 2);  // the spread 2-8 .. 2+8 is shifted to 0 .. 16
  EXPECT_TRUE(ColourBytesAre(EffectRun("DSP_VI_AutoLevels").Render(edge), uint8_t(2 * 255 / 16)));
}

TEST(ContrastStretch, FlatFrameIsWidenedToTwoLevels) {
  Frame flat = Flat(25, 20, 90);
  EXPECT_TRUE(ColourBytesAre(EffectRun("DSP_VI_AutoContrast").Render(flat), 127));
}

// The stretch of a histogram between its cut points, from the definition.
std::array<uint8_t, 256> Stretch(const std::array<uint32_t, 256>& histogram, uint32_t total, float black,
                                 float white, int spread) {
  const uint32_t blackCount = uint32_t(float(total) * black), whiteCount = uint32_t(float(total) * white);
  int low = 0, high = 255;
  for (uint32_t sum = histogram[0]; sum < blackCount; sum += histogram[++low]) {}
  for (uint32_t sum = histogram[255]; sum < whiteCount; sum += histogram[--high]) {}
  if (high - low < spread) {
    const int d = low - high + spread;
    high += d >> 1;
    low += (d >> 1) - d;
    if (high > 255) low += 255 - high, high = 255;
    else if (low < 0) high -= low, low = 0;
  }
  std::array<uint8_t, 256> table;
  for (int i = 0; i < 256; ++i) {
    table[i] = i <= low ? 0 : i >= high ? 255 : uint8_t(float(i - low) * (255.0f / float(high - low)));
  }
  return table;
}

TEST(LevelsStretch, EachChannelIsStretchedByItsOwnHistogram) {
  Frame source = Frame::Random(40, 30, 3);
  for (std::size_t i = 0; i < source.bytes.size(); i += 4) {
    source.bytes[i] = uint8_t(40 + source.bytes[i] % 100);       // a narrow blue channel
    source.bytes[i + 2] = uint8_t(source.bytes[i + 2] / 2);      // a dark red one
  }
  Frame out = EffectRun("DSP_VI_AutoLevels").Render(source);
  for (int channel = 0; channel < 3; ++channel) {
    std::array<uint32_t, 256> histogram{};
    for (std::size_t i = channel; i < source.bytes.size(); i += 4) ++histogram[source.bytes[i]];
    const auto table = Stretch(histogram, 1200, 0.002f, 0.002f, 16);
    for (std::size_t i = channel; i < source.bytes.size(); i += 4) {
      ASSERT_EQ(out.bytes[i], table[source.bytes[i]]) << "channel " << channel;
    }
  }
}

TEST(ContrastStretch, OneTableForAllChannels) {
  Frame source = Frame::Random(40, 30, 4);
  for (std::size_t i = 0; i < source.bytes.size(); ++i) source.bytes[i] = uint8_t(60 + source.bytes[i] / 3);
  EffectRun run("DSP_VI_AutoContrast");
  run.Set("P2", "0.01").Set("P3", "0.005");
  Frame out = run.Render(source);
  std::array<uint32_t, 256> histogram{};
  for (std::size_t i = 0; i < source.bytes.size(); ++i) {
    if (i % 4 != 3) ++histogram[source.bytes[i]];
  }
  const auto table = Stretch(histogram, 3600, 0.01f, 0.005f, 2);
  for (std::size_t i = 0; i < source.bytes.size(); ++i) {
    ASSERT_EQ(out.bytes[i], i % 4 == 3 ? source.bytes[i] : table[source.bytes[i]]) << i;
  }
}

TEST(Equalize, BlackFrameStaysBlack) {
  Frame black = Flat(10, 10, 0);
  EXPECT_TRUE(ColourBytesAre(EffectRun("DSP_VI_Equalize").Render(black), 0));
}

TEST(Equalize, OutputIsMonotoneAndSpansTheRange) {
  Frame source = Frame::Random(64, 32, 5);
  for (std::size_t i = 0; i < source.bytes.size(); ++i) source.bytes[i] = uint8_t(100 + source.bytes[i] / 8);
  Frame out = EffectRun("DSP_VI_Equalize").Render(source);
  std::array<int, 256> mapped;
  mapped.fill(-1);
  for (std::size_t i = 0; i < source.bytes.size(); ++i) {
    if (i % 4 == 3) continue;
    ASSERT_TRUE(mapped[source.bytes[i]] < 0 || mapped[source.bytes[i]] == out.bytes[i]) << "one table for all";
    mapped[source.bytes[i]] = out.bytes[i];
  }
  int previous = -1;
  for (int value : mapped) {
    if (value < 0) continue;
    EXPECT_GE(value, previous);
    previous = value;
  }
  // With the slope held to 1..4 per two entries, 32 input levels cannot reach far.
  EXPECT_LT(mapped[100 + 31], 255);
  EXPECT_GE(mapped[100 + 31] - mapped[100], 12);
}

TEST(ContrastMask, DegreeBlendsTheInvertedGreyOverlay) {
  Frame source = Frame::Random(12, 8, 6);
  EXPECT_EQ(EffectRun("DSP_VI_ContrastMask").Set("P2", "0").Render(source).bytes, source.bytes);
  for (int degree : {128, 255}) {
    Frame out = EffectRun("DSP_VI_ContrastMask").Set("P2", std::to_string(degree)).Render(source);
    for (std::size_t p = 0; p < source.bytes.size(); p += 4) {
      const int grey = 255 - (source.bytes[p] + source.bytes[p + 1] + source.bytes[p + 2]) / 3;
      for (int c = 0; c < 3; ++c) {
        const int o = source.bytes[p + c];
        const int overlay = o <= 127 ? grey * o / 127 : grey + (((o - 127) * (255 - grey)) >> 7);
        ASSERT_EQ(out.bytes[p + c], (overlay * degree + o * (256 - degree)) >> 8) << p;
      }
      ASSERT_EQ(out.bytes[p + 3], source.bytes[p + 3]);
    }
  }
}

}  // namespace
