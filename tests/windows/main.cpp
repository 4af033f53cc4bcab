// SPDX-License-Identifier: MIT
// main() of the test programs on Windows. It leaves out the tests that exceptions.txt
// names, and those of needs_sqlite.txt on a machine without sqlite3.dll, and says how
// many they are.
#include <windows.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {

// The names at the beginnings of the lines, as a filter takes them.
std::string namesIn(const std::string& file) {
  std::ifstream lines(LOOMKIT_SOURCE_DIR "/tests/windows/" + file);
  if (!lines) {
    std::fprintf(stderr, "%s cannot be read\n", file.c_str());
    std::exit(2);
  }
  std::string names, line, name;
  while (std::getline(lines, line))
    if (line[0] != '#' && std::istringstream(line) >> name) names += ":" + name;
  return names;
}

std::string namesOfExceptions() {
  std::string names = namesIn("exceptions.txt");
  if (::LoadLibraryA("sqlite3.dll") == nullptr) {
    names += namesIn("needs_sqlite.txt");
    std::printf("sqlite3.dll cannot be loaded: the tests of needs_sqlite.txt are left out\n");
  }
  return names;
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  std::string filter = GTEST_FLAG_GET(filter);
  const bool all = filter == "*";
  filter += filter.find('-') == std::string::npos ? "-" : ":";
  GTEST_FLAG_SET(filter, filter + namesOfExceptions());
  const int status = RUN_ALL_TESTS();
  const ::testing::UnitTest& tests = *::testing::UnitTest::GetInstance();
  if (all) std::printf("%d tests left out\n", tests.total_test_count() - tests.test_to_run_count());
  return status;
}
