// The platform services of the reference host: programs on PATH, child processes with a pipe and
// their exit status, and the loader's reason for a module that did not load.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "scratch_files.h"

namespace {

using vek::platform::CloseProcess;
using vek::platform::OpenProcess;
using vek::platform::PathString;
using vek::platform::ProcessPipe;

const PathString kChild = std::filesystem::path(VEK_TEST_CHILD_PATH).native();

std::string ReadAll(std::FILE* pipe) {
  std::string text;
  char buffer[256];
  for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) text.append(buffer, got);
  return text;
}

TEST(LoadError, SaysWhyAModuleDidNotLoad) {
  const PathString missing = (std::filesystem::temp_directory_path() / "vek_no_such_folder" / "no_module").native();
  EXPECT_EQ(vek::platform::LoadModule(missing), nullptr);
  EXPECT_FALSE(vek::platform::LastLoadError().empty());
}

TEST(FindProgram, FindsProgramsOnThePathOnly) {
  EXPECT_TRUE(vek::platform::FindProgram("no-such-program-vek-7f3a").empty());
  EXPECT_TRUE(vek::platform::FindProgram("").empty());
#if defined(_WIN32)
  const PathString shell = vek::platform::FindProgram("cmd");
#else
  const PathString shell = vek::platform::FindProgram("sh");
#endif
  ASSERT_FALSE(shell.empty());
  EXPECT_TRUE(std::filesystem::path(shell).is_absolute());
  EXPECT_TRUE(std::filesystem::exists(shell));
}

TEST(ChildProcess, ArgumentsArriveUnchanged) {
  const std::vector<std::string> awkward = {"it's", "two words", "\"quoted\"", "$HOME", "a\\b", "c:\\dir\\", "*", ""};
  std::vector<std::string> arguments = {"print"};
  arguments.insert(arguments.end(), awkward.begin(), awkward.end());
  std::FILE* child = OpenProcess(kChild, arguments, ProcessPipe::kRead);
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(ReadAll(child), "it's|two words|\"quoted\"|$HOME|a\\b|c:\\dir\\|*||");
  EXPECT_EQ(CloseProcess(child), 0);
}

TEST(ChildProcess, BytesReachTheChildUnchanged) {
  vek::test::ScratchFolder folder("vek_pipe");
  std::FILE* child = OpenProcess(kChild, {"copy", (folder / "bytes").string()}, ProcessPipe::kWrite);
  ASSERT_NE(child, nullptr);
  // Every byte value but the two a child's text-mode standard input may take for line end and file
  // end on Windows; \0 and \n are among them.
  std::string bytes;
  for (int k = 0; k < 700; ++k) {
    if (uint8_t(k) != '\r' && uint8_t(k) != 0x1A) bytes += char(k);
  }
  EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), child), bytes.size());
  EXPECT_EQ(CloseProcess(child), 0);
  EXPECT_EQ(vek::test::ReadFile(folder / "bytes"), bytes);
}

TEST(ChildProcess, ExitStatusIsReportedAndAnEarlyExitDoesNotEndTheWriter) {
  std::FILE* failing = OpenProcess(kChild, {"exit", "3"}, ProcessPipe::kRead);
  ASSERT_NE(failing, nullptr);
  EXPECT_EQ(CloseProcess(failing), 3);

  std::FILE* gone = OpenProcess(kChild, {"exit", "0"}, ProcessPipe::kWrite);
  ASSERT_NE(gone, nullptr);
  const std::string block(1 << 20, 'x');
  std::size_t written = 0;
  for (int k = 0; k < 4; ++k) written += std::fwrite(block.data(), 1, block.size(), gone);
  EXPECT_LT(written, 4 * block.size()) << "the writes fail once the child is gone, and this process lives on";
  CloseProcess(gone);
  EXPECT_EQ(CloseProcess(nullptr), -1);
}

}  // namespace
