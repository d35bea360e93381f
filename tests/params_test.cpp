// The callback contract as a host calls it through the shared library's rows: null records, the
// prepared flag, resources from Prepare to ReleaseResources, the default filling and the
// interpolation function.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "allocation_failures.h"
#include "effect_run.h"
#include "module/instance_contract.h"

namespace {

using vek::test::LoadedPlugin;

const VekEffectDescriptor& Row(const char* classId) { return *LoadedPlugin().FindEffect(classId).descriptor; }

// A host in miniature: the record, a private block of the row's size and a value block.
struct RawInstance {
  explicit RawInstance(const VekEffectDescriptor& row) : privateBlock(row.privateBytes, 0), values(256, 0) {
    record.descriptor = &row;
    record.privateBlock = privateBlock.data();
    record.paramValues = values.data();
  }
  VekInputSample Sample(uint8_t* frame) {
    VekInputSample sample{};
    sample.privateBlock = privateBlock.data();
    sample.frame = frame;
    return sample;
  }
  template <class T> T Slot(int index) const {
    T value;
    std::memcpy(&value, privateBlock.data() + index * sizeof(void*), sizeof value);
    return value;
  }
  VekEffectInstance record{};
  std::vector<uint8_t> privateBlock;
  std::vector<uint8_t> values;
};

int gNotifications = 0;
int32_t CountNotification(VekObject*) { return ++gNotifications, 0; }

TEST(Contract, InitNotifiesTheHostThenFillsDefaults) {
  const VekOperation operations[] = {reinterpret_cast<VekOperation>(&CountNotification)};
  VekObject host{operations};
  for (const char* id : {"DSP_TR_Wipe", "DSP_VI_Mosaic", "DSP_AU_VolumeAdj_Exp", "DSP_PI_Rotate"}) {
    const VekEffectDescriptor& row = Row(id);
    RawInstance instance(row);
    std::memset(instance.values.data(), 0xEE, instance.values.size());
    instance.record.hostObject = &host;
    gNotifications = 0;
    EXPECT_EQ(row.callbacks.init(&instance.record), VEK_S_OK) << id;
    EXPECT_EQ(gNotifications, 1) << id;
    uint32_t offset = 0;
    for (uint32_t k = 0; k < row.words[VEK_WORD_PARAM_COUNT]; ++k) {
      const VekParamDescriptor& param = row.params[k];
      EXPECT_EQ(std::memcmp(instance.values.data() + offset, param.defaultValue, param.valueSize), 0)
          << id << " " << param.key;
      offset += param.valueSize;
    }
    EXPECT_EQ(instance.values[offset], 0xEE) << id << ": written past the value block";
  }
}

// A few effects answer a null record with 0 instead: every callback of the burn, and Process (and
// for the colour split Prepare) of the collapse, the colour split, the dirty wipe, cross and door.
// Destroy and ReleaseResources of a record never prepared free nothing and succeed.
TEST(Contract, NullRecordsAreRefusedByEveryCallback) {
  for (const VekEffectDescriptor& row : vek::test::Rows()) {
    SCOPED_TRACE(row.classId);
    const std::string id = row.classId;
    const bool burn = id == "DSP_TR_Burn", split = id == "DSP_TR_ColorSplit";
    const VekStatus refused = burn ? VEK_S_OK : VEK_E_FAIL;
    const VekEffectCallbacks& c = row.callbacks;
    EXPECT_EQ(c.init(nullptr), refused);
    EXPECT_EQ(c.setInput(0, nullptr), refused);
    const bool processAnswersZero = burn || split || id == "DSP_TR_Collapse" || id == "DSP_TR_DirtyWipe" ||
                                    id == "DSP_TR_Cross" || id == "DSP_TR_Door";
    EXPECT_EQ(c.process(nullptr), processAnswersZero ? VEK_S_OK : VEK_E_FAIL);
    EXPECT_EQ(c.prepare(nullptr), burn || split ? VEK_S_OK : VEK_E_FAIL);
    EXPECT_EQ(c.releaseResources(nullptr), refused);
    EXPECT_EQ(c.destroy(nullptr), refused);
    RawInstance fresh(row);
    EXPECT_EQ(c.destroy(&fresh.record), VEK_S_OK);
    EXPECT_EQ(c.releaseResources(&fresh.record), VEK_S_OK);
  }
}

// Fade and the cut write the flag as one byte; every other effect that sets it writes a whole word.
// Effects that do not render yet are not listed, nor those whose Prepare only checks the instance.
TEST(Contract, PrepareSetsTheFlagOfTheEffectsThatPrepareSomething) {
  const std::set<std::string> setters = {
      "DSP_TR_Burn",      "DSP_TR_WipeSoft",   "DSP_TR_3DFlip",       "DSP_TR_3DFlipTwo",   "DSP_TR_Collapse",
      "DSP_TR_ColorSplit", "DSP_TR_Fade",      "DSP_TR_DissolveType", "DSP_TR_NoEffect",    "DSP_TR_WipeCenter",
      "DSP_VI_FlipCanvas", "DSP_VI_Posterize", "DSP_CO_ColorAdj"};
  for (const vek::host::Effect& effect : LoadedPlugin().Effects()) {
    vek::host::Instance instance(effect);
    VekEffectInstance& record = instance.Record();
    record.width = 4, record.height = 3, record.prepared = 0x7F7F7F00;
    const int32_t audioFormat[4] = {48000, 2, 16, 64};
    std::memcpy(record.audioFormat, audioFormat, sizeof audioFormat);
    effect.descriptor->callbacks.prepare(&record);  // the picture effects may fail without their library
    const bool byte = effect.classId == "DSP_TR_Fade" || effect.classId == "DSP_TR_NoEffect";
    const uint32_t flag = !setters.contains(effect.classId) ? 0x7F7F7F00u : byte ? 0x7F7F7F01u : 1u;
    EXPECT_EQ(uint32_t(record.prepared), flag) << effect.classId;
  }
}

// The effects that hold resources from Prepare to ReleaseResources, called as a careless host may
// call them. A Process that fails, or answers 0 without anything to draw with, writes nothing.
struct ProcessAnswer {
  VekStatus status;
  bool draws;
};
constexpr ProcessAnswer kFails{VEK_E_FAIL, false}, kNoTables{VEK_E_POINTER, false}, kDraws{VEK_S_OK, true},
    kDrawsNothing{VEK_S_OK, false};
struct Lifecycle {
  const char* id;
  ProcessAnswer beforePrepare, widerThanPrepared, afterRelease;
  VekStatus withoutOutput;
  VekStatus tooLargeToPrepare;  // VEK_S_OK: not tried
  int32_t flagAfterFailure;     // Burn sets the flag before it allocates, WipeSoft after
};
constexpr Lifecycle kLifecycles[] = {
    {"DSP_TR_WipeSoft", kFails, kFails, kFails, VEK_E_FAIL, VEK_E_OUTOFMEMORY, 0},
    {"DSP_CO_ColorAdj", kNoTables, kNoTables, kNoTables, VEK_E_POINTER, VEK_E_OUTOFMEMORY, 1},
    {"DSP_TR_Burn", kFails, kFails, kFails, VEK_E_FAIL, VEK_E_FAIL, 1},
    {"DSP_TR_3DFlip", kDrawsNothing, kDraws, kDrawsNothing, VEK_E_FAIL, VEK_S_OK, 0},
    {"DSP_TR_3DFlipTwo", kDrawsNothing, kDraws, kDrawsNothing, VEK_E_FAIL, VEK_S_OK, 0},
    {"DSP_TR_DissolveType", kDraws, kDraws, kDraws, VEK_E_FAIL, VEK_S_OK, 0},  // the ranks are drawn when needed
    // The tables are drawn for each new size, but after a release only Prepare brings them back.
    {"DSP_TR_Collapse", kDraws, kDraws, kFails, VEK_E_FAIL, VEK_S_OK, 0},
};

TEST(Contract, ResourcesLiveFromPrepareToReleaseAndFailuresWriteNothing) {
  using vek::test::Frame;
  using vek::test::kUntouched;
  for (const Lifecycle& effect : kLifecycles) {
    SCOPED_TRACE(effect.id);
    vek::host::Instance instance(LoadedPlugin().FindEffect(effect.id));
    VekEffectInstance& record = instance.Record();
    const VekEffectCallbacks& c = Row(effect.id).callbacks;
    Frame a = Frame::Random(5, 3, 1), b = Frame::Random(5, 3, 2), out = Frame::Filled(5, 3, kUntouched);
    record.width = 4, record.height = 3, record.output = out.Data();
    instance.SetInput(0, a.Data());
    instance.SetInput(1, b.Data());
    const auto expectProcess = [&](ProcessAnswer answer, const char* when) {
      std::fill(out.bytes.begin(), out.bytes.end(), kUntouched);
      EXPECT_EQ(c.process(&record), answer.status) << when;
      EXPECT_EQ(vek::test::AllBytesAre(out, kUntouched), !answer.draws) << when;
    };
    expectProcess(effect.beforePrepare, "before Prepare");
    ASSERT_EQ(c.prepare(&record), VEK_S_OK);
    expectProcess(kDraws, "prepared");
    record.width = 5;
    expectProcess(effect.widerThanPrepared, "a frame wider than the prepared one");
    record.width = 4;
    expectProcess(kDraws, "the prepared size again");
    EXPECT_EQ(c.releaseResources(&record), VEK_S_OK);
    EXPECT_EQ(c.releaseResources(&record), VEK_S_OK) << "a second release does nothing";
    expectProcess(effect.afterRelease, "after ReleaseResources");
    record.output = nullptr;
    EXPECT_EQ(c.process(&record), effect.withoutOutput) << "a missing output";
    if (effect.tooLargeToPrepare == VEK_S_OK) continue;
    record.width = record.height = 1u << 20;
    record.prepared = 0;
    EXPECT_EQ(c.prepare(&record), effect.tooLargeToPrepare);
    EXPECT_EQ(record.prepared, effect.flagAfterFailure);
    record.output = out.Data();
    EXPECT_NE(c.process(&record), VEK_S_OK) << "after a failed Prepare";
  }
}

// A transition stores index 0 as source A and any other index as B; a one-input effect stores its
// source whatever the index.
TEST(Contract, InputsGoToTheirSlotsByIndex) {
  const VekEffectDescriptor& burn = Row("DSP_TR_Burn");
  RawInstance transition(burn);
  uint8_t a[4], b[4], c[4];
  VekInputSample first = transition.Sample(a), second = transition.Sample(b), fifth = transition.Sample(c);
  EXPECT_EQ(burn.callbacks.setInput(0, &first), VEK_S_OK);
  EXPECT_EQ(burn.callbacks.setInput(1, &second), VEK_S_OK);
  EXPECT_EQ(transition.Slot<uint8_t*>(0), a);
  EXPECT_EQ(transition.Slot<uint8_t*>(1), b);
  EXPECT_EQ(burn.callbacks.setInput(5, &fifth), VEK_S_OK);
  EXPECT_EQ(transition.Slot<uint8_t*>(0), a);
  EXPECT_EQ(transition.Slot<uint8_t*>(1), c) << "any index but 0 is source B";

  const VekEffectDescriptor& noise = Row("DSP_VI_Noise");
  RawInstance video(noise);
  VekInputSample only = video.Sample(a);
  EXPECT_EQ(noise.callbacks.setInput(3, &only), VEK_S_OK);
  EXPECT_EQ(video.Slot<uint8_t*>(0), a);
}

TEST(Contract, EffectsThatDoNotRenderYetSaySoAndWriteNothing) {
  for (const char* id : {"DSP_TR_Ripple", "DSP_VI_Spotlight"}) {
    const VekEffectDescriptor& row = Row(id);
    RawInstance instance(row);
    uint8_t source[16] = {1, 2, 3, 4}, output[16] = {};
    VekInputSample sample = instance.Sample(source);
    instance.record.output = output;
    instance.record.width = 2;
    instance.record.height = 2;
    EXPECT_EQ(row.callbacks.init(&instance.record), VEK_S_OK);
    EXPECT_EQ(row.callbacks.prepare(&instance.record), VEK_S_OK);
    EXPECT_EQ(row.callbacks.setInput(0, &sample), VEK_S_OK);
    EXPECT_EQ(row.callbacks.process(&instance.record), VEK_E_NOTIMPL) << id;
    const int outputSlot = row.words[VEK_WORD_INPUT_COUNT];
    EXPECT_EQ(instance.Slot<uint8_t*>(outputSlot), output) << id << ": the output is stored before anything else";
    EXPECT_EQ(output[0], 0) << id;
    EXPECT_EQ(row.callbacks.releaseResources(&instance.record), VEK_S_OK);
    EXPECT_EQ(row.callbacks.destroy(&instance.record), VEK_S_OK);
  }
}

TEST(DefaultFilling, RowsArePackedAndEmptyRowsCopyNothing) {
  const VekParamDescriptor& byteRow = LoadedPlugin().FindEffect("DSP_VI_Posterize").params[0].row[0];
  const VekParamDescriptor& rectRow = LoadedPlugin().FindEffect("DSP_VI_Posterize").params[1].row[0];
  VekParamDescriptor emptyRow = byteRow;
  emptyRow.valueSize = 0;
  const VekParamDescriptor rows[] = {byteRow, emptyRow, rectRow};
  uint8_t values[20];
  std::memset(values, 0xEE, sizeof values);
  vek::FillDefaults(rows, 3, values);
  EXPECT_EQ(values[0], 61);
  const float wholeFrame[4] = {0, 0, 1, 1};
  EXPECT_EQ(std::memcmp(values + 1, wholeFrame, sizeof wholeFrame), 0);
  EXPECT_EQ(values[17], 0xEE);
  EXPECT_EQ(vek::ParamOffset(rows, 3), 17u);
}

// Between unequal keys the volume is half the square of the blend; a flat segment is not squared.
TEST(SquaredVolume, BlendsUnequalKeysOnlyAndRefusesNullPointers) {
  const VekParamDescriptor& row = LoadedPlugin().FindEffect("DSP_AU_VolumeAdj_Exp").params[0].row[0];
  auto blend = [&row](double t, float left, float right) {
    float out = -1;
    EXPECT_EQ(row.interpolate(&row, t, &left, &right, &out), VEK_S_OK);
    return out;
  };
  EXPECT_FLOAT_EQ(blend(0.5, 1.0f, 2.0f), 1.5f * 1.5f * 0.5f);
  EXPECT_FLOAT_EQ(blend(0.0, 2.0f, 0.0f), 2.0f);
  EXPECT_FLOAT_EQ(blend(1.0, 2.0f, 0.0f), 0.0f);
  EXPECT_EQ(blend(0.3, 1.5f, 1.5f), 1.5f);

  float left = 1, right = 2, out = -1;
  EXPECT_EQ(row.interpolate(nullptr, 0.5, &left, &right, &out), VEK_E_FAIL);
  EXPECT_EQ(row.interpolate(&row, 0.5, nullptr, &right, &out), VEK_E_FAIL);
  EXPECT_EQ(row.interpolate(&row, 0.5, &left, nullptr, &out), VEK_E_FAIL);
  EXPECT_EQ(row.interpolate(&row, 0.5, &left, &right, nullptr), VEK_E_FAIL);
  VekParamDescriptor intRow = row;
  intRow.typeCode = VEK_TYPE_INT;
  int32_t a = 1, b = 2, result = -1;
  EXPECT_EQ(row.interpolate(&intRow, 0.5, &a, &b, &result), VEK_S_OK);
  EXPECT_EQ(result, -1) << "only float rows are blended";
}

}  // namespace
