// SPDX-License-Identifier: MIT
// A child for the tests of processes: does what its first argument says.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Fills standard output and standard error in turns, far beyond any pipe.
int flood(int blocks) {
  const std::string out(4096, 'o');
  const std::string err(4096, 'e');
  for (int i = 0; i < blocks; ++i) {
    if (::write(1, out.data(), out.size()) < 0 || ::write(2, err.data(), err.size()) < 0) return 1;
  }
  return 0;
}

// Leaves a process behind that holds the pipes for a while.
int leaveGrandchild() {
  if (::fork() == 0) {
    ::sleep(30);
    ::_exit(0);
  }
  return std::printf("parent done\n") > 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  const int number = argc > 2 ? std::atoi(argv[2]) : 0;
  if (what == "exit") return number;
  if (what == "flood") return flood(number);
  if (what == "die") return ::raise(number);
  if (what == "grandchild") return leaveGrandchild();
  if (what == "ignore") {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGPIPE}) ::signal(signal, SIG_IGN);
    if (::write(1, "ready", 5) != 5) return 1;
    for (;;) ::pause();
  }
  if (what == "close") {
    ::close(1);
    ::close(2);
    ::sleep(static_cast<unsigned>(number));
    return 0;
  }
  std::fprintf(stderr, "unknown: %s\n", what.c_str());
  return 2;
}
