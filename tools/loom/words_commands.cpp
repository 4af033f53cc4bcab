// SPDX-License-Identifier: MIT
// loom words: what the words of the expression language do.
#include <algorithm>

#include "console.h"
#include "did_you_mean.h"
#include "families.h"
#include "json_writer.h"
#include "word_list.h"

namespace loom {

namespace {

std::string padded(std::string_view text, std::size_t width) {
  std::string result(text);
  result.resize(std::max(result.size() + 2, width), ' ');
  return result;
}

void jsonRow(JsonWriter* json, const WordRow& row) {
  json->beginObject().key("name").value(row.name).key("group").value(row.group);
  json->key("effect").value(row.effect).key("summary").value(row.summary);
  json->key("example").value(row.example).key("result").value(row.result);
  if (!row.definition.empty()) json->key("definition").value(row.definition);
  json->endObject();
}

void printList() {
  std::string_view group;
  for (const WordRow& row : wordList()) {
    if (row.group != group) {
      if (!group.empty()) print("\n");
      printLine(colored(StandardStream::output, Color::bold, row.group));
      group = row.group;
    }
    const std::string name = padded("  " + std::string(row.name), 17);
    printLine(colored(StandardStream::output, Color::cyan, name) + padded(row.effect, 28) +
              std::string(row.summary));
  }
}

void printRow(const WordRow& row) {
  printLine(colored(StandardStream::output, Color::cyan, row.name) + "  " +
            std::string(row.effect));
  printLine("  " + std::string(row.summary));
  if (!row.definition.empty()) printLine("  with --define '" + std::string(row.definition) + "'");
  printLine("  " + std::string(row.example) + "  gives  " + std::string(row.result));
}

// The rows of "$price" and "$2" are those of $name and $0.
const WordRow* rowOf(const std::string& name) {
  if (const WordRow* const row = findWord(name)) return row;
  if (name.starts_with("${")) return findWord("${name:-expr}");
  if (name.starts_with('$') && name.size() > 1) {
    return findWord(name[1] >= '0' && name[1] <= '9' ? "$0" : "$name");
  }
  return nullptr;
}

void complainUnknown(const std::string& name) {
  std::vector<std::string> names;
  for (const WordRow& row : wordList()) {
    if (isWord(row.name)) names.emplace_back(row.name);
  }
  complain("there is no word '" + name + "'" + didYouMean(name, names));
}

ExitCode words(const Invocation& call) {
  const std::vector<std::string>& names = call.operands("NAME");
  std::vector<const WordRow*> rows;
  bool allThere = true;
  for (const std::string& name : names) {
    const WordRow* const row = rowOf(name);
    if (row == nullptr) {
      complainUnknown(name);
      allThere = false;
    } else {
      rows.push_back(row);
    }
  }
  if (names.empty()) {
    for (const WordRow& row : wordList()) rows.push_back(&row);
  }
  if (call.json()) {
    JsonWriter json;
    json.beginArray();
    for (const WordRow* const row : rows) jsonRow(&json, *row);
    json.endArray();
  } else if (call.has("--names")) {
    for (const WordRow* const row : rows) printLine(row->name);
  } else if (names.empty()) {
    printList();
  } else {
    for (const WordRow* const row : rows) printRow(*row);
  }
  return allThere ? ExitCode::done : ExitCode::no;
}

constexpr Option options[] = {{.names = "--names", .help = "Print the names alone."}};
constexpr Operand operands[] = {{.name = "NAME",
                                 .help = "A word or an operator.",
                                 .least = 0,
                                 .most = many,
                                 .completes = Completes::words}};
constexpr ExitCodeMeaning exits[] = {{ExitCode::no, "there is no such word"}};

constexpr Command commands[] = {
    {.name = "words",
     .summary = "tell what the words of the expression language do",
     .description = "Prints what a word or operator does to the stack, with an example; without a "
                    "name, all of them. In a stack effect ( before -- after ) the top is on the "
                    "right.",
     .options = options,
     .operands = operands,
     .example = "$ loom words modf\nmodf  ( x -- whole fraction )\n"
                "  Takes the whole part and the fraction apart.\n  2.5 modf  gives  2 0.5\n",
     .exits = exits,
     .run = words}};

}  // namespace

const Family wordsFamily = {.commands = commands};

}  // namespace loom
