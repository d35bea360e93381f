// The language code, the stem of the language library's name and the debug output.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "module/entry_points.h"
#include "platform/platform.h"

namespace {

namespace fs = std::filesystem;
using vek::platform::LanguageCodeForLocale;
using vek::platform::PathString;

PathString Native(const std::string& text) { return PathString(text.begin(), text.end()); }

TEST(LanguageCode, ListedLocalesTakeTheSystemsAbbreviation) {
  EXPECT_EQ(LanguageCodeForLocale("en_US.UTF-8"), "ENU");
  EXPECT_EQ(LanguageCodeForLocale("en_GB"), "ENG");
  EXPECT_EQ(LanguageCodeForLocale("de_DE.UTF-8@euro"), "DEU");
  EXPECT_EQ(LanguageCodeForLocale("fr_FR"), "FRA");
  EXPECT_EQ(LanguageCodeForLocale("es_ES"), "ESN");
  EXPECT_EQ(LanguageCodeForLocale("zh_CN.GB18030"), "CHS");
  EXPECT_EQ(LanguageCodeForLocale("zh_TW"), "CHT");
  EXPECT_EQ(LanguageCodeForLocale("pt_BR"), "PTB");
  EXPECT_EQ(LanguageCodeForLocale("ja_JP.eucJP"), "JPN");
}

TEST(LanguageCode, UnlistedAndNeutralLocales) {
  EXPECT_EQ(LanguageCodeForLocale("is_IS.UTF-8"), "ISI") << "language letters, then the territory's first";
  EXPECT_EQ(LanguageCodeForLocale("ca_ES"), "CAE");
  EXPECT_EQ(LanguageCodeForLocale("de"), "DEU") << "a language alone takes its first listed territory";
  EXPECT_EQ(LanguageCodeForLocale("eo"), "EOE");
  EXPECT_EQ(LanguageCodeForLocale("C.UTF-8"), "ENU");
  EXPECT_EQ(LanguageCodeForLocale(""), "ENU");
}

TEST(ResourceLookup, StemIsCutAtTheFirstDotOfTheWholePath) {
  EXPECT_EQ(vek::ResourceBasePath(Native("/opt/fx/libvek_dsp.so")), Native("/opt/fx/libvek_dsp"));
  EXPECT_EQ(vek::ResourceBasePath(Native("/opt/my.dir/plugin.so")), Native("/opt/my"));
  EXPECT_EQ(vek::ResourceBasePath(Native("/opt/plugin")), Native("/opt/plugin"));
}

TEST(ResourceLookup, FindsTheLocalisedNameFirstThenRes) {
  const fs::path folder = fs::temp_directory_path() /
                          ("vekdsp_lookup_" + std::to_string(std::hash<std::string>{}(fs::current_path().string())));
  fs::remove_all(folder);
  fs::create_directories(folder);
  const PathString nativeCode = vek::platform::UserLanguageCode();
  const std::string code(nativeCode.begin(), nativeCode.end());
  const PathString base = (folder / "plugin").native();
  EXPECT_FALSE(vek::FindResourceLibrary(base).has_value());
  std::ofstream(folder / "plugin_RES.DLL") << "x";
  EXPECT_EQ(vek::FindResourceLibrary(base), (folder / "plugin_RES.DLL").native());
  std::ofstream(folder / ("plugin_" + code + ".DLL")) << "x";
  EXPECT_EQ(vek::FindResourceLibrary(base), (folder / ("plugin_" + code + ".DLL")).native());
  fs::remove_all(folder);
}

TEST(Platform, FreeingANullModuleDoesNothing) {
  vek::platform::UnloadModule(nullptr);
  EXPECT_EQ(vek::platform::FindSymbol(nullptr, "VEK_DSP_InitModule"), nullptr);
  EXPECT_EQ(vek::platform::LoadModule(Native("/nonexistent/library.DLL")), nullptr);
}

TEST(Platform, DebugOutputReachesTheSink) {
  std::string captured;
  vek::platform::SetDebugSink([](const char* text, void* context) { *static_cast<std::string*>(context) += text; },
                              &captured);
  vek::platform::DebugOutput("VEK_Plugin: first\n");
  vek::platform::DebugOutput(nullptr);
  vek::platform::DebugOutput("second\n");
  vek::platform::SetDebugSink(nullptr, nullptr);
  vek::platform::DebugOutput("after\n");
  EXPECT_EQ(captured, "VEK_Plugin: first\nsecond\n");
}

}  // namespace
