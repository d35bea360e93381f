// The automatic corrections against their rules, computed here from histograms of the input.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "effect_run.h"
#include "image/cpu.h"
#include "video/kernels.h"

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

// Switched off they copy; field modes and the luma/chroma layout still correct the whole frame, and
// any worker count gives the same bytes.
TEST(AutoCorrections, OffCopiesAndEveryModeCorrectsTheWholeFrame) {
  Frame source = Frame::Random(25, 21, 1);  // 525 pixels: the cut points move
  for (uint8_t& byte : source.bytes) byte = uint8_t(60 + byte / 2);
  for (const char* id : {"DSP_VI_AutoLevels", "DSP_VI_AutoContrast", "DSP_VI_Equalize", "DSP_VI_ContrastMask"}) {
    EXPECT_EQ(EffectRun(id).Set("P1", "off").Render(source, {.fieldMode = 2}).bytes, source.bytes) << id;
    const Frame frame = EffectRun(id).Render(source);
    EXPECT_NE(frame.bytes, source.bytes) << id;
    // 32 workers split the 21 rows into bands of none or one row.
    for (vek::test::RenderMode mode : {vek::test::RenderMode{1, 0, 1, 0}, vek::test::RenderMode{2, 3, 2, 1},
                                       vek::test::RenderMode{0, 3, 32, 0}}) {
      EXPECT_EQ(EffectRun(id).Render(source, mode).bytes, frame.bytes)
          << id << " field " << mode.fieldMode << ", " << mode.workers << " workers";
    }
  }
}

