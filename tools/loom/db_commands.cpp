// SPDX-License-Identifier: MIT
// loom db: databases of every type from the command line.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "console.h"
#include "csv_commands.h"
#include "db_host.h"
#include "families.h"
#include "file_content.h"
#include "json_writer.h"
#include "loomkit/db/catalog.h"
#include "loomkit/db/locator.h"
#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/text/string_util.h"
#include "progress_bar.h"
#include "row_filter.h"
#include "row_printer.h"
#include "table_copy.h"

namespace loom {

namespace {

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

// Why each column is what it is.
void explain(const std::vector<Column>& columns, const char* otherwise) {
  for (const Column& column : columns) {
    const std::string reason = !column.inferredFrom.empty() ? column.inferredFrom
                               : !column.declared.empty()   ? "declared as " + column.declared
                                                            : otherwise;
    complain(column.name + " is " + std::string(typeName(column.type)) + ": " + reason);
  }
}

ExitCode schema(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  const std::vector<Column> columns =
      host.columnsOf(call.operand("TABLE"), call.value("--columns"));
  if (call.has("--explain"))
    explain(columns, call.has("--columns") ? "--columns says so" : "the table says so");
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const Column& column : columns) {
    const std::string_view type = typeName(column.type);
    if (json)
      json->beginObject().key("name").value(column.name).key("type").value(type).endObject();
    else
      printLine(shown(column.name) + ":" + std::string(type));
  }
  if (json) json->endArray();
  return ExitCode::done;
}

// Prints the rows that --where admits, `most` of them at most.
void printAdmitted(const Invocation& call, RowPrinter& printer, unsigned long most) {
  const DbHost host(call.operand("LOCATOR"));
  const auto source = host.rows(call.operand("TABLE"), call.value("--columns"));
  printer.begin(source->columns());
  if (most == 0) return;
  forEachRow(call, *source, [&](const Row& row) {
    printer.add(row);
    return --most > 0;
  });
}

ExitCode scan(const Invocation& call) {
  printRows(call, [&](RowPrinter& printer) {
    printAdmitted(call, printer, std::numeric_limits<unsigned long>::max());
  });
  return ExitCode::done;
}

ExitCode head(const Invocation& call) {
  const int most = call.number("--lines", 10, 0, 1000000000);
  printRows(call, [&](RowPrinter& printer) {
    printAdmitted(call, printer, static_cast<unsigned long>(most));
  });
  return ExitCode::done;
}

ExitCode count(const Invocation& call) {
  unsigned long rows = 0;
  const DbHost host(call.operand("LOCATOR"));
  const auto source = host.rows(call.operand("TABLE"), call.value("--columns"));
  forEachRow(call, *source, [&](const Row&) { return ++rows > 0; });
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("count").value(rows).endObject();
  } else {
    printLine(std::to_string(rows));
  }
  return ExitCode::done;
}

ExitCode get(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  std::vector<DbHost::Match> matches;
  for (const std::string& text : call.operands("COLUMN=VALUE")) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) throw Failure(ExitCode::usage, "not COLUMN=VALUE: " + text);
    matches.push_back({text.substr(0, equals), text.substr(equals + 1)});
  }
  unsigned long found = 0;
  printRows(call, [&](RowPrinter& printer) {
    const auto source = host.rows(call.operand("TABLE"), call.value("--columns"), matches);
    printer.begin(source->columns());
    for (Row row; source->next(&row); ++found) printer.add(row);
  });
  return found > 0 ? ExitCode::done : ExitCode::no;
}

// How many rows there are to copy, for the progress bar; 0 where nobody is
// watching it, since counting reads the whole table.
std::uint64_t countForBar(const DbHost& host, const Invocation& call) {
  if (!ProgressBar::watched()) return 0;
  const auto source = host.rows(call.operand("TABLE"), call.value("--columns"));
  Row row;
  while (source->next(&row)) continue;
  return source->number();
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
  const std::string table = call.operand("TABLE");
  CopyJob job;
  job.open = [&] { return from.rows(table, call.value("--columns")); };
  job.locator = call.operand("TO");
  job.name = call.value("--as", table);
  job.batch = batchSize(call);
  job.fromSqlite = from.isSqlite();
  takeLossyOptions(call, &job);
  job.storeIndexes = call.values("--index");
  const bool toStore = loomkit::locatorType(job.locator) == "tessel";
  if (call.has("--index") && !toStore)
    throw Failure(ExitCode::usage, "--index is for tessel: databases");
  if (call.has("--batch") && toStore)
    throw Failure(ExitCode::usage, "--batch is not for tessel: databases, which are written whole");
  job.shape = shapeOf(from, *job.open());
  job.total = countForBar(from, call);
  reportCopied(call, job.name, copyTable(job));
  return ExitCode::done;
}

constexpr Operand locatorOperand = {
    .name = "LOCATOR", .help = locatorHelp, .completes = Completes::locators};
constexpr Operand tableOperand = {.name = "TABLE", .help = "The table's name."};
constexpr Operand databaseOperands[] = {locatorOperand};
constexpr Operand tableOperands[] = {locatorOperand, tableOperand};
constexpr Operand getOperands[] = {
    locatorOperand,
    tableOperand,
    {.name = "COLUMN=VALUE", .help = "What a column must hold.", .least = 1, .most = many}};
constexpr Operand copyOperands[] = {
    {.name = "FROM", .help = "The database to read.", .completes = Completes::locators},
    tableOperand,
    {.name = "TO", .help = "The database to write to.", .completes = Completes::locators}};
