// SPDX-License-Identifier: MIT
#include "loomkit/system/run.h"

#include <algorithm>
#include <chrono>
#include <optional>

#include "loomkit/platform/platform.h"
#include "loomkit/platform/process.h"
#include "loomkit/system/command_line.h"

namespace loomkit {
namespace {

using Clock = std::chrono::steady_clock;

std::string lastErrorWords() {
  const std::string words = platform::lastErrorWords();
  return words.empty() ? "unknown error" : words;
}

// The pipes of one child, closed with the object.
class Pipes {
 public:
  Pipes() = default;
  Pipes(const Pipes&) = delete;
  Pipes& operator=(const Pipes&) = delete;
  ~Pipes() {
    closeChildEnds();
    for (int* end : {&ends.in, &ends.out, &ends.err}) closeEnd(end);
  }

  bool open() {
    return platform::createPipe(&childIn, &ends.in) && platform::createPipe(&ends.out, &childOut) &&
           platform::createPipe(&ends.err, &childErr);
  }
  void closeChildEnds() {
    for (int* end : {&childIn, &childOut, &childErr}) closeEnd(end);
  }

  int childIn = -1, childOut = -1, childErr = -1;
  platform::PipeEnds ends;

 private:
  static void closeEnd(int* end) {
    if (*end != -1) platform::closeHandle(*end);
    *end = -1;
  }
};

// A child that has been started, until its end.
class Run {
 public:
  Run(const RunOptions& runOptions, RunResult* runResult)
      : options(runOptions), result(runResult) {}

  void start(const std::vector<std::string>& command) {
    std::vector<const char*> arguments;
    for (std::size_t i = 1; i < command.size(); ++i) arguments.push_back(command[i].c_str());
    const std::string line =
        commandLine(command[0], static_cast<int>(arguments.size()), arguments.data());
    platform::StartOptions how;
    how.directory = options.directory;
    how.variables = options.environment;
    how.ownGroup = options.timeLimit > 0;
    if (!pipes.open() ||
        !platform::startProcess(line, pipes.childIn, pipes.childOut, pipes.childErr, how, &child)) {
      result->startFailure = lastErrorWords();
      return;
    }
    pipes.closeChildEnds();
    if (options.timeLimit > 0) {
      constexpr double longest = 1e9;  // thirty years, which a clock can hold
      const std::chrono::duration<double> limit(std::min(options.timeLimit, longest));
      deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(limit);
    }
    watch();
  }

 private:
  // A child may end before its grandchildren close the pipes, and close its pipes
  // before it ends: both are looked at in turns.
  void watch() {
    constexpr int pause = 20;  // milliseconds
    while (!platform::waitForEnd(child, 0)) {
      if (deadline && Clock::now() >= *deadline) {
        result->timedOut = true;
        platform::terminateGroup(&child);
        platform::waitForEnd(child);
        break;
      }
      if (!exchange(pause)) platform::waitForEnd(child, pause);
    }
    while (exchange(0)) {
    }
    unsigned code = 0;
    if (platform::processExitCode(&child, &code)) result->exitCode = static_cast<int>(code);
  }

  // Moves what can be moved now, or soon; false if nothing was.
  bool exchange(int milliseconds) {
    std::string out, err;
    if (!platform::exchange(&pipes.ends, options.input, &sent, &out, &err, milliseconds))
      return false;
    keep(out, &result->out);
    keep(err, &result->err);
    return true;
  }

  void keep(const std::string& text, std::string* kept) {
    const std::size_t room = options.mostOutput - std::min(options.mostOutput, kept->size());
    if (text.size() > room) result->truncated = true;
    kept->append(text, 0, room);
  }

  const RunOptions& options;
  RunResult* result;
  Pipes pipes;
  platform::ChildProcess child;
  std::size_t sent = 0;  // bytes of the input
  std::optional<Clock::time_point> deadline;
};

}  // namespace

std::string RunResult::reason() const {
  if (ok()) return {};
  if (program.empty()) return startFailure;
  if (!startFailure.empty()) return program + ": " + startFailure;
  if (timedOut) return program + ": ended because its time was up";
  return program + ": exit code " + std::to_string(exitCode);
}

RunResult run(const std::vector<std::string>& command, const RunOptions& options) {
  RunResult result;
  if (command.empty()) {
    result.startFailure = "no program was named";
    return result;
  }
  result.program = command[0];
  Run(options, &result).start(command);
  return result;
}

}  // namespace loomkit
