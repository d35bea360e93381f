// The two exports and the language-library lookup, with real libraries placed beside copies of the
// plug-in: each test loads its own copy, so each starts from a freshly loaded module.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/platform.h"
#include "scratch_files.h"
#include "vek_dsp/abi.h"

namespace {

namespace fs = std::filesystem;
using vek::platform::ModuleHandle;

// One loaded copy of the plug-in and its two exports.
class PluginCopy {
 public:
  explicit PluginCopy(const fs::path& path) {
    fs::create_directories(path.parent_path());
    fs::copy_file(VEK_TEST_PLUGIN_PATH, path, fs::copy_options::overwrite_existing);
    module_ = vek::platform::LoadModule(path.native());
    if (!module_) return;
    init_ = reinterpret_cast<VekInitModuleFn>(vek::platform::FindSymbol(module_, "VEK_DSP_InitModule"));
    deInit_ = reinterpret_cast<VekDeInitModuleFn>(vek::platform::FindSymbol(module_, "VEK_DSP_DeInitModule"));
  }
  ~PluginCopy() { vek::platform::UnloadModule(module_); }

  bool Loaded() const { return module_ && init_ && deInit_; }
  VekStatus Init(uint64_t* out) const { return init_(out); }
  VekStatus DeInit() const { return deInit_(); }
  // Calls VEK_DSP_InitModule and returns the descriptor it hands out.
  VekModuleDescriptor& InitModule() const {
    uint64_t address = 0;
    EXPECT_EQ(init_(&address), VEK_S_OK);
    return *reinterpret_cast<VekModuleDescriptor*>(address);
  }

 private:
  ModuleHandle module_ = nullptr;
  VekInitModuleFn init_ = nullptr;
  VekDeInitModuleFn deInit_ = nullptr;
};

// A copy of the plug-in under the stem "plugin", keeping the system's extension.
fs::path PluginFile(const fs::path& folder) {
  return folder / ("plugin" + fs::path(VEK_TEST_PLUGIN_PATH).extension().string());
}

void PlaceResourceLibrary(const fs::path& path) {
  fs::copy_file(VEK_TEST_RESOURCE_LIBRARY_PATH, path, fs::copy_options::overwrite_existing);
}

std::string Code() {
  const vek::platform::PathString code = vek::platform::UserLanguageCode();
  return std::string(code.begin(), code.end());
}

fs::path PathOf(ModuleHandle module) { return fs::path(vek::platform::ModulePath(module)); }

// The folder names here hold no dot, so the plug-in's stem is its file name without the extension.
class ModuleEntry : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Scratch().string().find('.'), std::string::npos) << "the test folder must hold no dot";
  }
  const fs::path& Scratch() const { return scratch_.Path(); }

 private:
  vek::test::ScratchFolder scratch_{"vekdsp_entry"};
};

TEST_F(ModuleEntry, LocalisedLibraryIsPreferredThenResThenTheModuleItself) {
  const fs::path folder = Scratch() / "plain";
  PluginCopy plugin(PluginFile(folder));
  ASSERT_TRUE(plugin.Loaded());
  PlaceResourceLibrary(folder / ("plugin_" + Code() + ".DLL"));
  PlaceResourceLibrary(folder / "plugin_RES.DLL");

  VekModuleDescriptor& module = plugin.InitModule();
  EXPECT_EQ(PathOf(module.resources), folder / ("plugin_" + Code() + ".DLL"));
  EXPECT_NE(vek::platform::FindSymbol(module.resources, "VekTestResourceMarker"), nullptr);
  EXPECT_EQ(plugin.DeInit(), VEK_S_OK);
  EXPECT_EQ(module.resources, nullptr);

  fs::remove(folder / ("plugin_" + Code() + ".DLL"));
  plugin.InitModule();
  EXPECT_EQ(PathOf(module.resources), folder / "plugin_RES.DLL");
  plugin.DeInit();

  fs::remove(folder / "plugin_RES.DLL");
  EXPECT_EQ(&plugin.InitModule(), &module) << "every call hands out the one descriptor";
  EXPECT_EQ(module.resources, module.instance) << "without a language library the module itself serves";
  EXPECT_EQ(PathOf(module.instance), PluginFile(folder));
  EXPECT_EQ(plugin.DeInit(), VEK_S_OK);
  EXPECT_EQ(module.resources, nullptr);
}

TEST_F(ModuleEntry, DotInADirectoryNameCutsThePathThere) {
  PluginCopy plugin(PluginFile(Scratch() / "my.dir"));
  ASSERT_TRUE(plugin.Loaded());
  PlaceResourceLibrary(Scratch() / "my.dir" / "plugin_RES.DLL");  // beside the plug-in: not looked at
  VekModuleDescriptor& module = plugin.InitModule();
  EXPECT_EQ(module.resources, module.instance);
  plugin.DeInit();

  PlaceResourceLibrary(Scratch() / "my_RES.DLL");
  plugin.InitModule();
  EXPECT_EQ(PathOf(module.resources), Scratch() / "my_RES.DLL");
  plugin.DeInit();
}

TEST_F(ModuleEntry, NullOutputAndDeInitBeforeInitAreHarmless) {
  PluginCopy plugin(PluginFile(Scratch() / "fresh"));
  ASSERT_TRUE(plugin.Loaded());
  EXPECT_EQ(plugin.DeInit(), VEK_S_OK) << "frees a null handle, which must not crash";
  EXPECT_EQ(plugin.Init(nullptr), VEK_E_FAIL);
  VekModuleDescriptor& module = plugin.InitModule();
  EXPECT_NE(module.instance, nullptr);
  EXPECT_EQ(plugin.DeInit(), VEK_S_OK);
  EXPECT_EQ(plugin.DeInit(), VEK_S_OK);
}

TEST_F(ModuleEntry, SecondInitLoadsTheLibraryAgain) {
  const fs::path folder = Scratch() / "twice";
  PluginCopy plugin(PluginFile(folder));
  ASSERT_TRUE(plugin.Loaded());
  PlaceResourceLibrary(folder / "plugin_RES.DLL");
  VekModuleDescriptor& module = plugin.InitModule();
  const ModuleHandle first = module.resources;
  plugin.InitModule();
  EXPECT_NE(module.resources, module.instance);
  EXPECT_EQ(PathOf(module.resources), PathOf(first));
  plugin.DeInit();
  vek::platform::UnloadModule(first);  // the reference the second call dropped
}

}  // namespace
