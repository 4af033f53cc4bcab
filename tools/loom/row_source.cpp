// SPDX-License-Identifier: MIT
#include "row_source.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

#include "loomkit/db/record_set.h"
#include "loomkit/db/structure.h"
#include "visible_text.h"

namespace loom {

namespace {

constexpr std::string_view typeNames[] = {"none", "int", "uint", "float", "string", "blob"};

ExitCode exitCodeOf(GDbStatus status) {
  switch (status) {
    case GDbFieldTypeMismatch:
    case GDbFieldCountMismatch:
    case GDbInternalError:
      return ExitCode::damaged;
    case GDbSqlError:
    case GDbConstraintViolation:
    case GDbTableReadOnly:
      return ExitCode::evaluation;
    default:
      return ExitCode::cannotOpen;
  }
}

// Reads the columns of a query's current row. Nearly always a column holds what it
// held in the row before, so that is tried first: a getter that does not fit has
// to make an error of it.
class QueryRows : public RowSource {
 public:
  QueryRows(std::string itsName, const GSqlQuery& itsQuery, std::vector<Column> itsColumns)
      : RowSource(std::move(itsName), std::move(itsColumns)),
        query(itsQuery),
        expected(fields.size(), 0) {}

 protected:
  bool read(Row* row) override {
    const GDbStatus status = query.next();
    if (status == GDbNoMoreRecords || status == GDbNoResult) return false;
    if (status != GDbNoError) require(status, name(), query.getLastError());
    row->resize(fields.size());
    for (std::size_t i = 0; i < fields.size(); ++i) readColumn(i, &(*row)[i]);
    return true;
  }

 private:
  using Reader = GDbStatus (QueryRows::*)(int column, Cell* cell);

  GDbStatus readInteger(int column, Cell* cell) {
    return query.getInt64(column, &cell->emplace<std::int64_t>());
  }
  GDbStatus readReal(int column, Cell* cell) {
    return query.getDouble(column, &cell->emplace<double>());
  }
  GDbStatus readText(int column, Cell* cell) {
    // A text that is there lends its memory to the next row's.
    auto* text = std::get_if<std::string>(cell);
    return query.getWholeText(column, text != nullptr ? text : &cell->emplace<std::string>());
  }
  GDbStatus readBlob(int column, Cell* cell) {
    const void* bytes = nullptr;
    unsigned size = 0;
    const GDbStatus status = query.getBlob(column, &bytes, &size);
    cell->emplace<Blob>().bytes.assign(static_cast<const char*>(bytes), size);
    return status;
  }
  // A type that no getter knows, such as a decimal number of a server.
  GDbStatus readRecord(int column, Cell* cell) {
    const GDbRecord* record = query.getRecord();
    if (record == nullptr) return query.getLastError().getStatus();
    const GDbStructure nameless;
    *cell = cellOf(GDbTypedRow(*record, nameless), column);
    return GDbNoError;
  }

  void readColumn(std::size_t index, Cell* cell) {
    constexpr Reader readers[] = {&QueryRows::readInteger, &QueryRows::readReal,
                                  &QueryRows::readText, &QueryRows::readBlob,
                                  &QueryRows::readRecord};
    const int column = static_cast<int>(index);
    std::size_t reader = expected[index];
    const auto readWith = [&] {
      const Reader member = readers[reader];
      return (this->*member)(column, cell);
    };
    GDbStatus status = readWith();
    for (std::size_t i = 0; status == GDbFieldTypeMismatch && i < std::size(readers); ++i) {
      reader = i;
      status = readWith();
    }
    if (status == GDbColumnIsNull) {
      *cell = {};
      return;
    }
    if (status != GDbNoError) require(status, place(fields[index].name), query.getLastError());
    expected[index] = reader;
  }

