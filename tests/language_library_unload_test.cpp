// Windows: once a host has called VEK_DSP_DeInitModule and freed the plug-in, the language library
// that the plug-in loaded is gone from the process, not merely one reference of it released.
#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>

#include "scratch_files.h"
#include "vekhost/plugin.h"

namespace {

namespace fs = std::filesystem;

bool Loaded(const fs::path& library) { return GetModuleHandleW(library.c_str()) != nullptr; }

TEST(LanguageLibrary, IsUnloadedWithThePlugin) {
  const vek::test::ScratchFolder folder("vekdsp_unload");
  ASSERT_EQ(folder.Path().string().find('.'), std::string::npos) << "the plug-in's stem is cut at the first dot";
  const fs::path plugin = folder / "plugin.dll", resources = folder / "plugin_RES.DLL";
  fs::copy_file(VEK_TEST_PLUGIN_PATH, plugin);
  fs::copy_file(VEK_TEST_RESOURCE_LIBRARY_PATH, resources);
  {
    const vek::host::Plugin host(plugin);
    ASSERT_NE(host.Module().resources, host.Module().instance) << "the plug-in found no language library";
    EXPECT_TRUE(Loaded(resources));
  }
  EXPECT_FALSE(Loaded(plugin));
  EXPECT_FALSE(Loaded(resources));
}

}  // namespace
