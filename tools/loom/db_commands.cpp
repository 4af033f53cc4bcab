// SPDX-License-Identifier: MIT
// loom db and loom sql: databases of every type from the command line.
#include <charconv>
#include <cstdint>
#include <optional>

#include "console.h"
#include "db_host.h"
#include "families.h"
#include "json_writer.h"
#include "loomkit/db/sql/sql_query.h"
#include "loomkit/db/table_scan.h"
#include "loomkit/rpn/eval.h"
#include "loomkit/rpn/map_param_set.h"
#include "progress_bar.h"
#include "row_printer.h"
#include "sql_text.h"

namespace loom {

namespace {

// The records that --where lets through: an expression over the columns.
class Filter {
 public:
  explicit Filter(const Invocation& call) : expression(call.value("--where")) {
    engine.setParamSet(params);
  }
  Filter(const Filter&) = delete;
  Filter& operator=(const Filter&) = delete;
  ~Filter() { params->decRef(); }

  bool admits(const GDbTypedRow& row) {
    if (expression.empty()) return true;
    params->clear();
    for (int field = 0; field < row.getNumFields(); ++field) setColumn(row, field);
    bool result = false;
    if (!engine.evalBool(expression.c_str(), &result))
      throw Failure(ExitCode::evaluation, "--where failed: " + expression);
    return result;
  }

 private:
  // A NULL is a void value.
  void setColumn(const GDbTypedRow& row, int field) {
    const std::string name = row.getFieldName(field);
    if (const auto number = row.getNumber(field))
      params->set(name, *number);
    else if (row.isNull(field))
      params->set(name, GRpnValue());
    else
      params->set(name, row.getText(field));
  }

  std::string expression;
  GRpnEval engine;
  GRpnMapParamSet* params = new GRpnMapParamSet;
};

std::unique_ptr<GDbTable> openTable(const DbHost& host, const Invocation& call) {
  return host.table(call.operand("TABLE"), call.value("--columns"));
}

// The same for its values: none is to come out wrong.
std::unique_ptr<GDbTable> openForReading(const DbHost& host, const Invocation& call) {
  std::unique_ptr<GDbTable> table = openTable(host, call);
  if (!host.hasLargeIntegers(table.get())) return table;
  throw Failure(ExitCode::damaged,
                table->getName() + " holds integers beyond 32 bits; loom sql can read them");
}

// Calls `use` with each record that --where admits until it gives false.
template <typename Use>
void forEachRow(const Invocation& call, Use use) {
  const DbHost host(call.operand("LOCATOR"));
  const std::unique_ptr<GDbTable> table = openForReading(host, call);
  Filter filter(call);
  GDbTableScan scan(table.get());
  for (const GDbTypedRow& row : scan)
    if (filter.admits(row) && !use(row)) return;
  require(scan.getStatus(), table->getName());
}

ExitCode info(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  const std::vector<std::string> tables = host.tables();
  std::string driver;
  if (const GSqlDatabase* sql = host.sql()) {
    const unsigned version = sql->getDriverVersion();
    driver = std::string(sql->getDriverName()) + " " + std::to_string(version >> 20) + "." +
             std::to_string(version >> 10 & 1023) + "." + std::to_string(version & 1023);
  }
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("type").value(host.type()).key("driver");
    driver.empty() ? json.null() : json.value(driver);
    json.key("transactions").value(host.database()->getTransactionHandler() != nullptr);
    json.key("tables").value(tables.size()).endObject();
    return ExitCode::done;
  }
  printLine("type          " + host.type());
  if (!driver.empty()) printLine("driver        " + driver);
  const bool transactions = host.database()->getTransactionHandler() != nullptr;
  printLine(std::string("transactions  ") + (transactions ? "yes" : "no"));
  printLine("tables        " + std::to_string(tables.size()));
  return ExitCode::done;
}

ExitCode tables(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const std::string& name : host.tables()) {
    if (json)
      json->value(name);
    else
      printLine(name);
  }
  if (json) json->endArray();
  return ExitCode::done;
}

ExitCode schema(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  const std::unique_ptr<GDbTable> table = openTable(host, call);
  const std::unique_ptr<GDbStructure> structure = structureOf(table.get());
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const GDbField& field : structure->getFields()) {
    const std::string_view type = typeName(field.getType());
    if (json)
      json->beginObject().key("name").value(field.getName()).key("type").value(type).endObject();
    else
      printLine(field.getName() + ":" + std::string(type));
  }
  if (json) json->endArray();
  return ExitCode::done;
}

ExitCode scan(const Invocation& call) {
  RowPrinter printer(call);
  forEachRow(call, [&](const GDbTypedRow& row) {
    printer.add(row);
    return true;
  });
  printer.end();
  return ExitCode::done;
}

