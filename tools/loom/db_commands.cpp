// SPDX-License-Identifier: MIT
// loom db: databases of every type from the command line.
#include <charconv>
#include <optional>
#include <utility>
#include <vector>

#include "console.h"
#include "db_host.h"
#include "families.h"
#include "json_writer.h"
#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/db/table_scan.h"
#include "row_filter.h"
#include "row_printer.h"
#include "store_copy.h"
#include "table_copy.h"

namespace loom {

namespace {

std::unique_ptr<GDbTable> readableTable(const DbHost& host, const Invocation& call) {
  return host.readableTable(call.operand("TABLE"), call.value("--columns"));
}

// Calls `use` with each record that --where admits until it gives false.
template <typename Use>
void forEachRow(const Invocation& call, Use use) {
  const DbHost host(call.operand("LOCATOR"));
  const std::unique_ptr<GDbTable> table = readableTable(host, call);
  RowFilter filter(call);
  GDbTableScan scan(table.get());
  for (const GDbTypedRow& row : scan)
    if (filter.admits(row) && !use(row)) return;
  require(scan.getStatus(), table->getName());
}

// From major << 20 | minor << 10 | patch.
std::string versionText(unsigned version) {
  return std::to_string(version >> 20) + "." + std::to_string(version >> 10 & 1023) + "." +
         std::to_string(version & 1023);
}

// Name and value, in the order in which they are shown. A server tells its own
// version, and how it is reached.
using Facts = std::vector<std::pair<std::string, std::string>>;

Facts serverFacts(GDbDatabase* database) {
  const auto* server = dynamic_cast<GPostgresqlDatabase*>(database);
  if (server == nullptr) return {};
  const std::string tls = server->getTlsVersion();
  return {{"server", "postgresql " + versionText(server->getServerVersion())},
          {"tls", tls.empty() ? "no" : tls}};
}

ExitCode info(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  const std::vector<std::string> tables = host.tables();
  std::string driver;
  if (const GSqlDatabase* sql = host.sql()) {
    driver = std::string(sql->getDriverName()) + " " + versionText(sql->getDriverVersion());
  }
  const Facts server = serverFacts(host.database());
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("type").value(host.type()).key("driver");
    driver.empty() ? json.null() : json.value(driver);
    for (const auto& [name, value] : server) json.key(name).value(value);
    json.key("transactions").value(host.database()->getTransactionHandler() != nullptr);
    json.key("tables").value(tables.size()).endObject();
    return ExitCode::done;
  }
  printLine("type          " + host.type());
  if (!driver.empty()) printLine("driver        " + driver);
  for (const auto& [name, value] : server)
    printLine(name + std::string(14 - name.size(), ' ') + shown(value));
  const bool transactions = host.database()->getTransactionHandler() != nullptr;
  printLine(std::string("transactions  ") + (transactions ? "yes" : "no"));
  printLine("tables        " + std::to_string(tables.size()));
  return ExitCode::done;
}

ExitCode tables(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  const std::vector<std::string> names = host.tables();
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const std::string& name : names) {
    if (json)
      json->value(name);
    else
      printLine(shown(name));
  }
  if (json) json->endArray();
  return ExitCode::done;
}

ExitCode schema(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  const std::unique_ptr<GDbTable> table =
      host.table(call.operand("TABLE"), call.value("--columns"));
  const std::unique_ptr<GDbStructure> structure = structureOf(table.get());
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const GDbField& field : structure->getFields()) {
    const std::string_view type = typeName(field.getType());
    if (json)
      json->beginObject().key("name").value(field.getName()).key("type").value(type).endObject();
    else
      printLine(shown(field.getName()) + ":" + std::string(type));
  }
  if (json) json->endArray();
  return ExitCode::done;
}

ExitCode scan(const Invocation& call) {
  printRows(call, [&](RowPrinter& printer) {
    forEachRow(call, [&](const GDbTypedRow& row) {
      printer.add(row);
      return true;
    });
  });
  return ExitCode::done;
}

ExitCode head(const Invocation& call) {
  int left = call.number("--lines", 10, 0, 1000000000);
  printRows(call, [&](RowPrinter& printer) {
    if (left == 0) return;
    forEachRow(call, [&](const GDbTypedRow& row) {
      printer.add(row);
      return --left > 0;
    });
  });
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
  const std::unique_ptr<GDbTable> table = readableTable(host, call);
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
  printRows(call, [&](RowPrinter& printer) {
    for (unsigned i = 0; i < found.getNumRecords(); ++i)
      printer.add(GDbTypedRow(*found.getRecord(i), *structure));
  });
  return found.getNumRecords() > 0 ? ExitCode::done : ExitCode::no;
}

// The records of a transaction; 0: all of them.
unsigned long batchSize(const Invocation& call) {
  const std::string text = call.value("--batch");
  if (text.empty()) return 0;
  unsigned long size = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), size);
  if (error != std::errc() || end != text.data() + text.size() || size == 0)
    throw Failure(ExitCode::usage, "--batch: not a number of records: " + text);
  return size;
}

ExitCode copy(const Invocation& call) {
  const DbHost from(call.operand("FROM"));
  const std::unique_ptr<GDbTable> source = readableTable(from, call);
  const std::string name = call.value("--as", source->getName());
  const std::string to = call.operand("TO");
  const bool toStore = isStoreLocator(to);
  if (call.has("--index") && !toStore)
    throw Failure(ExitCode::usage, "--index is for tessel: databases");
  if (call.has("--batch") && toStore)
    throw Failure(ExitCode::usage, "--batch is not for tessel: databases, which are written whole");
  const unsigned long count = toStore ? copyToStore(source.get(), to, name, call.values("--index"))
                                      : copyTable(source.get(), to, name, batchSize(call));
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("table").value(name).key("records").value(count).endObject();
  } else {
    printLine(std::to_string(count) + " records");
  }
  return ExitCode::done;
}

constexpr Operand locatorOperand = {.name = "LOCATOR", .help = locatorHelp};
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
constexpr Option columnsOption = {
    .names = "--columns",
    .value = "NAME:TYPE,...",
    .help =
        "The columns, with the types int, uint, float, string and blob. Without it those of a "
        "CSV table are inferred and called c1, c2, ..."};
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
    columnsOption,
    {.names = "--as", .value = "NAME", .help = "The name of the new table."},
    {.names = "--batch",
     .value = "N",
     .help = "Commits after every N records, instead of once at the end."},
    {.names = "--index",
     .value = "COLUMN,...[:unique]",
     .help = "An index for a tessel: database, on one or more columns.",
     .repeatable = true}};

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
                    "transaction. A file of a tessel: database is written anew with the tables "
                    "that it has, and takes the old one's place when it is whole.",
     .options = copyOptions,
     .operands = copyOperands,
     .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
                "$ loom db copy csv:. parts sqlite3:parts.db\n2 records\n",
     .exits = openExits,
     .run = copy},
};

}  // namespace

const Family dbFamily = {
    .name = "db", .summary = "databases: SQLite files and CSV tables", .commands = dbCommands};

}  // namespace loom
