// SPDX-License-Identifier: MIT
#include "row_printer.h"

#include <algorithm>

#include "console.h"
#include "display_width.h"
#include "loomkit/text/string_util.h"
#include "terminal.h"
#include "visible_text.h"

namespace loom {

namespace {

// As the text format of PostgreSQL's COPY has it
// (https://www.postgresql.org/docs/current/sql-copy.html).
std::string copyText(const std::string& text) {
  if (text.find_first_of("\t\n\r\\") == std::string::npos) return text;
  std::string result;
  for (const char c : text) {
    if (c == '\t')
      result += "\\t";
    else if (c == '\n')
      result += "\\n";
    else if (c == '\r')
      result += "\\r";
    else if (c == '\\')
      result += "\\\\";
    else
      result += c;
  }
  return result;
}

std::string csvText(const Cell& cell) {
  std::string text = cellText(cell);
  if (!std::holds_alternative<std::string>(cell)) return text;
  gReplace(&text, "\"", "\"\"");
  return '"' + text + '"';
}

void jsonValue(JsonWriter* json, const Cell& cell) {
  if (isNull(cell))
    json->null();
  else if (const auto* integer = std::get_if<std::int64_t>(&cell))
    json->value(*integer);
  else if (const auto* real = std::get_if<double>(&cell))
    json->value(*real);
  else
    json->value(cellText(cell));
}

}  // namespace

RowPrinter::RowPrinter(const Invocation& call)
    : csv(call.has("--csv")), table(call.has("--table")), header(call.has("--header")) {
  if (call.json() + csv + table > 1)
    throw Failure(ExitCode::usage, "choose one of --json, --csv and --table");
  if (call.json()) json.emplace().beginArray();
}

void RowPrinter::begin(const std::vector<Column>& columns) {
  fields = columns;
  if (json || (!table && !header)) return;
  Row names;
  for (const Column& column : columns) names.emplace_back(column.name);
  add(names);
}

void RowPrinter::add(const Row& row) {
  if (json) return addJson(row);
  if (table) return addToTable(row);
  printLine(lineOf(row));
}

std::string RowPrinter::lineOf(const Row& row) const {
  std::string line;
  for (const Cell& cell : row) {
    if (&cell != row.data()) line += csv ? ';' : '\t';
    if (csv)
      line += csvText(cell);
    else
      line += isNull(cell) ? "\\N" : copyText(cellText(cell));
  }
  return line;
}

void RowPrinter::addJson(const Row& row) {
  json->beginObject();
  for (std::size_t i = 0; i < row.size(); ++i) {
    json->key(fields[i].name);
    jsonValue(&*json, row[i]);
  }
  json->endObject();
}

void RowPrinter::addToTable(const Row& row) {
  std::vector<std::string>& texts = held.emplace_back();
  for (const Cell& cell : row) texts.push_back(isNull(cell) ? "NULL" : visible(cellText(cell)));
}

void RowPrinter::finish() {
  printTable();
  held.clear();
}

void RowPrinter::changed(int rows) {
  if (json)
    json->beginObject().key("changed").value(rows).endObject();
  else
    printLine(counted(static_cast<std::uint64_t>(rows), "row changed", "rows changed"));
}

void RowPrinter::printTable() {
  std::vector<std::size_t> widths;
  for (const auto& texts : held) {
    widths.resize(std::max(widths.size(), texts.size()));
    for (std::size_t i = 0; i < texts.size(); ++i)
      widths[i] = std::max(widths[i], displayWidth(texts[i]));
  }
  const std::size_t room = terminalWidth(StandardStream::output);
  for (const auto& texts : held) {
    std::string line;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      if (i != 0) line += "  ";
      line += texts[i];
      if (i + 1 < texts.size()) line.append(widths[i] - displayWidth(texts[i]), ' ');
    }
    printLine(room == 0 ? line : cutToWidth(line, room));
  }
}

void RowPrinter::end() {
  printTable();
  if (json) json->endArray();
}

void RowPrinter::fail(std::string_view reason) {
  if (!json) return;
  json->beginObject().key("error").value(reason).endObject().endArray();
}

}  // namespace loom