// 500 pixels or more put both cut points at the value itself, and the spread is widened around
// it; below 500 the cut counts are 0, the points stay at 0 and 255, and the frame is unchanged.
// Equalised, a black frame stays black.
TEST(AutoCorrections, FlatFrames) {
  auto render = [](const char* id, int width, uint8_t value) {
    Frame flat = Flat(width, 20, value);
    return EffectRun(id).Render(flat);
  };
  for (uint8_t value : {8, 100, 247}) {
    const Frame out = render("DSP_VI_AutoLevels", 25, value);
    EXPECT_TRUE(ColourBytesAre(out, 127)) << int(value) << ": 8 of a spread of 16";
    EXPECT_EQ(out.bytes[3], 200) << "alpha is kept";
    EXPECT_TRUE(ColourBytesAre(render("DSP_VI_AutoContrast", 25, value), 127)) << int(value) << ": 1 of a spread of 2";
  }
  EXPECT_TRUE(ColourBytesAre(render("DSP_VI_AutoLevels", 25, 2), uint8_t(2 * 255 / 16)))
      << "the spread 2-8 .. 2+8 is shifted to 0 .. 16";
  EXPECT_TRUE(ColourBytesAre(render("DSP_VI_AutoLevels", 24, 100), 100)) << "480 pixels";
  EXPECT_TRUE(ColourBytesAre(render("DSP_VI_Equalize", 5, 0), 0));
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

// A narrow channel, a dark one and a full one, over an odd pixel count, at several clip fractions:
// levels stretches each channel by its own histogram, contrast all three by their common one.
TEST(Stretches, TablesFollowTheCutPointsOfTheHistograms) {
  Frame source = Frame::Random(41, 29, 3);
  for (std::size_t i = 0; i < source.bytes.size(); i += 4) {
    source.bytes[i] = uint8_t(40 + source.bytes[i] % 100);
    source.bytes[i + 2] = uint8_t(source.bytes[i + 2] / 2);
  }
  const uint32_t pixels = 41 * 29;
  std::array<std::array<uint32_t, 256>, 4> counts{};  // per colour byte, then of all three
  for (std::size_t i = 0; i < source.bytes.size(); ++i) {
    if (i % 4 != 3) ++counts[i % 4][source.bytes[i]], ++counts[3][source.bytes[i]];
  }
  for (const char* black : {"0", "0.002", "0.01"}) {
    for (const char* white : {"0", "0.005", "0.01"}) {
      const float blackFraction = std::stof(black), whiteFraction = std::stof(white);
      std::array<std::array<uint8_t, 256>, 4> tables;
      for (int c = 0; c < 3; ++c) tables[c] = Stretch(counts[c], pixels, blackFraction, whiteFraction, 16);
      tables[3] = Stretch(counts[3], 3 * pixels, blackFraction, whiteFraction, 2);
      const Frame levels = EffectRun("DSP_VI_AutoLevels").Set("P2", black).Set("P3", white).Render(source);
      const Frame contrast = EffectRun("DSP_VI_AutoContrast").Set("P2", black).Set("P3", white).Render(source);
      for (std::size_t i = 0; i < source.bytes.size(); ++i) {
        const uint8_t in = source.bytes[i];
        const bool alpha = i % 4 == 3;
        ASSERT_EQ(levels.bytes[i], alpha ? in : tables[i % 4][in]) << black << "/" << white << " byte " << i;
        ASSERT_EQ(contrast.bytes[i], alpha ? in : tables[3][in]) << black << "/" << white << " byte " << i;
      }
    }
  }
}

// The vector stretches fit a 16-bit multiplier to each spread; every spread, at every input byte,
// in every channel slot, must give the single-precision bytes. 259 pixels leave a scalar tail.
TEST(Stretches, VectorKernelsGiveTheSinglePrecisionBytesForEverySpread) {
  std::vector<std::pair<const char*, vek::StretchRowFn>> forms = {{"SSE2", vek::StretchRowSse2}};
  if (vek::Avx2KernelsUsable()) forms.emplace_back("AVX2", vek::StretchRowAvx2);
  constexpr int kPixels = 259;
  std::array<uint8_t, 4 * kPixels> source, out;
  for (int i = 0; i < kPixels; ++i) {
    const uint8_t pixel[4] = {uint8_t(i), uint8_t(255 - i), uint8_t(i * 7), uint8_t(i ^ 0x5a)};
    std::memcpy(&source[4 * i], pixel, 4);
  }
  for (int low = 0; low < 255; ++low) {
    for (int high = low + 1; high <= 255; ++high) {
      const vek::Stretch stretch{low, high, 255.0f / float(high - low)};
      const vek::Stretch mirrored{255 - high, 255 - low, stretch.scale};
      const vek::Stretch channels[3] = {stretch, mirrored, stretch};
      for (const auto& [name, row] : forms) {
        row(source.data(), out.data(), kPixels, channels);
        for (std::size_t i = 0; i < out.size(); ++i) {
          const uint8_t want = i % 4 == 3 ? source[i] : vek::Stretched(channels[i % 4], source[i]);
          ASSERT_EQ(out[i], want) << name << ", low " << low << " high " << high << " byte " << i;
        }
      }
    }
  }
}

// One worker's band is large enough to count bytes 0 and 1 as pairs, two and five workers' bands
// count them byte by byte: the histograms, and so the bytes, must agree.
TEST(AutoCorrections, LargeFramesGiveTheSameBytesForAnyWorkerCount) {
  Frame source = Frame::Random(640, 480, 9);
  for (uint8_t& byte : source.bytes) byte = uint8_t(40 + byte * 150 / 255);
  for (const char* id : {"DSP_VI_AutoLevels", "DSP_VI_AutoContrast", "DSP_VI_Equalize"}) {
    const Frame one = EffectRun(id).Render(source, {.renderHint = 3, .workers = 1});
    EXPECT_NE(one.bytes, source.bytes) << id;
    for (int workers : {2, 5}) {
      EXPECT_EQ(EffectRun(id).Render(source, {.renderHint = 3, .workers = workers}).bytes, one.bytes)
          << id << ", " << workers << " workers";
    }
  }
}

// The pair count spreads neighbouring pixels over two tables and pairs their byte 2: split and
// summed, the tables must give the byte counts, on runs of equal pixels and on the last pixels that
// do not make a group of four, added to what the histograms already hold.
TEST(AutoCorrections, PairCountsGiveTheByteCounts) {
  Frame source = Frame::Random(4099, 1, 21);
  for (std::size_t i = 4 * 1000; i < 4 * 1100; ++i) source.bytes[i] = source.bytes[i % 4 + 4 * 1000];
  const std::size_t pixels = source.bytes.size() / 4;
  uint32_t bytes[3][256], paired[3][256];
  for (int c = 0; c < 3; ++c) {
    for (int i = 0; i < 256; ++i) bytes[c][i] = paired[c][i] = uint32_t(c * 1000 + i);
  }
  vek::CountColourBytes(source.bytes.data(), pixels, bytes);
  std::vector<uint32_t> pairs(vek::kPairCountEntries);
  vek::CountColourPairs(source.bytes.data(), pixels, pairs.data(), paired);
  EXPECT_EQ(std::memcmp(bytes, paired, sizeof bytes), 0);
}

// One table for all three colour bytes, rising, and held to a slope of 1..4 per two entries, so
// that 32 input levels cannot reach far.
TEST(Equalize, OneRisingTableWithALimitedSlope) {
  Frame source = Frame::Random(63, 33, 5);
  for (uint8_t& byte : source.bytes) byte = uint8_t(100 + byte / 8);
  const Frame out = EffectRun("DSP_VI_Equalize").Render(source);
  std::array<int, 256> mapped;
  mapped.fill(-1);
  for (std::size_t i = 0; i < source.bytes.size(); ++i) {
    const int in = source.bytes[i];
    if (i % 4 == 3) {
      ASSERT_EQ(out.bytes[i], in);
      continue;
    }
    ASSERT_TRUE(mapped[in] < 0 || mapped[in] == out.bytes[i]) << "one table for all";
    mapped[in] = out.bytes[i];
  }
  for (int in = 101; in < 132; ++in) ASSERT_GE(mapped[in], mapped[in - 1]) << in;
  EXPECT_LT(mapped[131], 255);
  EXPECT_GE(mapped[131] - mapped[100], 12);
}

// Large frames look bytes 0 and 1 up as pairs: the same bytes as three single lookups, on an odd
// count and in place.
TEST(Equalize, PairLookUpGivesTheByteLookUpsBytes) {
  const Frame source = Frame::Random(257, 3, 12);
  const Frame tableBytes = Frame::Random(64, 1, 13);
  uint8_t table[256];
  std::copy_n(tableBytes.bytes.begin(), 256, table);
  const auto paired = std::make_unique<vek::PairedColourTable>();
  vek::PlacePairedTable(table, *paired);
  const std::size_t pixels = source.bytes.size() / 4;
  std::vector<uint8_t> bytes(source.bytes.size()), pairs(source.bytes.size());
  vek::LookUpColourBytes(source.bytes.data(), bytes.data(), pixels, vek::PlaceTable(table));
  vek::LookUpColourPairs(source.bytes.data(), pairs.data(), pixels, *paired);
  EXPECT_EQ(pairs, bytes);
  std::vector<uint8_t> inPlace = source.bytes;
  vek::LookUpColourPairs(inPlace.data(), inPlace.data(), pixels, *paired);
  EXPECT_EQ(inPlace, bytes);
}

// The AVX-512 lookup behind the corrections and posterize, where the processor has it: each colour
// byte through its own table, alpha kept, for every length of the masked last step, in place too,
// and nothing written past the run.
TEST(ChannelLookUps, VectorKernelUsesEachColourBytesOwnTable) {
  if (!vek::Avx512KernelsUsable()) GTEST_SKIP() << "no AVX-512 byte permutes on this processor";
  const Frame tableBytes = Frame::Random(192, 1, 21);
  vek::ChannelTables tables;
  std::copy_n(tableBytes.bytes.begin(), sizeof tables.channel, &tables.channel[0][0]);
  const Frame source = Frame::Random(16 * 4 + 15, 1, 22);
  for (std::size_t pixels = 16 * 4 - 1; pixels <= 16 * 4 + 15; ++pixels) {
    std::vector<uint8_t> out(source.bytes.size(), 0xA5), inPlace = source.bytes;
    vek::LookUpChannelsVbmi(source.bytes.data(), out.data(), pixels, tables);
    vek::LookUpChannelsVbmi(inPlace.data(), inPlace.data(), pixels, tables);
    for (std::size_t i = 0; i < out.size(); ++i) {
      const uint8_t in = source.bytes[i];
      const uint8_t want = i >= 4 * pixels ? 0xA5 : i % 4 == 3 ? in : tables.channel[i % 4][in];
      ASSERT_EQ(out[i], want) << pixels << " pixels, byte " << i;
      ASSERT_EQ(inPlace[i], i >= 4 * pixels ? in : want) << pixels << " pixels in place, byte " << i;
    }
  }
}

// Every grey with every colour byte that can come with it, at degrees inside the row's range and
// beyond it (written raw), where the products wrap in 32 bits.
TEST(ContrastMask, DegreeBlendsTheInvertedGreyOverlay) {
  Frame source = Frame::Random(511, 257, 6);  // the last row stays random, and the pixel count is odd
  for (int o = 0; o < 256; ++o) {
    for (int rest = 0; rest < 511; ++rest) {
      uint8_t* pixel = source.Pixel(rest, o);
      pixel[0] = uint8_t(o), pixel[1] = uint8_t(rest / 2), pixel[2] = uint8_t(rest - rest / 2);
    }
  }
  for (int32_t degree : {0, 1, 128, 255, 256, 300, -7}) {
    EffectRun run("DSP_VI_ContrastMask");
    std::memcpy(run.Instance().Values() + 4, &degree, sizeof degree);
    const Frame out = run.Render(source);
    for (std::size_t p = 0; p < source.bytes.size(); p += 4) {
      const int grey = 255 - (source.bytes[p] + source.bytes[p + 1] + source.bytes[p + 2]) / 3;
      for (int c = 0; c < 3; ++c) {
        const int o = source.bytes[p + c];
        const int overlay = o <= 127 ? grey * o / 127 : grey + (((o - 127) * (255 - grey)) >> 7);
        ASSERT_EQ(out.bytes[p + c], uint8_t((overlay * degree + o * (256 - degree)) >> 8)) << degree << " at " << p;
      }
      ASSERT_EQ(out.bytes[p + 3], source.bytes[p + 3]);
    }
  }
}

}  // namespace
