// SPDX-License-Identifier: MIT
// loom help, version, man, completion: loom about itself.
#include <filesystem>
#include <optional>
#include <ostream>
#include <system_error>

#include "candidates.h"
#include "command_line.h"
#include "completion.h"
#include "console.h"
#include "families.h"
#include "file_content.h"
#include "help.h"
#include "json_writer.h"
#include "loomkit/version.h"
#include "manual.h"

namespace loom {

namespace {

void jsonText(std::string_view key, std::string_view text) {
  JsonWriter().beginObject().key(key).value(text).endObject();
}

// A command's row of the table, for programs that wrap loom.
void jsonCommand(JsonWriter* json, const CommandRef& ref) {
  const Command& command = *ref.command;
  json->beginObject().key("command").value(fullName(*ref.family, command));
  json->key("summary").value(command.summary).key("usage").value(usageLine(ref));
  json->key("description").value(command.description).key("operands").beginArray();
  for (const Operand& operand : command.operands) {
    json->beginObject().key("name").value(operand.name).key("help").value(operand.help);
    json->key("least").value(operand.least).key("most");
    if (operand.most == many) {
      json->null();
    } else {
      json->value(operand.most);
    }
    json->endObject();
  }
  json->endArray().key("options").beginArray();
  for (const Option& option : command.options) {
    json->beginObject().key("names").value(option.names).key("value").value(option.value);
    json->key("help").value(option.help).endObject();
  }
  json->endArray().key("example").value(command.example).key("exits").beginObject();
  for (const ExitCodeMeaning& exit : exitCodesOf(command)) {
    json->key(std::to_string(static_cast<int>(exit.code))).value(exit.meaning);
  }
  json->endObject().endObject();
}

std::vector<CommandRef> commandsOf(const Family& family) {
  std::vector<CommandRef> result;
  for (const Command& command : family.commands) result.push_back({&family, &command});
  return result;
}

// The commands that the words name: one, a family's, or all of them.
std::vector<CommandRef> namedCommands(const std::vector<std::string>& words) {
  std::vector<CommandRef> result;
  if (words.empty()) {
    for (const Family* family : families()) {
      for (const CommandRef& ref : commandsOf(*family)) result.push_back(ref);
    }
    return result;
  }
  std::size_t used = 0;
  const CommandRef ref = findCommand(words, &used);
  if (used != words.size()) {
    throw Failure(ExitCode::usage, "'" + words[used] + "' is not part of a command's name");
  }
  return ref ? std::vector<CommandRef>{ref} : commandsOf(*ref.family);
}

ExitCode help(const Invocation& call) {
  const std::vector<std::string>& words = call.operands("COMMAND");
  const std::vector<CommandRef> commands = namedCommands(words);
  const std::size_t columns = terminalWidth(StandardStream::output);
  if (call.json()) {
    JsonWriter json;
    json.beginArray();
    for (const CommandRef& ref : commands) jsonCommand(&json, ref);
    json.endArray();
  } else if (words.empty()) {
    print(overviewHelp(columns));
  } else if (words.size() == 1 && words[0] == commands[0].family->name) {
    print(familyHelp(*commands[0].family, columns));
  } else {
    print(commandHelp(commands[0], columns));
  }
  return ExitCode::done;
}

ExitCode version(const Invocation& call) {
  if (call.json()) {
    jsonText("version", LOOMKIT_VERSION);
  } else {
    printLine("loom " LOOMKIT_VERSION);
  }
  return ExitCode::done;
}

// The page that the words name, as "loom help" takes them: of a family by its name or,
// where it has none, by that of its first command.
ManualPage pageOf(const std::vector<std::string>& words) {
  if (words.empty()) return overviewPage();
  const CommandRef first = namedCommands(words)[0];
  const bool isFirst = first.command == first.family->commands.data() && hasPage(*first.family);
  const bool whole = words.size() == 1 && (isFirst || words[0] == first.family->name);
  return whole ? familyPage(*first.family) : commandPage(first);
}

ExitCode writePages(const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  for (const ManualPage& page : allPages()) {
    const ExitCode code = writeFile(folder + "/" + page.name + ".1", true, [&](std::ostream& out) {
      return static_cast<bool>(out << page.text);
    });
    if (code != ExitCode::done) return code;
  }
  return ExitCode::done;
}

ExitCode man(const Invocation& call) {
  if (call.has("--directory")) return writePages(call.value("--directory"));
  const std::string page = pageOf(call.operands("COMMAND")).text;
  if (call.json()) {
    jsonText("manual", page);
  } else {
    print(page);
  }
  return ExitCode::done;
}

ExitCode completion(const Invocation& call) {
  const std::string shell = call.operand("SHELL");
  const std::string_view script = shell == "bash"  ? bashCompletion()
                                  : shell == "zsh" ? zshCompletion()
                                                   : fishCompletion();
  if (call.json()) {
    jsonText(shell, script);
  } else {
    print(script);
  }
  return ExitCode::done;
}

ExitCode complete(const Invocation& call) {
  const std::vector<Candidate> found = candidatesFor(call.operands("WORD"));
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const Candidate& candidate : found) {
    if (json) {
      json->beginObject().key("text").value(candidate.text);
      json->key("help").value(candidate.help).endObject();
    } else {
      printLine(candidate.text + (candidate.help.empty() ? "" : "\t" + candidate.help));
    }
  }
  if (json) json->endArray();
  return ExitCode::done;
}

constexpr Operand wordOperand[] = {
    {.name = "WORD",
     .help = "The words behind loom as they are typed; the last one is to be completed.",
     .least = 0,
     .most = many}};
constexpr Operand commandOperand[] = {{.name = "COMMAND",
                                       .help = "The words of a command, such as text match.",
                                       .least = 0,
                                       .most = 2,
                                       .completes = Completes::commands}};
constexpr Operand shellOperand[] = {
    {.name = "SHELL", .help = "bash, zsh or fish.", .choices = "bash|zsh|fish"}};

constexpr Option manOptions[] = {{.names = "-d,--directory",
                                  .value = "DIR",
                                  .help = "Write all pages as files into DIR instead.",
                                  .completes = Completes::directories}};

constexpr Command commands[] = {
    {.name = "help",
     .summary = "tell what a command does",
     .description = "Prints what a command does, takes and returns, with an example; without a "
                    "name, the list of commands. --json gives the same as data.",
     .operands = commandOperand,
     .example = "$ loom help text basename | head -1\n"
                "loom text basename - print the last component of paths\n",
     .run = help},
    {.name = "version",
     .summary = "print the version",
     .description = "Prints the version of loom and of the library it was built with. "
                    "'loom --version' is the same.",
     .example = "$ loom version\nloom " LOOMKIT_VERSION "\n",
     .run = version},
    {.name = "man",
     .summary = "print a manual page",
     .description = "Prints the manual page of loom, of a family of commands or of one command, "
                    "as roff source; 'loom --man' is the same. To read it: loom man zip | man -l "
                    "-\n\nWhere loom is installed, 'man loom' and 'man loom-zip' show them.",
     .options = manOptions,
     .operands = commandOperand,
     .example = "$ loom man text match | grep 'SS'\n.SS loom text match\n",
     .run = man},
    {.name = "completion",
     .summary = "print a script that completes loom's commands in a shell",
     .description = "Prints the completion script of a shell. For bash, put this into ~/.bashrc:\n"
                    "source <(loom completion bash)\nFor zsh, behind compinit in ~/.zshrc:\n"
                    "source <(loom completion zsh)\nFor fish, in ~/.config/fish/config.fish:\n"
                    "loom completion fish | source",
     .operands = shellOperand,
     .example = "$ loom completion bash | tail -1\ncomplete -F _loom_complete loom\n",
     .run = completion},
    {.name = "complete",
     .summary = "tell how a command line could go on",
     .description = "Prints what the last of the words could become, each with a tabulator and its "
                    "explanation where it has one. This is what the completion scripts ask. "
                    "Write -- before the words.",
     .operands = wordOperand,
     .example = "$ loom complete -- zip te\ntest\tcheck an archive\n"
                "$ loom complete -- eval '4 sq'\n4 sqrt\tSquare root; x not below 0.\n",
     .run = complete},
};

}  // namespace

const Family aboutFamily = {.commands = commands};

}  // namespace loom
