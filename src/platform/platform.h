// The operating-system services the plug-in and the reference host use; the only place with
// Windows or POSIX calls is the implementation file of each platform beside this header.
#pragma once

#include <cstddef>
#include <string>

namespace vek::platform {

using ModuleHandle = void*;

// Paths in the operating system's own characters: UTF-16 on Windows, bytes (UTF-8) elsewhere.
#if defined(_WIN32)
using PathChar = wchar_t;
#else
using PathChar = char;
#endif
using PathString = std::basic_string<PathChar>;

constexpr std::size_t kMaxPath = 260;

// The module that contains this code: an HMODULE on Windows, the load address elsewhere.
ModuleHandle OwnModule() noexcept;
// Full path of a loaded module (as GetModuleFileNameW gives it); empty when unknown.
PathString ModulePath(ModuleHandle module);
// Full path of the running executable; empty when unknown.
PathString ExecutablePath();

ModuleHandle LoadModule(const PathString& path) noexcept;
// Null is accepted and ignored (FreeLibrary(0) fails quietly; dlclose(NULL) would crash).
void FreeModule(ModuleHandle module) noexcept;
void* FindSymbol(ModuleHandle module, const char* name) noexcept;

// The user's abbreviated language name, e.g. "ENU", "DEU" (LOCALE_SABBREVLANGNAME).
PathString UserLanguageCode();
bool FileExists(const PathString& path) noexcept;

// Debug output: OutputDebugStringA on Windows; elsewhere standard error when VEK_DSP_DEBUG is set.
void DebugOutput(const char* text) noexcept;
// Unit tests read what the library writes through this sink; a null sink removes it.
using DebugSink = void (*)(const char* text, void* context);
void SetDebugSink(DebugSink sink, void* context) noexcept;

// Maps a POSIX locale name ("de_DE.UTF-8") to the Windows-style three-letter code ("DEU").
std::string LanguageCodeForLocale(const std::string& locale);

}  // namespace vek::platform
