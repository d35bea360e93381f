// The cut, the cross-fade and the alpha lay-over, driven through the reference host as a video
// editor drives them. Expected bytes come from the formulas, computed here.
#include <gtest/gtest.h>

#include <algorithm>

#include "frames.h"
#include "plugin_fixture.h"
#include "vekhost/instance.h"

namespace {

using vek::host::Instance;
using vek::test::Frame;
using vek::test::LoadedPlugin;

constexpr uint8_t kUntouched = 0x5A;

// One rendering: an instance set up as the caller says, inputs A and B, an output filled with
// kUntouched so that rows a field must leave alone can be checked.
struct HostRun {
  HostRun(const char* classId, float progress) : instance(LoadedPlugin().FindEffect(classId)) {
    instance.Set("P1", std::to_string(progress));
  }
  Frame Render(Frame& a, Frame& b, int fieldMode = 0, int renderHint = 0) {
    VekEffectInstance& record = instance.Record();
    record.width = uint32_t(a.width);
    record.height = uint32_t(a.height);
    record.fieldMode = fieldMode;
    record.renderHint = renderHint;
    instance.Prepare();
    instance.SetInput(0, a.Data());
    instance.SetInput(1, b.Data());
    Frame out = Frame::Filled(a.width, a.height, kUntouched);
    instance.Process(out.Data());
    return out;
  }
  Instance instance;
};

uint8_t FadeByte(uint8_t a, uint8_t b, int weight) { return uint8_t(a + (((b - a) * weight) >> 7)); }

TEST(Fade, FullProgressStopsOneStepShortOfB) {
  Frame black = Frame::Filled(4, 3, 0), white = Frame::Filled(4, 3, 255);
  Frame rising = HostRun("DSP_TR_Fade", 1.0f).Render(black, white);
  EXPECT_TRUE(std::all_of(rising.bytes.begin(), rising.bytes.end(), [](uint8_t v) { return v == 253; }));
  Frame falling = HostRun("DSP_TR_Fade", 1.0f).Render(white, black);
  EXPECT_TRUE(std::all_of(falling.bytes.begin(), falling.bytes.end(), [](uint8_t v) { return v == 1; }));
}

TEST(Fade, WeightIsTheTruncatedProgressTimes127) {
  Frame a = Frame::Random(7, 3, 1), b = Frame::Random(7, 3, 2);
  for (float progress : {0.0f, 0.0078f, 0.4f, 0.5f, 0.999f}) {
    const int weight = int(progress * 127);
    Frame out = HostRun("DSP_TR_Fade", progress).Render(a, b);
    for (std::size_t i = 0; i < out.bytes.size(); ++i) {
      ASSERT_EQ(out.bytes[i], FadeByte(a.bytes[i], b.bytes[i], weight)) << "progress " << progress << " byte " << i;
    }
  }
  EXPECT_EQ(HostRun("DSP_TR_Fade", 0.0078f).Render(a, b).bytes, a.bytes) << "weight 0 is A exactly";
}

TEST(Fade, VectorPathGivesTheScalarBytes) {
  for (int width : {1, 2, 3, 4, 5, 7, 17, 64, 65}) {
    for (float progress : {0.1f, 0.5f, 0.77f, 1.0f}) {
      Frame a = Frame::Random(width, 5, width), b = Frame::Random(width, 5, width + 100);
      Frame scalar = HostRun("DSP_TR_Fade", progress).Render(a, b, 0, 0);
      Frame vector = HostRun("DSP_TR_Fade", progress).Render(a, b, 0, 3);
      ASSERT_EQ(scalar.bytes, vector.bytes) << "width " << width << " progress " << progress;
    }
  }
}

// Every transition of the family: a field writes only its rows, and the two fields together give
// the frame rendering.
TEST(FieldModes, FieldsWriteTheirRowsAndInterleaveIntoTheFrame) {
  for (const char* id : {"DSP_TR_Fade", "DSP_TR_NoEffect", "DSP_TR_Blending"}) {
    for (int height : {1, 2, 5}) {
      SCOPED_TRACE(std::string(id) + " height " + std::to_string(height));
      Frame a = Frame::Random(3, height, 7), b = Frame::Random(3, height, 8);
      Frame frame = HostRun(id, 0.6f).Render(a, b, 0);
      Frame even = HostRun(id, 0.6f).Render(a, b, 1);
      Frame odd = HostRun(id, 0.6f).Render(a, b, 2);
      for (int y = 0; y < height; ++y) {
        const bool evenRow = y % 2 == 0;
        EXPECT_TRUE((evenRow ? even : odd).RowEquals(y, frame)) << "row " << y;
        EXPECT_TRUE((evenRow ? odd : even).RowIsAll(y, kUntouched)) << "row " << y;
      }
    }
  }
}

TEST(NoEffect, CutsExactlyAtTheMidpoint) {
  Frame a = Frame::Random(5, 4, 3), b = Frame::Random(5, 4, 4);
  EXPECT_EQ(HostRun("DSP_TR_NoEffect", 0.4999f).Render(a, b).bytes, a.bytes);
  EXPECT_EQ(HostRun("DSP_TR_NoEffect", 0.5f).Render(a, b).bytes, b.bytes);
}

TEST(Blending, AlphaOfBDecidesEveryPixel) {
  Frame a = Frame::Filled(3, 1, 0), b = Frame::Filled(3, 1, 0);
  const uint8_t aPixel[4] = {10, 200, 30, 77};
  for (int x = 0; x < 3; ++x) std::copy(aPixel, aPixel + 4, a.Pixel(x, 0));
  const uint8_t transparent[4] = {250, 0, 90, 0}, half[4] = {250, 0, 90, 128}, opaque[4] = {250, 0, 90, 255};
  std::copy(transparent, transparent + 4, b.Pixel(0, 0));
  std::copy(half, half + 4, b.Pixel(1, 0));
  std::copy(opaque, opaque + 4, b.Pixel(2, 0));
  Frame out = HostRun("DSP_TR_Blending", 0.0f).Render(a, b);
  EXPECT_TRUE(std::equal(aPixel, aPixel + 4, out.Pixel(0, 0))) << "transparent B keeps A, alpha included";
  for (int c = 0; c < 3; ++c) EXPECT_EQ(out.Pixel(1, 0)[c], uint8_t(aPixel[c] + (((half[c] - aPixel[c]) * 128) >> 8)));
  EXPECT_EQ(out.Pixel(1, 0)[3], 255) << "a partly covered pixel is opaque whatever A's alpha";
  EXPECT_TRUE(std::equal(opaque, opaque + 4, out.Pixel(2, 0)));
}

// The lay-over computed pixel by pixel here, for any frame.
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

TEST(Blending, EveryWidthMatchesThePixelRule) {
  for (int width : {1, 3, 4, 5, 9, 33}) {
    Frame a = Frame::Random(width, 3, width), b = Frame::Random(width, 3, width * 31);
    for (std::size_t p = 3; p < b.bytes.size(); p += 12) b.bytes[p] = 0;
    for (std::size_t p = 7; p < b.bytes.size(); p += 12) b.bytes[p] = 255;
    EXPECT_EQ(HostRun("DSP_TR_Blending", 0.5f).Render(a, b).bytes, AlphaOverOracle(a, b).bytes) << "width " << width;
  }
}

TEST(Blending, ProgressIsNotRead) {
  Frame a = Frame::Random(6, 3, 11), b = Frame::Random(6, 3, 12);
  EXPECT_EQ(HostRun("DSP_TR_Blending", 0.0f).Render(a, b).bytes, HostRun("DSP_TR_Blending", 1.0f).Render(a, b).bytes);
}

struct AcceleratorCall {
  int calls = 0;
  const uint8_t *a = nullptr, *b = nullptr;
  uint8_t* out = nullptr;
  uint32_t width = 0, height = 0;
  int32_t weight = -1;
  uint64_t regions[4] = {};
  int32_t options[3] = {-1, -1, -1};
};
AcceleratorCall gCall;

int32_t RecordBlend(VekObject*, const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t width, uint32_t height,
                    int32_t weight, uint64_t r4, uint64_t r3, uint64_t r1, uint64_t r2, int32_t option1,
                    int32_t option2, int32_t zero) {
  gCall = {gCall.calls + 1, a, b, out, width, height, weight, {r4, r3, r1, r2}, {option1, option2, zero}};
  return 1;
}

TEST(Fade, AcceleratorModesHandTheWholeFrameOver) {
  VekOperation operations[32] = {};
  operations[VEK_ACCELERATOR_SLOT_BLEND] = reinterpret_cast<VekOperation>(&RecordBlend);
  VekObject accelerator{operations};
  Frame a = Frame::Random(4, 2, 5), b = Frame::Random(4, 2, 6);
  for (uint32_t mode : {512u, 1024u}) {
    HostRun run("DSP_TR_Fade", 0.5f);
    VekEffectInstance& record = run.instance.Record();
    record.processingMode = mode;
    record.accelerator = &accelerator;
    record.region[0] = 11, record.region[1] = 22, record.region[2] = 33, record.region[3] = 44;
    record.acceleratorOptions[0] = 2;
    record.acceleratorOptions[1] = 7;
    gCall = {};
    Frame out = run.Render(a, b);
    ASSERT_EQ(gCall.calls, 1);
    EXPECT_EQ(gCall.a, a.Data());
    EXPECT_EQ(gCall.b, b.Data());
    EXPECT_EQ(gCall.width, 4u);
    EXPECT_EQ(gCall.height, 2u);
    EXPECT_EQ(gCall.weight, 63);
    EXPECT_EQ(std::vector<uint64_t>(gCall.regions, gCall.regions + 4), (std::vector<uint64_t>{44, 33, 11, 22}));
    EXPECT_EQ(std::vector<int32_t>(gCall.options, gCall.options + 3), (std::vector<int32_t>{2, 0, 0}));
    EXPECT_TRUE(out.RowIsAll(0, kUntouched) && out.RowIsAll(1, kUntouched)) << "the plug-in writes nothing itself";

    gCall = {};
    Frame field = run.Render(a, b, 1);
    EXPECT_EQ(gCall.calls, 0) << "fields are always rendered on the processor";
    EXPECT_FALSE(field.RowIsAll(0, kUntouched));
  }
}

TEST(Fade, MissingBufferFailsAndWritesNothing) {
  const vek::host::Effect& fade = LoadedPlugin().FindEffect("DSP_TR_Fade");
  Instance instance(fade);
  instance.Record().width = 2;
  instance.Record().height = 2;
  Frame a = Frame::Filled(2, 2, 9), out = Frame::Filled(2, 2, kUntouched);
  instance.SetInput(0, a.Data());
  instance.Record().output = out.Data();
  EXPECT_EQ(fade.descriptor->callbacks.process(&instance.Record()), VEK_E_FAIL);
  EXPECT_TRUE(out.RowIsAll(0, kUntouched) && out.RowIsAll(1, kUntouched));
}

TEST(Prepare, FadeAndCutSetOnlyTheLowByteOfThePreparedFlag) {
  for (const char* id : {"DSP_TR_Fade", "DSP_TR_NoEffect"}) {
    Instance instance(LoadedPlugin().FindEffect(id));
    instance.Record().prepared = 0x7F7F7F00;
    instance.Prepare();
    EXPECT_EQ(uint32_t(instance.Record().prepared), 0x7F7F7F01u) << id;
  }
  Instance blending(LoadedPlugin().FindEffect("DSP_TR_Blending"));
  blending.Prepare();
  EXPECT_EQ(blending.Record().prepared, 0);
}

}  // namespace
