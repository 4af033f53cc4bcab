// SPDX-License-Identifier: MIT
#include "xbase_copy.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "db_host.h"
#include "loomkit/db/locator.h"
#include "loomkit/db/record_set.h"
#include "loomkit/text/string_util.h"
#include "progress_bar.h"
#include "xbase_encoding.h"

namespace loom {

namespace {

constexpr std::size_t longestName = 10;
// The format has room for more, which other programs do not read.
constexpr std::size_t widestText = 254;
constexpr std::size_t widestNumber = 20;
constexpr std::size_t mostDecimals = 15;
constexpr std::size_t widestKey = 100;

// The room that the values of a column need.
struct Room {
  std::size_t width = 1;
  std::size_t decimals = 0;  // of a float, behind the point
  std::size_t whole = 1;     // of a float, in front of it

  [[nodiscard]] std::size_t total() const { return decimals == 0 ? width : whole + 1 + decimals; }
};

// A field ends in blanks that nobody can tell from its own. False: there is no room.
bool addText(const std::string& text, Room* room) {
  room->width = std::max(room->width, text.size());
  return text.size() <= widestText && (text.empty() || text.back() != ' ');
}

bool addReal(double number, Room* room) {
  if (!std::isfinite(number)) return false;
  char digits[400];  // the smallest double has 323 zeros behind the point
  const char* end = std::to_chars(digits, std::end(digits), number, std::chars_format::fixed).ptr;
  const std::string_view text(digits, static_cast<std::size_t>(end - digits));
  const std::size_t point = std::min(text.find('.'), text.size());
  room->whole = std::max(room->whole, point);
  room->decimals =
      std::max({room->decimals, std::size_t{1}, text.size() - std::min(point + 1, text.size())});
  return room->decimals <= mostDecimals && room->total() <= widestNumber;
}

bool addValue(const Cell& cell, Room* room) {
  if (const auto* text = std::get_if<std::string>(&cell)) return addText(*text, room);
  if (const auto* real = std::get_if<double>(&cell)) return addReal(*real, room);
  if (!std::holds_alternative<std::int64_t>(cell)) return false;
  room->width = std::max(room->width, cellText(cell).size());
  return true;
}

Failure refusal(const RowSource& source, std::size_t index, const Cell& cell,
                const std::string& name) {
  Failure failure = cannotHold(source, index, cell, name);
  const auto* text = std::get_if<std::string>(&cell);
  if (text != nullptr && text->size() > widestText)
    failure.hint = "A text of an xBase table has up to " + std::to_string(widestText) +
                   " bytes; this one has " + std::to_string(text->size()) + ".";
  const auto* real = std::get_if<double>(&cell);
  if (real != nullptr && std::abs(*real) < 1e15)
    failure.hint = "--decimals N rounds numbers to N decimals.";
  return failure;
}

// The rows to be copied, with their numbers rounded if that is wanted.
class RoundedRows : public RowSource {
 public:
  explicit RoundedRows(const CopyJob& job) : RoundedRows(job.open(), job.decimals) {}

 protected:
  bool read(Row* row) override {
    if (!source->next(row)) return false;
    if (decimals < 0) return true;
    for (Cell& cell : *row)
      if (auto* const real = std::get_if<double>(&cell)) *real = rounded(*real, decimals);
    return true;
  }

 private:
  RoundedRows(std::unique_ptr<RowSource> itsSource, int itsDecimals)
      : RowSource(itsSource->name(), itsSource->columns()),
        source(std::move(itsSource)),
        decimals(itsDecimals) {}

