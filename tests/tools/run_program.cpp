// SPDX-License-Identifier: MIT
#include "run_program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/scratch_directory.h"

namespace loomkit::testing {

namespace {

std::string loomFolder() {
  const std::string path = testedLoom();
  return path.substr(0, path.rfind('/'));
}

int codeOf(int status) {
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

std::string testedLoom() {
  const char* const named = std::getenv("LOOMKIT_TEST_LOOM");
  return named != nullptr ? named : LOOM_BINARY;
}

std::string newFolder() {
  static const ScratchDirectory all;  // goes with the process
  static int count = 0;
  const std::string name = all / std::to_string(++count);
  std::filesystem::create_directory(name);
  return name;
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void writeFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

Ended runProgram(const std::vector<std::string>& words, const std::string& input) {
  const std::string folder = newFolder();
  const std::string in = folder + "/in";
  const std::string out = folder + "/out";
  const std::string err = folder + "/err";
  writeFile(in, input);

  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  constexpr int create = O_WRONLY | O_CREAT | O_TRUNC;
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, in.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), create, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err.c_str(), create, 0600);
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  Ended ended{-1, {}, {}};
  if (error != 0) {
    ADD_FAILURE() << "cannot run " << words[0];
    return ended;
  }
  int status = 0;
  waitpid(child, &status, 0);
  ended = {codeOf(status), readFile(out), readFile(err)};
  for (const std::string& file : {in, out, err}) unlink(file.c_str());
  rmdir(folder.c_str());
  return ended;
}

Ended runLoom(std::vector<std::string> words, const std::string& input) {
  words.insert(words.begin(), testedLoom());
  return runProgram(words, input);
}

Ended shell(const std::string& script, const std::string& input) {
  return runProgram({"/bin/sh", "-c", "PATH='" + loomFolder() + "':$PATH; export PATH\n" + script},
                    input);
}

}  // namespace loomkit::testing
