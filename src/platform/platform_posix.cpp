// POSIX services: dladdr/dlopen for modules, stat for files, the locale environment for the
// language code, standard error for debug output, popen for child processes.
#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/platform.h"

namespace vek::platform {
namespace {

std::atomic<DebugSink> gDebugSink{nullptr};
std::atomic<void*> gDebugSinkContext{nullptr};

// Made absolute without resolving links, as the Windows loader reports a module's path.
PathString Absolute(const char* path) {
  std::error_code error;
  std::filesystem::path absolute = std::filesystem::absolute(path, error);
  return error ? PathString(path) : absolute.lexically_normal().string();
}

bool IsProgram(const std::string& path) {
  struct stat status{};
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(path.c_str(), X_OK) == 0;
}

// Single quotes keep everything literal for the shell; a quote itself is closed, escaped, reopened.
std::string ShellQuoted(const std::string& argument) {
  std::string quoted = "'";
  for (char c : argument) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  quoted += '\'';
  return quoted;
}

}  // namespace

ModuleHandle OwnModule() noexcept {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&OwnModule), &info) == 0) return nullptr;
  return info.dli_fbase;
}

// A handle is either a module's load address (OwnModule) or what dlopen returned (LoadModule).
PathString ModulePath(ModuleHandle module) {
  if (!module) return {};
  Dl_info info{};
  if (dladdr(module, &info) != 0 && info.dli_fbase == module) {
    return info.dli_fname && *info.dli_fname ? Absolute(info.dli_fname) : PathString();
  }
  link_map* map = nullptr;
  if (dlinfo(module, RTLD_DI_LINKMAP, &map) != 0 || !map || !map->l_name || !*map->l_name) return {};
  return Absolute(map->l_name);
}

PathString ExecutablePath() {
  std::error_code error;
  std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? PathString() : path.string();
}

ModuleHandle LoadModule(const PathString& path) noexcept { return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL); }

void UnloadModule(ModuleHandle module) noexcept {
  if (module) dlclose(module);
}

void KeepLoaded(const char* moduleName) noexcept {
  // The handle is dropped on purpose: RTLD_NODELETE outlives it.
  if (moduleName) dlopen(moduleName, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

void* FindSymbol(ModuleHandle module, const char* name) noexcept {
  return module && name ? dlsym(module, name) : nullptr;
}

PathString UserLanguageCode() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value && *value) {
      const std::string locale(value);
      return locale == "C" || locale == "POSIX" ? "ENU" : LanguageCodeForLocale(locale);
    }
  }
  return "ENU";
}

bool FileExists(const PathString& path) noexcept {
  struct stat status{};
  return stat(path.c_str(), &status) == 0;
}

void DebugOutput(const char* text) noexcept {
  if (!text) return;
  if (DebugSink sink = gDebugSink.load()) sink(text, gDebugSinkContext.load());
  if (std::getenv("VEK_DSP_DEBUG")) std::fputs(text, stderr);
}

void SetDebugSink(DebugSink sink, void* context) noexcept {
  gDebugSinkContext.store(context);
  gDebugSink.store(sink);
}

std::string LastLoadError() {
  const char* text = dlerror();
  return text ? text : "";
}

bool StandardErrorIsTerminal() noexcept { return isatty(STDERR_FILENO) == 1; }

PathString FindProgram(const std::string& name) {
  if (name.empty()) return {};
  if (name.find('/') != std::string::npos) return IsProgram(name) ? name : PathString();
  const char* path = std::getenv("PATH");
  if (!path) return {};
  const std::string directories(path);
  for (std::size_t start = 0; start <= directories.size();) {
    std::size_t end = directories.find(':', start);
    if (end == std::string::npos) end = directories.size();
    const std::string directory = end > start ? directories.substr(start, end - start) : ".";
    const std::string candidate = directory + "/" + name;
    if (IsProgram(candidate)) return candidate;
    start = end + 1;
  }
  return {};
}

std::FILE* OpenProcess(const PathString& program, const std::vector<std::string>& arguments, ProcessPipe pipe) {
  std::string command = ShellQuoted(program);
  for (const std::string& argument : arguments) {
    command += ' ';
    command += ShellQuoted(argument);
  }
  if (pipe == ProcessPipe::kWrite) std::signal(SIGPIPE, SIG_IGN);
  return popen(command.c_str(), pipe == ProcessPipe::kWrite ? "w" : "r");
}

int CloseProcess(std::FILE* process) noexcept {
  if (!process) return -1;
  const int status = pclose(process);
  return status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace vek::platform
