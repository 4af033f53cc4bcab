// SPDX-License-Identifier: MIT
#include "candidates.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>

#include "command_line.h"
#include "locator_types.h"
#include "open_expression.h"
#include "word_list.h"

namespace loom {

namespace {

namespace fs = std::filesystem;

// A word as the shell would hand it over; a quote that is not closed yet counts for
// nothing.
std::string unquoted(const std::string& word) {
  std::string result;
  char quote = '\0';
  for (std::size_t i = 0; i < word.size(); ++i) {
    const char c = word[i];
    if (quote == '\0' && (c == '\'' || c == '"')) {
      quote = c;
    } else if (c == quote) {
      quote = '\0';
    } else if (c == '\\' && quote == '\0' && i + 1 < word.size()) {
      result += word[++i];
    } else {
      result += c;
    }
  }
  return result;
}

class Finder {
 public:
  explicit Finder(std::string word) : typed(std::move(word)) {}

  void offer(const std::string& text, std::string_view help) {
    if (text.starts_with(typed)) found.push_back({text, std::string(help)});
  }

  void offerOptions(std::span<const Option> options) {
    for (const Option& option : options) offer(std::string(keyOf(option)), option.help);
  }

  void offerCommands() {
    for (const Family* family : families()) {
      if (!family->name.empty()) offer(std::string(family->name), family->summary);
      if (family->name.empty()) offerMembers(*family);
    }
  }

  void offerMembers(const Family& family) {
    for (const Command& command : family.commands) {
      offer(std::string(command.name), command.summary);
    }
  }

  // What the value of an option or an operand can be. `before` is what belongs to the
  // word but not to the value.
  void offerValue(std::string_view choices, Completes completes, const std::string& before = {}) {
    const std::string value = typed.substr(before.size());
    if (!choices.empty()) {
      for (const std::string_view choice : choicesOf(choices)) {
        offer(before + std::string(choice), "");
      }
    }
    switch (completes) {
      case Completes::nothing:
      case Completes::commands:
        break;
      case Completes::files:
      case Completes::directories:
        offerPaths(before, value, completes == Completes::directories);
        break;
      case Completes::locators:
        offerLocators(before, value);
        break;
      case Completes::words:
        for (const WordRow& row : wordList()) offer(before + std::string(row.name), row.summary);
        break;
      case Completes::expressions:
        offerExpressions(before, value);
        break;
    }
  }

  std::vector<Candidate> found;

 private:
  // The entries of a directory that go on with what is typed. Hidden ones only where
  // the dot is typed.
  void offerPaths(const std::string& before, const std::string& path, bool onlyDirectories) {
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    const bool hidden = path.substr(folder.size()).starts_with('.');
    std::string place = folder.empty() ? "." : folder;
    const char* const home = std::getenv("HOME");
    if (place.starts_with("~/") && home != nullptr) place.replace(0, 1, home);
    std::error_code error;
    std::vector<std::string> names;
    for (fs::directory_iterator at(place, error), end; !error && at != end; at.increment(error)) {
      const std::string name = at->path().filename().string();
      std::error_code ignored;
      const bool isDirectory = at->is_directory(ignored);
      if (name.starts_with('.') != hidden || (onlyDirectories && !isDirectory)) continue;
      names.push_back(name + (isDirectory ? "/" : ""));
    }
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) offer(before + folder + name, "");
  }

  void offerLocators(const std::string& before, const std::string& locator) {
    const std::size_t colon = locator.find(':');
    if (colon != std::string::npos) {
      const std::string type = locator.substr(0, colon + 1);
      return offerPaths(before + type, locator.substr(colon + 1), false);
    }
    for (const LocatorType& type : locatorTypes()) {
      offer(before + std::string(type.prefix), type.help);
    }
  }

  // The words of the language behind what stands before the last one.
  void offerExpressions(const std::string& before, const std::string& expression) {
    if (missingFrom(expression) == Missing::quote) return;
    std::size_t start = expression.size();
    while (start > 0 && isWordByte(expression[start - 1])) --start;
    const std::string others = before + expression.substr(0, start);
    for (const WordRow& row : wordList()) {
      if (isWord(row.name)) offer(others + std::string(row.name), row.summary);
    }
  }