ExitCode head(const Invocation& call) {
  int left = call.number("--lines", 10, 0, 1000000000);
  RowPrinter printer(call);
  if (left > 0)
    forEachRow(call, [&](const GDbTypedRow& row) {
      printer.add(row);
      return --left > 0;
    });
  printer.end();
  return ExitCode::done;
}

ExitCode count(const Invocation& call) {
  unsigned long rows = 0;
  forEachRow(call, [&](const GDbTypedRow&) { return ++rows > 0; });
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("count").value(rows).endObject();
  } else {
    printLine(std::to_string(rows));
  }
  return ExitCode::done;
}

template <typename Number>
Number numberOf(std::string_view value, const std::string& text) {
  Number number{};
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  if (error == std::errc() && end == value.data() + value.size()) return number;
  throw Failure(ExitCode::usage, "not a value of the column's type: " + text);
}

// The key of "COLUMN=VALUE", its value read as the column's type.
GDbKey keyOf(const std::string& text, const GDbStructure& structure, const std::string& value) {
  const int field = structure.getFieldId(text.substr(0, text.find('=')));
  if (field < 0) throw Failure(ExitCode::usage, "no such column: " + text);
  switch (structure.getField(field).getType()) {
    case GDbFieldInt:
      return {field, numberOf<int>(value, text)};
    case GDbFieldUInt:
      return {field, numberOf<unsigned>(value, text)};
    case GDbFieldFloat:
      return {field, numberOf<double>(value, text)};
    case GDbFieldString:
      return {field, value.c_str()};
    default:
      throw Failure(ExitCode::usage, "not a column to look up by: " + text);
  }
}

ExitCode get(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  const std::unique_ptr<GDbTable> table = openForReading(host, call);
  const std::unique_ptr<GDbStructure> structure = structureOf(table.get());
  std::vector<GDbKey> keys;
  for (const std::string& text : call.operands("COLUMN=VALUE")) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) throw Failure(ExitCode::usage, "not COLUMN=VALUE: " + text);
    const std::string value = text.substr(equals + 1);
    GDbKey key = keyOf(text, *structure, value);
    key.dupString();  // the value goes with this turn of the loop
    keys.push_back(key);
  }
  GDbRecordSet found;
  require(table->lookupKeys(keys.data(), static_cast<int>(keys.size()), &found), table->getName());
  RowPrinter printer(call);
  for (unsigned i = 0; i < found.getNumRecords(); ++i)
    printer.add(GDbTypedRow(*found.getRecord(i), *structure));
  printer.end();
  return found.getNumRecords() > 0 ? ExitCode::done : ExitCode::no;
}

// How many records there are to copy, for the progress bar: 0 where nobody
// watches one.
std::uint64_t countForBar(GDbTable* table) {
  if (!ProgressBar::watched()) return 0;
  std::uint64_t count = 0;
  GDbTableScan scan(table);
  for (auto row = scan.begin(); row != scan.end(); ++row) ++count;
  return count;
}

// Inserts records in portions that fit into memory. One with a NULL, of which
// insertRecords() knows nothing, goes by a statement where there is SQL.
class Inserter {
 public:
  Inserter(GDbTable* table, GSqlDatabase* database, const GDbStructure& columns)
      : target(table), sql(database), structure(columns) {}

  /// Takes the set's first record.
  void add(GDbRecordSet& set) {
    const GDbTypedRow row(*set.getRecord(0), structure);
    if (sql != nullptr && hasNull(row)) {
      flush();
      insertByStatement(row);
    } else {
      batch.addRecord(set.releaseRecord(0));
      if (batch.getNumRecords() == portion) flush();
    }
    ++count;
  }

  void flush() {
    require(target->insertRecords(batch), target->getName());
    batch.clear();
  }

  [[nodiscard]] unsigned long getCount() const { return count; }

 private:
  static constexpr unsigned portion = 1000;

  static bool hasNull(const GDbTypedRow& row) {
    for (int field = 0; field < row.getNumFields(); ++field) {
      if (row.isNull(field)) return true;
    }
    return false;
  }

  void insertByStatement(const GDbTypedRow& row) {
    if (statement.isNull()) {
      std::string marks = "?";
      for (int field = 1; field < row.getNumFields(); ++field) marks += ", ?";
      statement =
          GSqlQuery(sql, "INSERT INTO \"" + target->getName() + "\" VALUES (" + marks + ");");
    }
    for (int field = 0; field < row.getNumFields(); ++field)
      require(bind(row, field), target->getName());
    require(statement.exec(), target->getName());
    require(statement.reset(), target->getName());
  }

