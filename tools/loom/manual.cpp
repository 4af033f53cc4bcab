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

// The relatives of each family, by the names of the families, and the programs that
// people know for the same.
struct Related {
  std::string_view family;
  std::string_view pages;
};
constexpr Related related[] = {
    {"eval", "loom-repl(1), loom-words(1), bc(1), dc(1)"},
    {"repl", "loom-eval(1), loom-words(1), dc(1)"},
    {"words", "loom-eval(1), loom-repl(1)"},
    {"text", "loom-file(1), basename(1), iconv(1)"},
    {"sum", "md5sum(1), sha256sum(1), sha512sum(1), cksum(1)"},
    {"file", "loom-text(1), stat(1), realpath(1)"},
    {"run", "timeout(1), env(1), signal(7)"},
    {"gzip", "loom-zip(1), gzip(1), zcat(1)"},
    {"zip", "loom-gzip(1), loom-material(1), unzip(1), zip(1)"},
    {"ar", "ar(1), nm(1)"},
    {"material", "loom-zip(1)"},
    {"object", "loom-config(1), jq(1)"},
    {"config", "loom-object(1)"},
    {"db", "loom-sql(1), loom-xbase(1), loom-tessel(1), sqlite3(1)"},
    {"sql", "loom-db(1), sqlite3(1), psql(1)"},
    {"tessel", "loom-db(1)"},
    {"xbase", "loom-db(1)"},
};

std::string nameOf(const Family& family) {
  return std::string(family.name.empty() ? family.commands[0].name : family.name);
}

std::string_view summaryOf(const Family& family) {
  return family.name.empty() ? family.commands[0].summary : family.summary;
}

std::string heading(const std::string& page, std::string_view summary) {
  std::string capitals = page;
  std::transform(capitals.begin(), capitals.end(), capitals.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
  return ".TH " + roff(capitals) +
         " 1 \"\" \"loomkit " LOOMKIT_VERSION "\" \"User Commands\"\n.SH NAME\n" + roff(page) +
         " \\- " + roff(summary) + "\n";
}

std::string bold(const std::string& text) { return "\\fB" + roff(text) + "\\fR\n"; }

std::string optionItems(std::span<const Option> options) {
  std::string result;
  for (const Option& option : options) result += item(trimmed(optionLabel(option)), option.help);
  return result;
}

std::string description(const CommandRef& ref) {
  const Command& command = *ref.command;
  std::string result = paragraphs(command.description);
  for (const Operand& operand : command.operands) {
    result += item(std::string(operand.name), operand.help);
  }
  result += optionItems(command.options);
  if (!command.exits.empty()) result += ".PP\nExit codes beside those of every command:\n";
  for (const ExitCodeMeaning& exit : command.exits) {
    result += item(std::to_string(static_cast<int>(exit.code)), exit.meaning);
  }
  return result;
}

std::string example(const Command& command) {
  std::string text(command.example);
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return ".nf\n.RS 4\n" + roff(text) + "\n.RE\n.fi\n";
}

// What stands at the end of every page.
std::string ending(const std::string& name) {
  std::string pages = "loom(1)";
  for (const Related& row : related) {
    if (row.family == name) pages.append(", ").append(row.pages);
  }
  return ".SH EXIT STATUS\nThose of every command are in loom(1).\n.SH SEE ALSO\n" + roff(pages) +
         "\n";
}

std::string everyOption() {
  return ".SH OPTIONS OF EVERY COMMAND\n" + optionItems(commonOptions());
}

std::string familySections(const Family& family, std::string* examples) {
  std::string commands;
  for (const Command& command : family.commands) {
    const CommandRef ref{&family, &command};
    const std::string title = ".SS " + roff("loom " + fullName(family, command)) + "\n";
    commands += title + bold(usageLine(ref)) + ".PP\n" + description(ref);
    *examples += title + example(command);
  }
  return commands;
}

}  // namespace

bool hasPage(const Family& family) { return nameOf(family) != "help"; }

ManualPage commandPage(const CommandRef& ref) {
  const std::string name = nameOf(*ref.family);
  const std::string page =
      "loom-" + (ref.family->name.empty() ? std::string(ref.command->name) : name);
  return {page, heading(page, ref.command->summary) + ".SH SYNOPSIS\n" + bold(usageLine(ref)) +
                    ".SH DESCRIPTION\n" + description(ref) + everyOption() + ".SH EXAMPLES\n" +
                    ".SS " + roff("loom " + fullName(*ref.family, *ref.command)) + "\n" +
                    example(*ref.command) + ending(name)};
}

ManualPage familyPage(const Family& family) {
  if (family.commands.size() == 1) return commandPage({&family, family.commands.data()});
  const std::string page = "loom-" + nameOf(family);
  std::string synopsis;
  for (const Command& command : family.commands) {
    synopsis += (synopsis.empty() ? "" : ".br\n") + bold(usageLine({&family, &command}));
  }
  std::string examples;
  const std::string commands = familySections(family, &examples);
  return {page, heading(page, summaryOf(family)) + ".SH SYNOPSIS\n" + synopsis + ".SH COMMANDS\n" +
                    commands + everyOption() + ".SH EXAMPLES\n" + examples +
                    ending(nameOf(family))};
}

ManualPage overviewPage() {
  std::string list, own, examples, pages;
  for (const Family* family : families()) {
    if (!hasPage(*family)) {
      own += familySections(*family, &examples);
      continue;
    }
    const std::string name = nameOf(*family);
    list += item("loom " + name + (family->name.empty() ? "" : " ..."),
                 std::string(summaryOf(*family)) + "; see loom-" + name + "(1)");
    pages.append(pages.empty() ? "" : ", ").append("loom-" + name + "(1)");
  }
  std::string text = heading("loom", "the loomkit library from the command line") +
                     ".SH SYNOPSIS\n.B loom\n.I COMMAND\n[\\fIOPTION\\fR]...\n"
                     "[\\fIOPERAND\\fR]...\n.SH DESCRIPTION\nResults go to standard output, "
                     "everything else to standard error.\n.SH COMMANDS\n" +
                     list + own + everyOption() + ".SH EXIT STATUS\n";
  for (const ExitCodeMeaning& exit : exitCodeMeanings()) {
    text += item(std::to_string(static_cast<int>(exit.code)), exit.meaning);
  }
  text += ".SH ENVIRONMENT\n" +
          item("NO_COLOR", "When set to anything but an empty text: no colours.") +
          item("TERM", "A terminal that is dumb or has no name gets no colours and no progress.") +
          item("XDG_STATE_HOME",
               "Where loom repl keeps its history, in loom/history; by default .local/state in "
               "the home folder.");
  return {"loom", text + ".SH EXAMPLES\n" + examples + ".SH SEE ALSO\n" + roff(pages) + "\n"};
}

std::vector<ManualPage> allPages() {
  std::vector<ManualPage> pages{overviewPage()};
  for (const Family* family : families()) {
    if (hasPage(*family)) pages.push_back(familyPage(*family));
  }
  return pages;
}

}  // namespace loom
