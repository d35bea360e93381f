// The geometric transitions (wipes, pushes, slats and strips) driven through the reference host,
// with frames composed pixel by pixel from the rules for the expected results, and the checks that
// every one of them must pass: the ends, the fields, the layouts, bad choices and tiny frames.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "effect_run.h"
#include "vekhost/error.h"

namespace vek::test {

// One rendering: progress, the P2 option (ignored by effects without one) and the record's mode.
struct Shot {
  float progress = 0.5f;
  int option = 0;
  RenderMode mode = {};
};

// Frames of 4 MiB and more have their mixed rows written with streaming stores; an even width that
// is no multiple of 4 pixels puts run ends at every alignment.
constexpr int kStreamedWidth = 1030, kStreamedHeight = 1024;

inline const host::Effect& EffectOf(const char* id) { return LoadedPlugin().FindEffect(id); }
inline int OptionCount(const char* id) {
  const host::Effect& effect = EffectOf(id);
  return effect.params.size() > 1 ? int(effect.params[1].options.size()) : 1;
}

// Sets progress and option raw (no range check), so that any value a host could write is possible.
inline void SetShot(EffectRun& run, const char* id, const Shot& shot) {
  const host::Effect& effect = EffectOf(id);
  run.Instance().Set(effect.params[0], host::Value(shot.progress));
  if (effect.params.size() > 1) run.Instance().Set(effect.params[1], host::Value(int64_t(shot.option)));
}

inline Frame RenderShot(const char* id, Frame& a, Frame& b, const Shot& shot) {
  EffectRun run(id);
  SetShot(run, id, shot);
  return run.Render(a, b, shot.mode);
}

// The status of one Process, and what it left in an output that started as kUntouched.
struct Outcome {
  VekStatus status = VEK_S_OK;
  Frame out;
};
inline Outcome TryShot(const char* id, Frame& a, Frame& b, const Shot& shot) {
  EffectRun run(id);
  SetShot(run, id, shot);
  Outcome outcome{VEK_S_OK, Frame::Filled(a.width, a.height, kUntouched)};
  try {
    run.Setup(a.width, a.height, shot.mode);
    run.Instance().Prepare();
    run.Process(a, b, outcome.out);
  } catch (const host::Error& error) {
    outcome.status = error.Status();
  }
  return outcome;
}

// A frame whose pixel (x, y) is copied from wherever `from` says: a pixel of A or B, or a constant.
using PixelRule = std::function<const uint8_t*(int x, int y)>;
inline Frame Compose(int width, int height, const PixelRule& from) {
  Frame out = Frame::Filled(width, height, 0);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) std::memcpy(out.Pixel(x, y), from(x, y), 4);
  }
  return out;
}

// The first differing pixel, for messages; "equal" when there is none.
inline std::string FirstDifference(const Frame& got, const Frame& want) {
  for (int y = 0; y < want.height; ++y) {
    for (int x = 0; x < want.width; ++x) {
      if (std::memcmp(At(got, x, y), At(want, x, y), 4) != 0) {
        return "first difference at (" + std::to_string(x) + ", " + std::to_string(y) + ")";
      }
    }
  }
  return "equal";
}
#define EXPECT_FRAME_EQ(got, want) EXPECT_EQ((got).bytes, (want).bytes) << FirstDifference((got), (want))

// p = 0 gives A and p = 1 gives B, for every option, in both layouts and every field mode's rows.
inline void ExpectEndsAreTheSources(const char* id, int width, int height) {
  Frame a = Frame::Random(width, height, 11), b = Frame::Random(width, height, 12);
  for (int option = 0; option < OptionCount(id); ++option) {
    for (int layout : {0, 1}) {
      SCOPED_TRACE(std::string(id) + " option " + std::to_string(option) + " layout " + std::to_string(layout));
      EXPECT_FRAME_EQ(RenderShot(id, a, b, {0.0f, option, {0, 0, 1, layout}}), a);
      EXPECT_FRAME_EQ(RenderShot(id, a, b, {1.0f, option, {0, 0, 1, layout}}), b);
    }
  }
}

// Each field writes only its own rows, and the two fields together give the frame rendering.
inline void ExpectFieldsInterleave(const char* id, int width, int height, std::initializer_list<float> progresses) {
  Frame a = Frame::Random(width, height, 21), b = Frame::Random(width, height, 22);
  for (int option = 0; option < OptionCount(id); ++option) {
    for (float progress : progresses) {
      SCOPED_TRACE(std::string(id) + " option " + std::to_string(option) + " progress " + std::to_string(progress));
      const Frame frame = RenderShot(id, a, b, {progress, option, {0}});
      const Frame even = RenderShot(id, a, b, {progress, option, {1}});
      const Frame odd = RenderShot(id, a, b, {progress, option, {2}});
      for (int y = 0; y < height; ++y) {
        const bool evenRow = y % 2 == 0;
        ASSERT_TRUE((evenRow ? even : odd).RowEquals(y, frame)) << "row " << y;
        ASSERT_TRUE((evenRow ? odd : even).RowIsAll(y, kUntouched)) << "row " << y;
      }
    }
  }
}

// An option outside the list fails with E_FAIL and writes nothing.
inline void ExpectBadOptionsAreRefused(const char* id) {
  Frame a = Frame::Random(6, 4, 31), b = Frame::Random(6, 4, 32);
  for (int option : {-1, OptionCount(id), 1 << 30}) {
    const Outcome outcome = TryShot(id, a, b, {0.5f, option});
    EXPECT_EQ(outcome.status, VEK_E_FAIL) << id << " option " << option;
    EXPECT_TRUE(AllBytesAre(outcome.out, kUntouched)) << id << " option " << option;
  }
}

// Small and odd sizes at progress values that reach every branch, in every mode: nothing may read or
// write outside the frames (the sanitizer build checks), and Process must succeed.
inline void ExpectTinyFramesRender(const char* id) {
  for (auto [width, height] :
       {std::pair{1, 1}, {1, 2}, {2, 1}, {3, 2}, {3, 3}, {17, 5}, {1, 33}, {15, 3}, {4, 16}, {81, 2}}) {
    Frame a = Frame::Random(width, height, 41), b = Frame::Random(width, height, 42);
    for (int option = 0; option < OptionCount(id); ++option) {
      for (float progress : {0.0f, 0.05f, 0.26f, 0.5f, 0.51f, 0.74f, 0.97f, 1.0f, -3.0f, 7.0f}) {
        for (int field : {0, 1, 2}) {
          for (int hint : {0, 3}) {
            const Outcome outcome = TryShot(id, a, b, {progress, option, {field, hint, 1, field % 2}});
            ASSERT_EQ(outcome.status, VEK_S_OK) << id << " " << width << "x" << height << " option " << option
                                                << " progress " << progress << " field " << field;
          }
        }
      }
    }
  }
}

// Without source B Process answers `answer` and leaves the output alone.
inline void ExpectMissingSourceAnswered(const char* id, VekStatus answer) {
  Frame a = Frame::Random(4, 3, 51), b;
  const Outcome outcome = TryShot(id, a, b, {});
  EXPECT_EQ(outcome.status, answer) << id << " without source B";
  EXPECT_TRUE(AllBytesAre(outcome.out, kUntouched)) << id;
}

}  // namespace vek::test