  std::unique_ptr<RowSource> source;
  int decimals;
};

std::vector<Room> measure(RowSource& source, const std::string& name) {
  std::vector<Room> rooms(source.columns().size());
  for (Row row; source.next(&row);) {
    static_cast<void>(recordOf(source, row, name));  // what no record holds is refused
    for (std::size_t i = 0; i < row.size(); ++i)
      if (!addValue(row[i], &rooms[i])) throw refusal(source, i, row[i], name);
  }
  return rooms;
}

// The first number, or else the first text that is short enough for a key.
std::string keyColumn(const GDbStructure& structure) {
  std::string text;
  for (const GDbField& field : structure.getFields()) {
    if (field.getType() != GDbFieldString) return field.getName();
    if (text.empty() && field.getWidth() <= static_cast<int>(widestKey)) text = field.getName();
  }
  return text;
}

// The indexes of the source whose keys are short enough, under names that are. A primary
// key is an index as well: a unique one would silently hide a second record.
void addIndexes(const TableShape& shape, GDbStructure* structure,
                std::vector<std::string>* leftOut) {
  std::vector<GDbIndex> wanted = shape.indexes;
  if (!shape.primaryKey.empty())
    wanted.emplace_back("primary", gJoin(",", shape.primaryKey), false, false);
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    const GDbIndex& index = wanted[i];
    std::size_t width = 0;
    for (const std::string& column : columnsOf(index))
      width +=
          static_cast<std::size_t>(structure->getField(structure->getFieldId(column)).getWidth());
    const std::string name =
        index.getName().size() <= longestName ? index.getName() : "index" + std::to_string(i + 1);
    if (width <= widestKey)
      structure->addIndex(GDbIndex(name, index.getColumns(), false, index.isDescending()));
    else
      leftOut->push_back("index " + index.getName());
    if (index.isUnique()) leftOut->push_back("uniqueness of index " + index.getName());
  }
}

GDbStructure structureFor(const CopyJob& job, const RowSource& source,
                          const std::vector<Room>& rooms, std::vector<std::string>* leftOut) {
  GDbStructure structure;
  for (std::size_t i = 0; i < rooms.size(); ++i) {
    const Column& column = source.columns()[i];
    if (column.name.empty() || column.name.size() > longestName)
      throw Failure(ExitCode::cannotWrite, job.name + ": column " + column.name +
                                               ": a name has up to 10 characters here; name "
                                               "it anew in the source");
    structure.appendField(GDbField(column.name, column.type, static_cast<int>(rooms[i].total()),
                                   static_cast<int>(rooms[i].decimals), false, false));
  }
  addIndexes(job.shape, &structure, leftOut);
  if (!structure.getIndices().empty()) return structure;
  const std::string key = keyColumn(structure);
  if (key.empty())
    throw Failure(ExitCode::cannotWrite, job.name +
                                             ": no column is short enough for an index, "
                                             "which a table needs here");
  structure.addIndex(GDbIndex(key, key, false, false));
  return structure;
}

// Whether any text has national characters.
bool fill(const CopyJob& job, GDbTable& table) {
  constexpr unsigned portion = 1000;
  RoundedRows source(job);
  ProgressBar progress(source.name(), job.total);
  GDbRecordSet batch;
  bool national = false;
  for (Row row; source.next(&row); showRows(progress, source)) {
    national = national || std::any_of(row.begin(), row.end(), isNationalText);
    batch.addRecord(recordOf(source, row, job.name).release());
    if (batch.getNumRecords() < portion) continue;
    require(table.insertRecords(batch), job.name);
    batch.clear();
  }
  require(table.insertRecords(batch), job.name);
  return national;
}

}  // namespace

unsigned long copyToXBase(const CopyJob& job) {
  loomkit::Locator parts;
  loomkit::splitLocator(job.locator, &parts);
  if (!parts.options.empty())
    throw Failure(ExitCode::usage, job.locator + ": texts are written as UTF-8, without options");
  RoundedRows source(job);
  static_cast<void>(structureOf(source));  // a column without a type is refused
  const std::vector<Room> rooms = measure(source, job.name);
  std::vector<std::string> leftOut = job.shape.rest;
  const GDbStructure structure = structureFor(job, source, rooms, &leftOut);
  const DbHost to(job.locator);
  GDbTable* made = nullptr;
  const GDbStatus status = to.database()->createTable(job.name, &structure, &made);
  std::unique_ptr<GDbTable> table(made);
  if (status == GDbTableExists)
    throw Failure(ExitCode::cannotWrite, job.name + ": " + gDbStrError(status));
  try {
    require(status, job.name);
    if (fill(job, *table)) to.tellEncoding(job.name);
  } catch (const Failure&) {
    table.reset();
    to.database()->deleteTable(job.name);
    throw;
  }
  reportLeftOut(job.name, leftOut);
  return source.number();
}

}  // namespace loom