constexpr Option columnsOption = {
    .names = "--columns",
    .value = "NAME:TYPE,...",
    .help =
        "The columns to take, with the types int, uint, float, string and blob. Of a CSV table "
        "it tells what the columns are; without it they are inferred and called c1, c2, ... Of "
        "other tables it chooses some, and needs no types."};
constexpr Option explainOption = {
    .names = "--explain", .help = "Tell on standard error which line made a column what it is."};
constexpr Option schemaOptions[] = {columnsOption, explainOption};
constexpr Option scanOptions[] = {columnsOption, whereOption, skipErrorsOption,
                                  headerOption,  csvOption,   tableOption};
constexpr Option headOptions[] = {
    {.names = "-n,--lines", .value = "N", .help = "How many records at most; 10 by default."},
    columnsOption,
    whereOption,
    skipErrorsOption,
    headerOption,
    csvOption,
    tableOption};
constexpr Option countOptions[] = {columnsOption, whereOption, skipErrorsOption};
constexpr Option getOptions[] = {columnsOption, headerOption, csvOption, tableOption};
constexpr Option copyOptions[] = {
    columnsOption,
    {.names = "--as", .value = "NAME", .help = "The name of the new table."},
    {.names = "--batch",
     .value = "N",
     .help = "Commits after every N records, instead of once at the end."},
    blankNullsOption,
    decimalsOption,
    {.names = "--index",
     .value = "COLUMN,...[:unique]",
     .help = "An index for a tessel: database, on one or more columns.",
     .repeatable = true}};

constexpr Operand importOperands[] = {
    {.name = "FILE", .help = "A CSV file, or - for standard input.", .completes = Completes::files},
    {.name = "LOCATOR", .help = "The database to write to.", .completes = Completes::locators},
    {.name = "TABLE", .help = "The new table; by default the file's name.", .least = 0}};
constexpr Operand exportOperands[] = {locatorOperand,
                                      tableOperand,
                                      {.name = "FILE",
                                       .help = "The file to write; - or none: standard output.",
                                       .least = 0,
                                       .completes = Completes::files}};
constexpr Option sepOption = {
    .names = "--sep", .value = "SIGN", .help = "The separator of the columns: a sign, or tab."};
constexpr Option importOptions[] = {
    sepOption,
    {.names = "--quote", .value = "SIGN", .help = "The quote: a sign, or none."},
    {.names = "--header",
     .value = "WHEN",
     .help = "Whether the first line has the names of the columns; auto, the default, takes it "
             "for names unless a number is in it.",
     .choices = "auto|yes|no"},
    {.names = "--encoding",
     .value = "NAME",
     .help = "The encoding; by default what a byte order mark tells, or UTF-8, or ISO-8859-1."},
    blankNullsOption,
    decimalsOption,
    explainOption};
constexpr Option exportOptions[] = {
    columnsOption,
    whereOption,
    skipErrorsOption,
    sepOption,
    {.names = "--header",
     .value = "WHEN",
     .help = "Whether the names of the columns come first; yes by default.",
     .choices = "yes|no"},
    {.names = "--line-end",
     .value = "END",
     .help = "How lines end; crlf by default.",
     .choices = "crlf|lf"},
    {.names = "--bom", .help = "Begin with a byte order mark, by which Excel knows UTF-8."},
    forceOption};

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
     .description =
         "Prints the names of the tables and views, sorted; of a CSV database those in its "
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
     .description =
         "Prints the records of a table, columns separated by tabs. A tab, a line feed, a "
         "carriage return and a backslash in a text are \\t, \\n, \\r and \\\\, and NULL is "
         "\\N, as in the text format of PostgreSQL's COPY.\n\nIn --where a NULL is a void "
         "value, with which a comparison fails: --skip-errors passes over such records.",
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
    {.name = "import",
     .summary = "read a CSV file into a database",
     .description =
         "Makes a table of a CSV file as spreadsheets and scripts write it (RFC 4180). Separator, "
         "quote, line ends, encoding and names are found in the file where no option says them. "
         "Types are inferred from all lines: a column is int or float when all its values are "
         "numbers that are kept as they are written, without quotes and leading zeros, and "
         "string otherwise. A field of nothing is NULL, and \"\" an empty text.",
     .options = importOptions,
     .operands = importOperands,
     .example = "$ printf 'id,name\\n007,bolt\\n' > parts.csv\n"
                "$ loom db import --explain parts.csv sqlite3:parts.db 2>&1\n"
                "loom: parts.csv: UTF-8, separator ',', quote '\"', names in line 1\n"
                "loom: id is string: line 2: '007' is no number, or would be written differently "
                "as one\n"
                "loom: name is string: line 2: 'bolt' is no number, or would be written "
                "differently as one\n"
                "1 record\n",
     .exits = openExits,
     .run = importCsv},
    {.name = "export",
     .summary = "write a table as a CSV file",
     .description = "Writes a table by RFC 4180, which loom db import takes back: NULL is "
                    "nothing, an empty text \"\", and a text that looks like a number is "
                    "quoted. A file appears whole or not at all.",
     .options = exportOptions,
     .operands = exportOperands,
     .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
                "$ loom db export --line-end lf csv:. parts\nc1,c2,c3\n1,bolt,2.5\n2,nut,0.25\n",
     .exits = whereExits,
     .run = exportCsv,
     .printsContent = true},
};

}  // namespace

const Family dbFamily = {
    .name = "db", .summary = "databases: SQLite files and CSV tables", .commands = dbCommands};

}  // namespace loom
