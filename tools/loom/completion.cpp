// SPDX-License-Identifier: MIT
#include "completion.h"

#include <algorithm>

#include "command_line.h"

namespace loom {

namespace {

std::vector<std::string_view> namesOf(const Option& option) {
  std::vector<std::string_view> result;
  std::string_view names = option.names;
  for (std::size_t comma = 0; comma != std::string_view::npos; names.remove_prefix(comma + 1)) {
    comma = names.find(',');
    result.push_back(names.substr(0, comma));
    if (comma == std::string_view::npos) break;
  }
  return result;
}

std::string joined(std::string_view choices) {
  std::string result(choices);
  std::replace(result.begin(), result.end(), '|', ' ');
  return result;
}

std::string allCommandNames() {
  std::string result;
  for (const Family* family : families()) {
    if (!family->name.empty()) result.append(family->name).append(" ");
    if (!family->name.empty()) continue;
    for (const Command& command : family->commands) result.append(command.name).append(" ");
  }
  return result;
}

template <typename Use>
void forEachCommand(Use use) {
  for (const Family* family : families()) {
    for (const Command& command : family->commands) use(CommandRef{family, &command});
  }
}

template <typename Use>
void forEachOption(const Command& command, Use use) {
  for (const Option& option : command.options) use(option);
  for (const Option& option : commonOptions()) use(option);
}

// What bash is to offer for a value.
std::string bashOffer(std::string_view choices, Completes completes) {
  if (!choices.empty()) return "-W '" + joined(choices) + "'";
  switch (completes) {
    case Completes::files:
      return "-f";
    case Completes::directories:
      return "-d";
    case Completes::commands:
      return "-W '" + allCommandNames() + "'";
    case Completes::nothing:
      break;
  }
  return "-W ''";
}

std::string bashCommand(const CommandRef& ref) {
  std::string options;
  std::string values;
  forEachOption(*ref.command, [&](const Option& option) {
    std::string pattern;
    for (const std::string_view name : namesOf(option)) {
      options.append(name).append(" ");
      pattern.append(pattern.empty() ? "" : "|").append(name);
    }
    if (option.value.empty()) return;
    values += "        " + pattern + ") offer=\"" + bashOffer(option.choices, option.completes) +
              "\" ;;\n";
  });
  std::string operand = "-W ''";
  if (!ref.command->operands.empty()) {
    operand =
        bashOffer(ref.command->operands.back().choices, ref.command->operands.back().completes);
  }
  return "    '" + fullName(*ref.family, *ref.command) + "')\n      options='" + options +
         "'\n      offer=\"" + operand + "\"\n      case \"$previous\" in\n" + values +
         "      esac ;;\n";
}

// Text within single quotes of fish.
std::string fishQuoted(std::string_view text) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'' || c == '\\') result += '\\';
    result += c;
  }
  return result += '\'';
}

std::string fishOption(const std::string& condition, const Option& option) {
  std::string line = "complete -c loom -n " + condition;
  for (const std::string_view name : namesOf(option)) {
    line += name.starts_with("--") ? " -l " + std::string(name.substr(2))
                                   : " -s " + std::string(name.substr(1));
  }
  if (!option.value.empty()) line += option.completes == Completes::files ? " -r -F" : " -x";
  if (!option.choices.empty()) line += " -a '" + joined(option.choices) + "'";
  return line + " -d " + fishQuoted(option.help) + "\n";
}

std::string fishName(std::string_view condition, std::string_view name, std::string_view summary) {
  return std::string("complete -c loom -n ")
      .append(condition)
      .append(" -a ")
      .append(name)
      .append(" -d ")
      .append(fishQuoted(summary))
      .append("\n");
}

// The command's name, its options and what its last operand can be.
std::string fishCommand(const Family& family, const Command& command) {
  const std::string group(family.name);
  std::string here = "__fish_use_subcommand";
  std::string seen = "__fish_seen_subcommand_from " + std::string(command.name);
  if (!group.empty()) {
    here = "'__fish_seen_subcommand_from " + group + "; and test (count (commandline -opc)) -eq 2'";
    seen.insert(0, "__fish_seen_subcommand_from " + group + "; and ");
  }
  seen = "'" + seen + "'";
  std::string result = fishName(here, command.name, command.summary);
  forEachOption(command, [&](const Option& option) { result += fishOption(seen, option); });
  if (command.operands.empty()) return result;
  const Operand& last = command.operands.back();
  if (last.completes == Completes::files) result.append("complete -c loom -n " + seen + " -F\n");
  if (!last.choices.empty()) {
    result.append("complete -c loom -n " + seen + " -a '" + joined(last.choices) + "'\n");
  }
  return result;
}

}  // namespace

std::string bashCompletion() {
  std::string groups;
  std::string commands;
  for (const Family* family : families()) {
    if (family->name.empty()) continue;
    std::string names;
    for (const Command& command : family->commands) names.append(command.name).append(" ");
    groups += "    " + std::string(family->name) + ") members='" + names + "' ;;\n";
  }
  forEachCommand([&](const CommandRef& ref) { commands += bashCommand(ref); });
  return "# bash completion for loom; made by 'loom completion bash'\n"
         "_loom_complete() {\n"
         "  local word=\"${COMP_WORDS[COMP_CWORD]}\" previous=\"${COMP_WORDS[COMP_CWORD-1]}\"\n"
         "  local name=\"${COMP_WORDS[1]}\" members='' options='' offer=\"-W ''\" at=2\n"
         "  COMPREPLY=()\n"
         "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
         "    COMPREPLY=( $(compgen -W '" +
         allCommandNames() +
         "' -- \"$word\") )\n"
         "    return\n"
         "  fi\n"
         "  case \"$name\" in\n" +
         groups +
         "  esac\n"
         "  if [ -n \"$members\" ]; then\n"
         "    if [ \"$COMP_CWORD\" -eq 2 ]; then\n"
         "      COMPREPLY=( $(compgen -W \"$members\" -- \"$word\") )\n"
         "      return\n"
         "    fi\n"
         "    name=\"$name ${COMP_WORDS[2]}\"\n"
         "  fi\n"
         "  case \"$name\" in\n" +
         commands +
         "  esac\n"
         "  case \"$word\" in\n"
         "    -*) COMPREPLY=( $(compgen -W \"$options\" -- \"$word\") ) ;;\n"
         "    *) eval \"COMPREPLY=( \\$(compgen $offer -- \\\"\\$word\\\") )\" ;;\n"
         "  esac\n"
         "}\n"
         "complete -o filenames -F _loom_complete loom\n";
}

std::string zshCompletion() {
  return "#compdef loom\n"
         "# zsh completion for loom; made by 'loom completion zsh'\n"
         "autoload -U +X bashcompinit && bashcompinit\n" +
         bashCompletion() +
         "# Loaded by the first completion, which is then answered as well.\n"
         "[ \"$funcstack[1]\" = _loom ] && _bash_complete -o filenames -F _loom_complete\n";
}

std::string fishCompletion() {
  std::string result =
      "# fish completion for loom; made by 'loom completion fish'\n"
      "complete -c loom -f\n";
  for (const Family* family : families()) {
    if (!family->name.empty()) {
      result += fishName("__fish_use_subcommand", family->name, family->summary);
    }
    for (const Command& command : family->commands) result += fishCommand(*family, command);
  }
  return result;
}

}  // namespace loom
