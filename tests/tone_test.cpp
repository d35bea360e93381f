// The threshold, X-ray and colour-split transitions, driven through the reference host, against
// their rules worked out here; all six pattern transitions on small and odd frames; the AVX-512 rows
// of the X-ray and every form of the colour split's rows against their references.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "geometric_run.h"
#include "image/cpu.h"
#include "pattern_run.h"
#include "transitions/kernels.h"
#include "vek_dsp/colour.h"

namespace {

using vek::test::Frame;
using vek::test::kUntouched;
using vek::test::RecordSetup;
using vek::test::TransitionRun;
using vek::test::Uniform;

// Rows of `expected` that the field visits must match; the others must be untouched.
void ExpectField(const Frame& out, const Frame& expected, int field) {
  for (int y = 0; y < out.height; ++y) {
    const bool visited = field == 0 || y % 2 == field - 1;
    EXPECT_TRUE(visited ? out.RowEquals(y, expected) : out.RowIsAll(y, kUntouched))
        << "field " << field << " row " << y;
  }
}

// ---- DSP_TR_Threshold

Frame ExpectedThreshold(const Frame& a, const Frame& b, int type, float progress, bool lumaChroma) {
  if (progress == 0.0f) return a;
  if (progress == 1.0f) return b;
  const int t = int(progress * 255);
  Frame out = a;
  for (std::size_t p = 0; p < out.bytes.size(); p += 4) {
    const uint8_t* key = (type == 0 ? a : b).bytes.data() + p;
    const bool keepsA = lumaChroma ? key[2] >= t : key[0] + key[1] + key[2] >= 3 * t;
    if (!keepsA) std::copy_n(b.bytes.begin() + p, 4, out.bytes.begin() + p);
  }
  return out;
}

TEST(Threshold, KeysAtThreeTimesTheThresholdKeepAAndProgressIsTruncated) {
  const uint8_t bright[4] = {100, 100, 200, 9}, dim[4] = {100, 100, 180, 9}, exact[4] = {127, 127, 127, 9},
                below[4] = {127, 127, 126, 9}, other[4] = {1, 2, 3, 4};
  // The four keys repeat along a row long enough for every vector step.
  constexpr int kWidth = 36;
  Frame a = Frame::Filled(kWidth, 1, 0), b = Uniform(kWidth, 1, other);
  const uint8_t* keys[] = {bright, dim, exact, below};
  for (int x = 0; x < kWidth; ++x) std::copy_n(keys[x % 4], 4, a.Pixel(x, 0));
  Frame out = TransitionRun("DSP_TR_Threshold", kWidth, 1).RenderOnce(a, b, 0.5f);  // t = 127
  for (int x = 0; x < kWidth; x += 4) {
    EXPECT_TRUE(vek::test::PixelIs(out.Pixel(x, 0), bright)) << "sum 400 >= 381, at " << x;
    EXPECT_TRUE(vek::test::PixelIs(out.Pixel(x + 1, 0), other)) << "sum 380 < 381, at " << x + 1;
    EXPECT_TRUE(vek::test::PixelIs(out.Pixel(x + 2, 0), exact)) << "sum 381 = 3t keeps A, at " << x + 2;
    EXPECT_TRUE(vek::test::PixelIs(out.Pixel(x + 3, 0), other)) << "at " << x + 3;
  }
  const uint8_t white[4] = {255, 255, 255, 255};
  Frame whiteA = Uniform(kWidth, 1, white);
  EXPECT_EQ(TransitionRun("DSP_TR_Threshold", kWidth, 1).RenderOnce(whiteA, b, 1.0f).bytes, b.bytes)
      << "progress 1 shows B whole, though a white key would keep A by the rule";

  // With "Two" the black of B shows from t = 1, that is from progress 1/255.
  const uint8_t black[4] = {0, 0, 0, 255}, lit[4] = {9, 9, 9, 255};
  Frame litA = Uniform(2, 1, lit), blackB = Uniform(2, 1, black);
  TransitionRun run("DSP_TR_Threshold", 2, 1);
  run.SetRaw("P2", int64_t(1));
  run.Prepare();
  EXPECT_EQ(run.Render(litA, blackB, 0.0039f).bytes, litA.bytes) << "t = 0";
  EXPECT_EQ(run.Render(litA, blackB, 0.004f).bytes, blackB.bytes) << "t = 1";
}

TEST(Threshold, FramesAndFieldsFollowTheKeyRuleInBothLayouts) {
  for (int width : {1, 3, 4, 5, 13, 37}) {
    Frame a = Frame::Random(width, 5, 31), b = Frame::Random(width, 5, 32);
    for (int layout : {0, 1}) {
      for (int type : {0, 1}) {
        for (float progress : {0.0f, 0.2f, 0.5f, 0.9f, 1.0f}) {
          const Frame expected = ExpectedThreshold(a, b, type, progress, layout == 1);
          for (int field : {0, 1, 2}) {
            SCOPED_TRACE("width " + std::to_string(width) + " layout " + std::to_string(layout) + " type " +
                         std::to_string(type) + " progress " + std::to_string(progress));
            TransitionRun run("DSP_TR_Threshold", width, 5, RecordSetup{layout, field});
            run.SetRaw("P2", int64_t(type));
            ExpectField(run.RenderOnce(a, b, progress), expected, field);
          }
        }
      }
    }
  }
}

// ---- DSP_TR_XRay

int Luma(const uint8_t* p) { return (1053 * p[2] + 2064 * p[1] + 401 * p[0] + 67584) >> 12; }
int GreyLuma(int grey) { return VekRgbToYuv(uint8_t(grey), uint8_t(grey), uint8_t(grey)).y; }
int Tone(int negative, float p) {
  const int shift = int((p * 2.5f - 1.0f) * 4.0f * 255.0f - 765.0f), u = shift + 4 * negative;
  return u > negative ? std::min(u, 255) : negative;
}

// A's grey negative up to 0.4, then its tone to white up to 0.8, then white to B. In the luma/chroma
// layout the greys are reached in luma, with neutral chroma: the luma moves toward that of the grey
// negative, chroma toward 128.
Frame ExpectedXRay(const Frame& a, const Frame& b, float p, bool lumaChroma) {
  Frame out = a;
  const VekYuv white = VekRgbToYuv(255, 255, 255);
  const int whiteBytes[3] = {lumaChroma ? white.v : 255, lumaChroma ? white.u : 255, lumaChroma ? white.y : 255};
  for (std::size_t i = 0; i < out.bytes.size(); i += 4) {
    const uint8_t* pa = a.bytes.data() + i;
    const uint8_t* pb = b.bytes.data() + i;
    const int negative = 255 - (lumaChroma ? pa[2] : Luma(pa));
    for (int c = 0; c < 3; ++c) {
      const int grey = lumaChroma ? (c == 2 ? GreyLuma(negative) : 128) : negative;
      int value;
      if (p <= 0.4f) {
        const int k = int(p * 2.5f * 1024.0f);
        value = pa[c] + (((grey - pa[c]) * k) >> 10);
      } else if (p <= 0.8f) {
        value = lumaChroma ? (c == 2 ? GreyLuma(Tone(negative, p)) : 128) : Tone(negative, p);
      } else {
        const int k = int((p * 5.0f - 4.0f) * 1024.0f);
        value = (pb[c] * k + (1024 - k) * whiteBytes[c]) >> 10;
        out.bytes[i + 3] = pb[3];
      }
      out.bytes[i + c] = uint8_t(value);
    }
  }
  return out;
}

TEST(XRay, EveryPhaseFollowsItsFormulaInBothLayouts) {
  for (int width : {1, 3, 4, 5, 8, 13, 17, 37}) {
    Frame a = Frame::Random(width, 4, 41), b = Frame::Random(width, 4, 42);
    for (int layout : {0, 1}) {
      for (float progress : {0.0f, 0.13f, 0.2f, 0.4f, 0.41f, 0.55f, 0.7f, 0.8f, 0.81f, 0.93f, 1.0f}) {
        SCOPED_TRACE("width " + std::to_string(width) + " layout " + std::to_string(layout) + " progress " +
                     std::to_string(progress));
        const int field = width % 3;  // every field mode renders the whole frame
        TransitionRun run("DSP_TR_XRay", width, 4, RecordSetup{layout, field});
        EXPECT_EQ(run.RenderOnce(a, b, progress).bytes, ExpectedXRay(a, b, progress, layout == 1).bytes);
      }
    }
  }
  const uint8_t white[4] = {255, 255, 255, 77};
  Frame whiteA = Uniform(2, 1, white), b = Frame::Random(2, 1, 43);
  const uint8_t negative[4] = {20, 20, 20, 77};
  EXPECT_TRUE(vek::test::PixelIs(TransitionRun("DSP_TR_XRay", 2, 1).RenderOnce(whiteA, b, 0.4f).Row(0), negative))
      << "white has luma 235, so its negative is 20";
}

// ---- DSP_TR_ColorSplit

// B, then every pixel of A where its tone sends it, `fall` rows a class, rows top to bottom: the
// lowest source row wins.
Frame ExpectedFall(const Frame& a, const Frame& b, int fall, bool lumaChroma) {
  Frame out = b;
  for (int y = 0; y < a.height; ++y) {
    for (int x = 0; x < a.width; ++x) {
      const uint8_t* pixel = a.Row(y) + x * 4;
      const int tone = lumaChroma ? (pixel[2] + 31) >> 6 : (pixel[0] + pixel[1] + pixel[2]) >> 7;
      const int landing = y + std::max(tone, 1) * fall;
      if (landing < a.height) std::copy_n(pixel, 4, out.Pixel(x, landing));
    }
  }
  return out;
}

Frame ExpectedColorSplit(const Frame& a, const Frame& b, float p, bool lumaChroma) {
  return ExpectedFall(a, b, int(float(a.height) * p * p), lumaChroma);
}

TEST(ColorSplit, FramesAndFieldsFollowTheFallRule) {
  for (auto [width, height] : {std::pair{1, 1}, {5, 9}, {13, 40}}) {
    Frame a = Frame::Random(width, height, 51), b = Frame::Random(width, height, 52);
    for (int layout : {0, 1}) {
      for (float progress : {0.0f, 0.25f, 0.45f, 0.5f, 0.6f, 0.9f, 1.0f}) {
        const Frame expected = ExpectedColorSplit(a, b, progress, layout == 1);
        for (int field : {0, 1, 2}) {
          SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height) + " layout " + std::to_string(layout) +
                       " progress " + std::to_string(progress));
          ExpectField(
              TransitionRun("DSP_TR_ColorSplit", width, height, RecordSetup{layout, field}).RenderOnce(a, b, progress),
              expected, field);
        }
      }
    }
    EXPECT_EQ(TransitionRun("DSP_TR_ColorSplit", width, height).RenderOnce(a, b, 0.0f).bytes, a.bytes);
    EXPECT_EQ(TransitionRun("DSP_TR_ColorSplit", width, height).RenderOnce(a, b, 1.0f).bytes, b.bytes);
  }
}

