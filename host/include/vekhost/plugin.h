// Loading the plug-in as a host does: the module, its two exports and the catalogue they give.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"
#include "vek_dsp/abi.h"
#include "vekhost/catalogue.h"

namespace vek::host {

#if defined(_WIN32)
inline constexpr const char* kPluginFileName = "vek_dsp.dll";
#else
inline constexpr const char* kPluginFileName = "libvek_dsp.so";
#endif

// The plug-in a tool should load: the path given on its command line when there is one, else the
// VEK_DSP_PLUGIN environment variable, else kPluginFileName beside the running executable.
std::filesystem::path LocatePlugin(std::string_view commandLinePath);

// Loads the module, calls VEK_DSP_InitModule and reads the catalogue; the destructor calls
// VEK_DSP_DeInitModule and frees the module. Effects and instances must not outlive it.
class Plugin {
 public:
  explicit Plugin(const std::filesystem::path& path);  // throws Error
  ~Plugin();
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  const VekModuleDescriptor& Module() const { return *module_; }
  const std::vector<Effect>& Effects() const { return effects_; }
  const Effect& FindEffect(std::string_view classId) const { return host::FindEffect(effects_, classId); }

 private:
  void Unload() noexcept;

  std::filesystem::path path_;
  platform::ModuleHandle handle_ = nullptr;
  VekDeInitModuleFn deInit_ = nullptr;
  const VekModuleDescriptor* module_ = nullptr;
  std::vector<Effect> effects_;
};

}  // namespace vek::host
