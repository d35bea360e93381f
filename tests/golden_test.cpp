// Every effect that renders gives the same bytes on every platform, SIMD level and worker count:
// fixed inputs are rendered in both layouts and every field mode, with both render hints and one
// and two workers, and compared with the hashes committed in golden/renders.txt.
//
// After a deliberate change of an effect's output, regenerate the list on each platform with
//   VEK_UPDATE_GOLDEN=1 build/bin/golden_tests
// and commit it with the change.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>

#include "frames.h"
#include "plugin_fixture.h"
#include "vekhost/error.h"
#include "vekhost/instance.h"

namespace {

using vek::host::Effect;
using vek::host::Instance;
using vek::test::Frame;

#if defined(_WIN32)
constexpr const char* kPlatform = "windows";
#else
constexpr const char* kPlatform = "linux";
#endif

// Effects whose patterns come from the C library's generator, which differs between C libraries:
// their hashes are kept per platform.
const std::set<std::string> kGeneratorEffects = {"DSP_TR_Burn", "DSP_TR_DirtyWipe", "DSP_TR_DissolveType",
                                                 "DSP_TR_Collapse"};

// Effects whose vector path gives other bytes than the scalar one on purpose: each render hint is
// compared with its own reference, and the listed hash covers both.
const std::set<std::string> kOwnVectorBytes = {"DSP_TR_WipeSoft"};

// Settings rendered after the defaults, each on top of the one before, for effects whose defaults
// leave most of what they do unseen.
using Setting = std::vector<std::pair<const char*, const char*>>;
const std::map<std::string, std::vector<Setting>> kSettings = {
    {"DSP_CO_ColorAdj",
     {{{"P1", "30"}, {"P2", "-20"}, {"P7", "0.6"}},
      {{"P1", "0"}, {"P2", "0"}, {"P7", "0"}, {"P3", "0.3"}, {"P4", "1.6"}, {"P10", "45"}},
      {{"P3", "0"}, {"P4", "1"}, {"P10", "0"}, {"P5", "1.2"}, {"P8", "60"}, {"P9", "40"}},
      {{"P1", "-15"}, {"P2", "35"}, {"P3", "-0.55"}, {"P4", "0.4"}, {"P5", "0.7"}, {"P6", "1"}, {"P7", "-0.8"},
       {"P8", "20"}, {"P9", "70"}, {"P10", "-60"}},
      {{"P6", "2"}}}},
    {"DSP_VI_Mosaic", {{{"P4", "1"}}, {{"P1", "3"}, {"P2", "7"}, {"P4", "1"}}, {{"P4", "2"}}}},
    {"DSP_VI_FlipCanvas", {{{"P1", "0"}}, {{"P1", "2"}}, {{"P1", "3"}}}},
    {"DSP_VI_Posterize", {{{"P1", "7"}}, {{"P1", "0"}}}},
    {"DSP_VI_ContrastMask", {{{"P2", "30"}}, {{"P2", "255"}}}},
};

const std::string kGoldenPath = std::string(VEK_SOURCE_DIR) + "/tests/golden/renders.txt";

struct Mode {
  int layout;  // 0 ARGB, 1 luma/chroma
  int field;
  std::string Name() const {
    static const char* kFields[] = {"frame", "even", "odd"};
    return std::string(layout ? "ayuv" : "argb") + " " + kFields[field];
  }
};

uint64_t Fnv1a(uint64_t hash, const std::vector<uint8_t>& bytes) {
  for (uint8_t byte : bytes) hash = (hash ^ byte) * 0x100000001B3ull;
  return hash;
}

// The hash of the effect's outputs at a few progress values or settings, or nothing if it does not
// render.
std::optional<uint64_t> RenderHash(const Effect& effect, Mode mode, int renderHint, int workers) {
  constexpr int kWidth = 37, kHeight = 23;
  Frame a = Frame::Random(kWidth, kHeight, 1), b = Frame::Random(kWidth, kHeight, 2);
  Instance instance(effect);
  VekEffectInstance& record = instance.Record();
  record.width = kWidth;
  record.height = kHeight;
  record.colourLayout = mode.layout;
  record.fieldMode = mode.field;
  record.renderHint = renderHint;
  record.workerCount = workers;
  record.randomSeed = 1234;
  const bool transition = effect.category == VEK_CATEGORY_TRANSITION;
  uint64_t hash = 0xCBF29CE484222325ull;
  try {
    std::srand(1);
    instance.Prepare();
    for (const char* progress : {"0.25", "0.5", "0.75"}) {
      if (transition) instance.Set("P1", progress);
      instance.SetInput(0, a.Data());
      if (effect.inputs > 1) instance.SetInput(1, b.Data());
      Frame out = Frame::Filled(kWidth, kHeight, 0x5A);
      std::srand(1);
      instance.Process(out.Data());
      hash = Fnv1a(hash, out.bytes);
      if (!transition) break;
    }
    if (const auto settings = kSettings.find(effect.classId); settings != kSettings.end()) {
      for (const Setting& setting : settings->second) {
        for (const auto& [param, value] : setting) instance.Set(param, value);
        Frame out = Frame::Filled(kWidth, kHeight, 0x5A);
        instance.Process(out.Data());
        hash = Fnv1a(hash, out.bytes);
      }
    }
  } catch (const vek::host::Error& error) {
    if (error.Status() == VEK_E_NOTIMPL) return std::nullopt;
    throw;
  }
  return hash;
}

// Lines "CLASS_ID LAYOUT FIELD PLATFORM HASH"; PLATFORM is "any" or the platform the hash is for.
std::map<std::string, std::string> ReadGolden() {
  std::map<std::string, std::string> golden;
  std::ifstream file(kGoldenPath);
  std::string id, layout, field, platform, hash;
  while (file >> id >> layout >> field >> platform >> hash) {
    golden[id + " " + layout + " " + field + " " + platform] = hash;
  }
  return golden;
}

std::string Hex(uint64_t value) {
  std::ostringstream text;
  text << std::hex << value;
  return text.str();
}

TEST(Golden, EveryRenderingEffectMatchesItsCommittedHashes) {
  const bool update = std::getenv("VEK_UPDATE_GOLDEN") != nullptr;
  std::map<std::string, std::string> golden = ReadGolden();
  std::set<std::string> seen;
  for (const Effect& effect : vek::test::LoadedPlugin().Effects()) {
    if (effect.category == VEK_CATEGORY_AUDIO) continue;
    const std::string platform = kGeneratorEffects.contains(effect.classId) ? kPlatform : "any";
    for (int layout : {0, 1}) {
      for (int field : {0, 1, 2}) {
        const Mode mode{layout, field};
        const std::string key = effect.classId + " " + mode.Name() + " " + platform;
        const std::optional<uint64_t> reference = RenderHash(effect, mode, 0, 1);
        if (!reference) {
          EXPECT_FALSE(golden.contains(key)) << key << ": listed, but the effect no longer renders";
          break;
        }
        const bool ownVector = kOwnVectorBytes.contains(effect.classId);
        const std::optional<uint64_t> vectorReference = ownVector ? RenderHash(effect, mode, 3, 1) : reference;
        for (int hint : {0, 3}) {
          for (int workers : {1, 2}) {
            EXPECT_EQ(RenderHash(effect, mode, hint, workers), hint ? vectorReference : reference)
                << effect.classId << " " << mode.Name() << " render hint " << hint << ", " << workers << " workers";
          }
        }
        seen.insert(key);
        const std::string listed = ownVector ? Hex(*reference) + "/" + Hex(vectorReference.value_or(0)) : Hex(*reference);
        if (update) {
          golden[key] = listed;
        } else {
          EXPECT_EQ(golden[key], listed) << key << " (regenerate with VEK_UPDATE_GOLDEN=1 if intended)";
        }
      }
    }
  }
  for (const auto& [key, hash] : golden) {
    const bool otherPlatform = key.ends_with(" linux") || key.ends_with(" windows");
    if (!otherPlatform || key.ends_with(kPlatform)) {
      EXPECT_TRUE(seen.contains(key)) << key << ": listed, but no such effect renders";
    }
  }
  if (update) {
    std::ofstream file(kGoldenPath, std::ios::binary);  // the same line ends on every platform
    for (const auto& [key, hash] : golden) {
      if (seen.contains(key) || !key.ends_with(kPlatform)) file << key << " " << hash << "\n";
    }
  }
}

}  // namespace
