// SPDX-License-Identifier: MIT
#include "../terminal.h"

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include "../interruption.h"

namespace loom {

namespace {

// The terminal that does not show what is typed, and how it was before.
std::atomic<int> hiding{-1};
termios shown;

void showAgain() {
  const int descriptor = hiding.exchange(-1);
  if (descriptor >= 0) tcsetattr(descriptor, TCSAFLUSH, &shown);
}

}  // namespace

void prepareStandardStreams() {}

bool isTerminal(StandardStream stream) { return isatty(static_cast<int>(stream)) == 1; }

std::size_t terminalWidth(StandardStream stream) {
  winsize size{};
  if (ioctl(static_cast<int>(stream), TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col;
}

bool isClosedPipe(int error) { return error == EPIPE; }

bool canClearLines() {
  const char* const name = std::getenv("TERM");
  return name != nullptr && *name != '\0' && std::string_view(name) != "dumb";
}

bool isInForeground(StandardStream stream) {
  return tcgetpgrp(static_cast<int>(stream)) == getpgrp();
}

void writeAtOnce(StandardStream stream, std::string_view text) {
  const int before = errno;
  while (!text.empty()) {
    const ssize_t count = ::write(static_cast<int>(stream), text.data(), text.size());
    if (count < 0 && errno != EINTR) break;
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
  }
  errno = before;
}

long readSome(std::FILE* file, char* buffer, std::size_t size) {
  for (;;) {
    const ssize_t got = ::read(fileno(file), buffer, size);
    if (got >= 0 || errno != EINTR) return got;
  }
}

bool askSecretly(const std::string& prompt, std::string* answer) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> tty(std::fopen("/dev/tty", "r+e"),
                                                            &std::fclose);
  if (tty == nullptr) return false;
  const int descriptor = fileno(tty.get());
  if (tcgetattr(descriptor, &shown) != 0) return false;
  termios hidden = shown;
  hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  hiding = descriptor;
  addCleanup(showAgain);
  tcsetattr(descriptor, TCSAFLUSH, &hidden);
  std::fputs(prompt.c_str(), tty.get());
  std::fflush(tty.get());
  answer->clear();
  char c = 0;
  while (readSome(tty.get(), &c, 1) == 1 && c != '\n') *answer += c;
  showAgain();
  std::fputs("\n", tty.get());
  return true;
}

}  // namespace loom
