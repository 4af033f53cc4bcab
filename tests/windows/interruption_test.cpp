// SPDX-License-Identifier: MIT
// Ctrl-C of loom.exe, which has a console of its own here.
#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

constexpr DWORD longEnough = 120'000;  // milliseconds, for a slow machine

// loom.exe in a console of its own and in this directory.
class LoomInConsole {
 public:
  LoomInConsole(const std::string& arguments, const std::string& directory) {
    std::string line = "\"" + std::filesystem::absolute(LOOM_BINARY).string() + "\" " + arguments;
    STARTUPINFOA start{};
    start.cb = sizeof start;
    started = ::CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_NEW_CONSOLE,
                               nullptr, directory.c_str(), &start, &loom) != 0;
  }
  LoomInConsole(const LoomInConsole&) = delete;
  LoomInConsole& operator=(const LoomInConsole&) = delete;
  ~LoomInConsole() {
    if (!started) return;
    ::TerminateProcess(loom.hProcess, 1);
    ::WaitForSingleObject(loom.hProcess, longEnough);
    ::CloseHandle(loom.hThread);
    ::CloseHandle(loom.hProcess);
  }

  bool isRunning() const {
    return started && ::WaitForSingleObject(loom.hProcess, 0) == WAIT_TIMEOUT;
  }

  // What the console does when its user presses Ctrl-C. It reaches all who share it,
  // so this program too for that time.
  bool pressCtrlC() const {
    ::FreeConsole();
    if (::AttachConsole(loom.dwProcessId) == 0) return false;
    ::SetConsoleCtrlHandler(passOver, TRUE);
    return ::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0) != 0;
  }

  // The exit code, when it has ended by itself.
  DWORD wait() const {
    DWORD code = 0;
    ::WaitForSingleObject(loom.hProcess, longEnough);
    ::GetExitCodeProcess(loom.hProcess, &code);
    ::FreeConsole();
    return code;
  }

 private:
  static BOOL WINAPI passOver(DWORD /*event*/) { return TRUE; }

  PROCESS_INFORMATION loom{};
  bool started = false;
};

std::vector<std::string> namesIn(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory))
    names.push_back(entry.path().filename().string());
  return names;
}

// A file that takes seconds to compress, and the compression of it, as soon as there is
// something unfinished.
void endsGzip(const std::string& commandBefore) {
  const ScratchDirectory scratch;
  const std::string directory = scratch / "";
  (void)scratch.writeSparse("big", 2'000'000'000);
  const LoomInConsole loom(commandBefore + "gzip big", directory);
  while (loom.isRunning() && namesIn(directory).size() == 1) ::Sleep(10);
  ASSERT_TRUE(loom.isRunning());
  ASSERT_TRUE(loom.pressCtrlC());
  EXPECT_EQ(loom.wait(), DWORD{STATUS_CONTROL_C_EXIT});
  EXPECT_EQ(namesIn(directory), std::vector<std::string>{"big"});
}

TEST(WindowsInterruption, CtrlCLeavesNoUnfinishedFileAndEndsTheProcess) { endsGzip(""); }

TEST(WindowsInterruption, CtrlCReachesWhatLoomRunsAndItsCodeIsPassedOn) {
  endsGzip("run -- \"" + std::filesystem::absolute(LOOM_BINARY).string() + "\" ");
}

}  // namespace
}  // namespace loomkit::testing
