// SPDX-License-Identifier: MIT
// loom xbase: the tables of a directory as their files have them, with memos, tags
// and expressions.
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "console.h"
#include "families.h"
#include "json_writer.h"
#include "loomkit/xbase/xbase.h"
#include "path_of.h"
#include "progress_bar.h"
#include "visible_text.h"

namespace loom {

namespace {

namespace fs = std::filesystem;

constexpr int longestList = 100000;

std::string inCapitals(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// The tables of a directory, by name: the files that end in ".dbf". A file is a table by
// itself, since that is what a shell completes.
std::vector<fs::path> tablesOf(const std::string& directory) {
  std::error_code error;
  if (fs::is_regular_file(pathOf(directory), error)) return {pathOf(directory)};
  std::vector<fs::path> found;
  for (fs::directory_iterator entry(pathOf(directory), error), end; !error && entry != end;
       entry.increment(error)) {
    if (inCapitals(entry->path().extension().string()) == ".DBF") found.push_back(entry->path());
  }
  if (error)
    throw Failure(ExitCode::cannotOpen, "cannot open " + directory + ": " + error.message());
  std::sort(found.begin(), found.end());
  return found;
}

// The tables that a command line asks for: one, or all of the directory.
std::vector<fs::path> wantedTables(const Invocation& call) {
  const std::string directory = call.operand("DIR");
  std::vector<fs::path> tables = tablesOf(directory);
  if (tables.empty()) throw Failure(ExitCode::cannotOpen, "there is no table in " + directory);
  if (call.operands("TABLE").empty()) return tables;
  const std::string wanted = inCapitals(call.operand("TABLE"));
  std::erase_if(tables, [&](const fs::path& path) {
    return inCapitals(path.stem().string()) != wanted &&
           inCapitals(path.filename().string()) != wanted;
  });
  if (tables.empty())
    throw Failure(ExitCode::cannotOpen,
                  "there is no table " + call.operand("TABLE") + " in " + directory);
  return tables;
}

std::string nameOf(const fs::path& path) { return path.stem().string(); }

void requireOpen(GXBaseTable& table, const fs::path& path, bool readOnly) {
  if (!table.open(path.string(), readOnly))
    throw Failure(ExitCode::damaged, path.generic_string() + ": " + table.getErrMsg());
}

std::string describe(const GXBaseTable::Field& field) {
  std::string text = field.name + " " + field.type + "(" + std::to_string(field.width);
  if (field.decimals > 0) text += "," + std::to_string(field.decimals);
  return text + ")";
}

std::string describe(const GXBaseTable::Tag& tag) {
  std::string text = tag.name + " on " + tag.expression;
  if (!tag.filter.empty()) text += " for " + tag.filter;
  if (tag.unique) text += ", unique";
  if (tag.descending) text += ", descending";
  return text;
}

void printInfo(GXBaseTable& table, const std::string& name, bool tagsKnown) {
  const GXBaseTable::Header header = table.getHeader();
  printLine(visible(name) + ": " + counted(header.recordCount, "record", "records") + " of " +
            std::to_string(header.recordLength) + " bytes, version " +
            std::to_string(header.version));
  if (header.memoBlockSize > 0)
    printLine("  memos in blocks of " + std::to_string(header.memoBlockSize) + " bytes");
  for (const GXBaseTable::Field& field : table.getFields())
    printLine("  field " + visible(describe(field)));
  for (const GXBaseTable::Tag& tag : table.getTags()) printLine("  tag " + visible(describe(tag)));
  if (!tagsKnown) printLine("  the index cannot be used: " + visible(table.getErrMsg()));
}

void writeInfo(JsonWriter& json, GXBaseTable& table, const std::string& name, bool tagsKnown) {
  const GXBaseTable::Header header = table.getHeader();
  json.beginObject().key("table").value(name).key("version").value(header.version);
  json.key("records").value(header.recordCount).key("headerLength").value(header.headerLength);
  json.key("recordLength").value(header.recordLength);
  json.key("memoBlockSize").value(header.memoBlockSize).key("codePage").value(header.codePage);
  json.key("productionIndex").value(header.hasProductionIndex).key("fields").beginArray();
  for (const GXBaseTable::Field& field : table.getFields()) {
    json.beginObject().key("name").value(field.name).key("type").value(std::string(1, field.type));
    json.key("width").value(field.width).key("decimals").value(field.decimals).endObject();
  }
  json.endArray().key("indexUsable").value(tagsKnown).key("tags").beginArray();
  for (const GXBaseTable::Tag& tag : table.getTags()) {
    json.beginObject().key("name").value(tag.name).key("expression").value(tag.expression);
    json.key("filter").value(tag.filter).key("unique").value(tag.unique);
    json.key("descending").value(tag.descending).endObject();
  }
  json.endArray().endObject();
}

ExitCode info(const Invocation& call) {
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  ExitCode code = ExitCode::done;
  for (const fs::path& path : wantedTables(call)) {
    GXBaseTable table;
    if (!table.open(path.string(), true)) {
      complain(path.generic_string() + ": " + table.getErrMsg());
      code = ExitCode::damaged;
      continue;
    }
    const bool tagsKnown = table.openIndexes();
    if (!tagsKnown) code = ExitCode::damaged;
    json ? writeInfo(*json, table, nameOf(path), tagsKnown)
         : printInfo(table, nameOf(path), tagsKnown);
  }
  if (json) json->endArray();
  return code;
}

// Puts into words, or JSON, what a check has found in a table.
void report(std::optional<JsonWriter>& json, const std::string& name,
            const std::vector<GXBaseTable::Finding>& findings) {
  for (const GXBaseTable::Finding& finding : findings) {
    if (json) {
      json->beginObject().key("table").value(name).key("record").value(finding.record);
      json->key("where").value(finding.where).key("what").value(finding.what).endObject();
      continue;
    }
    std::string line = name;
    if (finding.record > 0) line += ", record " + std::to_string(finding.record);
    if (!finding.where.empty()) line += ", " + finding.where;
    printLine(visible(line + ": " + finding.what));
  }
}

ExitCode check(const Invocation& call) {
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  const int limit = call.number("--limit", 100, 1, longestList);
  ExitCode code = ExitCode::done;
  for (const fs::path& path : wantedTables(call)) {
    GXBaseTable table;
    std::vector<GXBaseTable::Finding> findings;
    bool whole = table.open(path.string(), true);
    if (whole && !table.openIndexes())
      findings.push_back({0, "the index", "it cannot be used: " + table.getErrMsg()});
    if (whole) {
      ProgressBar bar(nameOf(path), table.getHeader().recordCount);
      whole = table.check(&findings, static_cast<std::size_t>(limit), [&](unsigned done, unsigned) {
        bar.show(done);
        return true;
      });
    }
    if (!whole) findings.push_back({0, "", table.getErrMsg()});
    report(json, nameOf(path), findings);
    if (!findings.empty()) code = ExitCode::damaged;
    if (findings.empty() && !json) printLine(visible(nameOf(path)) + ": whole");
  }
  if (json) json->endArray();
  return code;
}

// Does something to each table that is asked for, and says what became of it.
template <class Work>
ExitCode change(const Invocation& call, const char* done, Work work) {
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  ExitCode code = ExitCode::done;
  for (const fs::path& path : wantedTables(call)) {
    GXBaseTable table;
    ProgressBar bar(nameOf(path), 0);
    table.setProgress([&](std::uint64_t did, std::uint64_t all) { bar.show(did, all); });
    try {
      if (!table.open(path.string(), false) || !work(table) || !table.close())
        throw Failure(ExitCode::damaged, table.getErrMsg());
    } catch (const Failure& failure) {
      complain(path.generic_string() + ": " + failure.what());
      code = failure.code;
      continue;
    }
    if (json) {
      json->beginObject().key("table").value(nameOf(path)).key("done").value(done).endObject();
    } else {
      printLine(visible(nameOf(path)) + ": " + done);
    }
  }
  if (json) json->endArray();
  return code;
}

ExitCode pack(const Invocation& call) {
  return change(call, "packed",
                [](GXBaseTable& table) { return table.openIndexes() && table.pack(); });
}

// The tags that the options --tag add.
std::vector<GXBaseTable::Tag> newTags(const Invocation& call) {
  std::vector<GXBaseTable::Tag> tags;
  for (const std::string& text : call.values("--tag")) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
      throw Failure(ExitCode::usage, "--tag: not NAME=EXPR: " + text);
    tags.push_back({text.substr(0, equals), text.substr(equals + 1), "", false, false});
  }
  return tags;
}

// Compiles an expression, or tells what is wrong with it and where.
void compile(GXBaseTable& table, const std::string& source, GXBaseExpression* expression) {
  if (expression->parse(&table, source)) return;
  throw Failure(ExitCode::evaluation, expression->getErrMsg() + " at byte " +
                                          std::to_string(expression->getErrorPosition() + 1) +
                                          " of " + source);
}

ExitCode reindex(const Invocation& call) {
  const std::vector<GXBaseTable::Tag> added = newTags(call);
  return change(call, "indexed", [&](GXBaseTable& table) {
    if (added.empty()) return table.reindex();
    for (const GXBaseTable::Tag& tag : added) {
      GXBaseExpression expression;
      compile(table, tag.expression, &expression);
    }
    return table.openIndexes() && table.addTags(added);
  });
}

ExitCode expr(const Invocation& call) {
  GXBaseTable table;
  requireOpen(table, wantedTables(call).front(), true);
  GXBaseExpression expression;
  compile(table, call.operand("EXPR"), &expression);
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (unsigned record = 1; table.go(record); ++record) {
    if (table.isDeleted() && !call.has("--deleted")) continue;
    std::string value;
    if (!expression.evaluate(&value)) {
      complain("record " + std::to_string(record) + ": " + expression.getErrMsg());
      return ExitCode::evaluation;
    }
    if (json) {
      json->beginObject().key("record").value(record).key("value").value(value).endObject();
    } else {
      printLine(std::to_string(record) + "\t" + visible(value));
    }
  }
  if (json) json->endArray();
  return ExitCode::done;
}

ExitCode memo(const Invocation& call) {
  GXBaseTable table;
  requireOpen(table, wantedTables(call).front(), true);
  const std::string name = call.operand("FIELD");
  const int field = table.getFieldId(name);
  if (field < 0 || table.getFields()[static_cast<std::size_t>(field)].type != 'M') {
    complain("there is no memo field " + name);
    return ExitCode::no;
  }
  const auto record = static_cast<unsigned>(call.number("--record", 1, 1, 2147483647));
  if (!table.go(record)) {
    complain("there is no record " + std::to_string(record));
    return ExitCode::no;
  }
  std::string text;
  if (!table.getMemo(field, &text)) {
    complain("record " + std::to_string(record) + ": " + table.getErrMsg());
    return ExitCode::damaged;
  }
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("record").value(record).key("memo").value(text).endObject();
  } else {
    print(text);
  }
  return ExitCode::done;
}

constexpr Operand directoryOperand = {.name = "DIR",
                                      .help = "The directory of the tables, or the file of one.",
                                      .completes = Completes::files};
constexpr Operand oneTable = {.name = "TABLE", .help = "The table's name, in any letter case."};
constexpr Operand anyTable = {
    .name = "TABLE", .help = "The table's name, in any letter case; all without one.", .least = 0};
constexpr Operand tableOperands[] = {directoryOperand, anyTable};
constexpr Operand exprOperands[] = {
    directoryOperand, oneTable, {.name = "EXPR", .help = "An expression of the dBASE family."}};
constexpr Operand memoOperands[] = {
    directoryOperand, oneTable, {.name = "FIELD", .help = "A memo field."}};
constexpr Option checkOptions[] = {
    {.names = "--limit", .value = "N", .help = "How many faults of a table to list; 100 without."}};
constexpr Option reindexOptions[] = {{.names = "--tag",
                                      .value = "NAME=EXPR",
                                      .help = "Add a tag on an expression to those that there are.",
                                      .repeatable = true}};
constexpr Option exprOptions[] = {
    {.names = "--deleted", .help = "Take the records that are marked deleted as well."}};
constexpr Option memoOptions[] = {
    {.names = "--record", .value = "N", .help = "The record's number; 1 without."}};

constexpr ExitCodeMeaning tableExits[] = {
    {ExitCode::cannotOpen, "there is no such directory or table"},
    {ExitCode::damaged, "a table, its memos or its index are damaged"}};
constexpr ExitCodeMeaning reindexExits[] = {
    tableExits[0], tableExits[1], {ExitCode::evaluation, "a tag's expression is wrong"}};
constexpr ExitCodeMeaning exprExits[] = {
    {ExitCode::cannotOpen, "there is no such directory or table"},
    {ExitCode::damaged, "the table is damaged"},
    {ExitCode::evaluation, "the expression is wrong"}};
constexpr ExitCodeMeaning memoExits[] = {
    {ExitCode::no, "there is no such field or record"},
    {ExitCode::cannotOpen, "there is no such directory or table"},
    {ExitCode::damaged, "the table or the memo is damaged"}};

// A table of the field NAME C(4) with two records, as any program may write it.
#define LOOM_EXAMPLE_TABLE                                                                 \
  "$ printf '\\003\\137\\007\\032\\002\\000\\000\\000\\101\\000\\005\\000' > parts.dbf\n"  \
  "$ head -c 20 /dev/zero >> parts.dbf; printf 'NAME' >> parts.dbf\n"                      \
  "$ printf '\\000\\000\\000\\000\\000\\000\\000C' >> parts.dbf\n"                         \
  "$ printf '\\000\\000\\000\\000\\004' >> parts.dbf; head -c 15 /dev/zero >> parts.dbf\n" \
  "$ printf '\\r Bolt*Nut \\032' >> parts.dbf\n"

constexpr Command commands[] = {
    {.name = "info",
     .summary = "tell what tables hold",
     .description = "Prints the header, the fields and the tags of a table, or of all tables of a "
                    "directory.",
     .operands = tableOperands,
     .example = LOOM_EXAMPLE_TABLE "$ loom xbase info . parts\n"
                                   "parts: 2 records of 5 bytes, version 3\n  field NAME C(4)\n",
     .exits = tableExits,
     .run = info},
    {.name = "check",
     .summary = "look for damage in tables, memos and tags",
     .description = "Reads every record, follows every memo, and compares each tag with the "
                    "records. Prints what is wrong and where, a line each.",
     .options = checkOptions,
     .operands = tableOperands,
     .example = LOOM_EXAMPLE_TABLE "$ loom xbase check .\nparts: whole\n",
     .exits = tableExits,
     .run = check},
    {.name = "pack",
     .summary = "remove the records that are marked deleted",
     .description = "Writes the table anew without the records that are marked deleted, and builds "
                    "its tags anew. A table is replaced in one step.",
     .operands = tableOperands,
     .example = LOOM_EXAMPLE_TABLE
     "$ loom xbase pack .\nparts: packed\n"
     "$ loom xbase info .\nparts: 1 record of 5 bytes, version 3\n  field NAME C(4)\n",
     .exits = tableExits,
     .run = pack},
    {.name = "reindex",
     .summary = "build the tags of tables anew",
     .description = "Builds all tags of a table, or of all tables of a directory, anew from the "
                    "records.",
     .options = reindexOptions,
     .operands = tableOperands,
     .example = LOOM_EXAMPLE_TABLE "$ loom xbase reindex --tag 'NAME=UPPER(NAME)' . parts\n"
                                   "parts: indexed\n",
     .exits = reindexExits,
     .run = reindex},
    {.name = "expr",
     .summary = "evaluate an expression against records",
     .description = "Prints the number of each record and the expression's value. What is wrong "
                    "with an expression is told with the place in it.",
     .options = exprOptions,
     .operands = exprOperands,
     .example =
         LOOM_EXAMPLE_TABLE "$ loom xbase expr --deleted . parts 'LEFT(NAME,3)'\n1\tBol\n2\tNut\n",
     .exits = exprExits,
     .run = expr},
    {.name = "memo",
     .summary = "print a memo",
     .description = "Prints the text of a memo field of a record, as it stands in the memo file.",
     .options = memoOptions,
     .operands = memoOperands,
     .example = LOOM_EXAMPLE_TABLE "$ loom xbase memo . parts NAME || echo none\n"
                                   "loom: there is no memo field NAME\nnone\n",
     .exits = memoExits,
     .run = memo},
};

#undef LOOM_EXAMPLE_TABLE

}  // namespace

const Family xbaseFamily = {
    .name = "xbase", .summary = "xBase tables, memos and indexes", .commands = commands};

}  // namespace loom
