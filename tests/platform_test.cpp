// The language code, the stem of the language library's name and the debug output.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "module/entry_points.h"
#include "platform/platform.h"

namespace {

using vek::platform::LanguageCodeForLocale;
using vek::platform::PathString;

PathString Native(const std::string& text) { return PathString(text.begin(), text.end()); }

// Listed locales take the system's abbreviation; an unlisted one its language letters and the
// territory's first; a language alone its first listed territory; neutral ones English.
TEST(LanguageCode, ListedUnlistedAndNeutralLocales) {
  const std::pair<const char*, const char*> cases[] = {
      {"en_US.UTF-8", "ENU"}, {"en_GB", "ENG"}, {"de_DE.UTF-8@euro", "DEU"}, {"fr_FR", "FRA"}, {"es_ES", "ESN"},
      {"zh_CN.GB18030", "CHS"}, {"zh_TW", "CHT"}, {"pt_BR", "PTB"}, {"ja_JP.eucJP", "JPN"}, {"is_IS.UTF-8", "ISI"},
      {"ca_ES", "CAE"}, {"de", "DEU"}, {"eo", "EOE"}, {"C.UTF-8", "ENU"}, {"", "ENU"}};
  for (auto [locale, code] : cases) EXPECT_EQ(LanguageCodeForLocale(locale), code) << locale;
}

TEST(ResourceLookup, StemIsCutAtTheFirstDotOfTheWholePath) {
  EXPECT_EQ(vek::ResourceBasePath(Native("/opt/fx/libvek_dsp.so")), Native("/opt/fx/libvek_dsp"));
  EXPECT_EQ(vek::ResourceBasePath(Native("/opt/my.dir/plugin.so")), Native("/opt/my"));
  EXPECT_EQ(vek::ResourceBasePath(Native("/opt/plugin")), Native("/opt/plugin"));
}

TEST(Platform, FreeingANullModuleDoesNothing) {
  vek::platform::UnloadModule(nullptr);
  EXPECT_EQ(vek::platform::FindSymbol(nullptr, "VEK_DSP_InitModule"), nullptr);
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