// The AVX-512 rows against the scalar ones: the negatives at both ends of the weight and between,
// the tones from the identity to white, with whole and partial steps.
TEST(XRay, WideRowsGiveTheScalarBytes) {
  if (!vek::Avx512KernelsUsable()) GTEST_SKIP() << "no AVX-512 on this processor";
  using Row = void (*)(const uint8_t* source, uint8_t* out, int pixels, int setting);
  struct Rows {
    const char* name;
    Row scalar, avx512;
    std::initializer_list<int> settings;  // weights or shifts
  };
  const Rows rows[] = {
      {"negative", vek::XRayNegativeRowScalar, vek::XRayNegativeRowAvx512, {0, 1, 517, 1024}},
      {"luma/chroma negative", vek::XRayLumaNegativeRowScalar, vek::XRayLumaNegativeRowAvx512, {0, 1, 517, 1024}},
      {"tone", vek::XRayToneRowScalar, vek::XRayToneRowAvx512, {-765, -300, 0, 17, 255}},
      {"luma/chroma tone", vek::XRayLumaToneRowScalar, vek::XRayLumaToneRowAvx512, {-765, -300, 0, 17, 255}},
  };
  const Frame source = Frame::Random(67, 1, 55);
  for (const Rows& row : rows) {
    for (int setting : row.settings) {
      for (int pixels : {67, 64, 13}) {
        std::vector<uint8_t> scalar(source.bytes.size()), avx512 = scalar;
        row.scalar(source.bytes.data(), scalar.data(), pixels, setting);
        row.avx512(source.bytes.data(), avx512.data(), pixels, setting);
        EXPECT_EQ(avx512, scalar) << row.name << " " << setting << ", " << pixels << " pixels";
      }
    }
  }
}

