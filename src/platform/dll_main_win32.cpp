// The DLL entry point of the plug-in: on process attach it records the module handle and switches
// off thread notifications; every reason returns TRUE.
#include <windows.h>

#include "module/entry_points.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    DisableThreadLibraryCalls(instance);
    vek::OnPluginLoaded(instance);
  }
  return TRUE;
}
