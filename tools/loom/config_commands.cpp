// SPDX-License-Identifier: MIT
// loom config: configuration files.
#include <algorithm>
#include <optional>
#include <sstream>

#include "console.h"
#include "did_you_mean.h"
#include "families.h"
#include "file_content.h"
#include "input_file.h"
#include "json_writer.h"
#include "loomkit/config/key_value_config_file.h"

namespace loom {

namespace {

void open(GKeyValueConfigFile& file, const std::string& path) {
  requireFile(path);
  if (!file.load(path)) throw Failure(ExitCode::damaged, file.getErrMsg());
}

// "" for what stands before the first header, then the others.
std::vector<std::string> allSections(const GKeyValueConfigFile& file) {
  std::vector<std::string> sections = file.getSections();
  sections.insert(sections.begin(), "");
  return sections;
}

ExitCode list(const Invocation& call) {
  GKeyValueConfigFile file;
  open(file, call.operand("FILE"));
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const std::string& section : allSections(file)) {
    if (!json && !section.empty()) printLine("[" + section + "]");
    for (const std::string& key : file.getKeys(section)) {
      std::string value;
      file.get(section, key, &value);
      if (json) {
        json->beginObject().key("section").value(section).key("key").value(key);
        json->key("value").value(value).endObject();
      } else {
        printLine(key + " = " + value);
      }
    }
  }
  if (json) json->endArray();
  return ExitCode::done;
}

// A key that is not there: which one, and the one that may have been meant.
ExitCode complainOfKey(const GKeyValueConfigFile& file, const std::string& section,
                       const std::string& key) {
  const std::vector<std::string> sections = file.getSections();
  const bool hasSection = section.empty() || !file.getKeys(section).empty();
  complain(file.getErrMsg() +
           (hasSection ? didYouMean(key, file.getKeys(section)) : didYouMean(section, sections)));
  return ExitCode::no;
}

ExitCode get(const Invocation& call) {
  GKeyValueConfigFile file;
  open(file, call.operand("FILE"));
  std::string value;
  const std::string section = call.value("--section");
  if (!file.get(section, call.operand("KEY"), &value)) {
    return complainOfKey(file, section, call.operand("KEY"));
  }
  if (call.json()) {
    JsonWriter().value(value);
  } else {
    printLine(value);
  }
  return ExitCode::done;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return lines;
}

// What has become different between two equal ends.
class Difference {
 public:
  Difference(const std::string& before, const std::string& after)
      : old(linesOf(before)), now(linesOf(after)) {
    while (first < old.size() && first < now.size() && old[first] == now[first]) ++first;
    while (last < old.size() - first && last < now.size() - first &&
           old[old.size() - 1 - last] == now[now.size() - 1 - last]) {
      ++last;
    }
  }

  void show(bool asJson) const {
    if (asJson) return showJson();
    if (first + last == old.size() && old.size() == now.size()) return;
    printLine("line " + std::to_string(first + 1));
    for (std::size_t i = first; i < old.size() - last; ++i) printLine("-" + old[i]);
    for (std::size_t i = first; i < now.size() - last; ++i) printLine("+" + now[i]);
  }

 private:
  void showJson() const {
    JsonWriter json;
    json.beginObject().key("line").value(first + 1).key("before").beginArray();
    for (std::size_t i = first; i < old.size() - last; ++i) json.value(old[i]);
    json.endArray().key("after").beginArray();
    for (std::size_t i = first; i < now.size() - last; ++i) json.value(now[i]);
    json.endArray().endObject();
  }

