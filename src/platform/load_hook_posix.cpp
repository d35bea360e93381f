// The load-time step of the plug-in on POSIX systems, where a constructor stands in for the DLL
// entry point.
#include "module/entry_points.h"

namespace {
[[gnu::constructor]] void OnLoad() {
  vek::OnPluginLoaded(vek::platform::OwnModule());
  vek::platform::KeepLoaded(VEK_TBB_MODULE_NAME);
}
}  // namespace
