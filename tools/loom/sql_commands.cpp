// SPDX-License-Identifier: MIT
// loom sql: SQL statements from the command line.
#include <algorithm>
#include <cstdio>

#include "db_host.h"
#include "families.h"
#include "loomkit/db/sql/sql_query.h"
#include "row_printer.h"
#include "row_source.h"
#include "sql_text.h"
#include "terminal.h"

namespace loom {

namespace {

// The values of the parameters: the operands behind the statement for "?", and
// those of --param for names.
class Parameters {
 public:
  explicit Parameters(const Invocation& call) : positional(call.operands("VALUE")) {
    for (const std::string& text : call.values("--param")) {
      const std::size_t equals = text.find('=');
      if (equals == std::string::npos || equals == 0)
        throw Failure(ExitCode::usage, "--param: NAME=VALUE is missing in '" + text + "'");
      named[text.substr(0, equals)] = text.substr(equals + 1);
    }
  }

  void bind(GSqlQuery& query, const SqlStatement& statement) {
    for (std::size_t i = 0; i < statement.parameters.size(); ++i) {
      const Cell value = cellOfWord(valueOf(statement.parameters[i]));
      const GDbStatus status = bindCell(query, static_cast<int>(i), value);
      require(status, statement.parameters[i], query.getLastError());
    }
  }

  // What was given and belongs to nothing is a mistake.
  void requireAllUsed() const {
    if (used < positional.size())
      throw Failure(ExitCode::usage, "'" + positional[used] + "' is one value too many");
  }

 private:
  const std::string& valueOf(const std::string& parameter) {
    if (parameter[0] != '?') {
      const auto found = named.find(parameter.substr(1));
      if (found != named.end()) return found->second;
      throw Failure(ExitCode::usage, "no value for " + parameter + "; give it by --param " +
                                         parameter.substr(1) + "=VALUE");
    }
    std::size_t index = next;
    if (parameter.size() > 1) index = indexOf(parameter);
    if (index >= positional.size())
      throw Failure(ExitCode::usage, "no value for parameter " + std::to_string(index + 1));
    next = index + 1;
    used = std::max(used, next);
    return positional[index];
  }

  static std::size_t indexOf(const std::string& parameter) {
    std::int64_t number = 0;
    if (!readInteger(std::string_view(parameter).substr(1), &number) || number < 1)
      throw Failure(ExitCode::usage, "no parameter has the number " + parameter.substr(1));
    return static_cast<std::size_t>(number - 1);
  }

  std::map<std::string, std::string> named;
  std::vector<std::string> positional;
  std::size_t next = 0;  // of the positional values, by number
  std::size_t used = 0;
};

std::string readScript() {
  std::string script;
  char buffer[4096];
  for (long size = 0; (size = readSome(stdin, buffer, sizeof buffer)) != 0;) {
    if (size < 0) throw Failure(ExitCode::cannotOpen, "cannot read standard input");
    script.append(buffer, static_cast<std::size_t>(size));
  }
  return script;
}

Failure failureOf(const GSqlQuery& query) {
  return {ExitCode::evaluation, query.getLastError().getText()};
}

std::vector<Column> columnsOf(GSqlQuery& query) {
  int count = 0;
  if (query.getNumColumns(&count) != GDbNoError) throw failureOf(query);
  std::vector<Column> columns(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i)
    if (query.getColumnName(i, &columns[static_cast<std::size_t>(i)].name) != GDbNoError)
      throw failureOf(query);
  return columns;
}

void printResult(GSqlQuery& query, RowPrinter& printer) {
  const std::unique_ptr<RowSource> rows = rowsOfQuery("result", query, columnsOf(query));
  printer.begin(rows->columns());
  Row row;
  try {
    while (rows->next(&row)) printer.add(row);
  } catch (const Failure& failure) {
    if (query.getLastError().getStatus() == GDbNoError) throw;
    throw failureOf(query);
  }
  printer.finish();
}

ExitCode sql(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  if (host.sql() == nullptr) throw Failure(ExitCode::usage, "not an SQL database: " + host.name());
  const bool fromInput = !call.has("STATEMENT") || call.operand("STATEMENT") == "-";
  const std::string script = fromInput ? readScript() : call.operand("STATEMENT");
  Parameters parameters(call);
  printRows(call, [&](RowPrinter& printer) {
    for (const SqlStatement& statement : splitStatements(script)) {
      host.keepReadOnly();
      GSqlQuery query(host.sql(), statement.text);
      parameters.bind(query, statement);
      if (query.exec() != GDbNoError) throw failureOf(query);
      if (query.isSelect())
        printResult(query, printer);
      else if (statement.changesRows)
        printer.changed(query.getNumRowsAffected());
    }
    parameters.requireAllUsed();
  });
  return ExitCode::done;
}

constexpr Operand sqlOperands[] = {
    {.name = "LOCATOR", .help = locatorHelp, .completes = Completes::locators},
    {.name = "STATEMENT",
     .help = "SQL statements, separated by semicolons. - or none: they are read from standard "
             "input.",
     .least = 0},
    {.name = "VALUE", .help = "The value of a parameter ?.", .least = 0, .most = many}};
constexpr Option sqlOptions[] = {
    {.names = "--param",
     .value = "NAME=VALUE",
     .help = "The value of the parameter :NAME, @NAME or $NAME. What is written as a number is "
             "one, but for 007 and the like; everything else is a text.",
     .repeatable = true},
    headerOption,
    csvOption,
    tableOption};
constexpr ExitCodeMeaning sqlExits[] = {{ExitCode::cannotOpen, "the database cannot be opened"},
                                        {ExitCode::evaluation, "a statement failed"}};

constexpr Command sqlCommands[] = {{
    .name = "sql",
    .summary = "run SQL statements",
    .description =
        "Runs statements one after another, up to the first that fails. Prints the rows of a "
        "result, columns separated by tabs, in which \\t, \\n, \\r and \\\\ stand for a tab, a "
        "line feed, a carriage return and a backslash, and \\N for NULL. Prints how many rows "
        "an INSERT, UPDATE or DELETE has changed.\n\n"
        "With --json all rows are elements of one array, and a change is the element "
        "{\"changed\": N}.",
    .options = sqlOptions,
    .operands = sqlOperands,
    .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
               "$ loom db copy csv:. parts sqlite3:parts.db\n2 records\n"
               "$ loom sql sqlite3:parts.db 'SELECT SUM(c3) FROM parts;'\n2.75\n"
               "$ loom sql --header sqlite3:parts.db 'SELECT c2 AS name FROM parts WHERE c1 = ?' "
               "2\nname\nnut\n",
    .exits = sqlExits,
    .run = sql,
}};

}  // namespace

const Family sqlFamily = {.commands = sqlCommands};

}  // namespace loom
