// The reference host library against the built plug-in: loading, lookups with their error texts,
// parameter text checked by type and range, and instances driven through the callbacks.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "plugin_fixture.h"
#include "scratch_files.h"
#include "vekhost/error.h"
#include "vekhost/instance.h"
#include "vekhost/plugin.h"

namespace {

using vek::host::Effect;
using vek::host::Error;
using vek::host::Instance;
using vek::host::Param;
using vek::host::Plugin;
using vek::host::Value;
using vek::test::LoadedPlugin;

// The message of the Error that body throws; fails the test when it throws none.
template <class Body>
std::string ErrorOf(Body&& body) {
  try {
    body();
  } catch (const Error& error) {
    return error.what();
  }
  ADD_FAILURE() << "no vek::host::Error was thrown";
  return "";
}

// The first parameter of the given type anywhere in the catalogue, with its effect.
std::pair<const Effect*, const Param*> FirstOfType(uint32_t typeCode) {
  for (const Effect& effect : LoadedPlugin().Effects()) {
    for (const Param& param : effect.params) {
      if (param.typeCode == typeCode) return {&effect, &param};
    }
  }
  return {nullptr, nullptr};
}

template <class T>
T Raw(Instance& instance, const Param& param) {
  T value;
  std::memcpy(&value, instance.Values() + param.offset, sizeof value);
  return value;
}

TEST(HostPlugin, LoadFailuresNameThePath) {
  const std::filesystem::path missing = std::filesystem::temp_directory_path() / "vek_no_such_plugin.so";
  EXPECT_NE(ErrorOf([&] { Plugin plugin(missing); }).find(missing.string()), std::string::npos);

  const vek::test::ScratchFolder folder("vek_not_a_plugin");
  const std::filesystem::path notALibrary = folder / "plugin.so";
  std::ofstream(notALibrary) << "not a shared library";
  EXPECT_NE(ErrorOf([&] { Plugin plugin(notALibrary); }).find("cannot load"), std::string::npos);
}

TEST(HostPlugin, EffectLookupIgnoresCaseAndSuggestsCloseIds) {
  EXPECT_EQ(LoadedPlugin().FindEffect("dsp_tr_WIPE").classId, "DSP_TR_Wipe");
  const std::string message = ErrorOf([] { LoadedPlugin().FindEffect("DSP_TR_Wpie"); });
  EXPECT_NE(message.find("DSP_TR_Wpie"), std::string::npos) << message;
  EXPECT_NE(message.find("DSP_TR_Wipe"), std::string::npos) << message;
  EXPECT_EQ(message.find("DSP_AU_VolumeAdj"), std::string::npos) << "a far id is suggested: " << message;
}

TEST(HostParams, RowsAreFoundByKeyNameIdOrShortName) {
  const Effect& wipe = LoadedPlugin().FindEffect("DSP_TR_Wipe");
  const Param& direction = wipe.FindParam("P2");
  EXPECT_EQ(direction.nameId, "IDS_Tr_Param_Direction_Name");
  EXPECT_EQ(direction.options, (std::vector<std::string>{"Up", "Down", "Left", "Right"}));
  EXPECT_EQ(&wipe.FindParam("p2"), &direction);
  EXPECT_EQ(&wipe.FindParam("ids_tr_param_direction_name"), &direction);
  EXPECT_EQ(&wipe.FindParam("DIRECTION"), &direction);
  EXPECT_EQ(&wipe.FindParam("Percentage"), &wipe.FindParam("P1"));

  const std::string message = ErrorOf([&] { wipe.FindParam("Speed"); });
  EXPECT_NE(message.find("Speed"), std::string::npos) << message;
  EXPECT_NE(message.find("P1"), std::string::npos) << message;
  EXPECT_NE(message.find("P2"), std::string::npos) << message;
}

TEST(HostParams, ValueBlockIsPackedInRowOrder) {
  for (const Effect& effect : LoadedPlugin().Effects()) {
    if (effect.params.size() < 2 || effect.params[0].typeCode != VEK_TYPE_BYTE) continue;
    const Param& second = effect.params[1];
    EXPECT_EQ(second.offset, 1u) << effect.classId << ": the value after a byte lies at offset 1";
    Instance instance(effect);
    const uint8_t first = instance.Values()[0];
    instance.Set(second, second.maximum);
    EXPECT_EQ(instance.Values()[0], first) << effect.classId << ": writing the second row changed the first";
    EXPECT_EQ(instance.Get(second), second.maximum) << effect.classId;
    return;
  }
  GTEST_SKIP() << "no effect starts with a byte row";
}

TEST(HostParams, RowsOfAnotherEffectAreRefused) {
  Instance instance(LoadedPlugin().FindEffect("DSP_TR_Wipe"));
  const Param& foreign = LoadedPlugin().FindEffect("DSP_TR_Fade").params[0];
  EXPECT_NE(ErrorOf([&] { instance.Set(foreign, foreign.defaultValue); }).find("DSP_TR_Wipe"), std::string::npos);
  EXPECT_NE(ErrorOf([&] { instance.Get(foreign); }).find("DSP_TR_Wipe"), std::string::npos);
}

TEST(HostParams, EnumerationsTakeOptionWordsOrNumbersInRange) {
  const Effect& wipe = LoadedPlugin().FindEffect("DSP_TR_Wipe");
  Instance instance(wipe);
  instance.Set("Direction", "left");
  EXPECT_EQ(Raw<int32_t>(instance, wipe.FindParam("P2")), 2);
  instance.Set("P2", " 3 ");
  EXPECT_EQ(instance.Get("P2"), Value{int64_t{3}});

  const std::string outOfRange = ErrorOf([&] { instance.Set("P2", "4"); });
  EXPECT_NE(outOfRange.find("0..3"), std::string::npos) << outOfRange;
  const std::string unknownWord = ErrorOf([&] { instance.Set("P2", "Sideways"); });
  EXPECT_NE(unknownWord.find("Up, Down, Left, Right"), std::string::npos) << unknownWord;
  EXPECT_EQ(instance.Get("P2"), Value{int64_t{3}}) << "a refused value must leave the block alone";
}

TEST(HostParams, NumbersAreCheckedForTypeAndRange) {
  const Effect& wipe = LoadedPlugin().FindEffect("DSP_TR_Wipe");
  Instance instance(wipe);
  instance.Set("Percentage", "0.25");
  EXPECT_EQ(Raw<float>(instance, wipe.FindParam("P1")), 0.25f);
  EXPECT_NE(ErrorOf([&] { instance.Set("P1", "1.5"); }).find("0..1"), std::string::npos);
  EXPECT_NE(ErrorOf([&] { instance.Set("P1", "-0.01"); }).find("0..1"), std::string::npos);
  EXPECT_NE(ErrorOf([&] { instance.Set("P1", "1e40"); }).find("out of range"), std::string::npos);
  for (const char* text : {"half", "0.5x", "", "nan", "inf", "0.5,0.5"}) {
    EXPECT_NE(ErrorOf([&] { instance.Set("P1", text); }).find("float"), std::string::npos) << text;
  }
  EXPECT_EQ(Raw<float>(instance, wipe.FindParam("P1")), 0.25f);

  const auto [effect, whole] = FirstOfType(VEK_TYPE_INT);
  ASSERT_NE(whole, nullptr);
  Instance counted(*effect);
  EXPECT_NE(ErrorOf([&] { counted.Set(whole->key, "2.5"); }).find("whole number"), std::string::npos);
  const int64_t above = std::get<int64_t>(whole->maximum) + 1;
  EXPECT_NE(ErrorOf([&] { counted.Set(whole->key, std::to_string(above)); }).find(vek::host::FormatRange(*whole)),
            std::string::npos);
}

TEST(HostParams, SwitchesColoursRectanglesAndPositionsParseTheirOwnNotations) {
  const auto [switchEffect, toggle] = FirstOfType(VEK_TYPE_SWITCH);
  ASSERT_NE(toggle, nullptr);
  Instance switched(*switchEffect);
  for (const auto& [text, expected] : std::vector<std::pair<const char*, int32_t>>{
           {"on", 1}, {"OFF", 0}, {"true", 1}, {"False", 0}, {"1", 1}, {"0", 0}}) {
    switched.Set(toggle->key, text);
    EXPECT_EQ(Raw<int32_t>(switched, *toggle), expected) << text;
  }
  EXPECT_NE(ErrorOf([&] { switched.Set(toggle->key, "yes please"); }).find("switch"), std::string::npos);

  const auto [colourEffect, colour] = FirstOfType(VEK_TYPE_COLOUR);
  ASSERT_NE(colour, nullptr);
  Instance coloured(*colourEffect);
  coloured.Set(colour->key, "#FF8000");
  EXPECT_EQ(Raw<uint32_t>(coloured, *colour), 0xFF8000u);
  coloured.Set(colour->key, "0x00ff7f");
  EXPECT_EQ(Raw<uint32_t>(coloured, *colour), 0x00FF7Fu);
  for (const char* text : {"FF8000", "#FF80", "#GG0000", "orange"}) {
    EXPECT_NE(ErrorOf([&] { coloured.Set(colour->key, text); }).find("colour"), std::string::npos) << text;
  }

  const auto [rectEffect, rect] = FirstOfType(VEK_TYPE_RECT);
  ASSERT_NE(rect, nullptr);
  Instance framed(*rectEffect);
  framed.Set(rect->key, "0.1, 0.2, 0.9, 0.8");
  EXPECT_EQ(framed.Get(*rect), (Value{std::vector<float>{0.1f, 0.2f, 0.9f, 0.8f}}));
  EXPECT_NE(ErrorOf([&] { framed.Set(rect->key, "0,0,1.5,1"); }).find("out of range"), std::string::npos);
  EXPECT_NE(ErrorOf([&] { framed.Set(rect->key, "0,0,1"); }).find("rect"), std::string::npos);

  const auto [positionEffect, position] = FirstOfType(VEK_TYPE_POSITION);
  ASSERT_NE(position, nullptr);
  Instance placed(*positionEffect);
  const auto& low = std::get<std::vector<float>>(position->minimum);
  const auto& high = std::get<std::vector<float>>(position->maximum);
  placed.Set(position->key, vek::host::FormatValue(*position, Value{std::vector<float>{low[0], high[1]}}));
  EXPECT_EQ(placed.Get(*position), (Value{std::vector<float>{low[0], high[1]}}));
  const std::string beyond = std::to_string(high[0] + 1) + ",0";
  EXPECT_NE(ErrorOf([&] { placed.Set(position->key, beyond); }).find("out of range"), std::string::npos);
}

TEST(HostParams, WideStringsAreStoredAsUtf16TheHostOwns) {
  const auto [effect, wide] = FirstOfType(VEK_TYPE_WIDE_STRING);
  ASSERT_NE(wide, nullptr);
  Instance instance(*effect);
  const std::string greeting = "Gr\u00FC\u00DFe \U0001F3AC";
  instance.Set(wide->key, greeting);
  const auto* units = Raw<const uint16_t*>(instance, *wide);
  const std::vector<uint16_t> expected = {'G', 'r', 0xFC, 0xDF, 'e', ' ', 0xD83C, 0xDFAC, 0};
  EXPECT_EQ(std::vector<uint16_t>(units, units + expected.size()), expected);
  EXPECT_EQ(instance.Get(*wide), Value{greeting});
  EXPECT_NE(ErrorOf([&] { instance.Set(wide->key, "\xC3("); }).find("UTF-8"), std::string::npos);
}

// Init must leave every default in the block, and each default's text must be taken back as the
// same value: this walks every row of every table through the plug-in and the parser.
TEST(HostInstance, EveryEffectStartsAtItsDefaultsAndTakesThemBackAsText) {
  for (const Effect& effect : LoadedPlugin().Effects()) {
    Instance instance(effect);
    for (const Param& param : effect.params) {
      EXPECT_EQ(instance.Get(param), param.defaultValue) << effect.classId << " " << param.key;
      const std::string text = vek::host::FormatValue(param, param.defaultValue);
      try {
        instance.Set(param.key, text);
      } catch (const Error& error) {
        ADD_FAILURE() << effect.classId << " " << param.key << " refused its default \"" << text
                      << "\": " << error.what();
      }
      EXPECT_EQ(instance.Get(param), param.defaultValue) << effect.classId << " " << param.key << " from " << text;
    }
  }
}

// Prepare, an early ReleaseResources, then the destructor's ReleaseResources and Destroy: under the
// sanitizers this finds double frees and leaks on either side of the interface.
TEST(HostInstance, EveryEffectSurvivesTheHostsCallingOrder) {
  for (const Effect& effect : LoadedPlugin().Effects()) {
    Instance instance(effect);
    VekEffectInstance& record = instance.Record();
    record.width = 16;
    record.height = 9;
    const int32_t audioFormat[4] = {48000, 2, 16, 512};
    std::memcpy(record.audioFormat, audioFormat, sizeof audioFormat);
    EXPECT_NO_THROW(instance.Prepare()) << effect.classId;
    EXPECT_NO_THROW(instance.ReleaseResources()) << effect.classId;
  }
}

// Without the stand-in a Process in an accelerator mode would call through a null object.
TEST(HostInstance, AcceleratorJobsGoToTheStandInObject) {
  std::vector<uint8_t> a(16 * 4, 0x00), b(a.size(), 0xFF), out(a.size(), 0x5A);
  Instance instance(LoadedPlugin().FindEffect("DSP_TR_Fade"));
  instance.Record().width = 4;
  instance.Record().height = 4;
  instance.Record().processingMode = VEK_PROCESSING_ACCELERATOR_B;
  instance.Prepare();
  instance.SetInput(0, a.data());
  instance.SetInput(1, b.data());
  instance.Process(out.data());
  EXPECT_EQ(out, std::vector<uint8_t>(a.size(), 0x5A)) << "the stand-in accelerator renders nothing";
}

}  // namespace
