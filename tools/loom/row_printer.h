// SPDX-License-Identifier: MIT
// RowPrinter: records as text lines, as CSV, as an aligned table or as JSON.
#ifndef LOOM_ROW_PRINTER_H
#define LOOM_ROW_PRINTER_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "command.h"
#include "json_writer.h"
#include "loomkit/db/typed_row.h"

namespace loom {

/// The options that choose a format; for the option lists of commands.
inline constexpr Option csvOption = {
    .names = "--csv", .help = "Print records as CSV: ; between the columns, texts quoted."};
inline constexpr Option tableOption = {.names = "--table",
                                       .help = "Print records as an aligned table with a head."};

/// Prints records one by one; only the aligned table holds them back to end().
/// Plain lines have a tab between the columns.
class RowPrinter {
 public:
  explicit RowPrinter(const Invocation& call);

  /// Values by column, which are printed in place of the record's.
  using Integers = std::map<int, std::int64_t>;

  void add(const GDbTypedRow& row, const Integers& integers = {});
  /// Ends the output. Called once, after the last record.
  void end();
  /// Ends the output of a command that fails, in place of end(). A JSON array
  /// gets the object {"error": reason} as its last element; other formats have no
  /// place for it.
  void fail(std::string_view reason);

 private:
  void addJson(const GDbTypedRow& row, const Integers& integers);
  void addToTable(const GDbTypedRow& row, const Integers& integers);

  std::optional<JsonWriter> json;
  bool csv;
  bool table;
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
