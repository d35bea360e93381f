// The language-library lookup behind VEK_DSP_InitModule, and the hook the load-time step calls.
#pragma once

#include <optional>

#include "platform/platform.h"
#include "vek_dsp/abi.h"

namespace vek {

// The plug-in's path cut at its first '.': the stem every language library name starts from.
platform::PathString ResourceBasePath(const platform::PathString& modulePath);
// base + "_" + the user's language code + ".DLL" if it exists, else base + "_RES.DLL" if that does.
std::optional<platform::PathString> FindResourceLibrary(const platform::PathString& basePath);
// Stores the plug-in's own handle in the module descriptor.
void OnPluginLoaded(platform::ModuleHandle module) noexcept;

}  // namespace vek
