// SPDX-License-Identifier: MIT
#include "csv_commands.h"

#include <cctype>
#include <filesystem>
#include <functional>

#include "console.h"
#include "csv_file.h"
#include "csv_line.h"
#include "db_host.h"
#include "file_content.h"
#include "json_writer.h"
#include "path_of.h"
#include "progress_bar.h"
#include "row_filter.h"
#include "table_copy.h"

namespace loom {

namespace {

// A sign that numbers are made of would take them apart.
char signOf(const Invocation& call, std::string_view option) {
  constexpr std::string_view inNumbers = "+-.";
  const std::string word = call.value(option);
  if (word == "tab" || word == "\\t") return '\t';
  const bool fits = word.size() == 1 && static_cast<unsigned char>(word[0]) < 0x80 &&
                    word[0] != '\n' && word[0] != '\r' &&
                    std::isalnum(static_cast<unsigned char>(word[0])) == 0 &&
                    inNumbers.find(word[0]) == std::string_view::npos;
  if (fits) return word[0];
  throw Failure(ExitCode::usage, std::string(option) + ": neither a sign nor tab: '" + word + "'");
}

CsvOptions csvOptions(const Invocation& call) {
  CsvOptions options;
  if (call.has("--sep")) options.separator = signOf(call, "--sep");
  if (call.value("--quote") == "none")
    options.quote.emplace(std::nullopt);
  else if (call.has("--quote"))
    options.quote.emplace(signOf(call, "--quote"));
  if (options.quote && options.separator && *options.quote == options.separator)
    throw Failure(ExitCode::usage, "--sep and --quote are the same sign");
  options.header = call.value("--header", "auto");
  options.encoding = call.value("--encoding");
  return options;
}

void explain(const CsvFile& file, const std::string& path) {
  complain(path + ": " + file.form());
  for (std::size_t i = 0; i < file.columns().size(); ++i) {
    const Column& column = file.columns()[i];
    complain(column.name + " is " + std::string(typeName(column.type)) + ": " + file.reasons()[i]);
  }
}

// The name of a table that none was given for.
std::string tableName(const std::string& path) {
  if (path == "-") throw Failure(ExitCode::usage, "TABLE is missing: standard input has no name");
  return pathOf(path).stem().string();
}

CsvForm csvForm(const Invocation& call) {
  CsvForm form;
  if (call.has("--sep")) form.separator = signOf(call, "--sep");
  if (form.separator == '"') throw Failure(ExitCode::usage, "--sep: \" is the quote");
  if (call.value("--line-end") == "lf") form.lineEnd = "\n";
  return form;
}

using Sink = std::function<void(std::string_view)>;

void writeCsv(const Invocation& call, RowSource& source, const Sink& sink) {
  const CsvForm form = csvForm(call);
  std::string line;
  if (call.has("--bom")) line = "\xef\xbb\xbf";
  if (call.value("--header", "yes") == "yes") {
    Row names;
    for (const Column& column : source.columns()) names.emplace_back(column.name);
    appendCsvLine(names, form, &line);
  }
  sink(line);
  forEachRow(call, source, [&](const Row& row) {
    line.clear();
    appendCsvLine(row, form, &line);
    sink(line);
    return true;
  });
}

ExitCode exportTo(const std::string& path, const Invocation& call, RowSource& source) {
  return writeFile(path, call.has("--force"), [&](std::ostream& out) {
    ProgressBar progress(source.name(), 0);
    writeCsv(call, source, [&](std::string_view text) {
      out << text;
      showRows(progress, source);
    });
    return true;
  });
}

}  // namespace

void reportCopied(const Invocation& call, const std::string& table, unsigned long records) {
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("table").value(table).key("records").value(records).endObject();
  } else {
    printLine(counted(records, "record", "records"));
  }
}

ExitCode importCsv(const Invocation& call) {
  const std::string path = call.operand("FILE");
  CopyJob job;
  job.locator = call.operand("LOCATOR");
  job.name = call.has("TABLE") ? call.operand("TABLE") : tableName(path);
  const CsvFile file(path, csvOptions(call));
  if (!file.guessedEncoding().empty())
    complain(path + ": not UTF-8, so taken for " + file.guessedEncoding() +
             " (--encoding says otherwise)");
  if (call.has("--explain")) explain(file, path);
  takeLossyOptions(call, &job);
  job.open = [&] { return file.rows(); };
  job.total = file.rowCount();
  reportCopied(call, job.name, copyTable(job));
  return ExitCode::done;
}

ExitCode exportCsv(const Invocation& call) {
  const DbHost host(call.operand("LOCATOR"));
  const auto source = host.rows(call.operand("TABLE"), call.value("--columns"));
  if (call.has("FILE") && call.operand("FILE") != "-")
    return exportTo(call.operand("FILE"), call, *source);
  writeCsv(call, *source, [](std::string_view text) { print(text); });
  return ExitCode::done;
}

}  // namespace loom
