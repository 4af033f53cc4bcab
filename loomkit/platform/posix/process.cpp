// SPDX-License-Identifier: MIT
#include "loomkit/platform/process.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

#include "loomkit/platform/posix/error_codes.h"
#include "loomkit/platform/posix/handles.h"
#include "loomkit/platform/posix/paths.h"

namespace loomkit::platform {
namespace {

// What posix_spawn is told about descriptors and signals.
class SpawnSettings {
 public:
  SpawnSettings(int in, int out, int err, bool inheritAll) {
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawnattr_init(&attributes);
    if (inheritAll) return;
    ::posix_spawn_file_actions_adddup2(&actions, in, 0);
    ::posix_spawn_file_actions_adddup2(&actions, out, 1);
    ::posix_spawn_file_actions_adddup2(&actions, err, 2);
    ::posix_spawn_file_actions_addclosefrom_np(&actions, firstOwnHandle);
    sigset_t none, all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setsigdefault(&attributes, &all);
    addFlags(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
  }

  void setDirectory(const std::string& directory) {
    ::posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
  }

  void leadGroup() {
    ::posix_spawnattr_setpgroup(&attributes, 0);
    addFlags(POSIX_SPAWN_SETPGROUP);
  }

  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;

 private:
  void addFlags(int further) {
    short flags = 0;
    ::posix_spawnattr_getflags(&attributes, &flags);
    ::posix_spawnattr_setflags(&attributes, static_cast<short>(flags | further));
  }
};

// The texts as the system calls want them: an array of pointers with a null at its end.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// This process's environment, but for the variables that are given.
std::vector<std::string> environmentWith(const std::vector<std::string>& variables) {
  std::vector<std::string> result;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    const std::string text = *variable;
    const std::string start = text.substr(0, text.find('=') + 1);
    const bool replaced = std::any_of(
        variables.begin(), variables.end(),
        [&start](const std::string& v) { return v.compare(0, start.size(), start) == 0; });
    if (!replaced) result.push_back(text);
  }
  result.insert(result.end(), variables.begin(), variables.end());
  return result;
}

// Fails when somebody else has waited for the child: its number may by now be
// another process's, so the child is forgotten and never signalled.
bool isStillOurs(ChildProcess* child) {
  siginfo_t ignored;
  const auto id = static_cast<id_t>(child->id);
  if (::waitid(P_PID, id, &ignored, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD)
    return true;
  setLastErrorFromErrno(ECHILD);
  *child = ChildProcess{};
  return false;
}

}  // namespace

bool startProcess(const std::string& commandLine, int in, int out, int err,
                  const StartOptions& options, ChildProcess* child) {
  std::vector<std::string> arguments = splitCommandLine(commandLine);
  if (arguments.empty()) {
    setLastErrorFromErrno(ENOENT);
    return false;
  }
  const std::vector<char*> argv = pointersTo(arguments);
  std::vector<std::string> texts = environmentWith(options.variables);
  const std::vector<char*> environment = pointersTo(texts);
  const std::string program = systemPath(arguments[0]);
  SpawnSettings settings(in, out, err, options.inheritAll);
  if (!options.directory.empty()) settings.setDirectory(systemPath(options.directory));
  if (options.ownGroup) settings.leadGroup();
  pid_t id = 0;
  const int error = ::posix_spawnp(&id, program.c_str(), &settings.actions, &settings.attributes,
                                   argv.data(), environment.data());
  if (error != 0) {
    setPathError(program, error);
    return false;
  }
  *child = ChildProcess{id, false};
  return true;
}

bool terminateProcess(ChildProcess* child) {
  if (!isStillOurs(child)) return false;
  if (::kill(static_cast<pid_t>(child->id), SIGKILL) != 0) return false;
  child->terminated = true;
  return true;
}

bool terminateGroup(ChildProcess* child) {
  if (!isStillOurs(child)) return false;
  if (::kill(static_cast<pid_t>(-child->id), SIGKILL) != 0) return false;
  child->terminated = true;
  return true;
}

bool processExitCode(ChildProcess* child, unsigned* code) {
  int status = 0;
  pid_t result = 0;
  do {
    result = ::waitpid(static_cast<pid_t>(child->id), &status, WNOHANG);
  } while (result < 0 && errno == EINTR);
  if (result < 0) {
    if (errno == ECHILD) *child = ChildProcess{};
    return false;
  }
  if (result == 0) {
    *code = stillActive;
    return true;
  }
  constexpr unsigned signalBase = 128;
  if (WIFEXITED(status)) {
    *code = static_cast<unsigned>(WEXITSTATUS(status));
  } else {
    const int signal = WTERMSIG(status);
    *code = child->terminated && signal == SIGKILL ? 1 : signalBase + static_cast<unsigned>(signal);
  }
  *child = ChildProcess{};
  return true;
}

bool waitForEnd(const ChildProcess& child) {
  siginfo_t ignored;
  const auto id = static_cast<id_t>(child.id);
  int result = 0;
  do {
    result = ::waitid(P_PID, id, &ignored, WEXITED | WNOWAIT);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

bool waitForEnd(const ChildProcess& child, int milliseconds) {
  using Clock = std::chrono::steady_clock;
  constexpr auto longestPause = std::chrono::milliseconds(10);
  const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
  auto pause = std::chrono::microseconds(100);
  for (;;) {
    siginfo_t info{};
    const auto id = static_cast<id_t>(child.id);
    // A child that somebody else has waited for is one that has ended.
    if (::waitid(P_PID, id, &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid != 0)
      return true;
    const auto left = end - Clock::now();
    if (left <= Clock::duration::zero()) return false;
    std::this_thread::sleep_for(std::min<Clock::duration>(pause, left));
    pause = std::min<std::chrono::microseconds>(pause * 2, longestPause);
  }
}

}  // namespace loomkit::platform
