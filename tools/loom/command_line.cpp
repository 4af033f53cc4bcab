// SPDX-License-Identifier: MIT
#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <utility>

#include "console.h"
#include "did_you_mean.h"
#include "help.h"
#include "terminal.h"

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
  const std::string name(within == nullptr ? "" : within->name);
  const std::string guess = didYouMean(word, names);
  throw Failure(ExitCode::usage,
                name + (name.empty() ? "" : ": ") + "there is no command '" + word + "'" + guess,
                !guess.empty() ? "" : "Try 'loom help" + (name.empty() ? "" : " " + name) + "'.");
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
    const std::vector<std::string> names(legal.begin(), legal.end());
    throw Failure(ExitCode::usage, text + didYouMean(value, names));
  }
}

// "-1 2 +" and "-" are operands; a letter or a second dash makes an option.
bool looksLikeOption(const std::string& word) {
  return word.size() > 1 && word[0] == '-' &&
         (word[1] == '-' || std::isalpha(static_cast<unsigned char>(word[1])) != 0);
}

[[noreturn]] void misused(const CommandRef& ref, const std::string& what) {
  const std::string name = fullName(*ref.family, *ref.command);
  throw Failure(ExitCode::usage, name + ": " + what, "Try 'loom help " + name + "'.");
}

std::string withoutDashes(std::string_view option) {
  return std::string(option.substr(std::min(option.find_first_not_of('-'), option.size())));
}

// The dashes are not what makes two options alike.
std::string noSuchOption(const std::string& name, const std::vector<std::string>& names) {
  std::vector<std::string> plainNames;
  for (const std::string& each : names) {
    if (each.starts_with("--")) plainNames.push_back(withoutDashes(each));
  }
  const std::string nearest = nearestOf(withoutDashes(name), plainNames);
  return "there is no option '" + name + "'" +
         (nearest.empty() ? "" : "; did you mean '--" + nearest + "'?");
}

// One command's options as a CLI11 parser, and the way back into an Invocation.
class OptionParser {
 public:
  explicit OptionParser(const CommandRef& command) : ref(command) {
    app.set_help_flag();
    app.allow_extras();
    for (const Option& option : ref.command->options) add(option);
    for (const Option& option : commonOptionsOf(*ref.command)) {
      if (keyOf(option) != "--help") add(option);
    }
  }

  // Stores the options of `words` in `call`; returns the other words.
  std::vector<std::string> parse(std::vector<std::string> words, Invocation* call) {
    std::reverse(words.begin(), words.end());
    try {
      app.parse(words);
    } catch (const CLI::ParseError& error) {
      explain(error);
    }
    for (const Known& row : known) {
      if (row.parsed->count() == 0) continue;
      checkChoice(keyOf(*row.option), row.option->choices, row.parsed->results());
      call->given.emplace(keyOf(*row.option), row.parsed->results());
    }
    return withoutOptions(app.remaining());
  }

 private:
  struct Known {
    const Option* option;
    CLI::Option* parsed;
  };

  void add(const Option& option) {
    const std::string names(option.names);
    if (option.value.empty()) {
      known.push_back({&option, app.add_flag(names)->disable_flag_override()});
      return;
    }
    // The callback takes the words as they are: no list notation in them.
    CLI::Option* const made = app.add_option(names, [](const CLI::results_t&) { return true; });
    made->allow_extra_args(false);
    if (option.repeatable) made->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    known.push_back({&option, made});
  }

  // CLI11's messages begin with the option's long name, that of a flag without its
  // dashes. What is wrong with the option follows from what it is.
  [[noreturn]] void explain(const CLI::ParseError& error) const {
    const std::string text = withoutDashes(error.what());
    for (const Known& row : known) {
      const std::string key(keyOf(*row.option));
      const std::string plainKey = withoutDashes(key);
      if (!text.starts_with(plainKey + ":") && !text.starts_with(plainKey + " ")) continue;
      if (row.option->value.empty()) misused(ref, key + " takes no value");
      if (row.parsed->count() > 1) misused(ref, key + " is there twice");
      misused(ref, key + " needs a value, " + std::string(row.option->value));
    }
    misused(ref, error.what());
  }