  GDbStatus bind(const GDbTypedRow& row, int field) {
    if (const auto number = row.getInt(field)) return statement.bindInt(field, *number);
    if (const auto number = row.getUInt(field))
      return statement.bindInt(field, static_cast<int>(*number));
    if (const auto number = row.getFloat(field)) return statement.bindDouble(field, *number);
    if (const auto text = row.getString(field))
      return statement.bindText(field, std::string(*text), 0, std::string::npos);
    if (const auto blob = row.getBlob(field))
      return statement.bindBlob(field, const_cast<char*>(blob->data()),
                                static_cast<unsigned>(blob->size()), true);
    return statement.bindNull(field);
  }

  GDbTable* target;
  GSqlDatabase* sql;
  const GDbStructure& structure;
  GSqlQuery statement;
  GDbRecordSet batch;
  unsigned long count = 0;
};

void copyRecords(GDbTable* from, Inserter& inserter) {
  ProgressBar progress(from->getName(), countForBar(from));
  GDbRecordSet one;
  GDbStatus status = from->getFirstRecord(&one);
  while (status == GDbNoError && one.getNumRecords() > 0) {
    inserter.add(one);
    one.clear();
    progress.show(inserter.getCount());
    status = from->getNextRecord(&one);
  }
  require(status, from->getName());
  inserter.flush();
}

ExitCode copy(const Invocation& call) {
  const DbHost from(call.operand("FROM"));
  const std::unique_ptr<GDbTable> source = openForReading(from, call);
  const std::unique_ptr<GDbStructure> structure = structureOf(source.get());
  for (const GDbField& field : structure->getFields())
    if (field.getType() == GDbFieldNone)
      throw Failure(ExitCode::damaged, source->getName() + ": column " + field.getName() +
                                           " has no type that other databases know");
  const DbHost to(call.operand("TO"), true);
  GDbTable* made = nullptr;
  const std::string name = call.has("--as") ? call.value("--as") : source->getName();
  // What is not committed is gone with the connection, the table as well.
  GDbTransactionHandler* transaction = to.database()->getTransactionHandler();
  if (transaction != nullptr) require(transaction->begin(), to.database()->getName());
  const GDbStatus status = to.database()->createTable(name, structure.get(), &made);
  if (status != GDbNoError) throw Failure(ExitCode::cannotWrite, name + ": " + gDbStrError(status));
  const std::unique_ptr<GDbTable> target(made);
  Inserter inserter(target.get(), to.sql(), *structure);
  copyRecords(source.get(), inserter);
  if (transaction != nullptr) require(transaction->commit(), to.database()->getName());
  if (call.json()) {
    JsonWriter json;
    json.beginObject()
        .key("table")
        .value(name)
        .key("records")
        .value(inserter.getCount())
        .endObject();
  } else {
    printLine(std::to_string(inserter.getCount()) + " records");
  }
  return ExitCode::done;
}

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

ExitCode sql(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  if (host.sql() == nullptr)
    throw Failure(ExitCode::usage, "not an SQL database: " + call.operand("LOCATOR"));
  if (hasSecondStatement(call.operand("STATEMENT")))
    throw Failure(ExitCode::usage, "one statement at a time");
  GSqlQuery query(host.sql(), call.operand("STATEMENT"));
  GDbStatus status = query.exec();
  const auto fail = [&] { return Failure(ExitCode::evaluation, query.getLastError().getText()); };
  if (status != GDbNoError) throw fail();
  RowPrinter printer(call);
  if (query.isSelect()) {
    for (status = query.next(); status == GDbNoError; status = query.next()) {
      const GDbRecord* record = query.getRecord();
      if (record == nullptr) throw fail();
      const GDbStructure structure = numberedColumns(*record);
      printer.add(GDbTypedRow(*record, structure), integersOf(query, record->getNumFields()));
    }
    if (status != GDbNoMoreRecords) throw fail();
  }
  printer.end();
  return ExitCode::done;
}

constexpr Operand locatorOperand = {
    .name = "LOCATOR",
    .help = "The database: csv:DIRECTORY or sqlite3:FILE, with options behind ?."};
constexpr Operand tableOperand = {.name = "TABLE", .help = "The table's name."};
constexpr Operand databaseOperands[] = {locatorOperand};
constexpr Operand tableOperands[] = {locatorOperand, tableOperand};
constexpr Operand getOperands[] = {
    locatorOperand,
    tableOperand,
    {.name = "COLUMN=VALUE", .help = "What a column must hold.", .least = 1, .most = many}};
constexpr Operand copyOperands[] = {{.name = "FROM", .help = "The database to read."},
                                    tableOperand,
                                    {.name = "TO", .help = "The database to write to."}};
constexpr Operand sqlOperands[] = {locatorOperand,
                                   {.name = "STATEMENT", .help = "One SQL statement."}};

constexpr Option columnsOption = {
    .names = "--columns",
    .value = "NAME:TYPE,...",
    .help =
        "The columns, with the types int, uint, float, string and blob. Without it those of a "
        "CSV table are inferred and called c1, c2, ..."};
