// The colour adjustment: its tone curves against the knot formulas, the composed map and the
// hue-keeping rule through the reference host, the variants that must agree, the status words, and
// the properties of the recovery, fill-light, vibrance, hue, saturation, sharpening and compare stages.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "color/kernels.h"
#include "color/stage_tables.h"
#include "color/tone_curves.h"
#include "effect_run.h"
#include "image/cpu.h"
#include "module/catalogue.h"
#include "platform/platform.h"
#include "vek_dsp/colour.h"

namespace {

using vek::test::EffectRun;
using vek::test::Frame;
using vek::test::kUntouched;
using vek::test::RenderMode;
namespace colour = vek::colour;

using Settings = std::vector<std::pair<const char*, std::string>>;

// Renders with the settings; a brightness, when given, is written raw into the value block (far
// beyond its row it makes a map that falls in places, where the order of equal bytes shows).
Frame Adjust(Frame& source, const Settings& settings, RenderMode mode = {}, const int32_t* brightness = nullptr) {
  EffectRun run("DSP_CO_ColorAdj");
  for (const auto& [key, value] : settings) run.Set(key, value);
  if (brightness) std::memcpy(run.Instance().Values(), brightness, sizeof *brightness);
  return run.Render(source, mode);
}

// Pixel k is the grey (k, k, k) with alpha k, so a render shows the map the effect applied.
Frame GreyRamp() {
  Frame frame = Frame::Filled(256, 1, 0);
  for (int k = 0; k < 256; ++k) std::fill_n(frame.Pixel(k, 0), 4, uint8_t(k));
  return frame;
}

std::vector<int> Table(int (*knots)(double, colour::SplineKnots&), double value) {
  colour::SplineKnots spline{};
  int32_t table[256];
  colour::BuildCurveTable(spline, knots(value, spline), table);
  return {table, table + 256};
}

int Rounded(double value) {
  return std::clamp(int(std::floor(std::min(value, 255.0) + 0.5)), 0, 255);
}

TEST(ToneCurves, KnotsFollowTheirQuadraticsAndTheSplineItsShape) {
  for (double b : {-100.0, -37.0, 50.0, 100.0}) {
    const std::vector<int> table = Table(colour::BrightnessKnots, b);
    const double y128 = b > 0 ? 1.4511 * b - 0.0031 * b * b + 127.07 : 0.0036 * b * b + 1.1329 * b + 127.71;
    const double y220 = b > 0 ? 0.7818 * b - 0.0047 * b * b + 221.93 : 0.0002 * b * b + 1.2236 * b + 219.86;
    EXPECT_EQ(table[128], Rounded(y128)) << "brightness " << b;
    EXPECT_EQ(table[220], Rounded(y220)) << "brightness " << b;
  }
  for (double c : {-100.0, 0.0, 40.0}) {
    const std::vector<int> table = Table(colour::ContrastKnots, c);
    EXPECT_EQ(table[32], Rounded(-0.0004 * c * c - 0.1359 * c + 31.098)) << "contrast " << c;
    EXPECT_EQ(table[224], Rounded(0.0004 * c * c + 0.1341 * c + 224.88)) << "contrast " << c;
    EXPECT_EQ(table[128], 128);
  }
  for (double e : {-4.0, -1.5, 0.0, 2.0}) {
    const double y100 = e > 0 ? 26.157 * e - 0.2143 * e * e + 99.371 : 4.9286 * e * e + 41.414 * e + 99.457;
    EXPECT_EQ(Table(colour::ExposureKnots, e)[100], Rounded(y100)) << "exposure " << e;
  }
  // Below zero the last exposure knot is not white: at -4 it pulls the top down to 64.69.
  EXPECT_EQ(Table(colour::ExposureKnots, -4)[255], 65);
  EXPECT_EQ(Table(colour::ExposureKnots, 0)[255], 255) << "260.29 is cut to 255";
  EXPECT_EQ(Table(colour::ContrastKnots, 0)[32], 31) << "contrast 0 is near, not at, the identity";

  // Brightness 50 between the knots 128 and 160: the segment's slope s equals d_i, so the spline
  // reduces to y_i + delta s t / ((d_k - s) t u + s) with d_k the next segment's slope.
  const double b = 50;
  const double y128 = 1.4511 * b - 0.0031 * b * b + 127.07, y160 = 1.4941 * b - 0.006 * b * b + 160.39;
  const double s = (y160 - y128) / 32, dk = (1.2166 * b - 0.0063 * b * b + 193.75 - y160) / 32;
  const std::vector<int> table = Table(colour::BrightnessKnots, b);
  for (int v : {133, 144, 155}) {
    const double t = (v - 128) / 32.0, u = 1 - t;
    EXPECT_EQ(table[v], Rounded(y128 + (y160 - y128) * s * t / ((dk - s) * t * u + s))) << v;
  }
  for (double value : {-100.0, -50.0, 1.0, 100.0}) {
    for (auto knots : {colour::BrightnessKnots, colour::ContrastKnots}) {
      const std::vector<int> curve = Table(knots, value);
      EXPECT_TRUE(curve[0] == 0 && curve[255] == 255 && std::is_sorted(curve.begin(), curve.end())) << value;
    }
  }
}

TEST(ToneCurves, ValuesBeyondAnyRangeStayInTheTable) {
  for (double e : {std::nan(""), 1e30, -1e30}) {
    for (int entry : Table(colour::ExposureKnots, e)) ASSERT_TRUE(entry >= 0 && entry <= 255) << e;
  }
  EXPECT_EQ(colour::TruncateToInt32(std::nan("")), INT32_MIN);
  EXPECT_EQ(colour::TruncateToInt32(3e9), INT32_MIN);
  EXPECT_EQ(colour::TruncateToInt32(-2.9), -2);
}

TEST(ColorAdj, GreyFollowsExposureOfContrastOfBrightness) {
  Frame ramp = GreyRamp();
  const Frame out = Adjust(ramp, {{"P1", "-40"}, {"P2", "60"}, {"P7", "1.25"}});
  const std::vector<int> b = Table(colour::BrightnessKnots, -40), c = Table(colour::ContrastKnots, 60);
  const std::vector<int> e = Table(colour::ExposureKnots, 1.25);
  int otherOrderDiffers = 0;
  for (int g = 0; g < 256; ++g) {
    const uint8_t* p = out.Row(0) + 4 * g;
    ASSERT_TRUE(p[0] == e[c[b[g]]] && p[1] == p[0] && p[2] == p[0] && p[3] == g) << g;
    otherOrderDiffers += b[c[e[g]]] != e[c[b[g]]];
  }
  EXPECT_GT(otherOrderDiffers, 0) << "the settings must tell the orders apart";
}

// The hue-keeping rule written from its description: max and min through the map, the middle one
// kept at its place between them and held between md and M[md].
void ApplyRule(const uint8_t* in, uint8_t* out, const std::vector<int>& map) {
  const int c[3] = {in[0], in[1], in[2]};
  int hi = 0, lo;
  if (!(c[1] <= c[0] && c[2] <= c[0])) hi = c[1] >= c[0] && c[1] >= c[2] ? 1 : 2;
  if (hi == 0)
    lo = c[1] <= c[2] ? 1 : 2;
  else if (hi == 1)
    lo = c[0] <= c[2] ? 0 : 2;
  else
    lo = c[0] <= c[1] ? 0 : 1;
  const int mid = 3 - hi - lo, mx = c[hi], mn = c[lo], md = c[mid];
  int t = map[md];
  if (mx != mn) t = map[mn] + ((mx - mn) / 2 + (map[mx] - map[mn]) * (md - mn)) / (mx - mn);
  out[hi] = uint8_t(map[mx]);
  out[lo] = uint8_t(map[mn]);
  out[mid] = uint8_t(std::clamp(t, std::min(md, map[md]), std::max(md, map[md])));
  out[3] = in[3];
}

TEST(ColorAdj, ToneMapKeepsHueByTheRuleInBothVariants) {
  const Settings settings = {{"P2", "-30"}, {"P7", "-0.7"}};
  for (int32_t brightness : {45, 500}) {
    Frame ramp = GreyRamp();
    const Frame mapped = Adjust(ramp, settings, {}, &brightness);
    std::vector<int> map(256);
    for (int g = 0; g < 256; ++g) map[g] = mapped.Row(0)[4 * g];
    ASSERT_EQ(std::is_sorted(map.begin(), map.end()), brightness <= 100) << "a raw 500 makes the map fall somewhere";
    Frame source = Frame::Random(61, 9, 21);
    for (int x = 0; x < 61; x += 3) {  // equal bytes: three, then two in each position
      std::fill_n(source.Pixel(x, 0) + 1, 2, source.Pixel(x, 0)[0]);
      source.Pixel(x, 1)[2] = source.Pixel(x, 1)[1];
      source.Pixel(x, 2)[2] = source.Pixel(x, 2)[0];
      source.Pixel(x, 3)[1] = source.Pixel(x, 3)[0];
    }
    for (int hint : {0, 3}) {
      const Frame out = Adjust(source, settings, {.renderHint = hint}, &brightness);
      for (int y = 0; y < source.height; ++y) {
        for (int x = 0; x < source.width; ++x) {
          uint8_t expected[4];
          ApplyRule(source.Pixel(x, y), expected, map);
          ASSERT_TRUE(std::equal(expected, expected + 4, out.Row(y) + 4 * x))
              << "brightness " << brightness << " hint " << hint << " at " << x << "," << y;
        }
      }
    }
  }
}

// The vector tone kernels against the scalar one on rows of every length up to a few vectors, with
// rising and falling maps and pixels whose bytes tie in every way the rule orders.
TEST(ColorAdj, ToneKernelsGiveTheScalarBytes) {
  std::mt19937 random(5);
  std::vector<uint8_t> rising(256), jumbled(256);
  for (int v = 0; v < 256; ++v) rising[v] = uint8_t(std::min(255, 20 + v * 7 / 8 + v % 3));
  for (uint8_t& entry : jumbled) entry = uint8_t(random());
  for (int pixels = 1; pixels <= 70; pixels += pixels < 40 ? 1 : 29) {
    Frame source = Frame::Random(pixels, 1, uint32_t(pixels));
    for (int x = 0; x < pixels; x += 2) {
      uint8_t* p = source.Pixel(x, 0);
      const int tie = int(random() % 4);  // bytes 0 = 1 = 2, 0 = 1, 1 = 2, 0 = 2
      if (tie == 0 || tie == 1) p[1] = p[0];
      if (tie == 0 || tie == 2) p[2] = p[1];
      if (tie == 3) p[2] = p[0];
    }
    for (const std::vector<uint8_t>* map : {&rising, &jumbled}) {
      std::vector<uint8_t> scalar(source.bytes.size()), vector(source.bytes.size(), kUntouched);
      colour::ToneRow(source.Row(0), scalar.data(), pixels, map->data(), 255);
      colour::ToneRowSsse3(source.Row(0), vector.data(), pixels, map->data(), 255);
      ASSERT_EQ(vector, scalar) << "SSSE3, " << pixels << " pixels";
      if (!vek::Avx512KernelsUsable()) continue;
      std::fill(vector.begin(), vector.end(), kUntouched);
      colour::ToneRowAvx512(source.Row(0), vector.data(), pixels, map->data(), 255);
      ASSERT_EQ(vector, scalar) << "AVX-512, " << pixels << " pixels";
    }
  }
}

TEST(ColorAdj, VectorPathAndWorkerCountsGiveTheSameBytes) {
  const Settings every = {{"P1", "20"},  {"P2", "15"}, {"P3", "0.3"}, {"P4", "1.4"}, {"P5", "1.2"},
                          {"P7", "0.4"}, {"P8", "60"}, {"P9", "40"},  {"P10", "50"}};
  for (const Settings& settings : {Settings{{"P1", "-60"}, {"P7", "2"}}, every,
                                   Settings{{"P4", "0.6"}, {"P5", "2"}, {"P6", "1"}, {"P10", "-80"}}}) {
    vek::test::ExpectVariantsAgree([&](Frame& source, RenderMode mode) { return Adjust(source, settings, mode); },
                                   {1, 7, 8, 9, 33, 300}, 10);
  }
}

// The vector sharpening computes the coring factors instead of looking them up: luma rows whose
// laplacians take every value from -1020 to 1020 must give the scalar kernel's bytes.
TEST(ColorAdj, VectorSharpeningAgreesForEveryLaplacian) {
  constexpr int kWidth = 1022;
  std::vector<uint8_t> light(kWidth, 255), dark(kWidth, 0), spikes(kWidth), up(kWidth), down(kWidth);
  for (int x = 0; x < kWidth; ++x) {
    spikes[x] = x % 2 ? 0 : 255;  // laplacians from 510 to 1020 and from -510 to -1020
    up[x] = uint8_t(std::min(x / 2, 255)), down[x] = uint8_t(x / 2 - up[x]);  // up + down = x / 2
  }
  int32_t coring[colour::kCoringEntries];
  colour::BuildCoring(coring);
  const Frame pixels = Frame::Random(kWidth, 1, 3);
  for (float s : {2.0f, 0.37f}) {
    for (bool rgb : {true, false}) {
      const colour::SharpenKernel kernel{int64_t((s * 4 + 1) * 65536), int64_t(-s * 65536), coring, rgb};
      for (const std::vector<uint8_t>* centre : {&light, &dark, &spikes}) {
        std::vector<uint8_t> scalar(pixels.bytes.size()), vector(pixels.bytes.size());
        colour::SharpenRow(up.data(), centre->data(), down.data(), pixels.Row(0), scalar.data(), kWidth, 0, kWidth,
                           kernel);
        colour::SharpenRowSse41(up.data(), centre->data(), down.data(), pixels.Row(0), vector.data(), kWidth, 0, kWidth,
                                kernel);
        EXPECT_EQ(scalar, vector) << "sharpness " << s << (rgb ? " RGB" : " luma/chroma");
      }
    }
  }
}

TEST(ColorAdj, DefaultsCopyEveryLayoutAndFieldAndAnEmptyFieldWritesNothing) {
  Frame source = Frame::Random(13, 7, 5), oneRow = Frame::Random(9, 1, 6);
  for (int layout : {0, 1}) {
    EXPECT_EQ(Adjust(source, {}, {.layout = layout}).bytes, source.bytes);
    EXPECT_EQ(Adjust(source, {{"P5", "0"}, {"P6", "2"}}, {.layout = layout}).bytes, source.bytes);
    const Frame even = Adjust(source, {}, {.fieldMode = 1, .layout = layout});
    for (int y = 0; y < 7; ++y) EXPECT_TRUE(y % 2 ? even.RowIsAll(y, kUntouched) : even.RowEquals(y, source)) << y;
    for (const Settings& settings : {Settings{{"P5", "1"}}, Settings{{"P4", "0.5"}, {"P5", "1"}}}) {
      EXPECT_TRUE(Adjust(oneRow, settings, {.fieldMode = 2, .layout = layout}).RowIsAll(0, kUntouched));
    }
  }
}

// Through this program's own copy of the plug-in, whose debug output the test can catch.
TEST(ColorAdj, BrightnessTraceGoesToTheDebugOutput) {
  const VekEffectDescriptor& row =
      *std::find_if(vek::EffectTable().begin(), vek::EffectTable().end(),
                    [](const VekEffectDescriptor& r) { return std::string(r.classId) == "DSP_CO_ColorAdj"; });
  std::vector<uint8_t> privateBlock(row.privateBytes), values(64), source(16, 90), out(16);
  VekEffectInstance instance{};
  instance.privateBlock = privateBlock.data();
  instance.paramValues = values.data();
  instance.width = instance.height = 2;
  instance.output = out.data();
  VekInputSample sample{};
  sample.privateBlock = privateBlock.data();
  sample.frame = source.data();
  row.callbacks.init(&instance);
  row.callbacks.prepare(&instance);
  row.callbacks.setInput(0, &sample);
  std::string trace;
  vek::platform::SetDebugSink([](const char* text, void* sink) { *static_cast<std::string*>(sink) += text; }, &trace);
  EXPECT_EQ(row.callbacks.process(&instance), VEK_S_OK);
  EXPECT_EQ(trace, "") << "no tone stage, no trace";
  const int32_t brightness = -25;
  std::memcpy(values.data(), &brightness, sizeof brightness);
  EXPECT_EQ(row.callbacks.process(&instance), VEK_S_OK);
  vek::platform::SetDebugSink(nullptr, nullptr);
  EXPECT_EQ(trace, "Brightness Parameter is -25.000000");
  row.callbacks.destroy(&instance);
}

// Chroma and the three bytes of pixel x.
struct Rgb {
  int b, g, r;
  int Chroma() const { return std::max({b, g, r}) - std::min({b, g, r}); }
  // The middle byte's place between the minimum and the maximum.
  double Place() const { return double(b + g + r - 2 * std::min({b, g, r}) - std::max({b, g, r})) / Chroma(); }
};
Rgb RgbAt(const Frame& frame, int x, int y = 0) {
  const uint8_t* p = frame.Row(y) + 4 * x;
  return {p[0], p[1], p[2]};
}
Frame Pixels(std::initializer_list<Rgb> pixels) {
  Frame frame = Frame::Filled(int(pixels.size()), 1, 255);
  int x = 0;
  for (const Rgb& p : pixels) {
    uint8_t* q = frame.Pixel(x++, 0);
    q[0] = uint8_t(p.b), q[1] = uint8_t(p.g), q[2] = uint8_t(p.r);
  }
  return frame;
}

TEST(ColorAdjStages, SaturationGreysAtZeroAndBoostsWithoutShiftingHue) {
  Frame source = Frame::Random(40, 6, 8);
  const Frame grey = Adjust(source, {{"P4", "0"}}), boosted = Adjust(source, {{"P4", "2"}});
  for (int y = 0; y < 6; ++y) {
    for (int x = 0; x < 40; ++x) {
      const Rgb in = RgbAt(source, x, y), out = RgbAt(boosted, x, y);
      ASSERT_EQ(RgbAt(grey, x, y).Chroma(), 0) << x << "," << y;
      ASSERT_GE(out.Chroma(), in.Chroma());
      ASSERT_EQ(in.b <= in.g, out.b <= out.g || in.b == in.g) << x << "," << y;
      ASSERT_EQ(in.g <= in.r, out.g <= out.r || in.g == in.r) << x << "," << y;
      if (in.Chroma() > 20) {
        ASSERT_NEAR(out.Place(), in.Place(), 0.08) << x << "," << y;
      }
    }
  }
}

TEST(ColorAdjStages, VibranceFavoursMutedColoursAndSparesSkin) {
  // A muted and a vivid blue; a skin tone and the same bytes as a pale blue.
  Frame source = Pixels({{150, 140, 120}, {200, 60, 20}, {140, 172, 224}, {224, 172, 140}});
  const Frame out = Adjust(source, {{"P10", "80"}});
  auto growth = [&](int x) { return double(RgbAt(out, x).Chroma()) / RgbAt(source, x).Chroma(); };
  EXPECT_GT(growth(0), growth(1) + 0.3);
  EXPECT_GT(growth(1), 1.0);
  EXPECT_LT(growth(2), 1.2) << "skin";
  EXPECT_GT(growth(3), growth(2) + 0.2);
  const Frame muted = Adjust(source, {{"P10", "-100"}});
  EXPECT_LT(RgbAt(muted, 0).Chroma() * 2, RgbAt(source, 0).Chroma());
  EXPECT_GT(RgbAt(muted, 1).Chroma(), RgbAt(source, 1).Chroma() * 8 / 10);
}

// Fill light adds 4.9 x^2 (1 - x / 0.7)^2 below 0.7, then recovery takes 0.75 u^2 (1 - u) with
// u = (x - 0.5) / 0.5 above 0.5.
int LightLevel(int v, double recovery, double fill) {
  double x = v / 255.0;
  if (x < 0.7) x += fill * 4.9 * x * x * (1 - x / 0.7) * (1 - x / 0.7);
  if (x > 0.5) x -= recovery * 0.75 * ((x - 0.5) / 0.5) * ((x - 0.5) / 0.5) * (1 - (x - 0.5) / 0.5);
  return std::clamp(int(x * 255 + 0.5), 0, 255);
}

TEST(ColorAdjStages, FillLightAndRecoveryFollowTheirCurvesOnTheBrightestByte) {
  Frame ramp = GreyRamp();
  const Frame filled = Adjust(ramp, {{"P9", "100"}}), recovered = Adjust(ramp, {{"P8", "100"}});
  for (int v = 0; v < 256; ++v) {
    ASSERT_EQ(filled.Row(0)[4 * v], LightLevel(v, 0, 1)) << v;
    ASSERT_EQ(recovered.Row(0)[4 * v], LightLevel(v, 1, 0)) << v;
  }
  // Colours keep their ratios: the gain of the brightest byte applies to all three.
  Frame dark = Pixels({{10, 20, 80}});
  const Rgb lifted = RgbAt(Adjust(dark, {{"P9", "100"}}), 0);
  EXPECT_EQ(lifted.r, LightLevel(80, 0, 1));
  EXPECT_NEAR(lifted.g * 4.0, lifted.r, 4);
}

TEST(ColorAdjStages, AThirdOfAHueTurnPermutesTheBytes) {
  Frame source = Frame::Random(50, 4, 31);
  const Frame out = Adjust(source, {{"P3", "0.6666667"}});  // 120 degrees: red to green
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 50; ++x) {
      const Rgb in = RgbAt(source, x, y), turned = RgbAt(out, x, y);
      ASSERT_TRUE(turned.g == in.r && turned.b == in.g && turned.r == in.b) << x << "," << y;
    }
  }
}

