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
  host::Instance& instance = run.Instance();
  VekEffectInstance& record = instance.Record();
  record.width = uint32_t(a.width);
  record.height = uint32_t(a.height);
  record.fieldMode = shot.mode.fieldMode;
  record.renderHint = shot.mode.renderHint;
  record.workerCount = shot.mode.workers;
  record.colourLayout = shot.mode.layout;
  Outcome outcome{VEK_S_OK, Frame::Filled(a.width, a.height, kUntouched)};
  try {
    instance.Prepare();
    instance.SetInput(0, a.Data());
    instance.SetInput(1, b.Data());
    instance.Process(outcome.out.Data());
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

inline const uint8_t* At(const Frame& frame, int x, int y) {
  return frame.bytes.data() + (std::size_t(y) * frame.width + x) * 4;
}

inline bool AllBytesAre(const Frame& frame, uint8_t value) {
  return std::all_of(frame.bytes.begin(), frame.bytes.end(), [value](uint8_t b) { return b == value; });
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
  for (auto [width, height] : {std::pair{1, 1}, {3, 2}, {17, 5}, {2, 1}, {1, 7}, {15, 3}, {4, 16}}) {
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

// Process answers `nullAnswer` for a null instance, and `missingAnswer` without touching the output
// when source B is missing. (The other callbacks' answers are checked for every catalogue row.)
inline void ExpectNullRecordsAnswered(const char* id, VekStatus nullAnswer, VekStatus missingAnswer) {
  const VekEffectCallbacks& callbacks = EffectOf(id).descriptor->callbacks;
  EXPECT_EQ(callbacks.process(nullptr), nullAnswer) << id;
  EffectRun run(id);
  VekEffectInstance& record = run.Instance().Record();
  record.width = 4;
  record.height = 3;
  run.Instance().Prepare();
  Frame a = Frame::Random(4, 3, 51), out = Frame::Filled(4, 3, kUntouched);
  run.Instance().SetInput(0, a.Data());
  record.output = out.Data();
  EXPECT_EQ(callbacks.process(&record), missingAnswer) << id << " without source B";
  EXPECT_TRUE(AllBytesAre(out, kUntouched)) << id;
}

}  // namespace vek::test
