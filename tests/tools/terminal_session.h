// SPDX-License-Identifier: MIT
// TerminalSession: a program at a terminal, with somebody who types and looks.
#ifndef LOOMKIT_TESTS_TOOLS_TERMINAL_SESSION_H
#define LOOMKIT_TESTS_TOOLS_TERMINAL_SESSION_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

struct termios;

namespace loomkit::testing {

/// What a terminal shows after it has got some bytes. It knows what line editors and
/// progress bars use: moving the cursor, clearing, inserting and deleting, and the
/// step to the next row behind the last column. Rows are never scrolled away.
class Screen {
 public:
  explicit Screen(std::size_t columns) : width(columns) {}
  void put(std::string_view bytes);
  /// The row, without the blanks at its end; empty below the last one.
  [[nodiscard]] std::string row(std::size_t number) const;
  /// All rows but empty ones at the end, each with a line end.
  [[nodiscard]] std::string text() const;
  /// The rightmost column that has ever been written, from 1.
  [[nodiscard]] std::size_t widest() const { return reached; }

 private:
  void putByte(char byte);
  void putCharacter();
  void control(char byte);
  void obey(char command);
  [[nodiscard]] std::size_t argument(std::size_t fallback) const;
  void eraseLine(std::size_t how);
  std::vector<std::string>& here();

  std::size_t width;
  std::size_t reached = 0;
  std::vector<std::vector<std::string>> rows;  // of cells, a character each
  std::size_t line = 0;
  std::size_t column = 0;  // `width` while the step to the next row is pending
  std::string sequence;    // an escape sequence or a character that is not whole
};

/// Runs a script with sh at a new terminal, with loom in the PATH. The script ends
/// with the object at the latest.
class TerminalSession {
 public:
  explicit TerminalSession(const std::string& script, std::size_t columns = 80);
  /// Runs a function in a process of its own there; it returns the exit code.
  explicit TerminalSession(const std::function<int()>& work, std::size_t columns = 80);
  TerminalSession(const TerminalSession&) = delete;
  TerminalSession& operator=(const TerminalSession&) = delete;
  ~TerminalSession();

  /// Types, as from the keyboard: "\x03" is Ctrl-C, "\x04" Ctrl-D.
  void type(std::string_view keys);
  /// Waits until the output that no wait has gone past yet contains the text, and goes
  /// past it. False when that does not come within some seconds.
  bool waitFor(std::string_view text);
  /// Waits until the screen contains the text.
  bool waitForScreen(std::string_view text);
  /// Waits until the program reads single keys, which line editors do shortly after they
  /// have shown their prompt.
  bool waitForKeys();
  /// Waits until Ctrl-C interrupts, which line editors switch off while they read.
  bool waitForInterruptKey();
  /// Lets everything come that still comes at once: for what ought not to be there.
  void settle();
  /// Sends the script's process a signal.
  void signal(int number);
  /// Waits for the end; the exit code, 128 + a signal's number, or -1 when it had to be
  /// killed.
  int end();

  /// Everything that the terminal has got.
  [[nodiscard]] const std::string& output() const { return received; }
  /// What it shows of that.
  [[nodiscard]] const Screen& screen() const { return shown; }

 private:
  bool readMore(int milliseconds);
  bool waitForModes(bool (*wanted)(const termios& modes));

  int terminal = -1;
  int process = 0;
  std::string received;
  std::size_t passed = 0;
  Screen shown;
};

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_TOOLS_TERMINAL_SESSION_H
