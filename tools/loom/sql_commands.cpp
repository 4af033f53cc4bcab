// SPDX-License-Identifier: MIT
// loom sql: one SQL statement from the command line.
#include <cstdint>
#include <memory>
#include <string>

#include "db_host.h"
#include "families.h"
#include "loomkit/db/sql/sql_query.h"
#include "row_printer.h"
#include "sql_text.h"

namespace loom {

namespace {

// A result has no table: its columns are numbered.
GDbStructure numberedColumns(const GDbRecord& record) {
  GDbStructure structure;
  for (int i = 0; i < record.getNumFields(); ++i)
    structure.appendField(
        GDbField("c" + std::to_string(i + 1), record.getFieldType(i), 0, 0, false, false));
  return structure;
}

// The integers of the current row, of which a record has 32 bits only.
RowPrinter::Integers integersOf(GSqlQuery& query, int columns) {
  RowPrinter::Integers integers;
  for (int column = 0; column < columns; ++column) {
    std::int64_t value = 0;
    if (query.getInt64(column, &value) == GDbNoError) integers[column] = value;
  }
  return integers;
}

// Adds the column of the current row as a field; false for a NULL, which no field
// that is added can be. An integer is added as 0: what is printed comes from
// integersOf().
bool addColumn(GSqlQuery& query, int column, GDbRecord* record) {
  std::int64_t integer = 0;
  double number = 0;
  std::string text;
  const void* bytes = nullptr;
  unsigned size = 0;
  if (query.getInt64(column, &integer) == GDbNoError)
    record->addIntField(0);
  else if (query.getDouble(column, &number) == GDbNoError)
    record->addFloatField(number);
  else if (query.getBlob(column, &bytes, &size) == GDbNoError)
    record->addBlobField(bytes, size);
  else if (query.getText(column, &text) == GDbNoError)
    record->addStringField(text);
  else
    return false;
  return true;
}

struct RecordDelete {
  void operator()(GDbRecord* record) const { record->deleteRecord(); }
};

// A driver may refuse to cut an integer down to the 32 bits of a record. Then the
// row is read column by column, up to the one that is none. Null for a row with a
// NULL in it.
std::unique_ptr<GDbRecord, RecordDelete> wideRecord(GSqlQuery& query) {
  std::unique_ptr<GDbRecord, RecordDelete> record(new GDbRecord);
  bool null = false;
  for (int column = 0; query.isNull(column, &null) == GDbNoError; ++column)
    if (!addColumn(query, column, record.get())) return nullptr;
  return record;
}

ExitCode sql(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  if (host.sql() == nullptr)
    throw Failure(ExitCode::usage, "not an SQL database: " + host.database()->getName());
  if (hasSecondStatement(call.operand("STATEMENT")))
    throw Failure(ExitCode::usage, "one statement at a time");
  GSqlQuery query(host.sql(), call.operand("STATEMENT"));
  GDbStatus status = query.exec();
  const auto fail = [&] { return Failure(ExitCode::evaluation, query.getLastError().getText()); };
  if (status != GDbNoError) throw fail();
  printRows(call, [&](RowPrinter& printer) {
    if (!query.isSelect()) return;
    for (status = query.next(); status == GDbNoError; status = query.next()) {
      const GDbRecord* record = query.getRecord();
      std::unique_ptr<GDbRecord, RecordDelete> wide;
      if (record == nullptr) {
        const Failure refusal = fail();
        if (query.getLastError().getStatus() == GDbFieldTypeMismatch) wide = wideRecord(query);
        if (wide == nullptr) throw refusal;
        record = wide.get();
      }
      const GDbStructure structure = numberedColumns(*record);
      printer.add(GDbTypedRow(*record, structure), integersOf(query, record->getNumFields()));
    }
    if (status != GDbNoMoreRecords) throw fail();
  });
  return ExitCode::done;
}

constexpr Operand sqlOperands[] = {{.name = "LOCATOR", .help = locatorHelp},
                                   {.name = "STATEMENT", .help = "One SQL statement."}};
constexpr Option sqlOptions[] = {csvOption, tableOption};
constexpr ExitCodeMeaning sqlExits[] = {{ExitCode::cannotOpen, "the database cannot be opened"},
                                        {ExitCode::evaluation, "the statement failed"}};

constexpr Command sqlCommands[] = {{
    .name = "sql",
    .summary = "run an SQL statement",
    .description = "Runs one statement and prints its rows, columns separated by tabs. A result's "
                   "columns are called c1, c2, ... where names are printed.",
    .options = sqlOptions,
    .operands = sqlOperands,
    .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
               "$ loom db copy csv:. parts sqlite3:parts.db\n2 records\n"
               "$ loom sql sqlite3:parts.db 'SELECT SUM(c3) FROM parts;'\n2.75\n",
    .exits = sqlExits,
    .run = sql,
}};

}  // namespace

const Family sqlFamily = {.commands = sqlCommands};

}  // namespace loom