  static bool isWordByte(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  }

  std::string typed;
};

// Goes through the words before the last one and knows what may follow them.
class Walk {
 public:
  explicit Walk(const std::vector<std::string>& all) : words(all) {}

  std::vector<Candidate> candidates() {
    if (!findCommand()) return {};
    const std::string last = words.back();
    Finder finder(last);
    if (command != nullptr) {
      complete(last, finder);
    } else if (pending != nullptr) {
      finder.offerValue(pending->choices, pending->completes);
    } else {
      if (family != nullptr) finder.offerMembers(*family);
      if (family == nullptr) finder.offerCommands();
      if (last.starts_with('-')) finder.offerOptions(commonOptions());
    }
    return finder.found;
  }

 private:
  [[nodiscard]] const Option* find(const std::string& name) const {
    const Option* const own = command != nullptr ? optionNamed(command->options, name) : nullptr;
    return own != nullptr ? own : optionNamed(commonOptions(), name);
  }

  // Passes over an option, and over its value where that is the next word.
  void passOption() {
    const Option* const option = find(words[at++]);
    if (option == nullptr || option->value.empty()) return;
    if (at + 1 == words.size()) pending = option;
    if (at + 1 < words.size()) ++at;
  }

  // Finds the command or the family that the first words name; false where there is
  // none of that name.
  bool findCommand() {
    while (at + 1 < words.size() && command == nullptr) {
      const std::string& word = words[at];
      if (word.starts_with('-')) {
        passOption();
        continue;
      }
      ++at;
      if (family != nullptr) {
        pick(*family, word);
        if (command == nullptr) return false;
        continue;
      }
      for (const Family* each : families()) {
        if (each->name.empty()) pick(*each, word);
        if (!each->name.empty() && each->name == word) family = each;
      }
      if (command == nullptr && family == nullptr) return false;
    }
    return true;
  }

  void pick(const Family& from, const std::string& name) {
    for (const Command& each : from.commands) {
      if (each.name == name) command = &each;
    }
  }

  void complete(const std::string& last, Finder& finder) {
    bool optionsEnd = false;
    std::vector<std::string> operands;
    while (at + 1 < words.size()) {
      const std::string& word = words[at];
      if (!optionsEnd && word.starts_with('-') && word.size() > 1) {
        optionsEnd = word == "--";
        passOption();
      } else {
        operands.push_back(word);
        ++at;
      }
    }
    if (pending != nullptr) return finder.offerValue(pending->choices, pending->completes);
    const std::size_t equals = last.find('=');
    if (!optionsEnd && last.starts_with("--") && equals != std::string::npos) {
      const Option* const option = find(last.substr(0, equals));
      if (option == nullptr || option->value.empty()) return;
      return finder.offerValue(option->choices, option->completes, last.substr(0, equals + 1));
    }
    if (!optionsEnd && last.starts_with('-')) {
      finder.offerOptions(command->options);
      return finder.offerOptions(commonOptionsOf(*command));
    }
    offerOperand(operands, finder);
  }

  void offerOperand(const std::vector<std::string>& before, Finder& finder) const {
    if (command->operands.empty()) return;
    std::size_t number = before.size();
    const Operand* operand = command->operands.data();
    for (const Operand& each : command->operands) {
      operand = &each;
      const std::size_t room =
          each.most == many ? before.size() + 1 : static_cast<std::size_t>(each.most);
      if (number < room) break;
      number -= room;
    }
    if (operand->completes != Completes::commands) {
      return finder.offerValue(operand->choices, operand->completes);
    }
    if (before.empty()) return finder.offerCommands();
    for (const Family* each : families()) {
      if (!each->name.empty() && each->name == before[0]) finder.offerMembers(*each);
    }
  }

  const std::vector<std::string>& words;
  std::size_t at = 0;
  const Family* family = nullptr;
  const Command* command = nullptr;
  const Option* pending = nullptr;  // whose value is being typed
};

}  // namespace

std::vector<Candidate> candidatesFor(const std::vector<std::string>& words) {
  std::vector<std::string> plain;
  for (const std::string& word : words) plain.push_back(unquoted(word));
  if (plain.empty()) plain.emplace_back();
  return Walk(plain).candidates();
}

}  // namespace loom
