// SPDX-License-Identifier: MIT
#include "csv_copy.h"

#include <cmath>

#include "console.h"
#include "db_host.h"
#include "file_content.h"
#include "loomkit/db/locator.h"
#include "number_form.h"
#include "progress_bar.h"

namespace loom {

namespace {

std::string pathOf(const CopyJob& job) {
  const DbHost directory(job.locator);
  loomkit::Locator parts;
  loomkit::splitLocator(job.locator, &parts);
  for (const std::string& option : parts.options)
    if (option.starts_with("zipfile="))
      throw Failure(ExitCode::usage, directory.name() + ": an archive is not written to");
  if (job.name.empty() || job.name.find_first_of(std::string_view("/\0", 2)) != std::string::npos)
    throw Failure(ExitCode::usage, "no name of a file: '" + job.name + "'");
  return parts.path + "/" + job.name + ".csv";
}

void appendText(const std::string& value, std::string* line) {
  *line += '"';
  for (const char c : value) line->append(c == '"' ? 2 : 1, c);
  *line += '"';
}

// Every text stands in quotes, so that blanks stay and no line is empty.
std::string lineOf(const RowSource& source, const Row& row, const std::string& name) {
  static_cast<void>(recordOf(source, row, name));  // what no record holds is refused
  std::string line;
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (i != 0) line += ';';
    const auto* text = std::get_if<std::string>(&row[i]);
    const auto* real = std::get_if<double>(&row[i]);
    const bool holds = text != nullptr   ? text->find_first_of("\r\n") == std::string::npos
                       : real != nullptr ? std::isfinite(*real)
                                         : std::holds_alternative<std::int64_t>(row[i]);
    if (!holds) throw cannotHold(source, i, row[i], name);
    if (text != nullptr)
      appendText(*text, &line);
    else
      line += real != nullptr ? realText(*real) : cellText(row[i]);
  }
  return line + "\n";
}

}  // namespace

unsigned long copyToText(const CopyJob& job) {
  const std::string path = pathOf(job);
  const std::unique_ptr<RowSource> source = job.open();
  static_cast<void>(structureOf(*source));
  ProgressBar progress(source->name(), job.total);
  const ExitCode code = writeFile(path, false, [&](std::ostream& out) {
    for (Row row; source->next(&row) && out; showRows(progress, *source))
      out << lineOf(*source, row, job.name);
    return true;
  });
  if (code != ExitCode::done) throw Failure(code, job.name + ": not written");
  std::vector<std::string> leftOut = job.shape.rest;
  if (!job.shape.primaryKey.empty()) leftOut.emplace_back("primary key");
  for (const GDbIndex& index : job.shape.indexes) leftOut.push_back("index " + index.getName());
  reportLeftOut(job.name, leftOut);
  std::string columns;
  for (const Column& column : source->columns())
    columns +=
        (columns.empty() ? "" : ",") + column.name + ":" + std::string(typeName(column.type));
  complain(job.name + ".csv has no names of columns; read it with --columns " + columns);
  return source->number();
}

}  // namespace loom
