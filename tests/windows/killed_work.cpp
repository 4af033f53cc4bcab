// SPDX-License-Identifier: MIT
// A process cannot be copied here. The program starts itself for the one test, with these
// variables, and ends when it has come to the work and has done it.
#include "tests/killed_work.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "loomkit/system/run.h"

namespace loomkit::testing {
namespace {

constexpr const char* callVariable = "LOOMKIT_TEST_KILLED_AT";
constexpr const char* wordsVariable = "LOOMKIT_TEST_SAYS";

[[noreturn]] void workAndEnd(int call, const std::function<void(const Say&)>& work,
                             IoFaults::Kind fault) {
  // By the C runtime, whose calls are not counted.
  std::FILE* const words = std::fopen(std::getenv(wordsVariable), "wb");
  {
    const IoFaults faults(fault, call, 0);
    work([words](const std::string& text) {
      std::fputs(text.c_str(), words);
      std::fflush(words);
    });
  }
  ::TerminateProcess(::GetCurrentProcess(), 0);
  std::abort();  // not reached
}

std::string ownProgram() {
  char path[MAX_PATH];
  return {path, ::GetModuleFileNameA(nullptr, path, sizeof path)};
}

std::string ownTest() {
  const ::testing::TestInfo& test = *::testing::UnitTest::GetInstance()->current_test_info();
  return std::string(test.test_suite_name()) + "." + test.name();
}

void makeEmpty(const std::string& directory) {
  for (const auto& entry : std::filesystem::directory_iterator(directory))
    std::filesystem::remove_all(entry.path());
}

}  // namespace

const int killStep = 3;

KilledWork doKilled(const ScratchDirectory& scratch, int call,
                    const std::function<void(const Say&)>& work, IoFaults::Kind fault) {
  const char* const chosen = std::getenv(callVariable);
  if (chosen != nullptr) workAndEnd(std::atoi(chosen), work, fault);
  makeEmpty(scratch.path());
  const ScratchDirectory words;
  RunOptions options;
  options.environment = {callVariable + ("=" + std::to_string(call)),
                         std::string(sameDirectoryVariable) + "=" + scratch.path(),
                         wordsVariable + ("=" + words / "words")};
  const RunResult run = loomkit::run({ownProgram(), "--gtest_filter=" + ownTest()}, options);
  KilledWork result{run.exitCode == static_cast<int>(killedCode), words.read("words")};
  EXPECT_TRUE(result.killed || run.exitCode == 0) << run.reason() << "\n" << run.out;
  return result;
}

}  // namespace loomkit::testing