  GSqlQuery query;
  std::vector<std::size_t> expected;  // the reader of each column
};

// The decimals of a column whose numbers stand in the table as texts, such as F(9,2) of
// an xBase table, and 0 of others.
int decimalsOf(const Column& column) {
  const std::string& declared = column.declared;
  const std::size_t comma = declared.find(',');
  int decimals = 0;
  if (comma != std::string::npos)
    std::from_chars(&declared[comma + 1], declared.data() + declared.size(), decimals);
  return decimals;
}

// The double that is nearest to a number as it is written. The backend's reader may miss
// that by some of the last bits, so that 1.68 would not be equal to 1.68. A text with more
// decimals than its column has is further away, and its number stays as it was read.
double asWritten(double value, int decimals) {
  constexpr double missed = 1e-14;
  const double nearest = rounded(value, decimals);
  return std::abs(nearest - value) <= missed * std::abs(value) ? nearest : value;
}

// Makes rows of records. Integers of CSV tables come as texts and those of xBase tables as
// doubles, since the backends keep 32 bits of an integer.
class RecordRows : public RowSource {
 protected:
  RecordRows(const std::string& itsName, std::vector<Column> itsColumns,
             std::vector<int> itsPositions)
      : RowSource(itsName, std::move(itsColumns)), positions(std::move(itsPositions)) {
    std::transform(fields.begin(), fields.end(), std::back_inserter(decimals), decimalsOf);
  }

  void take(const GDbRecord& record, Row* row) const {
    const GDbTypedRow typed(record, nameless);
    row->resize(fields.size());
    for (std::size_t i = 0; i < fields.size(); ++i)
      (*row)[i] = convert(cellOf(typed, positions[i]), i);
  }

 private:
  [[nodiscard]] Cell convert(Cell cell, std::size_t field) const {
    const Column& column = fields[field];
    const auto* real = std::get_if<double>(&cell);
    if (real != nullptr && column.type == GDbFieldInt) return wholeNumber(*real, column);
    if (real != nullptr && decimals[field] > 0) return asWritten(*real, decimals[field]);
    const auto* text = std::get_if<std::string>(&cell);
    if (text == nullptr || column.type == GDbFieldString) return cell;
    Cell value;
    if (readCell(*text, column.type, &value)) return value;
    throw RowFailure(ExitCode::damaged, place(column.name) + ": '" + excerpt(*text) + "' is no " +
                                            std::string(typeName(column.type)));
  }

  // A number with a fraction in a column of integers stays what it is.
  [[nodiscard]] Cell wholeNumber(double real, const Column& column) const {
    constexpr double mostExact = 9007199254740991;  // 2^53 - 1
    if (std::abs(real) > mostExact)
      throw RowFailure(ExitCode::damaged,
                       place(column.name) + ": an integer of more than 15 digits");
    if (real != std::trunc(real)) return real;
    return static_cast<std::int64_t>(real);
  }

  std::vector<int> positions;
  std::vector<int> decimals;  // of each column
  const GDbStructure nameless;
};

// Walks over the records of a table.
class TableRows : public RecordRows {
 public:
  TableRows(std::unique_ptr<GDbTable> itsTable, std::vector<Column> itsColumns,
            std::vector<int> itsPositions)
      : RecordRows(itsTable->getName(), std::move(itsColumns), std::move(itsPositions)),
        table(std::move(itsTable)) {}

 protected:
  bool read(Row* row) override {
    if (!readRecord()) return false;
    take(*one.getRecord(0), row);
    return true;
  }

 private:
  // A record that is not what it must be ends nothing: the table has moved behind it.
  bool readRecord() {
    one.clear();
    const GDbStatus status =
        std::exchange(started, true) ? table->getNextRecord(&one) : table->getFirstRecord(&one);
    if (status == GDbFieldTypeMismatch || status == GDbFieldCountMismatch)
      throw RowFailure(ExitCode::damaged, place({}) + ": " + gDbStrError(status));
    require(status, name());
    return one.getNumRecords() > 0;
  }

