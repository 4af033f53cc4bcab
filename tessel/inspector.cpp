// SPDX-License-Identifier: MIT
#include "tessel/inspector.h"

#include "tessel/status.h"
#include "tessel/store/check.h"
#include "tessel/store/column_names.h"

namespace {

using tessel::Error;

const char* wordsOf(Error error) {
  switch (error) {
    case Error::noSuchFile:
      return "there is no such file";
    case Error::noStore:
      return "not a table store";
    case Error::damagedDirectory:
      return "the header or the directory is damaged";
    case Error::damagedData:
      return "the data are damaged";
    case Error::outOfMemory:
      return "out of memory";
    default:
      return "cannot be read";
  }
}

std::uint64_t sizeOf(const tessel::Column& column, std::uint32_t rows) {
  return tessel::valuesSize(column, rows) + tessel::dictionarySize(column) + column.heapSize;
}

GTesselInspector::Index describe(const tessel::TableInfo& table, const tessel::Index& index) {
  GTesselInspector::Index described;
  described.name = index.name;
  described.unique = index.unique;
  described.form = index.form == tessel::IndexForm::ranges ? "ranges" : "hashed";
  described.size = tessel::entriesSize(index, table.rowCount) + tessel::bucketsSize(index);
  for (const std::int32_t number : index.columns) {
    if (!described.columns.empty()) described.columns += ',';
    described.columns += table.columns[static_cast<std::size_t>(number)].name;
  }
  return described;
}

GTesselInspector::Table describe(const tessel::TableInfo& table) {
  GTesselInspector::Table described;
  described.name = table.name;
  described.rows = table.rowCount;
  for (const tessel::Column& column : table.columns)
    described.columns.push_back(
        {column.name, tessel::storageName(column), sizeOf(column, table.rowCount)});
  for (const tessel::Index& index : table.indexes)
    described.indexes.push_back(describe(table, index));
  return described;
}

}  // namespace

GTesselInspector::GTesselInspector() = default;
GTesselInspector::~GTesselInspector() = default;

GDbStatus GTesselInspector::open(const std::string& filePath) {
  path = filePath;
  message.clear();
  tables.clear();
  store = std::make_unique<tessel::Store>();
  const Error error = store->open(path);
  damaged = error == Error::damagedDirectory;
  if (error != Error::none) {
    store.reset();
    message = path + ": " + wordsOf(error);
    return tessel::statusOf(error);
  }
  fileSize = store->blocks()->size();
  for (const tessel::TableInfo& table : store->tables()) tables.push_back(describe(table));
  return GDbNoError;
}

GDbStatus GTesselInspector::check(const Progress& progress) {
  if (store == nullptr) return GDbNotOpen;
  std::string problem;
  const Progress nobody = [](std::uint64_t, std::uint64_t) {};
  const Error error = checkStore(store.get(), progress ? progress : nobody, &problem);
  damaged = error == Error::damagedData;
  message = error == Error::none ? "" : path + ": " + problem;
  return tessel::statusOf(error);
}