TEST(ColorAdjStages, SharpeningSteepensWithoutHalos) {
  Frame flat = Frame::Filled(9, 9, 120);
  EXPECT_EQ(Adjust(flat, {{"P5", "2"}}).bytes, flat.bytes);
  // A hard step cannot get sharper, and its flat sides must not get rims.
  Frame step = Frame::Filled(12, 5, 255);
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 12; ++x) std::fill_n(step.Pixel(x, y), 3, uint8_t(x < 6 ? 50 : 200));
  }
  EXPECT_EQ(Adjust(step, {{"P5", "2"}}).bytes, step.bytes);
  // A soft step gets steeper within its range; a thin line gets brighter.
  Frame soft = step;
  const uint8_t ramp[12] = {50, 50, 50, 50, 60, 90, 160, 190, 200, 200, 200, 200};
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 12; ++x) std::fill_n(soft.Pixel(x, y), 3, ramp[x]);
    std::fill_n(soft.Pixel(10, y), 3, uint8_t(230));
  }
  const Frame out = Adjust(soft, {{"P5", "2"}});
  for (int x = 0; x < 10; ++x) {
    EXPECT_TRUE(RgbAt(out, x, 2).b >= 50 && RgbAt(out, x, 2).b <= 200) << x;
  }
  EXPECT_LT(RgbAt(out, 5, 2).b, 90);
  EXPECT_GT(RgbAt(out, 6, 2).b, 160);
  EXPECT_EQ(RgbAt(out, 2, 2).b, 50);
  EXPECT_GT(RgbAt(out, 10, 2).b, 230) << "a thin line is a peak";
  EXPECT_EQ(RgbAt(out, 10, 2).g, RgbAt(out, 10, 2).r) << "luma only: grey stays grey";
}

