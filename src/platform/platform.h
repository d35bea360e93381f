// The operating-system services the plug-in and the reference host use; the only place with
// Windows or POSIX calls is the implementation file of each platform beside this header.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

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
void UnloadModule(ModuleHandle module) noexcept;
void* FindSymbol(ModuleHandle module, const char* name) noexcept;

// The user's abbreviated language name, e.g. "ENU", "DEU" (LOCALE_SABBREVLANGNAME).
PathString UserLanguageCode();
bool FileExists(const PathString& path) noexcept;

// Debug output: OutputDebugStringA on Windows; elsewhere standard error when VEK_DSP_DEBUG is set.
void DebugOutput(const char* text) noexcept;
// Unit tests read what the library writes through this sink; a null sink removes it.
using DebugSink = void (*)(const char* text, void* context);
void SetDebugSink(DebugSink sink, void* context) noexcept;

// The loader's text for the last LoadModule that failed (dlerror; GetLastError through
// FormatMessageA); empty when there is none. Call it right after the failure.
std::string LastLoadError();

// True when standard error is a terminal, so that a tool may draw progress on it.
bool StandardErrorIsTerminal() noexcept;

// The full path of a program found through PATH (on Windows also trying ".exe"); empty when
// there is none. A name with a directory part is taken as it is when it names a program.
PathString FindProgram(const std::string& name);

// A child process with one binary pipe to this process: its standard output (kRead) or its
// standard input (kWrite). Arguments are UTF-8 and are quoted for the system's command line.
// Null when the process cannot be started. On POSIX a write to a child that has exited fails
// instead of ending this process (SIGPIPE is ignored once a writing pipe is opened).
enum class ProcessPipe { kRead, kWrite };
std::FILE* OpenProcess(const PathString& program, const std::vector<std::string>& arguments, ProcessPipe pipe);
// Closes the pipe and waits for the child; its exit status, or -1 when that is unknown.
int CloseProcess(std::FILE* process) noexcept;

// Keeps an already loaded module in memory until the process ends, whoever unloads it. The plug-in
// pins the oneTBB library it brings in: its worker threads outlive a parallel loop and would run
// unmapped code if a host unloaded the plug-in (and with it the last reference) between frames.
void KeepLoaded(const char* moduleName) noexcept;

// Maps a POSIX locale name ("de_DE.UTF-8") to the Windows-style three-letter code ("DEU").
std::string LanguageCodeForLocale(const std::string& locale);

}  // namespace vek::platform
