// SPDX-License-Identifier: MIT
// Where loom's words go: results to standard output, everything else to
// standard error. A failed write of a result ends the command (exit code 6);
// when the reader has merely gone away it ends without a word.
#ifndef LOOM_CONSOLE_H
#define LOOM_CONSOLE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "loomkit/text/output.h"
#include "terminal.h"

namespace loom {

/// Thrown when standard output takes no more.
struct WriteFailure {
  int error;  ///< an errno value
};

/// Prints a result. Throws WriteFailure.
void print(std::string_view text);
/// Prints a result and a line end. Throws WriteFailure.
void printLine(std::string_view text);
/// Brings everything printed out of the buffer. Throws WriteFailure.
void flushResults();

/// True when the last print() has not ended its line.
[[nodiscard]] bool isMidLine();

/// A name as a result that scripts go on with may carry it: a path, one a line. For
/// a person at a terminal it is made visible(), because a stranger may have chosen
/// it; for a pipe or a file it stays exact, which is what ls does, too. Tables that
/// people read use visible() everywhere, and --json tells the exact names.
[[nodiscard]] std::string shown(std::string_view name);

/// "1 record", "2 records": the number and the word that goes with it.
[[nodiscard]] std::string counted(std::uint64_t count, std::string_view one,
                                  std::string_view several);

/// Prints "loom: TEXT" and a line end on standard error, after the results
/// that were printed before. The text is made visible(), so that one message is
/// one line and no name in it does anything to a terminal or a log.
void complain(std::string_view text);
/// The same without the "loom: ", and exact: for texts of several lines or in
/// colours, all of them loom's own or made visible before.
void complainPlainly(std::string_view text);

/// Chooses colours: "auto", "always" or "never".
void setColors(std::string_view when);
/// True when text on the stream is to be coloured: on a terminal that is not
/// dumb, unless NO_COLOR is set to something (https://no-color.org), or as
/// setColors decided.
[[nodiscard]] bool colorsOn(StandardStream stream);

enum class Color { red, green, yellow, cyan, bold, dim };
/// The text in the colour when the stream has colours, else as it is.
[[nodiscard]] std::string colored(StandardStream stream, Color color, std::string_view text);

/// The library's message channel while loom runs: all levels go to standard
/// error, and a fatal message comes back to its sender instead of waiting for
/// a key.
class ConsoleOutput : public GOutput {
 public:
  using GOutput::output;
  void output(GOutputLevel level, const std::string& sys, const char* text) override;
};

}  // namespace loom

#endif  // LOOM_CONSOLE_H
