// Every effect that renders, driven through the reference host with whatever a careless host could
// hand it: parameter values drawn at random across their rows' ranges (enumerations also one past
// either end), tiny and odd frame sizes, every field mode, layout, worker count and render hint,
// and a size change between two renderings of one instance. The frames are allocated to their exact
// size, so under the sanitizers any read or write outside them is caught; in every build the
// sources must come back as they went in, and a refused call must leave the output untouched.
// With glibc's allocator, renderings must also not depend on what freshly allocated memory holds.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "effect_run.h"
#include "frames.h"
#include "plugin_fixture.h"
#include "vekhost/error.h"
#include "vekhost/render.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace {

using vek::host::Effect;
using vek::host::Param;
using vek::host::Value;
using vek::test::Frame;
using vek::test::kUntouched;
using vek::test::LoadedPlugin;

// Prepare at the frames' size, the inputs the effect has, then Process into `out`. Throws the
// host's Error for a refusal.
void Render(vek::host::Instance& instance, const Effect& effect, Frame& a, Frame& b, Frame& out) {
  instance.Record().width = uint32_t(a.width);
  instance.Record().height = uint32_t(a.height);
  instance.Prepare();
  instance.SetInput(0, a.Data());
  if (effect.inputs > 1) instance.SetInput(1, b.Data());
  instance.Process(out.Data());
}

bool RendersAtAll(const Effect& effect) {
  if (vek::host::IsAudio(effect)) return false;
  vek::host::Instance instance(effect);
  Frame a = Frame::Filled(2, 2, 0), b = Frame::Filled(2, 2, 255), out = Frame::Filled(2, 2, 0);
  try {
    Render(instance, effect, a, b, out);
  } catch (const vek::host::Error& error) {
    return error.Status() != VEK_E_NOTIMPL;
  }
  return true;
}

float Between(std::mt19937& random, float low, float high) {
  if (random() % 4 == 0) return random() % 2 ? low : high;
  return std::uniform_real_distribution<float>(std::min(low, high), std::max(low, high))(random);
}

int64_t Between(std::mt19937& random, int64_t low, int64_t high) {
  if (high < low) std::swap(low, high);
  return std::uniform_int_distribution<int64_t>(low, high)(random);
}

// A value of the row's type; strings keep their defaults.
Value RandomValue(const Param& param, std::mt19937& random) {
  switch (param.typeCode) {
    case VEK_TYPE_ENUM:
      return Between(random, -1, int64_t(param.options.size()));
    case VEK_TYPE_SWITCH:
      return int64_t(random() % 2);
    case VEK_TYPE_COLOUR:
      return int64_t(random());
    case VEK_TYPE_BYTE:
    case VEK_TYPE_INT:
      return Between(random, std::get<int64_t>(param.minimum), std::get<int64_t>(param.maximum));
    case VEK_TYPE_FLOAT:
      return Between(random, std::get<float>(param.minimum), std::get<float>(param.maximum));
    case VEK_TYPE_RECT:
    case VEK_TYPE_POSITION: {
      std::vector<float> values = std::get<std::vector<float>>(param.defaultValue);
      const auto& low = std::get<std::vector<float>>(param.minimum);
      const auto& high = std::get<std::vector<float>>(param.maximum);
      for (std::size_t i = 0; i < values.size() && i < low.size() && i < high.size(); ++i) {
        values[i] = Between(random, low[i], high[i]);
      }
      return values;
    }
    default:
      return param.defaultValue;
  }
}

struct Size {
  int width, height;
};

// One Prepare and Process at this size; fails the test if the sources changed, or if a refusal
// wrote into the output.
void RenderOnce(vek::host::Instance& instance, const Effect& effect, Size size, uint32_t seed) {
  const Frame a = Frame::Random(size.width, size.height, seed), b = Frame::Random(size.width, size.height, ~seed);
  Frame inA = a, inB = b, out = Frame::Filled(size.width, size.height, kUntouched);
  bool refused = false;
  try {
    Render(instance, effect, inA, inB, out);
  } catch (const vek::host::Error&) {
    refused = true;
  }
  EXPECT_EQ(inA.bytes, a.bytes) << "source A was written";
  EXPECT_EQ(inB.bytes, b.bytes) << "source B was written";
  if (refused) {
    EXPECT_TRUE(vek::test::AllBytesAre(out, kUntouched)) << "a refused call wrote its output";
  }
}

