// SPDX-License-Identifier: MIT
#include "tests/db/guarded_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace loomkit::testing {

namespace {

// Begins when standard input ends. The first line of a server's postmaster.pid
// is its process, negative for one that initdb has started; the seventh ends in
// the number of its shared memory, which a server that was killed leaves behind.
constexpr const char* guardScript = R"(
folder=$1
while read -r line; do :; done
server() { sed -n '1s/^-//;1p' "$folder/data/postmaster.pid" 2>/dev/null; }
runs() { [ -n "$1" ] && grep -qs "$folder" "/proc/$1/cmdline"; }
process=$(server)
memory=$(sed -n '7s/.* //p' "$folder/data/postmaster.pid" 2>/dev/null)
if runs "$process"; then kill -QUIT "$process"; fi
for i in $(seq 200); do runs "$process" || break; sleep 0.05; done
if [ -n "$memory" ] && [ -e "$folder/data/postmaster.pid" ]; then ipcrm -m "$memory"; fi
for i in $(seq 100); do rm -rf "$folder" && break; sleep 0.05; done
)";

// In a process that is no child of the program: who ends the program with all of
// its children does not reach it.
void startGuard(const std::string& folder, const int input[2], const int output[2]) {
  const pid_t child = ::fork();
  if (child > 0) ::waitpid(child, nullptr, 0);
  if (child != 0) return;
  ::setsid();
  if (::fork() != 0) ::_exit(0);
  ::dup2(input[0], STDIN_FILENO);
  ::dup2(output[1], STDOUT_FILENO);
  ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
  ::execl("/bin/sh", "sh", "-c", guardScript, "sh", folder.c_str(), nullptr);
  ::_exit(127);
}

}  // namespace

GuardedFolder::GuardedFolder()
    : folder((std::filesystem::temp_directory_path() / "loomkit_pg_XXXXXX").string()) {
  int input[2];
  int output[2];
  if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0 ||
      ::mkdtemp(folder.data()) == nullptr)
    throw std::runtime_error("no scratch directory");
  ::chmod(folder.c_str(), 0755);
  startGuard(folder, input, output);
  ::close(input[0]);
  ::close(output[1]);
  toGuard = input[1];
  fromGuard = output[0];
}

GuardedFolder::~GuardedFolder() {
  ::close(toGuard);
  char byte = 0;
  while (::read(fromGuard, &byte, 1) > 0) continue;
  ::close(fromGuard);
}

}  // namespace loomkit::testing
