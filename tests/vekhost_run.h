// vekhost run as a program by the tests, with its exit status and both output streams.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "scratch_files.h"

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

namespace vek::test {

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

inline void SetEnvironment(const char* name, const char* value) {
#if defined(_WIN32)
  _putenv_s(name, value ? value : "");
#else
  if (value) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
#endif
}

// Runs vekhost with the arguments (already quoted where needed) and collects its output. The
// environment text goes before the command, e.g. "PATH=/x " for a POSIX shell.
inline Outcome Vekhost(const std::string& arguments, const std::string& environment = "") {
  // Test programs may run side by side (ctest -j, two build folders), so each run has its own files.
  static const std::string kProgramTag = std::to_string(std::random_device{}());
  static int runs = 0;
  const std::string stem = "vekhost_" + kProgramTag + "_" + std::to_string(++runs);
  const std::filesystem::path folder = std::filesystem::temp_directory_path();
  const std::filesystem::path out = folder / (stem + ".out"), err = folder / (stem + ".err");
  const std::string command =
      environment + "\"" VEKHOST_PATH "\" " + arguments + " >\"" + out.string() + "\" 2>\"" + err.string() + "\"";
#if defined(_WIN32)
  // cmd /c drops the first and the last quote of a line that starts with one.
  const int status = std::system(("\"" + command + "\"").c_str());
#else
  const int waited = std::system(command.c_str());
  const int status = WIFEXITED(waited) ? WEXITSTATUS(waited) : -1;
#endif
  Outcome outcome{status, ReadFile(out), ReadFile(err)};
  std::filesystem::remove(out);
  std::filesystem::remove(err);
  return outcome;
}

inline const std::string kPlugin = "--plugin \"" VEK_TEST_PLUGIN_PATH "\" ";

}  // namespace vek::test