TEST(ColorAdjStages, CompareShowsTheOriginalBesideTheResult) {
  Frame source = Frame::Random(10, 6, 44);
  for (const Settings& base : {Settings{{"P4", "0.3"}}, Settings{{"P4", "0.3"}, {"P5", "1"}}}) {
    const Frame result = Adjust(source, base);
    Settings leftRight = base, topBottom = base;
    leftRight.push_back({"P6", "1"});
    topBottom.push_back({"P6", "2"});
    const Frame split = Adjust(source, leftRight), stacked = Adjust(source, topBottom);
    for (int y = 0; y < 6; ++y) {
      EXPECT_TRUE(std::equal(split.Row(y), split.Row(y) + 20, source.Row(y))) << y;
      EXPECT_TRUE(std::equal(split.Row(y) + 20, split.Row(y) + 40, result.Row(y) + 20)) << y;
      EXPECT_TRUE(stacked.RowEquals(y, y < 3 ? source : result)) << y;
    }
  }
}

TEST(ColorAdjStages, LumaChromaFramesKeepNeutralPixelsExactly) {
  // Colours inside the RGB range, as luma/chroma frames of real pictures hold them.
  Frame source = Frame::Random(16, 2, 12);
  for (int x = 0; x < 16; ++x) {
    uint8_t* p = source.Pixel(x, 1);
    const VekYuv yuv = VekRgbToYuv(p[2], p[1], p[0]);
    p[0] = x % 2 ? yuv.v : 128, p[1] = x % 2 ? yuv.u : 128, p[2] = yuv.y;
  }
  Frame out = Adjust(source, {{"P4", "0"}, {"P10", "60"}, {"P3", "0.2"}}, {.layout = 1});
  for (int x = 0; x < 16; x += 2) EXPECT_TRUE(std::equal(out.Pixel(x, 1), out.Pixel(x, 1) + 4, source.Pixel(x, 1)));
  for (int x = 1; x < 16; x += 2) {
    EXPECT_NEAR(out.Pixel(x, 1)[0], 128, 2) << x;
    EXPECT_NEAR(out.Pixel(x, 1)[1], 128, 2) << x;
  }
}

}  // namespace