  std::unique_ptr<GDbTable> table;
  GDbRecordSet one;
  bool started = false;
};

// Walks over records that a lookup has found.
class FoundRows : public RecordRows {
 public:
  FoundRows(const std::string& itsName, std::unique_ptr<GDbRecordSet> itsRecords,
            std::vector<Column> itsColumns, std::vector<int> itsPositions)
      : RecordRows(itsName, std::move(itsColumns), std::move(itsPositions)),
        records(std::move(itsRecords)) {}

 protected:
  bool read(Row* row) override {
    if (next == records->getNumRecords()) return false;
    take(*records->getRecord(next++), row);
    return true;
  }

 private:
  std::unique_ptr<GDbRecordSet> records;
  unsigned next = 0;
};

}  // namespace

bool RowSource::next(Row* row) {
  ++count;
  if (read(row)) return true;
  --count;
  return false;
}

std::string RowSource::place(const std::string& column) const {
  const std::string row = title + ": row " + std::to_string(count);
  return column.empty() ? row : row + ", column " + column;
}

std::unique_ptr<RowSource> rowsOfQuery(const std::string& name, const GSqlQuery& query,
                                       std::vector<Column> columns) {
  return std::make_unique<QueryRows>(name, query, std::move(columns));
}

std::unique_ptr<RowSource> rowsOfTable(std::unique_ptr<GDbTable> table, std::vector<Column> columns,
                                       std::vector<int> positions) {
  return std::make_unique<TableRows>(std::move(table), std::move(columns), std::move(positions));
}

std::unique_ptr<RowSource> rowsOfRecords(const std::string& name,
                                         std::unique_ptr<GDbRecordSet> records,
                                         std::vector<Column> columns, std::vector<int> positions) {
  return std::make_unique<FoundRows>(name, std::move(records), std::move(columns),
                                     std::move(positions));
}

bool readCell(const std::string& text, GDbFieldType type, Cell* cell) {
  if (type == GDbFieldString) {
    *cell = text;
    return true;
  }
  std::string number = text.substr(std::min(text.size(), text.find_first_not_of(" \t")));
  number.erase(number.find_last_not_of(" \t") + 1);
  if (number.size() > 1 && number[0] == '+' && number[1] != '-') number.erase(0, 1);
  if (type == GDbFieldFloat) return readReal(number, &cell->emplace<double>());
  std::int64_t value = 0;
  if (!readInteger(number, &value) || (type == GDbFieldUInt && value < 0)) return false;
  *cell = value;
  return type == GDbFieldInt || type == GDbFieldUInt;
}

GDbStatus bindCell(GSqlQuery& query, int index, const Cell& cell) {
  if (const auto* integer = std::get_if<std::int64_t>(&cell))
    return query.bindInt64(index, *integer);
  if (const auto* real = std::get_if<double>(&cell)) return query.bindDouble(index, *real);
  if (const auto* text = std::get_if<std::string>(&cell)) {
    // A text that ends at its NUL takes a shorter way into the database.
    const bool plain = text->find('\0') == std::string::npos;
    return query.bindText(index, text->c_str(), plain ? -1 : static_cast<int>(text->size()), true);
  }
  if (const auto* blob = std::get_if<Blob>(&cell))
    return query.bindBlob(index, const_cast<char*>(blob->bytes.c_str()),
                          static_cast<unsigned>(blob->bytes.size()), true);
  return query.bindNull(index);
}

std::string_view typeName(GDbFieldType type) {
  return type >= 0 && type <= GDbFieldBlob ? typeNames[type] : typeNames[0];
}

void require(GDbStatus status, const std::string& what, const GSqlError& error) {
  if (status == GDbNoError) return;
  std::string text = what + ": " + gDbStrError(status);
  if (error.getStatus() == status && !error.getDatabaseText().empty())
    text += " (" + error.getDatabaseText() + ")";
  throw Failure(exitCodeOf(status), text);
}

void require(GDbStatus status, const std::string& what) {
  require(status, what, GSqlError(GDbNoError));
}

}  // namespace loom
