// SPDX-License-Identifier: MIT
#include "tessel/builder/directory_writer.h"

#include <cstring>
#include <limits>

#include "tessel/store/layout.h"

namespace tessel {
namespace {

using loomkit::RecordWriter;

// Appends records to the parts of the directory, which are joined at the end.
class DirectoryWriter {
 public:
  void addTable(const TableInfo& table) {
    namespace t = layout::table;
    RecordWriter record = append(&tables, t::size);
    record.put(t::name, nameOf(table.name));
    record.put(t::rowCount, table.rowCount);
    record.put(t::fieldCount, countOf(table.columns.size()));
    record.put(t::indexCount, countOf(table.indexes.size()));
    record.put(t::rows, table.rows);
    for (const Column& column : table.columns) addField(column);
    for (const Index& index : table.indexes) addIndex(index);
  }

  void addGroupSum(std::uint32_t value) {
    append(&groups, layout::sum::size).put(layout::sum::value, value);
  }

  std::vector<unsigned char> join() {
    namespace d = layout::directory;
    std::vector<unsigned char> bytes(d::size);
    RecordWriter record(bytes.data(), bytes.size());
    record.put(d::tableCount, countOf(tables.size() / layout::table::size));
    record.put(d::fieldCount, countOf(fields.size() / layout::field::size));
    record.put(d::indexCount, countOf(indexes.size() / layout::index::size));
    record.put(d::columnCount, countOf(columns.size() / layout::column::size));
    record.put(d::groupCount, countOf(groups.size() / layout::sum::size));
    record.put(d::namesSize, countOf(names.size()));
    for (const auto* part : {&tables, &fields, &indexes, &columns, &groups, &names})
      bytes.insert(bytes.end(), part->begin(), part->end());
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) fits = false;
    return fits ? bytes : std::vector<unsigned char>();
  }

 private:
  using Bytes = std::vector<unsigned char>;

  static RecordWriter append(Bytes* part, std::size_t size) {
    part->resize(part->size() + size);
    return {part->data() + part->size() - size, size};
  }

  std::uint32_t countOf(std::uint64_t count) {
    if (count > std::numeric_limits<std::uint32_t>::max()) fits = false;
    return static_cast<std::uint32_t>(count);
  }

  std::uint32_t nameOf(const char* name) {
    const std::uint32_t offset = countOf(names.size());
    names.insert(names.end(), name, name + std::strlen(name) + 1);
    return offset;
  }

  void addField(const Column& column) {
    namespace f = layout::field;
    RecordWriter record = append(&fields, f::size);
    record.put(f::name, nameOf(column.name));
    record.put(f::type, static_cast<std::uint8_t>(column.type));
    record.put(f::storage, static_cast<std::uint8_t>(column.storage));
    record.put(f::coding, static_cast<std::uint8_t>(column.coding));
    record.put(f::width, column.width);
    record.put(f::dictionaryCount, column.dictionaryCount);
    record.put(f::dictionary, column.dictionary);
    record.put(f::heap, column.heap);
    record.put(f::heapSize, column.heapSize);
  }

  void addIndex(const Index& index) {
    namespace x = layout::index;
    RecordWriter record = append(&indexes, x::size);
    record.put(x::name, nameOf(index.name));
    record.put(x::unique, index.unique ? 1 : 0);
    record.put(x::form, static_cast<std::uint8_t>(index.form));
    record.put(x::columnCount, countOf(index.columns.size()));
    if (index.form == IndexForm::hashed)
      record.put(x::bucketBits, index.bucketBits);
    else
      record.put(x::rangeCount, index.rangeCount);
    record.put(x::entries, index.entries);
    record.put(x::buckets, index.buckets);
    for (const std::int32_t number : index.columns)
      append(&columns, layout::column::size)
          .put(layout::column::number, static_cast<std::uint32_t>(number));
  }

  Bytes tables;
  Bytes fields;
  Bytes indexes;
  Bytes columns;
  Bytes groups;
  Bytes names;
  bool fits = true;
};

}  // namespace

std::vector<unsigned char> writeDirectory(const std::vector<TableInfo>& tables,
                                          const std::vector<std::uint32_t>& groupSums) {
  DirectoryWriter writer;
  for (const TableInfo& table : tables) writer.addTable(table);
  for (const std::uint32_t sum : groupSums) writer.addGroupSum(sum);
  return writer.join();
}

}  // namespace tessel
