// The cut, the cross-fade and the alpha lay-over, driven through the reference host as a video
// editor drives them. Expected bytes come from the formulas, computed here.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "geometric_run.h"

namespace {

using vek::test::AllBytesAre;
using vek::test::EffectRun;
using vek::test::Frame;
using vek::test::kUntouched;
using vek::test::RenderMode;

Frame Render(const char* id, float progress, Frame& a, Frame& b, RenderMode mode = {}) {
  return EffectRun(id).Set("P1", std::to_string(progress)).Render(a, b, mode);
}

// Both render hints, at widths that leave the vector path each of its tails (four, two, one pixel).
// Full progress stops one step short of B: black to white gives 253.
TEST(Fade, EveryPathGivesTheTruncatedWeightOf127) {
  for (int width : {1, 2, 3, 5, 17, 64, 65}) {
    Frame a = Frame::Random(width, 3, width), b = Frame::Random(width, 3, width + 100);
    for (float progress : {0.0f, 0.0078f, 0.4f, 0.5f, 0.77f, 0.999f, 1.0f}) {
      const int weight = int(progress * 127);
      for (int hint : {0, 3}) {
        const Frame out = Render("DSP_TR_Fade", progress, a, b, {0, hint});
        for (std::size_t i = 0; i < out.bytes.size(); ++i) {
          ASSERT_EQ(out.bytes[i], uint8_t(a.bytes[i] + (((b.bytes[i] - a.bytes[i]) * weight) >> 7)))
              << "width " << width << " progress " << progress << " hint " << hint << " byte " << i;
        }
      }
    }
  }
}

// Every transition of the family: a field writes only its rows, and the two fields together give
// the frame rendering, down to a frame of one row.
TEST(FieldModes, FieldsWriteTheirRowsAndInterleaveIntoTheFrame) {
  for (const char* id : {"DSP_TR_Fade", "DSP_TR_NoEffect", "DSP_TR_Blending"}) {
    for (int height : {1, 2, 5}) vek::test::ExpectFieldsInterleave(id, 3, height, {0.6f});
  }
}

TEST(NoEffect, CutsExactlyAtTheMidpoint) {
  Frame a = Frame::Random(5, 4, 3), b = Frame::Random(5, 4, 4);
  EXPECT_EQ(Render("DSP_TR_NoEffect", 0.4999f, a, b).bytes, a.bytes);
  EXPECT_EQ(Render("DSP_TR_NoEffect", 0.5f, a, b).bytes, b.bytes);
}

// The lay-over pixel by pixel: A under a transparent B (A's alpha kept), B where it is opaque, and
// in between an opaque blend whatever A's alpha was.
Frame AlphaOverOracle(const Frame& a, const Frame& b) {
  Frame out = a;
  for (std::size_t p = 0; p < out.bytes.size(); p += 4) {
    const int alpha = b.bytes[p + 3];
    for (int c = 0; c < 4; ++c) {
      const int av = a.bytes[p + c], bv = b.bytes[p + c];
      out.bytes[p + c] = alpha == 0     ? av
                         : alpha == 255 ? bv
                         : c == 3       ? 255
                                        : uint8_t(av + (((bv - av) * alpha) >> 8));
    }
  }
  return out;
}

TEST(Blending, EveryWidthMatchesThePixelRuleAndProgressIsNotRead) {
  for (int width : {1, 3, 4, 5, 9, 33}) {
    Frame a = Frame::Random(width, 3, width), b = Frame::Random(width, 3, width * 31);
    const uint8_t alphas[] = {0, 255, 128};
    for (std::size_t p = 3, k = 0; p < b.bytes.size(); p += 8, ++k) b.bytes[p] = alphas[k % 3];
    for (float progress : {0.0f, 1.0f}) {
      EXPECT_EQ(Render("DSP_TR_Blending", progress, a, b).bytes, AlphaOverOracle(a, b).bytes)
          << "width " << width << " progress " << progress;
    }
  }
}

struct AcceleratorCall {
  int calls = 0;
  const uint8_t *a = nullptr, *b = nullptr;
  uint32_t width = 0, height = 0;
  int32_t weight = -1;
  uint64_t regions[4] = {};
  int32_t options[3] = {-1, -1, -1};
};
AcceleratorCall gCall;

int32_t RecordBlend(VekObject*, const uint8_t* a, const uint8_t* b, uint8_t*, uint32_t width, uint32_t height,
                    int32_t weight, uint64_t r4, uint64_t r3, uint64_t r1, uint64_t r2, int32_t option1,
                    int32_t option2, int32_t zero) {
  gCall = {gCall.calls + 1, a, b, width, height, weight, {r4, r3, r1, r2}, {option1, option2, zero}};
  return 1;
}

TEST(Fade, AcceleratorModesHandTheWholeFrameOver) {
  VekOperation operations[32] = {};
  operations[VEK_ACCELERATOR_SLOT_BLEND] = reinterpret_cast<VekOperation>(&RecordBlend);
  VekObject accelerator{operations};
  Frame a = Frame::Random(4, 2, 5), b = Frame::Random(4, 2, 6);
  for (uint32_t mode : {512u, 1024u}) {
    EffectRun run("DSP_TR_Fade");
    run.Set("P1", "0.5");
    VekEffectInstance& record = run.Instance().Record();
    record.processingMode = mode;
    record.accelerator = &accelerator;
    record.region[0] = 11, record.region[1] = 22, record.region[2] = 33, record.region[3] = 44;
    record.acceleratorOptions[0] = 2;
    record.acceleratorOptions[1] = 7;
    gCall = {};
    const Frame out = run.Render(a, b);
    ASSERT_EQ(gCall.calls, 1);
    EXPECT_EQ(gCall.a, a.Data());
    EXPECT_EQ(gCall.b, b.Data());
    EXPECT_EQ(gCall.width, 4u);
    EXPECT_EQ(gCall.height, 2u);
    EXPECT_EQ(gCall.weight, 63);
    EXPECT_EQ(std::vector<uint64_t>(gCall.regions, gCall.regions + 4), (std::vector<uint64_t>{44, 33, 11, 22}));
    EXPECT_EQ(std::vector<int32_t>(gCall.options, gCall.options + 3), (std::vector<int32_t>{2, 0, 0}));
    EXPECT_TRUE(AllBytesAre(out, kUntouched)) << "the plug-in writes nothing itself";

    gCall = {};
    EXPECT_FALSE(run.Render(a, b, {1}).RowIsAll(0, kUntouched));
    EXPECT_EQ(gCall.calls, 0) << "fields are always rendered on the processor";
  }
}

// Fade refuses a missing source; the cut and the lay-over quietly write nothing.
TEST(MissingSource, NothingIsWritten) {
  vek::test::ExpectMissingSourceAnswered("DSP_TR_Fade", VEK_E_FAIL);
  vek::test::ExpectMissingSourceAnswered("DSP_TR_NoEffect", VEK_S_OK);
  vek::test::ExpectMissingSourceAnswered("DSP_TR_Blending", VEK_S_OK);
}

}  // namespace
