// SPDX-License-Identifier: MIT
#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>

#include "console.h"
#include "did_you_mean.h"
#include "help.h"

namespace loom {

namespace {

[[noreturn]] void unknownCommand(const std::string& word, const Family* within) {
  std::vector<std::string> names;
  for (const Family* family : families()) {
    if (within != nullptr && within != family) continue;
    if (within == nullptr && !family->name.empty()) {
      names.emplace_back(family->name);
      continue;
    }
    for (const Command& command : family->commands) names.emplace_back(command.name);
  }
  const std::string place = within == nullptr ? std::string() : std::string(within->name) + ": ";
  throw Failure(ExitCode::usage,
                place + "there is no command '" + word + "'" + didYouMean(word, names));
}

const Command* commandOf(const Family& family, std::string_view name) {
  const auto found = std::find_if(family.commands.begin(), family.commands.end(),
                                  [&](const Command& command) { return command.name == name; });
  return found == family.commands.end() ? nullptr : &*found;
}

void checkChoice(std::string_view what, std::string_view choices,
                 const std::vector<std::string>& values) {
  if (choices.empty()) return;
  const std::vector<std::string_view> legal = choicesOf(choices);
  for (const std::string& value : values) {
    if (std::find(legal.begin(), legal.end(), value) != legal.end()) continue;
    std::string text = std::string(what) + ": '" + value + "' is not one of ";
    for (const std::string_view choice : legal) {
      text.append(choice == legal.front() ? "" : ", ").append(choice);
    }
    throw Failure(ExitCode::usage, text);
  }
}

// One command's options as a CLI11 parser, and the way back into an Invocation.
class OptionParser {
 public:
  explicit OptionParser(const Command& command) {
    app.set_help_flag();
    app.allow_extras();
    for (const Option& option : command.options) add(option);
    for (const Option& option : commonOptions()) {
      if (keyOf(option) != "--help") add(option);
    }
  }

  // Stores the options of `words` in `call`; returns the other words.
  std::vector<std::string> parse(std::vector<std::string> words, Invocation* call) {
    std::reverse(words.begin(), words.end());
    app.parse(words);
    for (const Known& row : known) {
      if (row.option->count() == 0) continue;
      checkChoice(row.key, row.choices, row.option->results());
      call->given.emplace(row.key, row.option->results());
    }
    return app.remaining();
  }

 private:
  struct Known {
    std::string_view key;
    std::string_view choices;
    CLI::Option* option;
  };

  void add(const Option& option) {
    if (option.value.empty()) {
      known.push_back({keyOf(option), {}, app.add_flag(std::string(option.names))});
      return;
    }
    // The callback takes the words as they are: no list notation in them.
    CLI::Option* const made =
        app.add_option(std::string(option.names), [](const CLI::results_t&) { return true; });
    made->allow_extra_args(false);
    if (option.repeatable) made->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    known.push_back({keyOf(option), option.choices, made});
  }

  CLI::App app;
  std::vector<Known> known;
};

// "-1 2 +" and "-" are operands; a letter or a second dash makes an option.
bool looksLikeOption(const std::string& word) {
  return word.size() > 1 && word[0] == '-' &&
         (word[1] == '-' || std::isalpha(static_cast<unsigned char>(word[1])) != 0);
}

[[noreturn]] void misused(const CommandRef& ref, const std::string& what) {
  const std::string name = fullName(*ref.family, *ref.command);
  throw Failure(ExitCode::usage, name + ": " + what, "Try 'loom help " + name + "'.");
}

// Gives each operand the words it needs and those to spare to the first that
// takes them.
void distribute(const CommandRef& ref, const std::vector<std::string>& words, Invocation* call) {
  const auto count = static_cast<std::ptrdiff_t>(words.size());
  std::ptrdiff_t spare = count;
  for (const Operand& operand : ref.command->operands) {
    spare -= operand.least;
    if (spare < 0) misused(ref, std::string(operand.name) + " is missing");
  }
  auto next = words.begin();
  for (const Operand& operand : ref.command->operands) {
    const std::ptrdiff_t room = operand.most == many ? spare : operand.most - operand.least;
    const std::ptrdiff_t extra = std::min(room, spare);
    spare -= extra;
    const auto end = next + operand.least + extra;
    if (next == end) continue;
    checkChoice(operand.name, operand.choices, {next, end});
    call->given.emplace(operand.name, std::vector<std::string>(next, end));
    next = end;
  }
  if (next != words.end()) misused(ref, "'" + *next + "' is one word too many");
}

// True when help is asked for among the options, wherever it stands.
bool asksForHelp(const std::vector<std::string>& words) {
  const auto end = std::find(words.begin(), words.end(), "--");
  return std::any_of(words.begin(), end,
                     [](const std::string& word) { return word == "--help" || word == "-h"; });
}

}  // namespace

CommandRef findCommand(const std::vector<std::string>& words, std::size_t* used) {
  for (const Family* family : families()) {
    if (family->name.empty()) {
      if (const Command* const command = commandOf(*family, words[0])) {
        *used = 1;
        return {family, command};
      }
    } else if (family->name == words[0]) {
      *used = 1;
      if (words.size() == 1 || words[1].starts_with('-')) return {family, nullptr};
      const Command* const command = commandOf(*family, words[1]);
      if (command == nullptr) unknownCommand(words[1], family);
      *used = 2;
      return {family, command};
    }
  }
  unknownCommand(words[0], nullptr);
}

Invocation parse(const CommandRef& ref, std::vector<std::string> words) {
  Invocation call;
  if (asksForHelp(words)) {
    call.given["--help"];
    return call;
  }
  const auto dashes = std::find(words.begin(), words.end(), "--");
  const std::vector<std::string> behind(dashes == words.end() ? dashes : dashes + 1, words.end());
  words.erase(dashes, words.end());
  std::vector<std::string> operands;
  try {
    operands = OptionParser(*ref.command).parse(std::move(words), &call);
  } catch (const CLI::ParseError& error) {
    misused(ref, error.what());
  }
  const auto unknown = std::find_if(operands.begin(), operands.end(), looksLikeOption);
  if (unknown != operands.end()) misused(ref, "there is no option '" + *unknown + "'");
  operands.insert(operands.end(), behind.begin(), behind.end());
  distribute(ref, operands, &call);
  setColors(call.value("--color", "auto"));
  return call;
}

ExitCode runCommandLine(std::vector<std::string> words) {
  if (words.empty()) {
    complainPlainly(overviewHelp());
    return ExitCode::usage;
  }
  // The options that stand in place of a command are commands themselves.
  if (words[0] == "--version" || words[0] == "-V") words[0] = "version";
  if (words[0] == "--help" || words[0] == "-h") words[0] = "help";
  if (words[0] == "--man") words[0] = "man";
  std::size_t used = 0;
  const CommandRef ref = findCommand(words, &used);
  words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(used));
  if (!ref) {
    if (asksForHelp(words)) {
      print(familyHelp(*ref.family));
      return ExitCode::done;
    }
    complainPlainly(familyHelp(*ref.family));
    return ExitCode::usage;
  }
  const Invocation call = parse(ref, std::move(words));
  if (call.has("--help")) {
    print(commandHelp(ref));
    return ExitCode::done;
  }
  return ref.command->run(call);
}

}  // namespace loom
