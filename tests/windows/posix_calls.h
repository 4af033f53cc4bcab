// SPDX-License-Identifier: MIT
// What the tests call of POSIX and Windows has by other names. Included before every
// source of a test program that is built for Windows.
#ifndef LOOMKIT_TESTS_WINDOWS_POSIX_CALLS_H
#define LOOMKIT_TESTS_WINDOWS_POSIX_CALLS_H

#include <direct.h>
#include <malloc.h>
#include <process.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/types.h>

#include <atomic>
#include <ctime>
#include <string>

/// Where this variable has a directory, mkdtemp() gives that one: see killed_work.h.
constexpr const char* sameDirectoryVariable = "LOOMKIT_TEST_SAME_DIRECTORY";

/// The exit code of a process that is killed.
constexpr unsigned killedCode = 128 + 9;

/// Makes a directory of a new name, which takes the place of the template. It has
/// slashes, as on other systems, whatever the template had.
inline char* mkdtemp(char* text) {
  if (char* const same = ::getenv(sameDirectoryVariable)) return same;
  static std::atomic<unsigned> counter{0};
  std::string path(text);
  for (char& c : path)
    if (c == '\\') c = '/';
  constexpr std::size_t letters = 6;
  constexpr unsigned most = 10000;
  const std::string start = path.substr(0, path.size() - letters);
  for (unsigned i = 0; i < most; ++i) {
    const unsigned number = static_cast<unsigned>(::_getpid()) * 7919U + ++counter;
    const std::string name = start + std::to_string(100000 + number % 900000);
    if (::_mkdir(name.c_str()) != 0) continue;
    name.copy(text, name.size());
    return text;
  }
  return nullptr;
}

inline int setenv(const char* name, const char* value, int /*overwrite*/) {
  return ::_putenv_s(name, value);
}

inline int unsetenv(const char* name) { return ::_putenv_s(name, ""); }

inline int mkdir(const char* path, int /*rights*/) { return ::_mkdir(path); }

// A file that may not be written is refused to everybody, as it is not to the superuser.
inline unsigned geteuid() { return 1; }

inline std::tm* localtime_r(const std::time_t* time, std::tm* parts) {
  return ::localtime_s(parts, time) == 0 ? parts : nullptr;
}

/// Starts a program with this one's environment. Its arguments need no quotes.
inline int posix_spawn(pid_t* child, const char* path, const void* /*files*/,
                       const void* /*attributes*/, char* const* arguments, char** /*variables*/) {
  const intptr_t started = ::_spawnv(_P_NOWAIT, path, arguments);
  *child = static_cast<pid_t>(started);
  return started == -1 ? errno : 0;
}

/// Signals that nobody sends here: to ignore them is refused and does no harm.
constexpr int SIGHUP = 1;
constexpr int SIGPIPE = 13;

// For tests that are built and not run: exceptions.txt has their names.
inline int mkfifo(const char* /*path*/, int /*rights*/) { return -1; }
inline int symlink(const char* /*target*/, const char* /*path*/) { return -1; }

// Limits that this system does not have: they are set, and hold nobody up.
enum RlimitKind { RLIMIT_AS, RLIMIT_NOFILE };
struct rlimit {
  unsigned long long rlim_cur, rlim_max;
};
inline int getrlimit(RlimitKind /*kind*/, rlimit* limit) {
  *limit = {};
  return 0;
}
inline int setrlimit(RlimitKind /*kind*/, const rlimit* /*limit*/) { return 0; }

inline std::size_t malloc_usable_size(void* memory) { return ::_msize(memory); }

#endif  // LOOMKIT_TESTS_WINDOWS_POSIX_CALLS_H
