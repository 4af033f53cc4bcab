// SPDX-License-Identifier: MIT
#include "command.h"

#include <charconv>

namespace loom {

namespace {

constexpr ExitCodeMeaning meanings[] = {
    {ExitCode::done, "done"},
    {ExitCode::no, "the answer is no"},
    {ExitCode::usage, "the command line is wrong"},
    {ExitCode::cannotOpen, "an input cannot be opened or read"},
    {ExitCode::damaged, "an input is damaged or not of the expected form"},
    {ExitCode::evaluation, "an expression or a query failed"},
    {ExitCode::cannotWrite, "an output cannot be written"},
    {ExitCode::internal, "internal error"},
};

constexpr Option common[] = {
    {.names = "--json", .help = "Print the results as one JSON document."},
    {.names = "--color",
     .value = "WHEN",
     .help = "Use colours: auto (on a terminal, unless NO_COLOR is set), always or never.",
     .choices = "auto|always|never"},
    {.names = "-h,--help", .help = "Print the help of this command."},
};

}  // namespace

std::span<const ExitCodeMeaning> exitCodeMeanings() { return meanings; }

std::span<const Option> commonOptions() { return common; }

std::span<const Option> commonOptionsOf(const Command& command) {
  static_assert(common[0].names == "--json");
  return commonOptions().subspan(command.printsContent ? 1 : 0);
}

std::string fullName(const Family& family, const Command& command) {
  std::string name(family.name);
  if (!name.empty()) name += ' ';
  return name.append(command.name);
}

std::string_view keyOf(const Option& option) {
  const std::size_t comma = option.names.rfind(',');
  return comma == std::string_view::npos ? option.names : option.names.substr(comma + 1);
}

const Option* optionNamed(std::span<const Option> options, std::string_view name) {
  for (const Option& option : options) {
    const std::string_view first = option.names.substr(0, option.names.find(','));
    if (first == name || keyOf(option) == name) return &option;
  }
  return nullptr;
}

std::vector<std::string_view> choicesOf(std::string_view choices) {
  std::vector<std::string_view> result;
  while (!choices.empty()) {
    const std::size_t bar = choices.find('|');
    result.push_back(choices.substr(0, bar));
    choices = bar == std::string_view::npos ? std::string_view() : choices.substr(bar + 1);
  }
  return result;
}

const std::vector<std::string>& Invocation::values(std::string_view name) const {
  static const std::vector<std::string> none;
  const auto found = given.find(name);
  return found == given.end() ? none : found->second;
}

std::string Invocation::value(std::string_view option, std::string_view fallback) const {
  const std::vector<std::string>& all = values(option);
  return all.empty() ? std::string(fallback) : all.front();
}

int Invocation::number(std::string_view option, int fallback, int least, int most) const {
  if (!has(option)) return fallback;
  const std::string text = value(option);
  int result = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
  if (error != std::errc() || end != text.data() + text.size() || result < least || result > most) {
    throw Failure(ExitCode::usage, std::string(option) + ": '" + text +
                                       "' is not a whole number from " + std::to_string(least) +
                                       " to " + std::to_string(most));
  }
  return result;
}

}  // namespace loom