  std::vector<std::string> old, now;
  std::size_t first = 0;  // the lines that are equal at the beginning
  std::size_t last = 0;   // and at the end
};

// Writes the change, or shows what it would be.
ExitCode finish(const Invocation& call, GKeyValueConfigFile& file, const std::string& before) {
  if (call.has("--dry-run")) {
    const Difference difference(before, file.getText());
    difference.show(call.json());
    return ExitCode::done;
  }
  if (file.getText() == before) return ExitCode::done;
  if (file.save()) return ExitCode::done;
  throw Failure(ExitCode::cannotWrite, file.getErrMsg());
}

// A file that is not there has no lines, when it may be made.
void openOrMake(GKeyValueConfigFile& file, const std::string& path, bool mayMake) {
  const InputFile there(path);
  if (!there.isMissing()) return open(file, path);
  if (!mayMake) {
    throw Failure(ExitCode::cannotOpen, there.getErrMsg(), "With --create, it would be made.");
  }
  std::istringstream nothing;
  file.load(path, &nothing);
}

ExitCode set(const Invocation& call) {
  GKeyValueConfigFile file;
  openOrMake(file, call.operand("FILE"), call.has("--create"));
  const std::string before = file.getText();
  if (!file.set(call.value("--section"), call.operand("KEY"), call.operand("VALUE"))) {
    throw Failure(ExitCode::usage, file.getErrMsg());
  }
  return finish(call, file, before);
}

ExitCode unset(const Invocation& call) {
  GKeyValueConfigFile file;
  open(file, call.operand("FILE"));
  const std::string before = file.getText();
  const std::string section = call.value("--section");
  if (!file.unset(section, call.operand("KEY"))) {
    return complainOfKey(file, section, call.operand("KEY"));
  }
  return finish(call, file, before);
}

// A schema is a configuration file itself: each key has its type for a value.
std::vector<GKeyValueConfigFile::Rule> rulesOf(const std::string& path) {
  GKeyValueConfigFile schema;
  open(schema, path);
  std::vector<GKeyValueConfigFile::Rule> rules;
  for (const std::string& section : allSections(schema)) {
    for (const std::string& key : schema.getKeys(section)) {
      std::string type;
      schema.get(section, key, &type);
      GKeyValueConfigFile::Rule rule{section, key, GKeyValueConfigFile::Text};
      if (type == "bool") {
        rule.type = GKeyValueConfigFile::Bool;
      } else if (type == "int") {
        rule.type = GKeyValueConfigFile::Int;
      } else if (type == "float") {
        rule.type = GKeyValueConfigFile::Double;
      } else if (type != "text") {
        throw Failure(ExitCode::damaged, path + ": " + key + ": text, bool, int or float expected");
      }
      rules.push_back(rule);
    }
  }
  return rules;
}

ExitCode check(const Invocation& call) {
  GKeyValueConfigFile file;
  open(file, call.operand("FILE"));
  std::vector<std::string> problems;
  if (call.has("--schema")) problems = file.check(rulesOf(call.value("--schema")));
  if (call.json()) {
    JsonWriter json;
    json.beginArray();
    for (const std::string& problem : problems) json.value(problem);
    json.endArray();
  } else {
    for (const std::string& problem : problems) printLine(problem);
  }
  return problems.empty() ? ExitCode::done : ExitCode::damaged;
}

constexpr Operand fileOperand = {
    .name = "FILE", .help = "A configuration file.", .completes = Completes::files};
constexpr Operand fileOperands[] = {fileOperand};
constexpr Operand keyOperands[] = {fileOperand, {.name = "KEY", .help = "A key."}};
constexpr Operand setOperands[] = {
    fileOperand, {.name = "KEY", .help = "A key."}, {.name = "VALUE", .help = "Its new value."}};
constexpr Option sectionOption = {
    .names = "-s,--section",
    .value = "NAME",
    .help = "The section of the key; without it, the lines before the first header."};
constexpr Option dryRunOption = {.names = "-n,--dry-run",
                                 .help = "Show what would change, and change nothing."};
constexpr Option getOptions[] = {sectionOption};
constexpr Option unsetOptions[] = {sectionOption, dryRunOption};
constexpr Option setOptions[] = {
    sectionOption,
    dryRunOption,
    {.names = "-c,--create", .help = "Make the file if it is not there."},
};
constexpr Option checkOptions[] = {{.names = "--schema",
                                    .value = "FILE",
                                    .help = "A configuration file in which each known key has the "
                                            "value text, bool, int or float. Sections and keys "
                                            "may be patterns, like *.",
                                    .completes = Completes::files}};
constexpr ExitCodeMeaning readExits[] = {{ExitCode::cannotOpen, "there is no such file"},
                                         {ExitCode::damaged, "a line of the file is wrong"}};
constexpr ExitCodeMeaning keyExits[] = {{ExitCode::no, "there is no such key"},
                                        {ExitCode::cannotOpen, "there is no such file"},
                                        {ExitCode::damaged, "a line of the file is wrong"}};

constexpr Command commands[] = {
    {.name = "ls",
     .summary = "list sections and keys",
     .description = "Prints every key with its value under its section.",
     .operands = fileOperands,
     .example = "$ printf 'a=1\\n[Log]\\nlevel=2 # x\\n' > app.cfg; loom config ls app.cfg\n"
                "a = 1\n[log]\nlevel = 2 # x\n",
     .exits = readExits,
     .run = list},
    {.name = "get",
     .summary = "print a value",
     .description = "Prints the value of a key; the last one where it is set more than once.",
     .options = getOptions,
     .operands = keyOperands,
     .example =
         "$ printf '[Log]\\nlevel=2\\n' > app.cfg; loom config get app.cfg level -s log\n2\n",
     .exits = keyExits,
     .run = get},
    {.name = "set",
     .summary = "change or add a value",
     .description = "Changes the line of the key, or adds one behind the section's others. All "
                    "else stays as it is, byte for byte, and the file is replaced in one step.",
     .options = setOptions,
     .operands = setOperands,
     .example = "$ printf '# mine\\nlevel = 2\\n' > app.cfg; loom config set app.cfg level 3\n"
                "$ cat app.cfg\n# mine\nlevel = 3\n",
     .exits = readExits,
     .run = set},
    {.name = "unset",
     .summary = "remove a key",
     .description = "Removes every line of the key.",
     .options = unsetOptions,
     .operands = keyOperands,
     .example = "$ printf 'a=1\\nb=2\\n' > app.cfg; loom config unset app.cfg a --dry-run\n"
                "line 1\n-a=1\n",
     .exits = keyExits,
     .run = unset},
    {.name = "check",
     .summary = "look for mistakes",
     .description = "Checks the syntax, and with a schema the keys and the types of the values.",
     .options = checkOptions,
     .operands = fileOperands,
     .example = "$ printf 'level=2\\n' > app.cfg; printf 'level=int\\n' > schema\n"
                "$ loom config check app.cfg --schema schema\n",
     .exits = readExits,
     .run = check},
};

}  // namespace

const Family configFamily = {
    .name = "config", .summary = "configuration files", .commands = commands};

}  // namespace loom