constexpr Option whereOption = {
    .names = "--where",
    .value = "EXPR",
    .help = "Only records for which the expression is true; $NAME is a column."};
constexpr Option schemaOptions[] = {columnsOption};
constexpr Option scanOptions[] = {columnsOption, whereOption, csvOption, tableOption};
constexpr Option headOptions[] = {
    {.names = "-n,--lines", .value = "N", .help = "How many records at most; 10 by default."},
    columnsOption,
    whereOption,
    csvOption,
    tableOption};
constexpr Option countOptions[] = {columnsOption, whereOption};
constexpr Option getOptions[] = {columnsOption, csvOption, tableOption};
constexpr Option copyOptions[] = {
    columnsOption, {.names = "--as", .value = "NAME", .help = "The name of the new table."}};
constexpr Option sqlOptions[] = {csvOption, tableOption};

constexpr ExitCodeMeaning openExits[] = {
    {ExitCode::cannotOpen, "the database or the table cannot be opened"},
    {ExitCode::damaged, "a record cannot be read"}};
constexpr ExitCodeMeaning whereExits[] = {
    {ExitCode::cannotOpen, "the database or the table cannot be opened"},
    {ExitCode::damaged, "a record cannot be read"},
    {ExitCode::evaluation, "the expression failed"}};
constexpr ExitCodeMeaning getExits[] = {
    {ExitCode::no, "nothing was found"},
    {ExitCode::cannotOpen, "the database or the table cannot be opened"},
    {ExitCode::damaged, "a record cannot be read"}};
constexpr ExitCodeMeaning sqlExits[] = {{ExitCode::cannotOpen, "the database cannot be opened"},
                                        {ExitCode::evaluation, "the statement failed"}};

constexpr Command dbCommands[] = {
    {.name = "info",
     .summary = "tell what a database is",
     .description = "Prints the database's type, its driver with the version, whether it has "
                    "transactions, and how many tables it has.",
     .operands = databaseOperands,
     .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
                "$ loom db info csv:.\ntype          csv\ntransactions  no\ntables        1\n",
     .exits = openExits,
     .run = info},
    {.name = "tables",
     .summary = "list the tables",
     .description = "Prints the names of the tables, sorted; of a CSV database those in its "
                    "directory and in its archive.",
     .operands = databaseOperands,
     .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
                "$ loom db tables csv:.\nparts\n",
     .exits = openExits,
     .run = tables},
    {.name = "schema",
     .summary = "list the columns of a table",
     .description = "Prints NAME:TYPE for each column, as --columns takes them.",
     .options = schemaOptions,
     .operands = tableOperands,
     .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
                "$ loom db schema csv:. parts\nc1:int\nc2:string\nc3:float\n",
     .exits = openExits,
     .run = schema},
    {.name = "head",
     .summary = "print the first records",
     .description = "Prints the first records of a table, columns separated by tabs.",
     .options = headOptions,
     .operands = tableOperands,
     .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
                "$ loom db head -n 1 --table csv:. parts\nc1  c2    c3\n1   bolt  2.5\n",
     .exits = whereExits,
     .run = head},
    {.name = "get",
     .summary = "look records up",
     .description = "Prints the records whose columns hold the values.",
     .options = getOptions,
     .operands = getOperands,
     .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
                "$ loom db get --csv --columns id:int,name csv:. parts id=2\n2;\"nut\"\n",
     .exits = getExits,
     .run = get},
    {.name = "scan",
     .summary = "print all records",
     .description = "Prints the records of a table, columns separated by tabs.",
     .options = scanOptions,
     .operands = tableOperands,
     .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
                "$ loom db scan --json --where '$c3 2 >' csv:. parts\n[\n"
                "{\"c1\":1,\"c2\":\"bolt\",\"c3\":2.5}\n]\n",
     .exits = whereExits,
     .run = scan},
    {.name = "count",
     .summary = "count records",
     .description = "Prints how many records a table has.",
     .options = countOptions,
     .operands = tableOperands,
     .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
                "$ loom db count --where '$c3 2 >' csv:. parts\n1\n",
     .exits = whereExits,
     .run = count},
    {.name = "copy",
     .summary = "copy a table to another database",
     .description = "Creates the table in the other database and copies all records, in one "
                    "transaction.",
     .options = copyOptions,
     .operands = copyOperands,
     .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
                "$ loom db copy csv:. parts sqlite3:parts.db\n2 records\n",
     .exits = openExits,
     .run = copy},
};

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

const Family dbFamily = {
    .name = "db", .summary = "databases: SQLite files and CSV tables", .commands = dbCommands};
const Family sqlFamily = {.commands = sqlCommands};

}  // namespace loom
