// SPDX-License-Identifier: MIT
#include "../interruption.h"

#include <signal.h>

#include <atomic>

namespace loom {

namespace {

// The signals that end a process and may come while it is well.
constexpr int endingSignals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGPIPE,
                                 SIGTERM, SIGXCPU, SIGXFSZ, SIGALRM};

std::atomic<bool> interrupted{false};

void handle(int number) {
  cleanUp();
  // The signal's own effect, which takes place when this function returns: the
  // shell is to see what has ended the process.
  ::signal(number, SIG_DFL);
  ::raise(number);
}

}  // namespace

void cleanUpOnSignals() {
  struct sigaction action {};
  action.sa_handler = handle;
  ::sigfillset(&action.sa_mask);
  for (const int number : endingSignals) {
    struct sigaction before {};
    // nohup and shells have signals ignored that are to stay so.
    if (::sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
      ::sigaction(number, &action, nullptr);
  }
}

void noteInterrupts() {
  struct sigaction action {};
  action.sa_handler = [](int) { interrupted = true; };
  ::sigemptyset(&action.sa_mask);
  ::sigaction(SIGINT, &action, nullptr);
}

bool takeInterrupt() { return interrupted.exchange(false); }

}  // namespace loom
