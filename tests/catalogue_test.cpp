// The catalogue and its parameter tables as a host reads them through the shared library.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "plugin_fixture.h"

namespace {

using vek::test::LoadedPlugin;
using vek::test::Rows;

struct ExpectedRow {
  const char* classId;
  uint32_t category, subId;
  const char* subclass;
  uint32_t f2, inputs, f9, flags, f13, f14, f16, params;
  uint64_t privateBytes;
};

// The catalogue as hosts know it, in the host's order.
constexpr ExpectedRow kExpected[] = {
    {"DSP_AU_VolumeAdj", 510, 250, "DSP_SUBCLASS_A_EF_DEFAULT", 2, 1, 0, 1, 2, 2, 0, 1, 1281200},
    {"DSP_TR_Burn", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 2, 2, 1, 1, 2, 2, 3, 1, 160},
    {"DSP_TR_PageRoll", 20, 51, "DSP_SUBCLASS_V_TR_3D", 1, 2, 0, 1, 5, 5, 3, 2, 20008},
    {"DSP_TR_Center", 20, 51, "DSP_SUBCLASS_V_TR_3D", 1, 2, 0, 1, 5, 5, 3, 2, 20008},
    {"DSP_TR_Ripple", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 1, 2, 0, 1, 2, 2, 3, 2, 2089048},
    {"DSP_TR_3DTyphoon", 20, 51, "DSP_SUBCLASS_V_TR_3D", 1, 2, 1, 1, 12, 12, 3, 2, 56},
    {"DSP_TR_WipeSoft", 20, 60, "DSP_SUBCLASS_V_TR_GENERAL", 1, 2, 1, 1, 2, 2, 3, 2, 32},
    {"DSP_TR_3DFlip", 20, 51, "DSP_SUBCLASS_V_TR_3D", 2, 2, 1, 1, 12, 12, 3, 2, 56},
    {"DSP_TR_3DFlipTwo", 20, 51, "DSP_SUBCLASS_V_TR_3D", 2, 2, 1, 1, 12, 12, 3, 2, 56},
    {"DSP_TR_Collapse", 20, 54, "DSP_SUBCLASS_V_TR_BLOCK", 1, 2, 0, 1, 2, 2, 3, 2, 56},
    {"DSP_TR_BlizzardS", 20, 54, "DSP_SUBCLASS_V_TR_BLOCK", 1, 2, 0, 1, 2, 2, 3, 1, 56},
    {"DSP_TR_GranulateS", 20, 54, "DSP_SUBCLASS_V_TR_BLOCK", 1, 2, 0, 1, 5, 5, 3, 1, 56},
    {"DSP_TR_3DMagicBlocksS", 20, 51, "DSP_SUBCLASS_V_TR_3D", 2, 2, 1, 1, 12, 12, 3, 1, 40},
    {"DSP_TR_3DChainReact", 20, 51, "DSP_SUBCLASS_V_TR_3D", 2, 2, 1, 1, 12, 12, 3, 2, 56},
    {"DSP_TR_3DDominotes", 20, 51, "DSP_SUBCLASS_V_TR_3D", 2, 2, 1, 1, 12, 12, 3, 2, 56},
    {"DSP_TR_3DFold", 20, 51, "DSP_SUBCLASS_V_TR_3D", 1, 2, 1, 1, 12, 12, 3, 2, 48},
    {"DSP_TR_3DFragments", 20, 51, "DSP_SUBCLASS_V_TR_3D", 2, 2, 1, 1, 12, 12, 3, 2, 56},
    {"DSP_TR_3DSeism", 20, 51, "DSP_SUBCLASS_V_TR_3D", 2, 2, 1, 1, 12, 12, 3, 2, 56},
    {"DSP_TR_BrokenGlass", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 1, 2, 0, 1, 8, 8, 3, 1, 32},
    {"DSP_TR_BlurLine", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 1, 2, 1, 1, 8, 8, 3, 2, 24},
    {"DSP_TR_Box", 20, 60, "DSP_SUBCLASS_V_TR_GENERAL", 2, 2, 1, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_PageCurl", 20, 51, "DSP_SUBCLASS_V_TR_3D", 2, 2, 0, 1, 5, 5, 3, 2, 20008},
    {"DSP_TR_WipeClock", 20, 60, "DSP_SUBCLASS_V_TR_GENERAL", 2, 2, 1, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_ColorSplit", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 1, 2, 1, 1, 2, 2, 3, 1, 24},
    {"DSP_TR_Cross", 20, 60, "DSP_SUBCLASS_V_TR_GENERAL", 2, 2, 0, 1, 2, 2, 3, 1, 24},
    {"DSP_TR_Door", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 2, 2, 0, 1, 2, 2, 3, 1, 24},
    {"DSP_TR_Drain", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 1, 2, 0, 1, 2, 2, 3, 1, 40},
    {"DSP_TR_Fade", 20, 60, "DSP_SUBCLASS_V_TR_GENERAL", 2, 2, 1, 1025, 2, 2, 3, 1, 24},
    {"DSP_TR_FullTwistS", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 2, 2, 0, 1, 2, 2, 3, 1, 48},
    {"DSP_TR_Glare", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 2, 2, 1, 1, 5, 5, 3, 1, 40},
    {"DSP_TR_DirtyWipe", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 1, 2, 0, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_DissolveType", 20, 54, "DSP_SUBCLASS_V_TR_BLOCK", 1, 2, 0, 1, 2, 2, 3, 2, 48},
    {"DSP_TR_FilmScroll", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 2, 2, 0, 1, 2, 2, 3, 2, 32},
    {"DSP_TR_Interfere", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 2, 2, 1, 1, 2, 2, 3, 1, 440},
    {"DSP_TR_Laser", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 2, 2, 1, 1, 2, 2, 3, 1, 48},
    {"DSP_TR_Mirror", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 1, 2, 0, 1, 2, 2, 3, 1, 24},
    {"DSP_TR_NoEffect", 20, 60, "DSP_SUBCLASS_V_TR_GENERAL", 2, 2, 1, 1, 2, 2, 3, 1, 24},
    {"DSP_TR_PageFold", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 2, 2, 0, 1, 2, 2, 3, 2, 1048},
    {"DSP_TR_RainDropS", 20, 51, "DSP_SUBCLASS_V_TR_3D", 1, 2, 0, 1, 2, 2, 3, 1, 80},
    {"DSP_TR_PinWheel", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 2, 2, 1, 1, 2, 2, 3, 2, 40},
    {"DSP_TR_Swinging", 20, 55, "DSP_SUBCLASS_V_TR_SPIN", 1, 2, 0, 1, 2, 2, 3, 1, 24},
    {"DSP_TR_Twist", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 1, 2, 0, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_Shove", 20, 60, "DSP_SUBCLASS_V_TR_GENERAL", 2, 2, 1, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_Splices", 20, 57, "DSP_SUBCLASS_V_TR_STRIPE", 2, 2, 1, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_Shutter", 20, 57, "DSP_SUBCLASS_V_TR_STRIPE", 1, 2, 1, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_Slide", 20, 60, "DSP_SUBCLASS_V_TR_GENERAL", 2, 2, 1, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_Slices", 20, 57, "DSP_SUBCLASS_V_TR_STRIPE", 1, 2, 1, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_SlideSpin", 20, 57, "DSP_SUBCLASS_V_TR_STRIPE", 2, 2, 0, 1, 2, 2, 3, 2, 33392},
    {"DSP_TR_SpinHorizontal", 20, 55, "DSP_SUBCLASS_V_TR_SPIN", 2, 2, 0, 1, 2, 2, 3, 2, 33200},
    {"DSP_TR_Swap", 20, 60, "DSP_SUBCLASS_V_TR_GENERAL", 1, 2, 1, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_Swing", 20, 55, "DSP_SUBCLASS_V_TR_SPIN", 1, 2, 0, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_Threshold", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 1, 2, 1, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_Wave", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 1, 2, 0, 1, 2, 2, 3, 1, 24},
    {"DSP_TR_WaveWipe", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 1, 2, 1, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_WipeCenter", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 2, 2, 0, 1, 2, 2, 3, 1, 32},
    {"DSP_TR_WormHole", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 1, 2, 0, 1, 2, 2, 3, 1, 24},
    {"DSP_TR_XRay", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 2, 2, 0, 1, 2, 2, 3, 1, 24},
    {"DSP_TR_Wipe", 20, 60, "DSP_SUBCLASS_V_TR_GENERAL", 1, 2, 1, 1, 2, 2, 3, 2, 24},
    {"DSP_TR_Blending", 20, 50, "DSP_SUBCLASS_V_TR_SPECIAL", 0, 2, 1, 1, 2, 2, 3, 1, 24},
    {"DSP_VI_Swing", 10, 2, "DSP_SUBCLASS_V_EF_SPECIAL", 1, 1, 0, 1, 2, 2, 3, 8, 16},
    {"DSP_VI_Blur", 10, 5, "DSP_SUBCLASS_V_EF_TITLEMASK", 2, 1, 0, 1025, 2, 2, 2, 6, 16},
    {"DSP_VI_Delay", 10, 5, "DSP_SUBCLASS_V_EF_TITLEMASK", 1, 1, 6, 1, 21, 29, 3, 6, 56},
    {"DSP_VI_Edge", 10, 1, "DSP_SUBCLASS_V_EF_STYLE", 2, 1, 0, 1, 2, 2, 3, 8, 16},
    {"DSP_VI_Ripple", 10, 0, "DSP_SUBCLASS_V_EF_VISUAL", 2, 1, 0, 1, 2, 2, 3, 9, 2089056},
    {"DSP_VI_Skip", 10, 2, "DSP_SUBCLASS_V_EF_SPECIAL", 1, 1, 7, 1, 2, 2, 3, 6, 48},
    {"DSP_VI_TvWall", 10, 1, "DSP_SUBCLASS_V_EF_STYLE", 2, 1, 1, 1, 3, 3, 3, 7, 40},
    {"DSP_VI_ZoomIn", 10, 2, "DSP_SUBCLASS_V_EF_SPECIAL", 2, 1, 1, 513, 2, 2, 3, 7, 16},
    {"DSP_VI_ZoomOut", 10, 2, "DSP_SUBCLASS_V_EF_SPECIAL", 2, 1, 1, 513, 2, 2, 3, 8, 16},
    {"DSP_VI_ColorBalance", 10, 5, "DSP_SUBCLASS_V_EF_TITLEMASK", 1, 1, 1, 513, 2, 2, 2, 9, 16},
    {"DSP_VI_ColorFocus", 10, 0, "DSP_SUBCLASS_V_EF_VISUAL", 1, 1, 1, 513, 2, 2, 3, 9, 16},
    {"DSP_VI_Emboss", 10, 1, "DSP_SUBCLASS_V_EF_STYLE", 2, 1, 0, 1, 2, 2, 3, 6, 16},
    {"DSP_VI_FlipCanvas", 10, 5, "DSP_SUBCLASS_V_EF_TITLEMASK", 1, 1, 1, 1, 2, 2, 3, 6, 16},
    {"DSP_VI_Focus", 10, 11, "DSP_SUBCLASS_V_EF_RETRO", 1, 1, 1, 513, 2, 2, 3, 11, 16},
    {"DSP_VI_Grid", 10, 1, "DSP_SUBCLASS_V_EF_STYLE", 1, 1, 0, 513, 2, 2, 3, 9, 16},
    {"DSP_VI_Mosaic", 10, 1, "DSP_SUBCLASS_V_EF_STYLE", 2, 1, 0, 1, 2, 2, 3, 5, 16},
    {"DSP_VI_Noise", 10, 11, "DSP_SUBCLASS_V_EF_RETRO", 1, 1, 0, 1, 2, 2, 3, 8, 16},
    {"DSP_VI_Posterize", 10, 1, "DSP_SUBCLASS_V_EF_STYLE", 1, 1, 1, 1, 2, 2, 3, 6, 16},
    {"DSP_VI_RotateCanvas", 10, 2, "DSP_SUBCLASS_V_EF_SPECIAL", 1, 1, 1, 1, 2, 2, 3, 7, 16},
    {"DSP_VI_Spotlight", 10, 5, "DSP_SUBCLASS_V_EF_TITLEMASK", 2, 1, 1, 1025, 2, 2, 3, 12, 2088},
    {"DSP_VI_Threshold", 10, 1, "DSP_SUBCLASS_V_EF_STYLE", 1, 1, 1, 513, 2, 2, 2, 7, 16},
    {"DSP_VI_XRay", 10, 1, "DSP_SUBCLASS_V_EF_STYLE", 2, 1, 1, 513, 2, 2, 3, 6, 16},
    {"DSP_VI_FilterColor", 10, 11, "DSP_SUBCLASS_V_EF_RETRO", 2, 1, 1, 1025, 2, 2, 2, 7, 16},
    {"DSP_VI_ReplaceColor", 10, 1, "DSP_SUBCLASS_V_EF_STYLE", 2, 1, 1, 513, 2, 2, 2, 8, 16},
    {"DSP_VI_AutoLevels", 700, 500, "DSP_SUBCLASS_I_EF_AUTO", 1, 1, 0, 1, 2, 2, 2, 3, 16},
    {"DSP_VI_AutoContrast", 700, 500, "DSP_SUBCLASS_I_EF_AUTO", 1, 1, 0, 1, 2, 2, 2, 3, 16},
    {"DSP_VI_ContrastMask", 700, 500, "DSP_SUBCLASS_I_EF_AUTO", 1, 1, 0, 1, 2, 2, 2, 2, 16},
    {"DSP_VI_Equalize", 700, 500, "DSP_SUBCLASS_I_EF_AUTO", 1, 1, 0, 1, 2, 2, 2, 1, 16},
    {"DSP_PI_Still", 40, 150, "DSP_SUBCLASS_V_PI_DEFAULT", 2, 2, 1, 1, 2, 2, 3, 26, 56},
    {"DSP_PI_AlphaMask", 40, 150, "DSP_SUBCLASS_V_PI_DEFAULT", 2, 2, 1, 1, 2, 2, 3, 29, 56},
    {"DSP_PI_Rotate", 40, 150, "DSP_SUBCLASS_V_PI_DEFAULT", 2, 2, 1, 1, 2, 2, 3, 31, 56},
    {"DSP_PI_Script", 40, 150, "DSP_SUBCLASS_V_PI_DEFAULT", 2, 2, 1, 1, 2, 2, 3, 1, 56},
    {"DSP_CO_ColorAdj", 50, 200, "DSP_SUBCLASS_V_CO_DEFAULT", 2, 1, 0, 1, 2, 2, 2, 10, 131832},
    {"DSP_AU_VolumeAdj_Exp", 510, 250, "DSP_SUBCLASS_A_EF_DEFAULT", 2, 1, 0, 1, 2, 2, 0, 1, 1281200},
};

std::string Kind(std::string_view classId) {  // "DSP_TR_Fade" -> "Tr"
  std::string kind(classId.substr(4, 2));
  kind[1] = char(std::tolower(kind[1]));
  return kind;
}

TEST(Catalogue, ModuleDescriptorLeadsToTheWholeTable) {
  const VekModuleDescriptor& module = LoadedPlugin().Module();
  EXPECT_EQ(module.version, 16u);
  EXPECT_STREQ(module.nameId, "IDS_Module_Name");
  EXPECT_STREQ(module.descriptionId, "IDS_Module_Desc");
  EXPECT_STREQ(module.author, "Module Author");
  EXPECT_STREQ(module.vendor, "Module Vendor");
  EXPECT_NE(module.instance, nullptr);
  EXPECT_NE(module.resources, nullptr);
  ASSERT_EQ(module.effectCount, std::size(kExpected));
}

TEST(Catalogue, EveryRowHoldsItsWordsInTheHostsOrder) {
  const auto rows = Rows();
  ASSERT_EQ(rows.size(), std::size(kExpected));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const VekEffectDescriptor& row = rows[i];
    const ExpectedRow& want = kExpected[i];
    SCOPED_TRACE(want.classId);
    ASSERT_STREQ(row.classId, want.classId);
    const std::string_view id = want.classId;
    const std::string stem = "DSP_" + Kind(id) + std::string(id.substr(6));
    EXPECT_EQ(std::string(row.nameId), "IDS_" + stem + "_Name");
    EXPECT_EQ(std::string(row.descriptionId), "IDS_" + stem + "_Desc");
    // Author and vendor follow the class id, bar two rows.
    const std::string signature = id == "DSP_AU_VolumeAdj_Exp" ? "DSP Au_VolumeAdj" : "DSP " + stem.substr(4);
    EXPECT_EQ(row.author, id == "DSP_TR_Blending" ? "Ravok" : signature + " Author");
    EXPECT_EQ(row.vendor, id == "DSP_TR_Blending" ? "Orvanta" : signature + " Vendor");
    const uint32_t words[18] = {want.category, want.subId, want.f2, want.category == 510 ? 0u : 1u, want.inputs,
                                0, id == "DSP_TR_Fade" ? 0u : 1u, 1, 0, want.f9,
                                want.flags, 0, 0, want.f13, want.f14, 1, want.f16, want.params};
    for (int k = 0; k < 18; ++k) EXPECT_EQ(row.words[k], words[k]) << "word F" << k;
    EXPECT_STREQ(row.subclass, want.subclass);
    EXPECT_EQ(row.privateBytes, want.privateBytes);
    EXPECT_EQ(row.module, &LoadedPlugin().Module());
    EXPECT_NE(row.params, nullptr);
    EXPECT_EQ(row.reserved_200, nullptr);
  }
}

TEST(Catalogue, SixCallbacksPerRowAndNoneShared) {
  std::set<const void*> seen;
  for (const VekEffectDescriptor& row : Rows()) {
    SCOPED_TRACE(row.classId);
    const VekEffectCallbacks& c = row.callbacks;
    EXPECT_EQ(c.reserved4, nullptr);
    EXPECT_EQ(c.reserved7, nullptr);
    for (const void* callback : {(const void*)c.init, (const void*)c.destroy, (const void*)c.setInput,
                                 (const void*)c.process, (const void*)c.prepare, (const void*)c.releaseResources}) {
      ASSERT_NE(callback, nullptr);
      EXPECT_TRUE(seen.insert(callback).second) << "a callback shared with another slot or row";
    }
  }
  EXPECT_EQ(seen.size(), 6 * std::size(kExpected));
}

uint32_t TypeSize(uint32_t type) {
  switch (type) {
    case VEK_TYPE_BYTE: return 1;
    case VEK_TYPE_ENUM: case VEK_TYPE_INT: case VEK_TYPE_FLOAT: case VEK_TYPE_COLOUR: case VEK_TYPE_SWITCH: return 4;
    case VEK_TYPE_STRING: case VEK_TYPE_WIDE_STRING: case VEK_TYPE_POSITION: return 8;
    case VEK_TYPE_RECT: return 16;
    default: return 0;
  }
}

int OptionCount(const char* nameId) { return int(std::count(nameId, nameId + std::strlen(nameId), ';')); }

template <class T> T Read(const void* p) {
  T value;
  std::memcpy(&value, p, sizeof value);
  return value;
}

template <class T> void ExpectDefaultInRange(const VekParamDescriptor& row) {
  EXPECT_LE(Read<T>(row.minimum), Read<T>(row.defaultValue));
  EXPECT_LE(Read<T>(row.defaultValue), Read<T>(row.maximum));
}

TEST(ParamTables, RowsAreCompleteAndConsistentWithTheirTypes) {
  for (const VekEffectDescriptor& effect : Rows()) {
    std::set<std::string> keys;
    for (uint32_t k = 0; k < effect.words[VEK_WORD_PARAM_COUNT]; ++k) {
      const VekParamDescriptor& row = effect.params[k];
      SCOPED_TRACE(std::string(effect.classId) + " row " + std::to_string(k));
      static const VekParamDescriptor kZero{};
      ASSERT_NE(std::memcmp(&row, &kZero, sizeof row), 0) << "all-zero row";
      ASSERT_NE(row.key, nullptr);
      ASSERT_NE(row.nameId, nullptr);
      EXPECT_TRUE(keys.insert(row.key).second) << "duplicate key " << row.key;
      for (const void* value : {row.minimum, row.maximum, row.defaultValue, row.value3, row.value4, row.value5}) {
        EXPECT_NE(value, nullptr);
      }
      EXPECT_EQ(row.valueSize, TypeSize(row.typeCode)) << "type " << row.typeCode;
      EXPECT_EQ(row.reserved_72[0] | row.reserved_72[1] | row.reserved_72[2] | row.reserved_100, 0u);
      EXPECT_EQ(row.interpolate != nullptr, std::string_view(effect.classId) == "DSP_AU_VolumeAdj_Exp");
      const std::string_view key = row.key;
      if (!key.starts_with("MP") && key != "SalientP1") {
        EXPECT_EQ(key, std::string("P") + std::to_string(k + 1));
      }
      if (row.typeCode == VEK_TYPE_ENUM) {
        EXPECT_GT(OptionCount(row.nameId), 0);
        EXPECT_EQ(Read<int32_t>(row.minimum), 0);
        EXPECT_EQ(Read<int32_t>(row.maximum), OptionCount(row.nameId) - 1);
      } else {
        EXPECT_EQ(OptionCount(row.nameId), 0);
      }
      if (row.typeCode == VEK_TYPE_ENUM || row.typeCode == VEK_TYPE_INT) ExpectDefaultInRange<int32_t>(row);
      if (row.typeCode == VEK_TYPE_FLOAT) ExpectDefaultInRange<float>(row);
      if (row.typeCode == VEK_TYPE_BYTE) ExpectDefaultInRange<uint8_t>(row);
    }
  }
}

// The type of every row is pinned by the committed docs/effects.md; the animation flags are not.
TEST(ParamTables, AnimatedRowsByType) {
  int numeric = 0, numericAnimated = 0, colourAnimated = 0, enumAnimated = 0, otherAnimated = 0;
  for (const VekEffectDescriptor& effect : Rows()) {
    for (uint32_t k = 0; k < effect.words[VEK_WORD_PARAM_COUNT]; ++k) {
      const VekParamDescriptor& row = effect.params[k];
      const bool compareChoice = std::string_view(row.nameId) == "IDS_Co_Param_CompareImage_Name";
      switch (row.typeCode) {
        case VEK_TYPE_BYTE: case VEK_TYPE_INT: case VEK_TYPE_FLOAT:
          if (compareChoice) break;
          ++numeric;
          numericAnimated += row.animatable;
          break;
        case VEK_TYPE_COLOUR: colourAnimated += row.animatable; break;
        case VEK_TYPE_ENUM: enumAnimated += row.animatable; break;
        case VEK_TYPE_RECT: case VEK_TYPE_POSITION: EXPECT_EQ(row.animatable, 1u) << effect.classId; break;
        default: otherAnimated += row.animatable;
      }
    }
  }
  EXPECT_EQ(numeric, 184);
  EXPECT_EQ(numericAnimated, 176);
  EXPECT_EQ(colourAnimated, 15);
  EXPECT_EQ(enumAnimated, 4);
  EXPECT_EQ(otherAnimated, 0) << "switch and string rows are never animated";
}

TEST(ParamTables, ScopesGroupsAndDescriptionsOfTheSharedRows) {
  const std::set<std::string> scopeZero = {"DSP_AU_VolumeAdj", "DSP_AU_VolumeAdj_Exp", "DSP_TR_Swing",
                                           "DSP_PI_Still",     "DSP_PI_AlphaMask",     "DSP_PI_Rotate",
                                           "DSP_PI_Script",    "DSP_CO_ColorAdj"};
  const std::map<std::string, int32_t> sharedGroups = {
      {"MP1", 90}, {"MP2", 91}, {"MP3", 92}, {"MP4", 93}, {"SalientP1", 99}};
  for (const VekEffectDescriptor& effect : Rows()) {
    for (uint32_t k = 0; k < effect.words[VEK_WORD_PARAM_COUNT]; ++k) {
      const VekParamDescriptor& row = effect.params[k];
      SCOPED_TRACE(std::string(effect.classId) + " " + row.key);
      const std::string_view name = row.nameId;
      const bool maskRow = sharedGroups.contains(row.key) || name.starts_with("IDS_Vi_Param_Mask") ||
                           name == "IDS_Vi_Param_InverseEffectArea_Name";
      if (maskRow) {
        EXPECT_EQ(row.scope, 99);
      } else {
        EXPECT_EQ(row.scope, scopeZero.contains(effect.classId) ? 0 : -1);
      }
      if (auto group = sharedGroups.find(row.key); group != sharedGroups.end()) {
        EXPECT_EQ(row.group, group->second);
        EXPECT_EQ(row.descriptionId, nullptr);
      }
      if (name == "IDS_Vi_Param_InverseEffectArea_Name") {
        EXPECT_EQ(row.descriptionId, nullptr);
      }
    }
  }
}

TEST(ParamTables, VideoEffectsEndWithTheSharedAreaAndSalientRows) {
  const std::set<std::string> ownAreaRows = {"DSP_VI_Blur", "DSP_VI_ColorBalance", "DSP_VI_Emboss",
                                             "DSP_VI_Mosaic", "DSP_VI_XRay"};
  int fullSets = 0;
  for (const VekEffectDescriptor& effect : Rows()) {
    if (effect.words[VEK_WORD_CATEGORY] != VEK_CATEGORY_VIDEO) continue;
    SCOPED_TRACE(effect.classId);
    const uint32_t count = effect.words[VEK_WORD_PARAM_COUNT];
    EXPECT_STREQ(effect.params[count - 1].key, "SalientP1");
    EXPECT_STREQ(effect.params[count - 1].nameId, "IDS_Vi_Param_SalientType_Name;All;FG;BG");
    if (ownAreaRows.contains(effect.classId)) continue;
    ++fullSets;
    const char* keys[] = {"MP1", "MP2", "MP3", "MP4"};
    const uint32_t types[] = {VEK_TYPE_RECT, VEK_TYPE_ENUM, VEK_TYPE_FLOAT, VEK_TYPE_SWITCH};
    for (int m = 0; m < 4; ++m) {
      EXPECT_STREQ(effect.params[count - 5 + m].key, keys[m]);
      EXPECT_EQ(effect.params[count - 5 + m].typeCode, types[m]);
    }
    const float rect[4] = {0, 0, 1, 1};
    EXPECT_EQ(std::memcmp(effect.params[count - 5].defaultValue, rect, sizeof rect), 0);
  }
  EXPECT_EQ(fullSets, 19);
}

// Each default is pinned with the whole table by the committed docs/effects.md.
TEST(ParamTables, TransitionsStartWithTheProgressRow) {
  for (const VekEffectDescriptor& effect : Rows()) {
    if (effect.words[VEK_WORD_CATEGORY] != VEK_CATEGORY_TRANSITION) continue;
    SCOPED_TRACE(effect.classId);
    const VekParamDescriptor& p1 = effect.params[0];
    EXPECT_STREQ(p1.key, "P1");
    EXPECT_STREQ(p1.nameId, "IDS_Tr_Param_Percentage_Name");
    EXPECT_STREQ(p1.descriptionId, "IDS_Tr_Param_Percentage_Desc");
    ASSERT_EQ(p1.typeCode, uint32_t(VEK_TYPE_FLOAT));
    EXPECT_EQ(Read<float>(p1.minimum), 0.0f);
    EXPECT_EQ(Read<float>(p1.maximum), 1.0f);
    EXPECT_EQ(Read<float>(p1.value3), 0.0f);
    EXPECT_EQ(Read<float>(p1.value4), 0.0f);
    EXPECT_EQ(Read<float>(p1.value5), 1.0f);
    if (effect.words[VEK_WORD_PARAM_COUNT] == 2) {
      EXPECT_EQ(effect.params[1].typeCode, uint32_t(VEK_TYPE_ENUM));
      const std::string name = effect.params[1].nameId;
      const std::string stem = name.substr(0, name.find(';'));
      EXPECT_EQ(std::string(effect.params[1].descriptionId), stem.substr(0, stem.size() - 4) + "Desc");
    }
  }
}

}  // namespace
