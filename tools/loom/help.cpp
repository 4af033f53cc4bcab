// SPDX-License-Identifier: MIT
#include "help.h"

#include <algorithm>

namespace loom {

namespace {

// How a help text is set: in lines of at most `width` columns, explanations from
// column `labelWidth` on.
struct Layout {
  explicit Layout(std::size_t columns)
      : width(columns == 0 ? usual : std::clamp(columns - 1, narrowest, widest)),
        labelWidth(std::min<std::size_t>(26, width / 3)) {}
  static constexpr std::size_t usual = 79;
  static constexpr std::size_t narrowest = 30;
  static constexpr std::size_t widest = 99;
  std::size_t width;
  std::size_t labelWidth;
};

// The text in lines of at most `width` characters, each behind `indent` blanks.
// Lines that begin with a blank are kept as they are.
std::string wrapped(std::string_view text, std::size_t indent, const Layout& layout) {
  std::string result;
  std::size_t column = 0;
  const std::string margin(indent, ' ');
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(" \n"), text.size());
    const std::string_view word = text.substr(0, end);
    if (column > 0 && column + 1 + word.size() > layout.width) {
      result += '\n';
      column = 0;
    }
    if (!word.empty()) {
      result.append(column == 0 ? margin : " ").append(word);
      column += (column == 0 ? indent : 1) + word.size();
    }
    const bool lineEnd = end < text.size() && text[end] == '\n';
    if (lineEnd) {
      result += '\n';
      column = 0;
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return result += '\n';
}

// A label, and its explanation in a column of its own.
std::string row(const std::string& label, std::string_view help, const Layout& layout) {
  std::string result = "  " + label;
  const std::string text = wrapped(help, layout.labelWidth, layout);
  if (result.size() + 2 > layout.labelWidth) {
    result += '\n';
    return result += text;
  }
  return result.append(text, result.size());
}

// A label, with the rest of the text below its beginning.
std::string hanging(const std::string& label, const std::string& text, const Layout& layout) {
  return label + wrapped(text, label.size(), layout).substr(label.size());
}

std::string rows(std::string_view title, const std::string& body) {
  return body.empty() ? std::string() : "\n" + std::string(title) + ":\n" + body;
}

std::string operandLabel(const Operand& operand) {
  const std::string name = std::string(operand.name) + (operand.most == 1 ? "" : "...");
  return operand.least > 0 ? name : "[" + name + "]";
}

std::string exampleText(std::string_view example) {
  std::string result;
  while (!example.empty()) {
    const std::size_t end = std::min(example.find('\n'), example.size());
    result.append("  ").append(example.substr(0, end)).append("\n");
    example.remove_prefix(std::min(end + 1, example.size()));
  }
  return result;
}

}  // namespace

std::string optionLabel(const Option& option) {
  std::string label(option.names);
  const std::size_t comma = label.find(',');
  if (comma != std::string::npos) label.insert(comma + 1, " ");
  if (comma == std::string::npos) label.insert(0, "    ");
  if (!option.value.empty()) label.append(" ").append(option.value);
  return label;
}

std::string usageLine(const CommandRef& ref) {
  std::string result = "loom " + fullName(*ref.family, *ref.command) + " [OPTION]...";
  for (const Operand& operand : ref.command->operands) result += " " + operandLabel(operand);
  return result;
}

std::vector<ExitCodeMeaning> exitCodesOf(const Command& command) {
  std::vector<ExitCodeMeaning> result;
  for (const ExitCodeMeaning& general : exitCodeMeanings()) {
    const auto own =
        std::find_if(command.exits.begin(), command.exits.end(),
                     [&](const ExitCodeMeaning& row) { return row.code == general.code; });
    if (own != command.exits.end()) {
      result.push_back(*own);
    } else if (general.code == ExitCode::done || general.code == ExitCode::usage ||
               general.code == ExitCode::cannotWrite || general.code == ExitCode::internal) {
      result.push_back(general);
    }
  }
  // Codes that only this command has.
  for (const ExitCodeMeaning& own : command.exits) {
    const bool listed = std::any_of(result.begin(), result.end(), [&](const ExitCodeMeaning& row) {
      return row.code == own.code;
    });
    if (!listed) result.push_back(own);
  }
  return result;
}

std::string commandHelp(const CommandRef& ref, std::size_t columns) {
  const Layout layout(columns);
  const Command& command = *ref.command;
  std::string operands;
  for (const Operand& operand : command.operands) {
    operands += row(std::string(operand.name), operand.help, layout);
  }
  std::string options;
  for (const Option& option : command.options)
    options += row(optionLabel(option), option.help, layout);
  for (const Option& option : commonOptionsOf(command))
    options += row(optionLabel(option), option.help, layout);
  std::string exits;
  for (const ExitCodeMeaning& exit : exitCodesOf(command)) {
    exits += row(std::to_string(static_cast<int>(exit.code)), exit.meaning, layout);
  }
  return wrapped("loom " + fullName(*ref.family, command) + " - " + std::string(command.summary), 0,
                 layout) +
         "\n" + hanging("Usage: ", usageLine(ref), layout) + "\n" +
         wrapped(command.description, 0, layout) + rows("Operands", operands) +
         rows("Options", options) + rows("Example", exampleText(command.example)) +
         rows("Exit codes", exits);
}

std::string familyHelp(const Family& family, std::size_t columns) {
  const Layout layout(columns);
  std::string commands;
  for (const Command& command : family.commands) {
    commands += row(fullName(family, command), command.summary, layout);
  }
  return wrapped("loom " + std::string(family.name) + " - " + std::string(family.summary), 0,
                 layout) +
         "\n" +
         hanging("Usage: ",
                 "loom " + std::string(family.name) + " COMMAND [OPTION]... [OPERAND]...", layout) +
         rows("Commands", commands) + "\n" +
         wrapped(
             "'loom help " + std::string(family.name) + " COMMAND' tells more, with an example.", 0,
             layout);
}

std::string overviewHelp(std::size_t columns) {
  const Layout layout(columns);
  std::string commands;
  for (const Family* family : families()) {
    if (!family->name.empty()) {
      commands += row(std::string(family->name) + " ...", family->summary, layout);
      continue;
    }
    for (const Command& command : family->commands) {
      commands += row(std::string(command.name), command.summary, layout);
    }
  }
  std::string exits;
  for (const ExitCodeMeaning& exit : exitCodeMeanings()) {
    exits += row(std::to_string(static_cast<int>(exit.code)), exit.meaning, layout);
  }
  std::string options;
  for (const Option& option : commonOptions())
    options += row(optionLabel(option), option.help, layout);
  return wrapped("loom - the loomkit library from the command line", 0, layout) + "\n" +
         hanging("Usage: ", "loom COMMAND [OPTION]... [OPERAND]...", layout) +
         rows("Commands", commands) + rows("Options of every command", options) +
         rows("Exit codes", exits) + "\n" +
         wrapped("'loom help COMMAND' tells more, with an example.", 0, layout);
}

}  // namespace loom
