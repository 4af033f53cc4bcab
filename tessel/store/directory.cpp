// SPDX-License-Identifier: MIT
#include "tessel/store/directory.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "tessel/store/layout.h"

namespace tessel {
namespace {

using loomkit::RecordReader;

// What the stored codes of a field may be together.
struct Combination {
  int type;
  int storage;
  Coding coding;
  std::uint32_t minWidth;
  std::uint32_t maxWidth;
};

constexpr std::uint32_t anyWidth = 0x7fffffff;

constexpr Combination combinations[] = {
    {TslTypeSigned, TslStorageInt8, Coding::plain, 1, 1},
    {TslTypeSigned, TslStorageInt16, Coding::plain, 2, 2},
    {TslTypeSigned, TslStorageInt32, Coding::plain, 4, 4},
    {TslTypeUnsigned, TslStorageUInt8, Coding::plain, 1, 1},
    {TslTypeUnsigned, TslStorageUInt16, Coding::plain, 2, 2},
    {TslTypeUnsigned, TslStorageUInt32, Coding::plain, 4, 4},
    {TslTypePattern, TslStorageUInt32, Coding::plain, 4, 4},
    {TslTypeFloating, TslStorageFloat, Coding::plain, 4, 4},
    {TslTypeFloating, TslStorageDouble, Coding::plain, 8, 8},
    {TslTypeText, TslStorageFixedText, Coding::plain, 1, anyWidth},
    {TslTypeText, TslStorageText, Coding::heap, 4, 4},
    {TslTypeText, TslStorageText, Coding::heap, 8, 8},
    {TslTypeText, TslStorageText, Coding::dictionary, 1, 1},
    {TslTypeText, TslStorageText, Coding::dictionary, 2, 2},
};

bool isKnown(const Column& column) {
  return std::any_of(std::begin(combinations), std::end(combinations), [&](const Combination& c) {
    return c.type == column.type && c.storage == column.storage && c.coding == column.coding &&
           column.width >= c.minWidth && column.width <= c.maxWidth;
  });
}

// Rows of 32 and of 64 bytes lie in one line of the processor's cache each. Where little
// is missing to that, a row is padded.
std::uint32_t paddedWidth(std::uint32_t width) {
  for (const std::uint32_t wanted : {32U, 64U})
    if (width <= wanted && wanted - width <= width / 8) return wanted;
  return width;
}

// Where the parts of the directory begin. Each count is of 32 bits and each
// record small, so that no sum exceeds 64.
struct Parts {
  std::uint64_t tables;
  std::uint64_t fields;
  std::uint64_t indexes;
  std::uint64_t columns;
  std::uint64_t groups;
  std::uint64_t names;
  std::uint64_t end;
};

class DirectoryReader {
 public:
  DirectoryReader(const std::vector<unsigned char>& directoryBytes, std::uint64_t dataEnd)
      : bytes(directoryBytes),
        record(directoryBytes.data(), directoryBytes.size()),
        dataEndsAt(dataEnd) {}

  bool read(std::uint32_t groupCount, Directory* directory) {
    namespace d = layout::directory;
    if (!findParts() || record.get(d::groupCount) != groupCount) return false;
    for (std::uint32_t i = 0; i < groupCount; ++i)
      directory->groupSums.push_back(
          record.get(layout::sum::value.behind(place(parts.groups, i, layout::sum::size))));
    const std::uint32_t count = record.get(d::tableCount);
    for (std::uint32_t i = 0; i < count; ++i) {
      TableInfo table;
      if (!readTable(i, &table)) return false;
      directory->tables.push_back(std::move(table));
    }
    // Nothing may be left over.
    return nextField == record.get(d::fieldCount) && nextIndex == record.get(d::indexCount) &&
           nextColumn == record.get(d::columnCount) && record.ok() && sectionsAreApart() &&
           namesDiffer(directory->tables);
  }

 private:
  struct Section {
    std::uint64_t begin;
    std::uint64_t size;
  };

  bool findParts() {
    namespace d = layout::directory;
    parts.tables = d::size;
    parts.fields = parts.tables + std::uint64_t{record.get(d::tableCount)} * layout::table::size;
    parts.indexes = parts.fields + std::uint64_t{record.get(d::fieldCount)} * layout::field::size;
    parts.columns = parts.indexes + std::uint64_t{record.get(d::indexCount)} * layout::index::size;
    parts.groups = parts.columns + std::uint64_t{record.get(d::columnCount)} * layout::column::size;
    parts.names = parts.groups + std::uint64_t{record.get(d::groupCount)} * layout::sum::size;
    parts.end = parts.names + record.get(d::namesSize);
    return record.ok() && parts.end == bytes.size();
  }