// The scalar row with the vector rows' signature; it has no streaming stores.
void ScalarGatherRow(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                     bool lumaChroma, bool) {
  vek::FallGatherRowScalar(candidates, count, b, out, pixels, lumaChroma);
}

// Every form of the colour split's gathered row against the fall rule, on one frame for several
// falls: the scalar row, and the SSE4.1, AVX2 and AVX-512 rows with plain and with streaming stores.
// The frame's rows start on a cache line and off it, pixels fall past the bottom, and the last step
// of four, eight or sixteen pixels is partial.
TEST(ColorSplit, GatheredRowsFollowTheFallRule) {
  constexpr int kWidth = 39, kHeight = 30;
  constexpr std::size_t kRowBytes = kWidth * 4;
  const Frame a = Frame::Random(kWidth, kHeight, 53), b = Frame::Random(kWidth, kHeight, 54);
  std::vector<uint8_t> storage(kRowBytes * kHeight + 64);
  uint8_t* const onLines = storage.data() + (64 - reinterpret_cast<uintptr_t>(storage.data()) % 64) % 64;
  std::vector<std::pair<std::string, vek::FallGatherRowFn>> forms = {{"scalar", ScalarGatherRow}};
  if (vek::Sse41KernelsUsable()) forms.emplace_back("SSE4.1", vek::FallGatherRowSse41);
  if (vek::Avx2KernelsUsable()) forms.emplace_back("AVX2", vek::FallGatherRowAvx2);
  if (vek::Avx512KernelsUsable()) forms.emplace_back("AVX-512", vek::FallGatherRowAvx512);
  for (bool lumaChroma : {false, true}) {
    for (int fall : {1, 2, 7, 13}) {
      const Frame expected = ExpectedFall(a, b, fall, lumaChroma);
      for (const auto& [name, gatherRow] : forms) {
        for (bool stream : {false, true}) {
          std::fill(storage.begin(), storage.end(), kUntouched);
          for (int y = 0; y < kHeight; ++y) {
            const uint8_t* candidates[vek::kFallClasses];
            int count = 0;
            for (int from = y - fall; count < vek::kFallClasses && from >= 0; from -= fall) {
              candidates[count++] = a.Row(from);
            }
            gatherRow(candidates, count, b.Row(y), onLines + y * kRowBytes, kWidth, lumaChroma, stream);
          }
          vek::StreamFenceSse2();
          EXPECT_TRUE(std::equal(expected.bytes.begin(), expected.bytes.end(), onLines))
              << name << ", fall " << fall << ", layout " << lumaChroma << ", streaming " << stream;
        }
      }
    }
  }
}

// ---- all six

TEST(PatternTransitions, SmallAndOddFramesStayInBounds) {
  for (const char* id : {"DSP_TR_Burn", "DSP_TR_DissolveType", "DSP_TR_Collapse", "DSP_TR_Threshold", "DSP_TR_XRay",
                         "DSP_TR_ColorSplit"}) {
    vek::test::ExpectTinyFramesRender(id);
  }
}

}  // namespace
