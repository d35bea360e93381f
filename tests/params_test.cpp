// The callback contract every effect keeps before it renders, the default filling, and the
// interpolation function, driven through the shared library's rows as a host calls them.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "module/instance_contract.h"
#include "plugin_fixture.h"

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

TEST(Contract, DestroyWithoutPrepareFreesNothing) {
  for (const VekEffectDescriptor& row : vek::test::Rows()) {
    RawInstance instance(row);
    EXPECT_EQ(row.callbacks.destroy(&instance.record), VEK_S_OK) << row.classId;
    EXPECT_EQ(row.callbacks.releaseResources(&instance.record), VEK_S_OK) << row.classId;
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
