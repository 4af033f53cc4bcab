// SPDX-License-Identifier: MIT
#include "csv_commands.h"

#include <filesystem>

#include "console.h"
#include "csv_file.h"
#include "db_host.h"
#include "file_content.h"
#include "json_writer.h"
#include "row_filter.h"
#include "table_copy.h"

namespace loom {

ExitCode importCsv(const Invocation& call) {
  const std::string path = call.operand("FILE");
  CsvOptions options;
  if (call.has("--sep")) options.separator = separatorOf(call.value("--sep"));
  options.header = call.value("--header", "auto");
  options.encoding = call.value("--encoding");
  const CsvFile file(path, options);
  if (call.has("--explain"))
    for (std::size_t i = 0; i < file.columns().size(); ++i)
      complain(file.columns()[i].name + " is " + std::string(typeName(file.columns()[i].type)) +
               ": " + file.reasons()[i]);
  const std::string stem = std::filesystem::path(path).stem().string();
  const std::string name = call.value("TABLE", stem);
  const std::unique_ptr<RowSource> rows = file.rows();
  const unsigned long count = copyRows(*rows, call.operand("LOCATOR"), name, 0, 0);
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("table").value(name).key("records").value(count).endObject();
  } else {
    printLine(std::to_string(count) + " records");
  }
  return ExitCode::done;
}

ExitCode exportCsv(const Invocation& call) {
  const char separator = separatorOf(call.value("--sep", ","));
  const DbHost host(call.operand("LOCATOR"));
  const auto source = host.rows(call.operand("TABLE"), call.value("--columns"));
  if (call.value("--header", "yes") != "no") {
    Row names;
    for (const Column& column : source->columns()) names.emplace_back(column.name);
    print(csvLine(names, separator));
  }
  forEachRow(call, *source, [&](const Row& row) {
    print(csvLine(row, separator));
    return true;
  });
  return ExitCode::done;
}

}  // namespace loom
