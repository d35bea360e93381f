// vekhost end to end: the commands as a user and a tool run them, and the committed catalogue
// document compared with what the tables give today.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>

#include "vek_dsp/abi.h"
#include "scratch_files.h"
#include "vekhost_run.h"

namespace {

using vek::test::kPlugin;
using vek::test::Outcome;
using vek::test::ReadFile;
using vek::test::SetEnvironment;
using vek::test::Vekhost;

// Each needle in the text, each after the one before.
bool InOrder(const std::string& text, std::initializer_list<const char*> needles) {
  std::size_t at = 0;
  for (const char* needle : needles) {
    at = text.find(needle, at);
    if (at == std::string::npos) return false;
    at += std::strlen(needle);
  }
  return true;
}

TEST(VekhostList, GroupsEffectsByCategoryThenSubclass) {
  const Outcome run = Vekhost(kPlugin + "list");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(InOrder(
      run.out, {"video effect (category 10)", "transition (category 20)", "picture-in-picture (category 40)",
                "colour adjustment (category 50)", "audio (category 510)", "automatic correction (category 700)"}))
      << run.out;
  EXPECT_TRUE(InOrder(run.out, {"transition", "DSP_SUBCLASS_V_TR_GENERAL", "DSP_TR_Wipe ", "2 parameters"})) << run.out;
  EXPECT_TRUE(InOrder(run.out, {"audio", "DSP_AU_VolumeAdj ", "DSP_AU_VolumeAdj_Exp "})) << run.out;
}

TEST(VekhostList, JsonDescribesAllEffectsForTools) {
  const Outcome run = Vekhost(kPlugin + "list --json");
  ASSERT_EQ(run.status, 0) << run.err;
  const nlohmann::json list = nlohmann::json::parse(run.out);
  ASSERT_TRUE(list.is_array());
  EXPECT_EQ(list.size(), 93u);
  std::set<std::string> ids;
  for (const auto& effect : list) {
    const std::string id = effect.at("classId");
    EXPECT_TRUE(ids.insert(id).second) << id;
    EXPECT_EQ(effect.at("params").size(), effect.at("words").at(VEK_WORD_PARAM_COUNT).get<std::size_t>()) << id;
    EXPECT_EQ(effect.at("inputs"), effect.at("words").at(VEK_WORD_INPUT_COUNT)) << id;
    for (const char* field : {"nameId", "category", "subId", "subclass", "privateBytes"}) {
      EXPECT_TRUE(effect.contains(field)) << id << " lacks " << field;
    }
  }
  const auto wipe = std::find_if(list.begin(), list.end(), [](const auto& e) { return e["classId"] == "DSP_TR_Wipe"; });
  ASSERT_NE(wipe, list.end());
  const auto& progress = (*wipe)["params"][0];
  EXPECT_EQ(progress["key"], "P1");
  EXPECT_EQ(progress["type"], "float");
  EXPECT_EQ(progress["min"], 0.0);
  EXPECT_EQ(progress["max"], 1.0);
  EXPECT_EQ((*wipe)["params"][1]["options"], nlohmann::json({"Up", "Down", "Left", "Right"}));
  EXPECT_EQ((*wipe)["params"][1]["offset"], 4);
}

TEST(VekhostInfo, ShowsEveryParameterWithItsOptions) {
  const Outcome run = Vekhost(kPlugin + "info DSP_TR_Wipe");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(InOrder(run.out, {"DSP_TR_Wipe", "subclass", "DSP_SUBCLASS_V_TR_GENERAL", "inputs", "2"})) << run.out;
  EXPECT_TRUE(InOrder(run.out, {"P1", "IDS_Tr_Param_Percentage_Name", "float", "0..1"})) << run.out;
  EXPECT_TRUE(InOrder(run.out, {"P2", "IDS_Tr_Param_Direction_Name", "enum", "0..3"})) << run.out;
  EXPECT_TRUE(InOrder(run.out, {"P2 options", "Up", "Down", "Left", "Right"})) << run.out;
  // A row without option words still says what its values mean.
  const Outcome colour = Vekhost(kPlugin + "info DSP_CO_ColorAdj");
  EXPECT_TRUE(InOrder(colour.out, {"P6 values", "0 off", "1 split left/right", "2 split top/bottom"})) << colour.out;

  const Outcome json = Vekhost(kPlugin + "info dsp_tr_wipe --json");
  ASSERT_EQ(json.status, 0) << json.err;
  EXPECT_EQ(nlohmann::json::parse(json.out).at("classId"), "DSP_TR_Wipe");
}

TEST(VekhostErrors, FailWithAMessageAndNoOutput) {
  const Outcome unknown = Vekhost(kPlugin + "info DSP_TR_Wipr");
  EXPECT_NE(unknown.status, 0);
  EXPECT_TRUE(unknown.out.empty()) << unknown.out;
  EXPECT_NE(unknown.err.find("DSP_TR_Wipe"), std::string::npos) << unknown.err;

  const Outcome noCommand = Vekhost(kPlugin);
  EXPECT_NE(noCommand.status, 0);

  const Outcome missing = Vekhost("--plugin \"no/such/libvek_dsp.so\" list");
  EXPECT_NE(missing.status, 0);
  EXPECT_NE(missing.err.find("no/such/libvek_dsp.so"), std::string::npos) << missing.err;
}

// The command line wins over the environment, which wins over the plug-in beside vekhost.
TEST(VekhostPlugin, IsFoundByOptionThenEnvironmentThenBesideTheTool) {
  SetEnvironment("VEK_DSP_PLUGIN", nullptr);
  EXPECT_EQ(Vekhost("list").status, 0) << "the build puts the plug-in beside vekhost";
  SetEnvironment("VEK_DSP_PLUGIN", "no/such/plugin.so");
  const Outcome fromEnvironment = Vekhost("list");
  EXPECT_NE(fromEnvironment.status, 0);
  EXPECT_NE(fromEnvironment.err.find("no/such/plugin.so"), std::string::npos) << fromEnvironment.err;
  EXPECT_EQ(Vekhost(kPlugin + "list").status, 0);
  SetEnvironment("VEK_DSP_PLUGIN", nullptr);
}

TEST(VekhostDocs, CommittedCatalogueMatchesTheTables) {
  const vek::test::ScratchFolder folder("vekhost_docs");
  const std::filesystem::path generated = folder / "effects.md";
  const Outcome run = Vekhost(kPlugin + "docs -o \"" + generated.string() + "\"");
  ASSERT_EQ(run.status, 0) << run.err;
  const std::string text = ReadFile(generated);
  EXPECT_TRUE(InOrder(text, {"vekhost docs", "## Contents", "[DSP_TR_Wipe](#dsp_tr_wipe)", "### DSP_TR_Wipe", "| P2 |",
                             "Up, Down, Left, Right"}));
  EXPECT_TRUE(text == ReadFile(VEK_SOURCE_DIR "/docs/effects.md"))
      << "docs/effects.md is out of date: run cmake --build build --target docs";
}

}  // namespace
