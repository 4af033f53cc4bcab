// SPDX-License-Identifier: MIT
#include "../child_group.h"

#include <signal.h>
#include <string.h>
#include <strings.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>

#include "../interruption.h"

namespace loom {

namespace {

constexpr int passedSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM};

std::atomic<ChildGroup::Kind> kindOfGroup{ChildGroup::sharedGroup};
std::atomic<long> watched{0};
std::atomic<int> waiting{0};  // a signal that came before the child was known
std::atomic<bool> passed{false};

// Sends a signal to loom's group but not to loom: within a handler the signal
// waits, and is dropped by being ignored for a moment.
void sendToOwnGroup(int number) {
  struct sigaction ignore {
  }, before{};
  ignore.sa_handler = SIG_IGN;
  const bool refusable =
      ::sigaction(number, nullptr, &before) == 0 && ::sigaction(number, &ignore, nullptr) == 0;
  ::kill(0, number);
  if (!refusable) return;
  ::sigaction(number, &ignore, nullptr);
  ::sigaction(number, &before, nullptr);
}

// As a signal handler may. The child comes first, lest one of the others tells it
// before the signal does.
void sendTo(long child, int number) {
  const auto id = static_cast<pid_t>(child);
  const bool group = kindOfGroup == ChildGroup::ownGroup;
  const bool goesOn = number != SIGKILL && number != SIGCONT;
  ::kill(group ? -id : id, number);
  if (goesOn) ::kill(group ? -id : id, SIGCONT);
  if (kindOfGroup != ChildGroup::sharedGroup) return;
  sendToOwnGroup(number);
  if (goesOn) sendToOwnGroup(SIGCONT);
}

void passOn(int number) {
  const int error = errno;
  passed = true;
  const long child = watched;
  if (child != 0)
    sendTo(child, number);
  else
    waiting = number;
  errno = error;
}

}  // namespace

std::optional<int> signalNumber(const std::string& name) {
  int number = 0;
  const char* const end = name.data() + name.size();
  const auto [stop, error] = std::from_chars(name.data(), end, number);
  if (error == std::errc() && stop == end) {
    if (number > 0 && number < NSIG) return number;
    return std::nullopt;
  }
  const char* const text = name.c_str();
  const char* const plain = ::strncasecmp(text, "SIG", 3) == 0 ? text + 3 : text;
  for (number = 1; number < NSIG; ++number) {
    const char* const known = ::sigabbrev_np(number);
    if (known != nullptr && ::strcasecmp(known, plain) == 0) return number;
  }
  return std::nullopt;
}

int terminationSignal() { return SIGTERM; }
int killSignal() { return SIGKILL; }

ChildGroup::ChildGroup(Kind kind) {
  kindOfGroup = kind;
  watched = 0;
  waiting = 0;
  passed = false;
  // Who leads a session leads its group already.
  if (kind == sharedGroup) ::setpgid(0, 0);
  // A child whose end nobody wants to know would leave no exit code.
  ::signal(SIGCHLD, SIG_DFL);
  struct sigaction action {};
  action.sa_handler = passOn;
  action.sa_flags = SA_RESTART;
  ::sigfillset(&action.sa_mask);
  for (const int number : passedSignals) {
    struct sigaction before {};
    if (::sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
      ::sigaction(number, &action, nullptr);
  }
}

ChildGroup::~ChildGroup() {
  watched = 0;
  cleanUpOnSignals();
}

void ChildGroup::watch(long child) {
  watched = child;
  const int early = waiting.exchange(0);
  if (early != 0 && child != 0) sendTo(child, early);
}

void ChildGroup::send(int signal) {
  const long child = watched;
  if (child != 0) sendTo(child, signal);
}

bool ChildGroup::passedOn() { return passed; }

}  // namespace loom
