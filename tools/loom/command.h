// SPDX-License-Identifier: MIT
// The command table of loom: what each command is called, takes, prints and
// returns, as constant data. The parser, --help, the manual pages, the shell
// completion and the tests all read the same rows, so that none of them can
// fall behind.
//
// A family is one source file with its commands. To add one: write
// NAME_commands.cpp that defines `constexpr Command ...[]` and
// `const Family nameFamily`, and give it one line in families.cpp and one in
// CMakeLists.txt.
//
//   ExitCode hello(const Invocation& call) {
//     printLine("hello " + call.operand("WHO"));
//     return ExitCode::done;
//   }
//   constexpr Operand helloOperands[] = {{.name = "WHO", .help = "Whom to greet."}};
//   constexpr Command helloCommands[] = {{
//       .name = "hello", .summary = "greet", .description = "Greets.",
//       .operands = helloOperands, .example = "$ loom hello you\nhello you\n", .run = hello}};
//   const Family helloFamily = {.commands = helloCommands};
#ifndef LOOM_COMMAND_H
#define LOOM_COMMAND_H

#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace loom {

/// What the process returns; the same meaning in every command.
enum class ExitCode {
  done = 0,
  no = 1,          ///< the answer is no: nothing matches, no such word, the check failed
  usage = 2,       ///< the command line is wrong
  cannotOpen = 3,  ///< an input cannot be opened or read
  damaged = 4,     ///< an input can be read but is not what it must be
  evaluation = 5,  ///< an expression or a query failed
  cannotWrite = 6,
  internal = 70
};

/// One row of the table of exit codes.
struct ExitCodeMeaning {
  ExitCode code;
  std::string_view meaning;
};

/// Every exit code with its meaning, for help and manual.
[[nodiscard]] std::span<const ExitCodeMeaning> exitCodeMeanings();

/// Ends a command with a message on standard error and an exit code. Commands
/// throw it where nothing is left to do; main() reports it.
class Failure : public std::runtime_error {
 public:
  /// `next` is what to do about it: a line of its own, or none when it is empty.
  Failure(ExitCode failureCode, const std::string& text, std::string next = {})
      : std::runtime_error(text), code(failureCode), hint(std::move(next)) {}
  ExitCode code;
  std::string hint;
};

/// What the shell offers when a value is completed.
enum class Completes {
  nothing,
  files,
  directories,
  commands,
  locators,    ///< of databases: "csv:DIR" and the like
  words,       ///< of the expression language
  expressions  ///< its words, behind what is there already
};

/// No upper bound on the number of operands.
inline constexpr int many = -1;

struct Option {
  std::string_view names;       ///< "-p,--param" or "--param"; the last one is its key
  std::string_view value = {};  ///< the value's name in help; empty for a flag
  std::string_view help = {};
  bool repeatable = false;
  std::string_view choices = {};  ///< the legal values, "auto|always|never"; empty: any
  Completes completes = Completes::nothing;
};

struct Operand {
  std::string_view name;
  std::string_view help = {};
  int least = 1;
  int most = 1;  ///< or `many`
  std::string_view choices = {};
  Completes completes = Completes::nothing;
};

class Invocation;

struct Command {
  std::string_view name;
  std::string_view summary;      ///< one line without a full stop
  std::string_view description;  ///< paragraphs, separated by empty lines
  std::span<const Option> options = {};
  std::span<const Operand> operands = {};
  std::string_view example = {};  ///< "$ loom ..." lines and what they print; tests run it
  std::span<const ExitCodeMeaning> exits = {};  ///< those used beside 0, 2, 6 and 70
  ExitCode (*run)(const Invocation&) = nullptr;
  bool printsContent = false;  ///< prints bytes as they are, which are no JSON: there is no --json
};

struct Family {
  std::string_view name = {};     ///< the word before the commands; empty: they stand alone
  std::string_view summary = {};  ///< of a named family
  std::span<const Command> commands = {};
};

/// All families, in the order of the help.
[[nodiscard]] std::span<const Family* const> families();

/// The options that every command has: --json, --color, --help.
[[nodiscard]] std::span<const Option> commonOptions();
/// Those of them that this command has.
[[nodiscard]] std::span<const Option> commonOptionsOf(const Command& command);

/// "text match", or "eval" where the family has no name.
[[nodiscard]] std::string fullName(const Family& family, const Command& command);

/// "--param" of "-p,--param": the key under which an Invocation holds it.
[[nodiscard]] std::string_view keyOf(const Option& option);

/// The option of either name, "-p" or "--param"; null when there is none.
[[nodiscard]] const Option* optionNamed(std::span<const Option> options, std::string_view name);

/// The texts between the '|' of `choices`.
[[nodiscard]] std::vector<std::string_view> choicesOf(std::string_view choices);

/// A command line that fits its command. Options are asked for by their long
/// name ("--param"), operands by theirs ("EXPR").
class Invocation {
 public:
  /// True when the option was given.
  [[nodiscard]] bool has(std::string_view option) const {
    return given.find(option) != given.end();
  }
  /// All values of an option or operand, in order; empty when there is none.
  [[nodiscard]] const std::vector<std::string>& values(std::string_view name) const;
  /// The option's value, or `fallback`.
  [[nodiscard]] std::string value(std::string_view option, std::string_view fallback = {}) const;
  /// The option's value as a whole number from `least` to `most`, or
  /// `fallback` when it was not given; anything else is a usage failure.
  [[nodiscard]] int number(std::string_view option, int fallback, int least, int most) const;
  /// The first value of an operand; empty when there is none.
  [[nodiscard]] std::string operand(std::string_view name) const { return value(name); }
  [[nodiscard]] const std::vector<std::string>& operands(std::string_view name) const {
    return values(name);
  }
  /// True when results are to be printed as JSON.
  [[nodiscard]] bool json() const { return has("--json"); }

  /// What was given, by key. Filled by the parser.
  std::map<std::string, std::vector<std::string>, std::less<>> given;
};

}  // namespace loom

#endif  // LOOM_COMMAND_H
