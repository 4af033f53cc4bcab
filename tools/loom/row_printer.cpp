// SPDX-License-Identifier: MIT
#include "row_printer.h"

#include <algorithm>

#include "console.h"
#include "loomkit/text/string_util.h"

namespace loom {

namespace {

using Integers = RowPrinter::Integers;

std::string textOf(const GDbTypedRow& row, int field, const Integers& integers) {
  const auto integer = integers.find(field);
  return integer != integers.end() ? std::to_string(integer->second) : row.getText(field);
}

std::string csvText(const GDbTypedRow& row, int field, const Integers& integers) {
  std::string text = textOf(row, field, integers);
  if (row.getFieldType(field) != GDbFieldString) return text;
  gReplace(&text, "\"", "\"\"");
  return '"' + text + '"';
}

void jsonValue(JsonWriter* json, const GDbTypedRow& row, int field, const Integers& integers) {
  if (const auto integer = integers.find(field); integer != integers.end())
    json->value(integer->second);
  else if (row.isNull(field))
    json->null();
  else if (const auto number = row.getInt(field))
    json->value(*number);
  else if (const auto natural = row.getUInt(field))
    json->value(*natural);
  else if (const auto real = row.getFloat(field))
    json->value(*real);
  else
    json->value(row.getText(field));
}

}  // namespace

RowPrinter::RowPrinter(const Invocation& call)
    : csv(call.has("--csv")), table(call.has("--table")) {
  if (call.json() + csv + table > 1)
    throw Failure(ExitCode::usage, "choose one of --json, --csv and --table");
  if (call.json()) json.emplace().beginArray();
}

void RowPrinter::add(const GDbTypedRow& row, const Integers& integers) {
  if (json) return addJson(row, integers);
  if (table) return addToTable(row, integers);
  std::string line;
  for (int field = 0; field < row.getNumFields(); ++field) {
    if (field != 0) line += csv ? ';' : '\t';
    line += csv ? csvText(row, field, integers) : textOf(row, field, integers);
  }
  printLine(line);
}

void RowPrinter::addJson(const GDbTypedRow& row, const Integers& integers) {
  json->beginObject();
  for (int field = 0; field < row.getNumFields(); ++field) {
    json->key(row.getFieldName(field));
    jsonValue(&*json, row, field, integers);
  }
  json->endObject();
}

void RowPrinter::addToTable(const GDbTypedRow& row, const Integers& integers) {
  std::vector<std::string> names;
  std::vector<std::string> texts;
  for (int field = 0; field < row.getNumFields(); ++field) {
    names.push_back(row.getFieldName(field));
    texts.push_back(row.isNull(field) ? "NULL" : textOf(row, field, integers));
  }
  if (held.empty()) held.push_back(names);
  held.push_back(texts);
}

void RowPrinter::end() {
  if (json) json->endArray();
  std::vector<std::size_t> widths;
  for (const auto& texts : held) {
    widths.resize(std::max(widths.size(), texts.size()));
    for (std::size_t i = 0; i < texts.size(); ++i) widths[i] = std::max(widths[i], texts[i].size());
  }
  for (const auto& texts : held) {
    std::string line;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      if (i != 0) line += "  ";
      line += texts[i];
      if (i + 1 < texts.size()) line.append(widths[i] - texts[i].size(), ' ');
    }
    printLine(line);
  }
}

void RowPrinter::fail(std::string_view reason) {
  if (!json) return;
  json->beginObject().key("error").value(reason).endObject().endArray();
}

}  // namespace loom
