// SPDX-License-Identifier: MIT
#include "manual.h"

#include <algorithm>

#include "help.h"
#include "loomkit/version.h"

namespace loom {

namespace {

// The text for roff: nothing in it is a request, an escape or a soft hyphen.
std::string roff(std::string_view text) {
  std::string result;
  bool lineStart = true;
  for (const char c : text) {
    if (lineStart && (c == '.' || c == '\'')) result += "\\&";
    lineStart = c == '\n';
    switch (c) {
      case '\\':
        result += "\\e";
        break;
      case '-':
        result += "\\-";
        break;
      case '\'':
        result += "\\(aq";
        break;
      case '`':
        result += "\\(ga";
        break;
      case '^':
        result += "\\(ha";
        break;
      case '~':
        result += "\\(ti";
        break;
      default:
        result += c;
    }
  }
  return result;
}

// An empty line separates paragraphs.
std::string paragraphs(std::string_view text) {
  std::string result = roff(text);
  for (std::size_t at = result.find("\n\n"); at != std::string::npos;
       at = result.find("\n\n", at)) {
    result.replace(at, 2, "\n.PP\n");
  }
  return result + "\n";
}

std::string item(const std::string& label, std::string_view help) {
  return ".TP\n\\fB" + roff(label) + "\\fR\n" + roff(help) + "\n";
}

std::string trimmed(std::string text) { return text.erase(0, text.find_first_not_of(' ')); }

std::string section(const CommandRef& ref) {
  const Command& command = *ref.command;
  std::string result = ".SS " + roff("loom " + fullName(*ref.family, command)) + "\n";
  result += "\\fB" + roff(usageLine(ref)) + "\\fR\n.PP\n" + paragraphs(command.description);
  for (const Operand& operand : command.operands) {
    result += item(std::string(operand.name), operand.help);
  }
  for (const Option& option : command.options) {
    result += item(trimmed(optionLabel(option)), option.help);
  }
  if (!command.exits.empty()) result += ".PP\nExit codes beside the general ones:\n";
  for (const ExitCodeMeaning& exit : command.exits) {
    result += item(std::to_string(static_cast<int>(exit.code)), exit.meaning);
  }
  std::string example(command.example);
  if (!example.empty() && example.back() == '\n') example.pop_back();
  return result + ".PP\nExample:\n.PP\n.nf\n.RS 4\n" + roff(example) + "\n.RE\n.fi\n";
}

}  // namespace

std::string manualPage(const std::vector<CommandRef>& commands) {
  std::string result =
      ".TH LOOM 1 \"\" \"loomkit " LOOMKIT_VERSION
      "\" \"User Commands\"\n.SH NAME\nloom \\- the loomkit library from the command "
      "line\n.SH SYNOPSIS\n.B loom\n.I COMMAND\n[\\fIOPTION\\fR]...\n"
      "[\\fIOPERAND\\fR]...\n.SH DESCRIPTION\nResults go to standard output, "
      "everything else to standard error.\n.SH COMMANDS\n";
  for (const CommandRef& ref : commands) result += section(ref);
  result += ".SH OPTIONS OF EVERY COMMAND\n";
  for (const Option& option : commonOptions()) {
    result += item(trimmed(optionLabel(option)), option.help);
  }
  result += ".SH EXIT STATUS\n";
  for (const ExitCodeMeaning& exit : exitCodeMeanings()) {
    result += item(std::to_string(static_cast<int>(exit.code)), exit.meaning);
  }
  return result + ".SH ENVIRONMENT\n" +
         item("NO_COLOR", "When set to anything but an empty text: no colours.") +
         item("XDG_STATE_HOME",
              "Where loom repl keeps its history, in loom/history; "
              "by default .local/state in the home folder.");
}

}  // namespace loom
