// SPDX-License-Identifier: MIT
// loom tessel: what is in the files of the table store.

#include "console.h"
#include "families.h"
#include "json_writer.h"
#include "progress_bar.h"
#include "readable_file.h"
#include "tessel/inspector.h"
#include "visible_text.h"

namespace loom {

namespace {

// Throws the Failure that fits when `status` is not 0.
void requireStore(const GTesselInspector& inspector, GDbStatus status) {
  if (status == GDbNoError) return;
  throw Failure(inspector.isDamaged() ? ExitCode::damaged : ExitCode::cannotOpen,
                inspector.getErrMsg());
}

void openStore(const std::string& path, GTesselInspector* inspector) {
  const GDbStatus status = inspector->open(path);
  const std::string reason = status != GDbNoError ? whyUnreadable(path) : "";
  if (!reason.empty())
    throw Failure(ExitCode::cannotOpen, inspector->getErrMsg() + " (" + reason + ")");
  requireStore(*inspector, status);
}

void printTable(JsonWriter& json, const GTesselInspector::Table& table) {
  json.beginObject().key("name").value(table.name).key("rows").value(table.rows);
  json.key("columns").beginArray();
  for (const GTesselInspector::Column& column : table.columns) {
    json.beginObject().key("name").value(column.name).key("storage").value(column.storage);
    json.key("size").value(column.size).endObject();
  }
  json.endArray().key("indexes").beginArray();
  for (const GTesselInspector::Index& index : table.indexes) {
    json.beginObject().key("name").value(index.name).key("columns").value(index.columns);
    json.key("unique").value(index.unique).key("form").value(index.form);
    json.key("size").value(index.size).endObject();
  }
  json.endArray().endObject();
}

void printTable(const GTesselInspector::Table& table) {
  printLine(visible(table.name) + ": " + counted(table.rows, "record", "records"));
  for (const GTesselInspector::Column& column : table.columns)
    printLine("  " + visible(column.name) + "  " + column.storage + ", " +
              std::to_string(column.size) + " bytes");
  for (const GTesselInspector::Index& index : table.indexes)
    printLine("  " + std::string(index.unique ? "unique index" : "index") + " on " +
              visible(index.columns) + "  " + index.form + ", " + std::to_string(index.size) +
              " bytes");
}

ExitCode info(const Invocation& call) {
  GTesselInspector inspector;
  openStore(call.operand("FILE"), &inspector);
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("size").value(inspector.getFileSize()).key("tables").beginArray();
    for (const GTesselInspector::Table& table : inspector.getTables()) printTable(json, table);
    json.endArray().endObject();
  } else {
    for (const GTesselInspector::Table& table : inspector.getTables()) printTable(table);
    printLine(std::to_string(inspector.getFileSize()) + " bytes");
  }
  return ExitCode::done;
}

// Opens a store and reads all of it. Throws as openStore() does.
void readAll(const std::string& path, GTesselInspector* inspector) {
  openStore(path, inspector);
  ProgressBar bar("check", 0);
  requireStore(*inspector, inspector->check([&](std::uint64_t done, std::uint64_t total) {
    bar.show(done, total);
  }));
}

// What is found damaged is the result that was asked for: JSON tells it too.
ExitCode check(const Invocation& call) {
  GTesselInspector inspector;
  try {
    readAll(call.operand("FILE"), &inspector);
  } catch (const Failure&) {
    if (!call.json() || !inspector.isDamaged()) throw;
    JsonWriter json;
    json.beginObject().key("whole").value(false);
    json.key("what").value(inspector.getErrMsg()).endObject();
    return ExitCode::damaged;
  }
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("whole").value(true).endObject();
  } else {
    printLine("whole");
  }
  return ExitCode::done;
}

constexpr Operand fileOperands[] = {
    {.name = "FILE", .help = "The store file.", .completes = Completes::files}};
constexpr ExitCodeMeaning fileExits[] = {
    {ExitCode::cannotOpen, "the file cannot be opened or is no store"},
    {ExitCode::damaged, "the file is damaged"}};
constexpr Command tesselCommands[] = {
    {.name = "info",
     .summary = "tell what is in a store",
     .description = "Prints each table with its columns, how they are stored and what room they "
                    "take, and its indexes.",
     .operands = fileOperands,
     .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
                "$ loom db copy --index c1:unique csv:. parts tessel:parts.tessel\n2 records\n"
                "$ loom tessel info parts.tessel\nparts: 2 records\n"
                "  c1  int8, 2 bytes\n  c2  fixed text, 10 bytes\n  c3  float, 8 bytes\n"
                "  unique index on c1  ranges, 8 bytes\n422 bytes\n",
     .exits = fileExits,
     .run = info},
    {.name = "check",
     .summary = "check a store for damage",
     .description = "Reads the whole file and compares every checksum, every text and every "
                    "index.",
     .operands = fileOperands,
     .example = "$ printf '1;bolt;2.5\\n2;nut;0.25\\n' > parts.csv\n"
                "$ loom db copy csv:. parts tessel:parts.tessel\n2 records\n"
                "$ loom tessel check parts.tessel\nwhole\n",
     .exits = fileExits,
     .run = check},
};

}  // namespace

const Family tesselFamily = {
    .name = "tessel", .summary = "table stores", .commands = tesselCommands};

}  // namespace loom