  // `words`, none of which may be an option that there isn't.
  [[nodiscard]] std::vector<std::string> withoutOptions(std::vector<std::string> words) const {
    const auto unknown = std::find_if(words.begin(), words.end(), looksLikeOption);
    if (unknown == words.end()) return words;
    std::vector<std::string> names = {"--help"};
    for (const Known& row : known) names.emplace_back(keyOf(*row.option));
    misused(ref, noSuchOption(unknown->substr(0, unknown->find('=')), names));
  }

  const CommandRef& ref;
  CLI::App app;
  std::vector<Known> known;
};

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

// What stands in place of a command.
constexpr std::pair<std::string_view, std::string_view> commandOptions[] = {
    {"--version", "version"},
    {"-V", "version"},
    {"--help", "help"},
    {"-h", "help"},
    {"--man", "man"}};

// Removes the options of every command that stand at the place `at` already, where a
// command is to come, and returns them.
std::vector<std::string> takeEarlyOptions(std::vector<std::string>& words, std::size_t at) {
  std::vector<std::string> taken;
  while (words.size() > at) {
    const std::string name = words[at].substr(0, words[at].find('='));
    const Option* const option = optionNamed(commonOptions(), name);
    const bool standsForCommand = at == 0 && option != nullptr && keyOf(*option) == "--help";
    if (option == nullptr || standsForCommand) break;
    const bool takesNext = !option->value.empty() && name == words[at] && words.size() > at + 1;
    const auto begin = words.begin() + static_cast<std::ptrdiff_t>(at);
    const auto end = begin + (takesNext ? 2 : 1);
    taken.insert(taken.end(), begin, end);
    words.erase(begin, end);
  }
  return taken;
}

[[noreturn]] void unknownEarlyOption(const std::string& word) {
  const std::string name = word.substr(0, word.find('='));
  std::vector<std::string> names;
  for (const Option& option : commonOptions()) names.emplace_back(keyOf(option));
  for (const auto& row : commandOptions) names.emplace_back(row.first);
  throw Failure(ExitCode::usage, noSuchOption(name, names), "Try 'loom help'.");
}

std::vector<std::string> nameOf(const CommandRef& ref) {
  std::vector<std::string> words;
  if (!ref.family->name.empty()) words.emplace_back(ref.family->name);
  words.emplace_back(ref.command->name);
  return words;
}

// What "loom help NAME" prints; as data when --json is among the words.
ExitCode printHelp(std::vector<std::string> name, const std::vector<std::string>& words) {
  const auto options = std::find(words.begin(), words.end(), "--");
  name.insert(name.begin(), "help");
  if (std::find(words.begin(), options, "--json") != options) name.emplace_back("--json");
  return runCommandLine(name);
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
  std::vector<std::string> operands = OptionParser(ref).parse(std::move(words), &call);
  operands.insert(operands.end(), behind.begin(), behind.end());
  distribute(ref, operands, &call);
  setColors(call.value("--color", "auto"));
  return call;
}

ExitCode runCommandLine(std::vector<std::string> words) {
  std::vector<std::string> early = takeEarlyOptions(words, 0);
  if (words.empty()) {
    complainPlainly(overviewHelp(terminalWidth(StandardStream::error)));
    return ExitCode::usage;
  }
  // The options that stand in place of a command are commands themselves.
  for (const auto& [option, command] : commandOptions) {
    if (words[0] == option) words[0] = command;
  }
  if (looksLikeOption(words[0])) unknownEarlyOption(words[0]);
  std::size_t used = 0;
  for (const std::string& option : takeEarlyOptions(words, 1)) early.push_back(option);
  const CommandRef ref = findCommand(words, &used);
  words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(used));
  words.insert(words.begin(), early.begin(), early.end());
  if (!ref) {
    if (asksForHelp(words)) return printHelp({std::string(ref.family->name)}, words);
    complainPlainly(familyHelp(*ref.family, terminalWidth(StandardStream::error)));
    return ExitCode::usage;
  }
  const Invocation call = parse(ref, words);
  if (call.has("--help")) return printHelp(nameOf(ref), words);
  return ref.command->run(call);
}

}  // namespace loom