  // Requires: findParts(), so that the place lies within the bytes.
  static std::size_t place(std::uint64_t part, std::uint64_t number, std::size_t size) {
    return static_cast<std::size_t>(part + number * size);
  }

  // Null unless the name ends within the names.
  const char* nameAt(std::uint32_t offset) const {
    if (offset >= parts.end - parts.names) return nullptr;
    const auto begin = static_cast<std::size_t>(parts.names + offset);
    const void* const end = std::memchr(bytes.data() + begin, 0, bytes.size() - begin);
    return end != nullptr ? reinterpret_cast<const char*>(bytes.data() + begin) : nullptr;
  }

  bool addSection(std::uint64_t begin, std::uint64_t size) {
    if (begin % layout::sectionAlignment != 0 || begin < layout::header::size ||
        begin > dataEndsAt || size > dataEndsAt - begin)
      return false;
    if (size != 0) sections.push_back({begin, size});
    return true;
  }

  bool readTable(std::uint32_t number, TableInfo* table) {
    namespace t = layout::table;
    const std::size_t at = place(parts.tables, number, t::size);
    table->name = nameAt(record.get(t::name.behind(at)));
    table->rowCount = record.get(t::rowCount.behind(at));
    const std::uint32_t fieldCount = record.get(t::fieldCount.behind(at));
    const std::uint32_t indexCount = record.get(t::indexCount.behind(at));
    if (table->name == nullptr || table->rowCount > layout::maxRows || fieldCount == 0 ||
        fieldCount > record.get(layout::directory::fieldCount) - nextField ||
        indexCount > record.get(layout::directory::indexCount) - nextIndex)
      return false;
    for (std::uint32_t i = 0; i < fieldCount; ++i)
      if (!readField(nextField++, table)) return false;
    table->rows = record.get(t::rows.behind(at));
    if (!placeColumns(table) || !addSection(table->rows, table->rowsSize())) return false;
    for (std::uint32_t i = 0; i < indexCount; ++i)
      if (!readIndex(nextIndex++, table)) return false;
    return namesDiffer(table->columns);
  }

  bool readField(std::uint32_t number, TableInfo* table) {
    namespace f = layout::field;
    const std::size_t at = place(parts.fields, number, f::size);
    Column column;
    column.name = nameAt(record.get(f::name.behind(at)));
    column.type = static_cast<TslType>(record.get(f::type.behind(at)));
    column.storage = static_cast<TslStorage>(record.get(f::storage.behind(at)));
    column.coding = static_cast<Coding>(record.get(f::coding.behind(at)));
    column.width = record.get(f::width.behind(at));
    column.dictionaryCount = record.get(f::dictionaryCount.behind(at));
    column.dictionary = record.get(f::dictionary.behind(at));
    column.heap = record.get(f::heap.behind(at));
    column.heapSize = record.get(f::heapSize.behind(at));
    if (column.name == nullptr || record.get(f::reserved.behind(at)) != 0 || !isKnown(column))
      return false;
    table->columns.push_back(column);
    return addColumnSections(column);
  }

  bool addColumnSections(const Column& column) {
    const bool usesHeap = column.coding != Coding::plain;
    if (usesHeap ? !addSection(column.heap, column.heapSize)
                 : column.heap != 0 || column.heapSize != 0)
      return false;
    if (column.coding != Coding::dictionary)
      return column.dictionary == 0 && column.dictionaryCount == 0;
    return addSection(column.dictionary, dictionarySize(column));
  }

  bool readIndex(std::uint32_t number, TableInfo* table) {
    namespace x = layout::index;
    const std::size_t at = place(parts.indexes, number, x::size);
    Index index;
    index.name = nameAt(record.get(x::name.behind(at)));
    const std::uint8_t unique = record.get(x::unique.behind(at));
    index.unique = unique == 1;
    index.form = static_cast<IndexForm>(record.get(x::form.behind(at)));
    if (index.form == IndexForm::hashed)
      index.bucketBits = record.get(x::bucketBits.behind(at));
    else
      index.rangeCount = record.get(x::rangeCount.behind(at));
    index.entries = record.get(x::entries.behind(at));
    index.buckets = record.get(x::buckets.behind(at));
    const std::uint32_t count = record.get(x::columnCount.behind(at));
    if (index.name == nullptr || unique > 1 || record.get(x::reserved.behind(at)) != 0 ||
        count == 0 || count > record.get(layout::directory::columnCount) - nextColumn)
      return false;
    for (std::uint32_t i = 0; i < count; ++i)
      if (!readIndexColumn(nextColumn++, table, &index)) return false;
    if (!columnsDiffer(index.columns) || !addIndexSections(index, *table)) return false;
    table->indexes.push_back(std::move(index));
    return true;
  }

