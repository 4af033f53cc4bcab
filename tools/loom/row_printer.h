// SPDX-License-Identifier: MIT
// RowPrinter: rows as text lines, as CSV, as an aligned table or as JSON.
#ifndef LOOM_ROW_PRINTER_H
#define LOOM_ROW_PRINTER_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cell.h"
#include "command.h"
#include "json_writer.h"

namespace loom {

/// The options that choose a format; for the option lists of commands.
inline constexpr Option csvOption = {
    .names = "--csv", .help = "Print records as CSV: ; between the columns, texts quoted."};
inline constexpr Option tableOption = {
    .names = "--table",
    .help = "Print records as an aligned table with a head, cut to the width of the terminal."};
inline constexpr Option headerOption = {.names = "--header",
                                        .help = "Print a line of the columns' names first."};

/// Prints rows one by one; only the aligned table holds them back to end().
///
/// Plain lines have a tab between the columns and are escaped as in the text format
/// of PostgreSQL's COPY: \t, \n, \r and \\ for a tab, a line feed, a carriage return
/// and a backslash, \N for NULL. In CSV a NULL is an empty column and an empty text
/// is "".
class RowPrinter {
 public:
  explicit RowPrinter(const Invocation& call);

  /// Begins a result with these columns. The rows are added behind it.
  void begin(const std::vector<Column>& columns);
  void add(const Row& row);
  /// Ends a result that more may follow.
  void finish();
  /// Tells how many rows a statement has changed.
  void changed(int rows);
  /// Ends the output. Called once, after the last result.
  void end();
  /// Ends the output of a command that fails, in place of end(). A JSON array
  /// gets the object {"error": reason} as its last element; other formats have no
  /// place for it.
  void fail(std::string_view reason);

 private:
  [[nodiscard]] std::string lineOf(const Row& row) const;
  void addJson(const Row& row);
  void addToTable(const Row& row);
  void printTable();

  std::optional<JsonWriter> json;
  bool csv;
  bool table;
  bool header;
  std::vector<Column> fields;
  std::vector<std::vector<std::string>> held;  // of the table, the head first
};

/// Calls `use(printer)` and ends the output, also when a Failure ends the
/// command.
template <typename Use>
void printRows(const Invocation& call, Use use) {
  RowPrinter printer(call);
  try {
    use(printer);
  } catch (const Failure& failure) {
    printer.fail(failure.what());
    throw;
  }
  printer.end();
}

}  // namespace loom

#endif  // LOOM_ROW_PRINTER_H
