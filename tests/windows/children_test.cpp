// SPDX-License-Identifier: MIT
// What is true of children on Windows alone; the rest is in tests/system. The program is
// its own child: see main() at the end.
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "loomkit/platform/process.h"
#include "loomkit/system/command_line.h"
#include "loomkit/system/process.h"
#include "loomkit/system/run.h"

namespace loomkit::testing {
namespace {

std::string ownProgram() {
  char path[MAX_PATH];
  return {path, ::GetModuleFileNameA(nullptr, path, sizeof path)};
}

RunResult runOwn(std::vector<std::string> arguments, const RunOptions& options = {}) {
  arguments.insert(arguments.begin(), ownProgram());
  return run(arguments, options);
}

using Texts = std::vector<std::string>;

// Lists of arguments with all that quoting has to do with.
class RandomArguments {
 public:
  Texts next() {
    static const std::string alphabet = "ab\\\\\"\" \t";
    Texts arguments(1 + random() % 5);
    for (std::string& argument : arguments)
      for (unsigned n = random() % 8; n > 0; --n) argument += alphabet[random() % alphabet.size()];
    return arguments;
  }

 private:
  std::mt19937 random{20};
};

std::string lineOf(const std::string& program, const Texts& arguments) {
  std::vector<const char*> argv;
  for (const std::string& argument : arguments) argv.push_back(argument.c_str());
  return commandLine(program, static_cast<int>(argv.size()), argv.data());
}

// The arguments as the system itself takes a command line apart.
Texts systemArguments(const std::string& line) {
  const std::wstring wide(line.begin(), line.end());
  int count = 0;
  wchar_t** const found = ::CommandLineToArgvW(wide.c_str(), &count);
  Texts arguments;
  for (int i = 0; i < count; ++i) {
    std::string text;
    for (const wchar_t* c = found[i]; *c != L'\0'; ++c) text += static_cast<char>(*c);
    arguments.push_back(text);
  }
  ::LocalFree(found);
  return arguments;
}

TEST(WindowsChildren, TheSystemReadsTheArgumentsThatWereGiven) {
  RandomArguments random;
  for (int round = 0; round < 100'000; ++round) {
    Texts arguments = random.next();
    const std::string line = lineOf("program", arguments);
    arguments.insert(arguments.begin(), "program");
    ASSERT_EQ(systemArguments(line), arguments) << line;
    ASSERT_EQ(platform::splitCommandLine(line), arguments) << line;
  }
}

// What the child has printed of its arguments: each with a NUL behind it.
Texts printedArguments(const std::string& text) {
  Texts arguments;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find('\0', begin);
    arguments.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return arguments;
}

TEST(WindowsChildren, AChildHasTheArgumentsThatWereGiven) {
  RandomArguments random;
  // Each child is given many lists, as starting one takes its time.
  for (int round = 0; round < 10; ++round) {
    Texts arguments;
    while (arguments.size() < 1000)
      for (const std::string& argument : random.next()) arguments.push_back(argument);
    Texts all = {"arguments"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const RunResult result = runOwn(all);
    ASSERT_EQ(result.startFailure, "");
    ASSERT_EQ(printedArguments(result.out), arguments);
  }
}

TEST(WindowsChildren, HaveTheirOwnDirectoryAndVariables) {
  RunOptions options;
  options.directory = "C:\\windows";
  options.environment = {"LOOMKIT_OWN=other", "loomkit_new=1"};
  GProcess::setEnv("LOOMKIT_OWN", "mine");
  EXPECT_EQ(runOwn({"variable", "LOOMKIT_OWN"}).out, "mine");
  EXPECT_EQ(runOwn({"variable", "LOOMKIT_OWN"}, options).out, "other");
  EXPECT_EQ(runOwn({"variable", "LOOMKIT_NEW"}, options).out, "1");
  std::string directory = runOwn({"directory"}, options).out;
  std::transform(directory.begin(), directory.end(), directory.begin(),
                 [](char c) { return static_cast<char>(::tolower(c)); });
  EXPECT_EQ(directory, "c:\\windows");
}

TEST(WindowsChildren, SpeakInLinesAndAreEnded) {
  GProcess child(ownProgram(), true, true, false);
  const char* const lines[] = {"lines"};
  const char* arguments[] = {lines[0]};
  ASSERT_TRUE(child.run(1, arguments));
  char text[9] = {};
  ASSERT_EQ(child.readStdOut(text, 8, false), 8);
  EXPECT_STREQ(text, "one\ntwo\n") << "CR LF has become LF";
  int code = 5;
  EXPECT_EQ(child.getExitCode(false, &code), 0) << "it waits for its input";
  EXPECT_TRUE(child.kill());
  EXPECT_EQ(child.getExitCode(true, &code), 1);
  EXPECT_EQ(code, 1);
  EXPECT_FALSE(child.kill());
}

TEST(WindowsChildren, MayHaveAllStreamsOfTheirParent) {
  RunOptions options;
  options.input = "text";
  const RunResult result = runOwn({"parent", "copy"}, options);
  EXPECT_EQ(result.out, "text");
  EXPECT_EQ(result.err, "text");
  EXPECT_EQ(result.exitCode, 0);
}

int copyToBoth() {
  char block[10000];
  for (;;) {
    const int count = ::_read(0, block, sizeof block);
    if (count <= 0) return count;
    const auto size = static_cast<unsigned>(count);
    if (::_write(1, block, size) != count || ::_write(2, block, size) != count) return 1;
  }
}

// Starts this program with an action, and all streams that it has itself.
int startWithAllStreams(const char* action) {
  GProcess child(ownProgram(), false, false, false);
  GProcess::Settings settings;
  settings.inheritAll = true;
  int code = -1;
  if (child.start(1, &action, settings)) child.getExitCode(true, &code);
  return code;
}

// What the program does as a child.
int actAsChild(int argc, char** argv) {
  const std::string action = argv[1];
  for (const int stream : {0, 1, 2}) ::_setmode(stream, action == "lines" ? _O_TEXT : _O_BINARY);
  if (action == "arguments") {
    for (int i = 2; i < argc; ++i) std::fwrite(argv[i], 1, std::strlen(argv[i]) + 1, stdout);
    return 0;
  }
  if (action == "copy") return copyToBoth();
  if (action == "parent") return startWithAllStreams(argv[2]);
  if (action == "variable") return std::fputs(std::getenv(argv[2]), stdout) < 0;
  if (action == "directory") {
    char path[MAX_PATH];
    ::GetCurrentDirectoryA(sizeof path, path);
    return std::fputs(path, stdout) < 0;
  }
  if (action == "lines") {
    std::fputs("one\ntwo\n", stdout);
    std::fflush(stdout);
  }
  ::Sleep(60'000);
  return 0;
}

}  // namespace
}  // namespace loomkit::testing

int main(int argc, char** argv) {
  if (argc > 1 && argv[1][0] != '-') return loomkit::testing::actAsChild(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