  bool addIndexSections(const Index& index, const TableInfo& table) {
    if (!addSection(index.entries, entriesSize(index, table.rowCount))) return false;
    if (index.form == IndexForm::hashed)
      return index.bucketBits <= layout::maxBucketBits &&
             addSection(index.buckets, bucketsSize(index));
    // Each range has a row of its own, and is one of a single column of integers.
    return index.form == IndexForm::ranges && index.rangeCount <= table.rowCount &&
           index.buckets == 0 && index.columns.size() == 1 &&
           isInteger(table.columns[static_cast<std::size_t>(index.columns[0])].type);
  }

  bool readIndexColumn(std::uint32_t number, TableInfo* table, Index* index) {
    namespace c = layout::column;
    const std::uint32_t field = record.get(c::number.behind(place(parts.columns, number, c::size)));
    if (field >= table->columns.size()) return false;
    table->columns[field].indexed = true;
    index->columns.push_back(static_cast<std::int32_t>(field));
    return true;
  }

  static bool columnsDiffer(std::vector<std::int32_t> columns) {
    std::sort(columns.begin(), columns.end());
    return std::adjacent_find(columns.begin(), columns.end()) == columns.end();
  }

  bool sectionsAreApart() {
    std::sort(sections.begin(), sections.end(),
              [](const Section& a, const Section& b) { return a.begin < b.begin; });
    for (std::size_t i = 1; i < sections.size(); ++i)
      if (sections[i].begin - sections[i - 1].begin < sections[i - 1].size) return false;
    return true;
  }

  template <class Named>
  static bool namesDiffer(const std::vector<Named>& all) {
    std::vector<std::string_view> names;
    names.reserve(all.size());
    for (const Named& one : all) names.emplace_back(one.name);
    std::sort(names.begin(), names.end());
    return std::adjacent_find(names.begin(), names.end()) == names.end();
  }

  const std::vector<unsigned char>& bytes;
  RecordReader record;
  std::uint64_t dataEndsAt;
  Parts parts{};
  std::uint32_t nextField = 0;
  std::uint32_t nextIndex = 0;
  std::uint32_t nextColumn = 0;
  std::vector<Section> sections;
};

}  // namespace

bool placeColumns(TableInfo* table) {
  std::uint64_t width = 0;
  for (Column& column : table->columns) {
    column.values = table->rows + width;
    width += column.width;
    if (width > std::numeric_limits<std::uint32_t>::max()) return false;
    if (column.coding == Coding::heap) table->endsTexts = true;
    if (column.coding != Coding::plain) table->hasOtherTexts = true;
    if (column.storage == TslStorageFixedText) table->fixedTextRoom += column.width;
  }
  table->padding =
      paddedWidth(static_cast<std::uint32_t>(width)) - static_cast<std::uint32_t>(width);
  table->rowWidth = static_cast<std::uint32_t>(width) + table->padding;
  for (Column& column : table->columns) column.stride = table->rowWidth;
  return true;
}

std::uint64_t valuesSize(const Column& column, std::uint32_t rowCount) {
  const std::uint64_t entries = std::uint64_t{rowCount} + (column.coding == Coding::heap ? 1 : 0);
  return entries * column.width;
}

std::uint64_t dictionarySize(const Column& column) {
  return column.coding == Coding::dictionary ? (std::uint64_t{column.dictionaryCount} + 1) * 4 : 0;
}

std::uint64_t entriesSize(const Index& index, std::uint32_t rowCount) {
  return index.form == IndexForm::ranges ? std::uint64_t{index.rangeCount} * layout::range::size
                                         : std::uint64_t{rowCount} * layout::entry::size;
}

std::uint64_t bucketsSize(const Index& index) {
  return index.form == IndexForm::ranges ? 0 : (index.bucketCount() + 1) * layout::bucket::size;
}

Error readDirectory(const std::vector<unsigned char>& bytes, std::uint64_t dataEnd,
                    std::uint32_t groupCount, Directory* directory) {
  return DirectoryReader(bytes, dataEnd).read(groupCount, directory) ? Error::none
                                                                     : Error::damagedDirectory;
}

}  // namespace tessel
