// Mosaic: block sizes from the reference picture, the centred grid, averages with and without the
// alpha-aware flag, the area rules, and the round area with and without a host buffer service.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "effect_run.h"

namespace {

using vek::test::EffectRun;
using vek::test::Frame;

// Lengths of the runs of equal pixels along a row: the block widths, on a random picture.
std::vector<int> RunLengths(const Frame& frame, int y) {
  std::vector<int> runs;
  const uint8_t* row = frame.Row(y);
  for (int x = 0; x < frame.width; ++x) {
    if (x > 0 && std::memcmp(row + 4 * x, row + 4 * (x - 1), 4) == 0) {
      ++runs.back();
    } else {
      runs.push_back(1);
    }
  }
  return runs;
}

Frame Mosaic(Frame& source, int across, int down, const char* area = "0,0,1,1", const char* type = "box") {
  return EffectRun("DSP_VI_Mosaic")
      .Set("P1", std::to_string(across))
      .Set("P2", std::to_string(down))
      .Set("P3", area)
      .Set("P4", type)
      .Render(source);
}

TEST(Mosaic, GridIsCentredAndOuterBlocksTakeTheRest) {
  Frame source = Frame::Random(320, 6, 1);
  std::vector<int> expected = {2};
  expected.insert(expected.end(), 63, 5);
  expected.push_back(3);
  EXPECT_EQ(RunLengths(Mosaic(source, 5, 1), 0), expected) << "320 wide, blocks of 5: 64 blocks, even";

  Frame odd = Frame::Random(330, 4, 2);
  EXPECT_EQ(RunLengths(Mosaic(odd, 10, 1), 0), std::vector<int>(33, 10)) << "330 wide, blocks of 10";

  Frame rest = Frame::Random(335, 4, 3);  // blocks of 10 (trunc(10 * 335 / 320)), 5 left over
  std::vector<int> withRest = {2};
  withRest.insert(withRest.end(), 33, 10);
  withRest.push_back(3);
  EXPECT_EQ(RunLengths(Mosaic(rest, 10, 1), 0), withRest);
}

TEST(Mosaic, BlockSizeFollowsTheReferencePicture) {
  Frame source = Frame::Random(640, 480, 4);
  Frame out = Mosaic(source, 5, 4);
  const std::vector<int> columns = RunLengths(out, 100);
  EXPECT_EQ(columns[1], 10);
  int rowsInBlock = 1;
  while (std::memcmp(out.Row(100 + rowsInBlock) + 40, out.Row(100) + 40, 4) == 0 && rowsInBlock < 20) ++rowsInBlock;
  EXPECT_LE(rowsInBlock, 8);
  EXPECT_EQ(out.RowEquals(104, out) && std::memcmp(out.Row(4) + 40, out.Row(11) + 40, 4) == 0, true)
      << "rows 4 to 11 form one block of 8";
}

TEST(Mosaic, BlocksAverageTheSourceBeneathThem) {
  Frame source = Frame::Random(330, 8, 5);
  for (std::size_t p = 3; p < source.bytes.size(); p += 12) source.bytes[p] = 0;  // some transparent pixels
  // One block is 10 x 8 here (a height of 1 block for 8 rows: trunc(down * 8 / 240) = 0 -> 1 row each).
  EffectRun plain("DSP_VI_Mosaic"), aware("DSP_VI_Mosaic");
  plain.Set("P1", "10").Set("P2", "0");
  aware.Set("P1", "10").Set("P2", "0");
  aware.Instance().Record().alphaAware = 1;
  Frame outPlain = plain.Render(source), outAware = aware.Render(source);
  for (int block = 0; block < 33; ++block) {
    unsigned sumPlain[3] = {}, sumAware[4] = {}, countAware = 0;
    for (int x = 10 * block; x < 10 * block + 10; ++x) {
      const uint8_t* pixel = source.Row(3) + 4 * x;
      for (int c = 0; c < 3; ++c) sumPlain[c] += pixel[c];
      if (pixel[3] == 0) continue;
      for (int c = 0; c < 4; ++c) sumAware[c] += pixel[c];
      ++countAware;
    }
    const uint8_t* gotPlain = outPlain.Row(3) + 40 * block;
    const uint8_t* gotAware = outAware.Row(3) + 40 * block;
    for (int c = 0; c < 3; ++c) {
      ASSERT_EQ(gotPlain[c], sumPlain[c] / 10) << "block " << block;
      ASSERT_EQ(gotAware[c], sumAware[c] / countAware) << "block " << block;
    }
    ASSERT_EQ(gotPlain[3], 0) << "plain blocks lose their alpha";
    ASSERT_EQ(gotAware[3], sumAware[3] / countAware);
  }
}

TEST(Mosaic, AreaRules) {
  Frame source = Frame::Random(64, 48, 6);
  EXPECT_EQ(Mosaic(source, 5, 4, "0.5,0.5,0.5,0.5").bytes, source.bytes) << "an empty area copies";
  EXPECT_EQ(Mosaic(source, 5, 4, "0,0,0,0").bytes, Mosaic(source, 5, 4).bytes) << "all zeros is the frame";
  EXPECT_EQ(Mosaic(source, 5, 4, "0.4,0.4,0.6,0.6", "none").bytes, Mosaic(source, 5, 4).bytes);
  Frame small = Mosaic(source, 5, 4, "0.5,0.5,1,1");
  EXPECT_TRUE(small.RowEquals(10, source)) << "rows above the area are the source";
  EXPECT_EQ(std::memcmp(small.Row(40), source.Row(40), 4 * 31), 0) << "columns left of it too";
  Frame tiny = Frame::Random(100, 20, 7);
  Frame single = Mosaic(tiny, 3, 0);
  for (std::size_t i = 0; i < tiny.bytes.size(); ++i) {
    ASSERT_EQ(single.bytes[i], i % 4 == 3 ? 0 : tiny.bytes[i]) << "blocks of one pixel";
  }
}

struct CountingService {
  static VekImageBuffer* Wrap(VekObject* self, uint8_t* pixels, uint32_t width, uint32_t height, uint32_t rowBytes) {
    auto* service = reinterpret_cast<CountingService*>(self);
    service->images.push_back({pixels, width, height, rowBytes, 0});
    ++service->lent;
    return &service->images.back();
  }
  static VekImageBuffer* Create(VekObject* self, uint32_t width, uint32_t height) {
    auto* service = reinterpret_cast<CountingService*>(self);
    service->storage.emplace_back(std::size_t(width) * height * 4);
    return Wrap(self, service->storage.back().data(), width, height, width * 4);
  }
  static int32_t Release(VekObject* self, VekImageBuffer*) {
    --reinterpret_cast<CountingService*>(self)->lent;
    return 0;
  }
  VekObject object{operations};
  VekOperation operations[4] = {reinterpret_cast<VekOperation>(&Wrap), reinterpret_cast<VekOperation>(&Create),
                                nullptr, reinterpret_cast<VekOperation>(&Release)};
  int lent = 0;
  std::vector<VekImageBuffer> images;
  std::vector<std::vector<uint8_t>> storage;
};

TEST(Mosaic, CircleKeepsBlocksInsideTheRoundAreaOnly) {
  Frame source = Frame::Random(80, 60, 8);
  const Frame box = Mosaic(source, 8, 6, "0.25,0.25,0.75,0.75");
  const Frame circle = Mosaic(source, 8, 6, "0.25,0.25,0.75,0.75", "circle");
  auto same = [](const Frame& a, const Frame& b, int x, int y) {
    return std::memcmp(a.Row(y) + 4 * x, b.Row(y) + 4 * x, 4) == 0;
  };
  EXPECT_TRUE(same(circle, box, 40, 30)) << "the centre is mosaic";
  EXPECT_TRUE(same(circle, source, 21, 16)) << "a corner of the area is outside the circle";
  EXPECT_TRUE(same(circle, source, 58, 44));
  for (int y = 0; y < 60; ++y) {
    for (int x = 0; x < 80; ++x) {
      if (x < 20 || x >= 60 || y < 15 || y >= 45) {
        ASSERT_TRUE(same(circle, source, x, y)) << x << "," << y;
      }
    }
  }

  EffectRun withoutService("DSP_VI_Mosaic");
  withoutService.Set("P1", "8").Set("P2", "6").Set("P3", "0.25,0.25,0.75,0.75").Set("P4", "circle");
  withoutService.Instance().Record().bufferService = nullptr;
  EXPECT_EQ(withoutService.Render(source).bytes, circle.bytes) << "the effect's own images give the same";

  CountingService service;
  service.images.reserve(4);
  EffectRun run("DSP_VI_Mosaic");
  run.Set("P1", "8").Set("P2", "6").Set("P3", "0.25,0.25,0.75,0.75").Set("P4", "circle");
  run.Instance().Record().bufferService = &service.object;
  EXPECT_EQ(run.Render(source).bytes, circle.bytes) << "the host's images give the effect's own result";
  EXPECT_EQ(service.images.size(), 2u);
  EXPECT_EQ(service.lent, 0) << "every image lent is given back";
}

TEST(BufferService, LendsWrapsAndTakesBack) {
  EffectRun run("DSP_VI_Mosaic");
  VekObject* service = run.Instance().Record().bufferService;
  ASSERT_NE(service, nullptr);
  auto create = reinterpret_cast<VekBufferCreateFn>(service->operations[VEK_BUFFER_SLOT_CREATE]);
  auto wrap = reinterpret_cast<VekBufferWrapFn>(service->operations[VEK_BUFFER_SLOT_WRAP]);
  auto release = reinterpret_cast<VekBufferReleaseFn>(service->operations[VEK_BUFFER_SLOT_RELEASE]);
  VekImageBuffer* made = create(service, 5, 3);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->rowBytes, 20u);
  made->pixels[5 * 3 * 4 - 1] = 7;  // the whole image is writable (checked under the sanitizers)
  uint8_t pixels[2 * 2 * 4];
  VekImageBuffer* wrapped = wrap(service, pixels, 2, 2, 8);
  ASSERT_NE(wrapped, nullptr);
  EXPECT_EQ(wrapped->pixels, pixels);
  EXPECT_EQ(wrap(service, pixels, 2, 2, 4), nullptr) << "rows shorter than the width";
  EXPECT_EQ(create(service, 0, 3), nullptr);
  EXPECT_EQ(run.Instance().Buffers().Outstanding(), 2);
  EXPECT_EQ(release(service, made), VEK_S_OK);
  EXPECT_EQ(release(service, made), VEK_E_FAIL) << "given back twice";
  EXPECT_EQ(release(service, wrapped), VEK_S_OK);
  EXPECT_EQ(run.Instance().Buffers().Outstanding(), 0);

  Frame source = Frame::Random(40, 30, 9);
  run.Set("P4", "circle").Render(source);
  EXPECT_EQ(run.Instance().Buffers().Outstanding(), 0) << "the effect gave back what it borrowed";
}

}  // namespace
