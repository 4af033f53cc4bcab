// SPDX-License-Identifier: MIT
// The engine's error reports, taken apart for display.
#ifndef LOOM_RPN_REPORT_H
#define LOOM_RPN_REPORT_H

#include <optional>
#include <string>
#include <vector>

namespace loom {

/// One report of the engine:
///   price: rpn error: stack underflow:
///   1  >!< +
struct RpnReport {
  std::string text;                     ///< as it came
  std::string message;                  ///< "stack underflow"
  std::string expression;               ///< "1 +": a nested one has its own text
  std::optional<std::size_t> position;  ///< of the marker in `expression`; 2 here
  /// The local functions that it came from, the innermost first.
  std::vector<std::string> functions = {};
  std::string suggestion = {};  ///< the word or parameter that may have been meant
};

/// The report of the one mistake that all of an evaluation's reports are of. The first
/// names it, the others say on the way out which local function it was in.
[[nodiscard]] RpnReport causeOf(const std::vector<RpnReport>& reports);

/// "in local function "g", called by "f"": short also for a thousand calls. Empty
/// without functions.
[[nodiscard]] std::string callerText(const RpnReport& report);

/// The word or the parameter, "$" included, at the marker of an error about one that is
/// not known; empty for other errors.
[[nodiscard]] std::string unknownName(const RpnReport& report);

/// Takes a report apart. `name` is the expression's name, `expr` the outermost
/// expression, which tells a marker from the same characters in a string.
[[nodiscard]] RpnReport readReport(const std::string& text, const std::string& name,
                                   const std::string& expr);

/// The report as it is printed, without colours: as it came, the local functions, and the
/// suggestion.
[[nodiscard]] std::string reportText(const RpnReport& report);

/// Prints the report on standard error, with the marker coloured on a terminal.
void printReport(const RpnReport& report);

/// Two lines for a person who has just typed: the expression, and "^ message"
/// under the character at the marker.
[[nodiscard]] std::string caretLines(const RpnReport& report, const std::string& indent);
/// The second of them.
[[nodiscard]] std::string caretLine(const RpnReport& report, const std::string& indent);

}  // namespace loom

#endif  // LOOM_RPN_REPORT_H
