#include "vekhost/plugin.h"

#include <cstdlib>

#include "text.h"
#include "vekhost/error.h"

namespace vek::host {

std::filesystem::path LocatePlugin(std::string_view commandLinePath) {
  const auto fromUtf8 = [](std::string_view text) {
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
  };
  if (!commandLinePath.empty()) return fromUtf8(commandLinePath);
  if (const char* variable = std::getenv("VEK_DSP_PLUGIN"); variable && *variable) return fromUtf8(variable);
  const std::filesystem::path executable(platform::ExecutablePath());
  if (executable.empty()) throw Error("cannot tell where this program lies; give the plug-in with --plugin");
  return executable.parent_path() / kPluginFileName;
}

Plugin::Plugin(const std::filesystem::path& path) : path_(path) {
  const std::string shown = path.string();
  if (!platform::FileExists(path.native())) throw Error("no plug-in at " + shown);
  handle_ = platform::LoadModule(path.native());
  if (!handle_) {
    const std::string reason = platform::LastLoadError();
    throw Error("cannot load the plug-in " + shown + (reason.empty() ? "" : ": " + reason));
  }
  try {
    const auto init = reinterpret_cast<VekInitModuleFn>(platform::FindSymbol(handle_, "VEK_DSP_InitModule"));
    const auto deInit = reinterpret_cast<VekDeInitModuleFn>(platform::FindSymbol(handle_, "VEK_DSP_DeInitModule"));
    if (!init || !deInit) throw Error(shown + " lacks VEK_DSP_InitModule or VEK_DSP_DeInitModule");
    uint64_t address = 0;
    const VekStatus status = init(&address);
    if (status != VEK_S_OK) throw Error("VEK_DSP_InitModule of " + shown + " failed with " + StatusText(status));
    if (address == 0) throw Error("VEK_DSP_InitModule of " + shown + " gave no module descriptor");
    deInit_ = deInit;
    module_ = reinterpret_cast<const VekModuleDescriptor*>(static_cast<uintptr_t>(address));
    if (module_->effectCount > 0 && !module_->effects) throw Error(shown + " lists effects but gives no table");
    for (uint64_t k = 0; k < module_->effectCount; ++k) effects_.push_back(ReadEffect(module_->effects[k]));
  } catch (...) {
    Unload();
    throw;
  }
}

Plugin::~Plugin() {
  Unload();
}

void Plugin::Unload() noexcept {
  if (deInit_) deInit_();
  platform::UnloadModule(handle_);
}

}  // namespace vek::host
