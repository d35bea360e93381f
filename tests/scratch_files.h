// Files for tests: read whole, named on a command line, and kept in a folder of their own.
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace vek::test {

inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// A path as one argument of a command line.
inline std::string Quoted(const std::filesystem::path& path) {
  std::string quoted = "\"";
  quoted += path.string();
  quoted += '"';
  return quoted;
}

// A folder of its own under the temporary folder, removed with everything in it at the end.
class ScratchFolder {
 public:
  explicit ScratchFolder(const std::string& name)
      : path_(std::filesystem::temp_directory_path() / (name + "_" + std::to_string(std::random_device{}()))) {
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace vek::test
