// SPDX-License-Identifier: MIT
// A child for the tests of processes, the same on each system. Its arguments are actions,
// which it does one after the other; it ends with exit code 0 behind the last one.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

extern char** environ;

namespace {

const char* program = "";

// The actions that are still to be done. Behind the last one there is empty text.
class Actions {
 public:
  Actions(char** first, char** behind) : words(first, behind) {}
  [[nodiscard]] bool isAtEnd() const { return next == words.size(); }
  std::string take() { return isAtEnd() ? "" : words[next++]; }
  unsigned takeNumber() { return static_cast<unsigned>(std::atoi(take().c_str())); }

 private:
  std::vector<std::string> words;
  std::size_t next = 0;
};

[[noreturn]] void giveUp() { ::_exit(3); }

void writeAll(int stream, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const auto count =
        ::write(stream, text.data() + done, static_cast<unsigned>(text.size() - done));
    if (count <= 0) giveUp();
    done += static_cast<std::size_t>(count);
  }
}

// Copies standard input, or its first bytes, to each of the streams.
void copy(std::size_t limit, const std::vector<int>& streams) {
  char block[65536];
  for (std::size_t left = limit; left > 0;) {
    const auto count =
        ::read(0, block, static_cast<unsigned>(left < sizeof block ? left : sizeof block));
    if (count <= 0) return;
    for (const int stream : streams) writeAll(stream, {block, static_cast<std::size_t>(count)});
    left -= static_cast<std::size_t>(count);
  }
}

void copyAll(const std::vector<int>& streams) { copy(static_cast<std::size_t>(-1), streams); }

// Fills standard output and standard error in turns, far beyond any pipe.
void flood(unsigned blocks) {
  for (unsigned i = 0; i < blocks; ++i) {
    writeAll(1, std::string(4096, 'o'));
    writeAll(2, std::string(4096, 'e'));
  }
}

// Leaves so many of the next words to a process that has this one's streams and is not
// waited for.
void leave(Actions& actions) {
  std::vector<std::string> words = {program};
  for (unsigned count = actions.takeNumber(); count > 0; --count) words.push_back(actions.take());
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  if (::posix_spawn(&child, program, nullptr, nullptr, arguments.data(), environ) != 0) giveUp();
}

void sayDirectory() {
  char path[4096];
  if (::getcwd(path, sizeof path) == nullptr) giveUp();
  writeAll(1, std::string(path) + "\n");
}

void sayVariable(const std::string& name) {
  const char* const value = std::getenv(name.c_str());
  writeAll(1, std::string(value != nullptr ? value : "(none)") + "\n");
}

void sayArguments(Actions& actions) {
  while (!actions.isAtEnd()) writeAll(1, actions.take() + "|");
}

void ignoreRequestsToEnd() {
  for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGPIPE}) ::signal(number, SIG_IGN);
}

void closeOutput() {
  ::close(1);
  ::close(2);
}

void makeFile(const std::string& path) {
  if (std::FILE* const file = std::fopen(path.c_str(), "w")) std::fclose(file);
}

void act(const std::string& action, Actions& actions) {
  if (action == "out") return writeAll(1, actions.take());
  if (action == "err") return writeAll(2, actions.take());
  if (action == "copy") return copyAll({1});
  if (action == "copy-to-both") return copyAll({1, 2});
  if (action == "take") return copy(actions.takeNumber(), {1});
  if (action == "flood") return flood(actions.takeNumber());
  if (action == "arguments") return sayArguments(actions);
  if (action == "directory") return sayDirectory();
  if (action == "variable") return sayVariable(actions.take());
  if (action == "sleep") return static_cast<void>(::sleep(actions.takeNumber()));
  if (action == "file") return makeFile(actions.take());
  if (action == "leave") return leave(actions);
  if (action == "close-output") return closeOutput();
  if (action == "ignore") return ignoreRequestsToEnd();
  if (action == "die") return static_cast<void>(::raise(static_cast<int>(actions.takeNumber())));
  if (action == "exit") std::exit(static_cast<int>(actions.takeNumber()));
  writeAll(2, "unknown: " + action + "\n");
  giveUp();
}

}  // namespace

int main(int argc, char** argv) {
  program = argv[0];
  Actions actions(argv + 1, argv + argc);
  while (!actions.isAtEnd()) act(actions.take(), actions);
  return 0;
}
