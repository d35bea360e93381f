// Windows services: the module, locale, file and debug calls the plug-in and the host use, and
// _wpopen for child processes.
#include <io.h>
#include <windows.h>

#include <atomic>
#include <cstdio>

#include "platform/platform.h"

namespace vek::platform {
namespace {

std::atomic<DebugSink> gDebugSink{nullptr};
std::atomic<void*> gDebugSinkContext{nullptr};

std::wstring Widened(const std::string& text) {
  if (text.empty()) return {};
  const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), nullptr, 0);
  std::wstring wide(std::size_t(length > 0 ? length : 0), L'\0');
  if (length > 0) MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), wide.data(), length);
  return wide;
}

// Quoted as the C runtime splits a command line: backslashes are doubled only before a quote.
std::wstring CommandLineQuoted(const std::wstring& argument) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (wchar_t c : argument) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    quoted.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
    backslashes = 0;
    quoted += c;
  }
  quoted.append(backslashes * 2, L'\\');
  return quoted + L"\"";
}

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

void UnloadModule(ModuleHandle module) noexcept {
  if (module) FreeLibrary(static_cast<HMODULE>(module));
}

void KeepLoaded(const char* moduleName) noexcept {
  if (!moduleName) return;
  HMODULE module = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN, moduleName, &module);
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

std::string LastLoadError() {
  const DWORD code = GetLastError();
  if (code == 0) return {};
  char* text = nullptr;
  const DWORD length =
      FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                     nullptr, code, 0, reinterpret_cast<LPSTR>(&text), 0, nullptr);
  std::string message = length && text ? std::string(text, length) : "error " + std::to_string(code);
  LocalFree(text);
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r' || message.back() == ' ')) {
    message.pop_back();
  }
  return message;
}

bool StandardErrorIsTerminal() noexcept { return _isatty(_fileno(stderr)) != 0; }

PathString FindProgram(const std::string& name) {
  if (name.empty()) return {};
  wchar_t found[kMaxPath];
  const DWORD length = SearchPathW(nullptr, Widened(name).c_str(), L".exe", DWORD(kMaxPath), found, nullptr);
  return length > 0 && length < kMaxPath ? PathString(found, length) : PathString();
}

std::FILE* OpenProcess(const PathString& program, const std::vector<std::string>& arguments, ProcessPipe pipe) {
  std::wstring command = CommandLineQuoted(program);
  for (const std::string& argument : arguments) command += L" " + CommandLineQuoted(Widened(argument));
  // cmd /c drops the first and the last quote of a line that starts with one, so the whole line
  // is quoted once more.
  return _wpopen((L"\"" + command + L"\"").c_str(), pipe == ProcessPipe::kWrite ? L"wb" : L"rb");
}

int CloseProcess(std::FILE* process) noexcept { return process ? _pclose(process) : -1; }

}  // namespace vek::platform
