// Windows services: the module, locale, file and debug calls the plug-in and the host use.
#include <windows.h>

#include <atomic>
#include <cstdio>

#include "platform/platform.h"

namespace vek::platform {
namespace {

std::atomic<DebugSink> gDebugSink{nullptr};
std::atomic<void*> gDebugSinkContext{nullptr};

}  // namespace

ModuleHandle OwnModule() noexcept {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&OwnModule), &module);
  return module;
}

PathString ModulePath(ModuleHandle module) {
  wchar_t path[kMaxPath] = {};
  const DWORD length = GetModuleFileNameW(static_cast<HMODULE>(module), path, DWORD(kMaxPath));
  return PathString(path, length);
}

PathString ExecutablePath() { return ModulePath(nullptr); }

ModuleHandle LoadModule(const PathString& path) noexcept { return LoadLibraryW(path.c_str()); }

void FreeModule(ModuleHandle module) noexcept {
  if (module) FreeLibrary(static_cast<HMODULE>(module));
}

void* FindSymbol(ModuleHandle module, const char* name) noexcept {
  if (!module || !name) return nullptr;
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}

PathString UserLanguageCode() {
  wchar_t code[8] = {};
  const int length = GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SABBREVLANGNAME, code, 8);
  return length > 1 ? PathString(code, length - 1) : PathString(L"ENU");
}

bool FileExists(const PathString& path) noexcept { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

void DebugOutput(const char* text) noexcept {
  if (!text) return;
  if (DebugSink sink = gDebugSink.load()) sink(text, gDebugSinkContext.load());
  OutputDebugStringA(text);
}

void SetDebugSink(DebugSink sink, void* context) noexcept {
  gDebugSinkContext.store(context);
  gDebugSink.store(sink);
}

}  // namespace vek::platform
