// The two exports and the load-time step: the module hands out its descriptor and finds its
// language library beside itself.
#include "module/entry_points.h"

#include <algorithm>
#include <new>
#include <optional>

#include "module/catalogue.h"
#include "platform/platform.h"

namespace vek {
namespace {

using platform::PathChar;
using platform::PathString;

PathString Widen(const char* text) { return PathString(text, text + std::char_traits<char>::length(text)); }

// "%s_%s.DLL", bounded to the path buffer of the system's module calls.
PathString ResourceCandidate(const PathString& basePath, const PathString& languageCode) {
  PathString path = basePath + PathChar('_') + languageCode + Widen(".DLL");
  if (path.size() >= platform::kMaxPath) path.resize(platform::kMaxPath - 1);
  return path;
}

}  // namespace

PathString ResourceBasePath(const PathString& modulePath) {
  // Kept on purpose: the cut is at the first dot of the whole path, so a dot in a directory name
  // ("C:\my.dir\plugin.dll") makes the lookup search beside that directory.
  return modulePath.substr(0, modulePath.find(PathChar('.')));
}

std::optional<PathString> FindResourceLibrary(const PathString& basePath) {
  for (const PathString& code : {platform::UserLanguageCode(), Widen("RES")}) {
    PathString candidate = ResourceCandidate(basePath, code);
    if (platform::FileExists(candidate)) return candidate;
  }
  return std::nullopt;
}

void OnPluginLoaded(platform::ModuleHandle module) noexcept { ModuleDescriptor().instance = module; }

}  // namespace vek

using namespace vek;

extern "C" VEK_DSP_API VekStatus VEK_DSP_InitModule(uint64_t* out) {
  if (!out) return VEK_E_FAIL;
  VekModuleDescriptor& module = ModuleDescriptor();
  *out = reinterpret_cast<uintptr_t>(&module);
  try {
    const PathString basePath = ResourceBasePath(platform::ModulePath(module.instance));
    // Kept on purpose: a second call loads the library again and drops the earlier handle.
    if (auto path = FindResourceLibrary(basePath)) module.resources = platform::LoadModule(*path);
  } catch (const std::bad_alloc&) {
    // Without memory for a path there is no language library; the fallback below still holds.
  }
  if (!module.resources) module.resources = module.instance;
  return VEK_S_OK;
}

extern "C" VEK_DSP_API VekStatus VEK_DSP_DeInitModule(void) {
  VekModuleDescriptor& module = ModuleDescriptor();
  if (module.resources != module.instance) platform::UnloadModule(module.resources);
  module.resources = nullptr;
  return VEK_S_OK;
}
