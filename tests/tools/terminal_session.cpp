// SPDX-License-Identifier: MIT
#include "terminal_session.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>

#include "run_program.h"

namespace loomkit::testing {

namespace {

constexpr char escape = '\033';
constexpr auto longEnough = std::chrono::seconds(20);

bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

std::size_t characterLength(char first) {
  const auto byte = static_cast<unsigned char>(first);
  return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

}  // namespace

void Screen::put(std::string_view bytes) {
  for (const char byte : bytes) putByte(byte);
}

std::string Screen::row(std::size_t number) const {
  std::string result;
  if (number < rows.size()) {
    for (const std::string& cell : rows[number]) result += cell;
  }
  return result.erase(result.find_last_not_of(' ') + 1);
}

std::string Screen::text() const {
  std::string result;
  std::size_t count = rows.size();
  while (count > 0 && row(count - 1).empty()) --count;
  for (std::size_t i = 0; i < count; ++i) result += row(i) + "\n";
  return result;
}

std::vector<std::string>& Screen::here() {
  if (rows.size() <= line) rows.resize(line + 1);
  return rows[line];
}

void Screen::putByte(char byte) {
  if (sequence.empty() && (static_cast<unsigned char>(byte) < ' ' || byte == '\x7f')) {
    if (byte == escape) {
      sequence = byte;
    } else {
      control(byte);
    }
    return;
  }
  sequence += byte;
  if (sequence[0] != escape) {
    if (sequence.size() >= characterLength(sequence[0]) || !isContinuation(byte)) {
      if (sequence.size() == characterLength(sequence[0])) putCharacter();
    }
    return;
  }
  if (sequence.size() == 2) {
    // Only those that begin with a bracket have more; a charset has one byte more.
    if (byte != '[' && byte != '(' && byte != ']') sequence.clear();
    return;
  }
  const bool ends = sequence[1] == '(' || (byte >= '@' && byte <= '~');
  if (!ends) return;
  if (sequence[1] == '[') obey(byte);
  sequence.clear();
}

void Screen::putCharacter() {
  if (column >= width) {
    column = 0;
    ++line;
  }
  std::vector<std::string>& cells = here();
  if (cells.size() <= column) cells.resize(column + 1, " ");
  cells[column++] = sequence;
  reached = std::max(reached, column);
  sequence.clear();
}

void Screen::control(char byte) {
  switch (byte) {
    case '\r':
      column = 0;
      break;
    case '\n':
      ++line;
      here();
      break;
    case '\b':
      column = std::min(column, width - 1);
      if (column > 0) --column;
      break;
    case '\t':
      column = std::min(width - 1, (column / 8 + 1) * 8);
      break;
    default:
      break;
  }
}

std::size_t Screen::argument(std::size_t fallback) const {
  const std::size_t number = std::strtoul(sequence.c_str() + 2, nullptr, 10);
  return std::isdigit(static_cast<unsigned char>(sequence[2])) != 0 ? number : fallback;
}

void Screen::eraseLine(std::size_t how) {
  std::vector<std::string>& cells = here();
  if (how == 0) cells.resize(std::min(cells.size(), column));
  if (how == 2) cells.clear();
  for (std::size_t i = 0; how == 1 && i <= column && i < cells.size(); ++i) cells[i] = " ";
}

void Screen::obey(char command) {
  const std::size_t count = std::max<std::size_t>(argument(1), 1);
  std::vector<std::string>& cells = here();
  const auto at = static_cast<std::ptrdiff_t>(std::min(column, cells.size()));
  const auto room = static_cast<std::ptrdiff_t>(cells.size()) - at;
  switch (command) {
    case 'A':
      line -= std::min(line, count);
      break;
    case 'B':
      line += count;
      break;
    case 'C':
      column = std::min(width - 1, column + count);
      break;
    case 'D':
      column -= std::min(column, count);
      break;
    case 'G':
      column = std::min(width, count) - 1;
      break;
    case 'J':
      eraseLine(argument(0));
      if (argument(0) == 0) rows.resize(line + 1);
      break;
    case 'K':
      eraseLine(argument(0));
      break;
    case 'P':
      cells.erase(cells.begin() + at,
                  cells.begin() + at + std::min(room, static_cast<std::ptrdiff_t>(count)));
      break;
    case '@':
      cells.insert(cells.begin() + at, count, " ");
      if (cells.size() > width) cells.resize(width);
      break;
    default:  // colours and modes
      break;
  }
}

TerminalSession::TerminalSession(const std::string& script, std::size_t columns)
    : TerminalSession(
          [&] {
            const std::string program = testedLoom();
            const std::string folder = program.substr(0, program.rfind('/'));
            setenv("PATH", (folder + ":" + std::getenv("PATH")).c_str(), 1);
            // libedit leaves the texts of its history to the end of the process.
            setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
            return execl("/bin/sh", "sh", "-c", script.c_str(), nullptr);
          },
          columns) {}

TerminalSession::TerminalSession(const std::function<int()>& work, std::size_t columns)
    : shown(columns) {
  const winsize size{50, static_cast<unsigned short>(columns), 0, 0};
  process = forkpty(&terminal, nullptr, nullptr, &size);
  if (process == 0) {
    setenv("TERM", "xterm", 1);
    _exit(work());
  }
  if (process < 0) ADD_FAILURE() << "there is no terminal to be had";
}

TerminalSession::~TerminalSession() {
  if (process > 0) kill(process, SIGKILL);
  end();
}

bool TerminalSession::readMore(int milliseconds) {
  pollfd waiting{terminal, POLLIN, 0};
  if (poll(&waiting, 1, milliseconds) <= 0) return false;
  char block[4096];
  const ssize_t count = read(terminal, block, sizeof block);
  if (count <= 0) return false;
  received.append(block, static_cast<std::size_t>(count));
  shown.put({block, static_cast<std::size_t>(count)});
  return true;
}

void TerminalSession::type(std::string_view keys) {
  EXPECT_EQ(write(terminal, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

bool TerminalSession::waitFor(std::string_view text) {
  const auto last = std::chrono::steady_clock::now() + longEnough;
  std::size_t at = 0;
  while ((at = received.find(text, passed)) == std::string::npos) {
    if (std::chrono::steady_clock::now() > last) return false;
    readMore(100);
  }
  passed = at + text.size();
  return true;
}

bool TerminalSession::waitForScreen(std::string_view text) {
  const auto last = std::chrono::steady_clock::now() + longEnough;
  while (shown.text().find(text) == std::string::npos) {
    if (std::chrono::steady_clock::now() > last) return false;
    readMore(100);
  }
  return true;
}

bool TerminalSession::waitForModes(bool (*wanted)(const termios& modes)) {
  const auto last = std::chrono::steady_clock::now() + longEnough;
  termios modes{};
  while (tcgetattr(terminal, &modes) == 0 && !wanted(modes)) {
    if (std::chrono::steady_clock::now() > last) return false;
    readMore(5);
  }
  return true;
}

bool TerminalSession::waitForKeys() {
  return waitForModes(
      [](const termios& modes) { return (modes.c_lflag & static_cast<tcflag_t>(ICANON)) == 0; });
}

bool TerminalSession::waitForInterruptKey() {
  return waitForModes([](const termios& modes) { return modes.c_cc[VINTR] != _POSIX_VDISABLE; });
}

void TerminalSession::settle() {
  while (readMore(200)) {
  }
}

void TerminalSession::signal(int number) { kill(process, number); }

int TerminalSession::end() {
  if (process <= 0) return -1;
  const auto last = std::chrono::steady_clock::now() + longEnough;
  int status = 0;
  pid_t ended = 0;
  while ((ended = waitpid(process, &status, WNOHANG)) == 0) {
    if (std::chrono::steady_clock::now() > last) kill(process, SIGKILL);
    readMore(20);
  }
  settle();
  close(terminal);
  process = 0;
  if (WIFSIGNALED(status)) return WTERMSIG(status) == SIGKILL ? -1 : 128 + WTERMSIG(status);
  return WEXITSTATUS(status);
}

}  // namespace loomkit::testing