TEST(EveryEffect, RandomValuesOnTinyAndOddFramesStayInsideTheFrames) {
  constexpr Size kSizes[] = {{1, 1}, {2, 1}, {1, 3}, {3, 2}, {17, 5}, {5, 17}, {33, 2}, {7, 7}};
  constexpr int kDrawsPerSize = 6;
  int tried = 0;
  for (const Effect& effect : LoadedPlugin().Effects()) {
    if (!RendersAtAll(effect)) continue;
    ++tried;
    std::mt19937 random(uint32_t(std::hash<std::string>{}(effect.classId)));
    for (const Size size : kSizes) {
      for (int draw = 0; draw < kDrawsPerSize; ++draw) {
        vek::host::Instance instance(effect);
        std::string values;
        for (const Param& param : effect.params) {
          const Value value = RandomValue(param, random);
          instance.Set(param, value);
          values += " " + param.key + "=" + vek::host::FormatValue(param, value);
        }
        VekEffectInstance& record = instance.Record();
        record.fieldMode = int32_t(random() % 3);
        record.colourLayout = int32_t(random() % 2);
        record.workerCount = int32_t(random() % 4);
        record.renderHint = random() % 2 ? 3 : 0;
        const Size other = kSizes[random() % std::size(kSizes)];
        SCOPED_TRACE(testing::Message() << effect.classId << " " << size.width << "x" << size.height << " then "
                                        << other.width << "x" << other.height << ", field " << record.fieldMode
                                        << ", layout " << record.colourLayout << ", " << record.workerCount
                                        << " workers, hint " << record.renderHint << ":" << values);
        const uint32_t seed = random();
        RenderOnce(instance, effect, size, seed);
        RenderOnce(instance, effect, other, seed + 1);
        if (testing::Test::HasFailure()) return;
      }
    }
  }
  EXPECT_GT(tried, 0) << "no effect renders";
}

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
// Memory an effect allocates starts as one byte pattern, then as another: an effect that reads
// scratch memory before writing it renders differently. The C library's generator is seeded the
// same before each rendering, for the effects that draw from it unseeded.
TEST(EveryEffect, RenderingsDoNotDependOnWhatFreshMemoryHolds) {
  const auto render = [](const Effect& effect, Size size, int fieldMode, int layout, int workers, int pattern) {
    mallopt(M_PERTURB, pattern);
    std::srand(1);
    vek::host::Instance instance(effect);
    VekEffectInstance& record = instance.Record();
    record.fieldMode = fieldMode;
    record.colourLayout = layout;
    record.workerCount = workers;
    record.renderHint = 3;
    Frame a = Frame::Random(size.width, size.height, 1), b = Frame::Random(size.width, size.height, 2);
    Frame out = Frame::Filled(size.width, size.height, kUntouched);
    Render(instance, effect, a, b, out);
    mallopt(M_PERTURB, 0);
    return out;
  };
  for (const Effect& effect : LoadedPlugin().Effects()) {
    if (!RendersAtAll(effect)) continue;
    for (const Size size : {Size{3, 2}, Size{17, 5}, Size{67, 33}}) {
      for (int mode = 0; mode < 4; ++mode) {
        const int fieldMode = mode % 2 ? 1 : 0, layout = mode / 2, workers = 1 + mode % 3;
        SCOPED_TRACE(testing::Message() << effect.classId << " " << size.width << "x" << size.height << ", field "
                                        << fieldMode << ", layout " << layout << ", " << workers << " workers");
        EXPECT_EQ(render(effect, size, fieldMode, layout, workers, 0x11).bytes,
                  render(effect, size, fieldMode, layout, workers, 0xEE).bytes);
      }
    }
  }
}
#endif

}  // namespace
