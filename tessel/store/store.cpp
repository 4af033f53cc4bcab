// SPDX-License-Identifier: MIT
#include "tessel/store/store.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "tessel/store/lookup.h"

namespace tessel {
namespace {

// Where the values begin in the block of a result.
std::size_t valuesAt(std::size_t rowCount) {
  constexpr std::size_t mask = alignof(TslValue) - 1;
  return (rowCount * sizeof(TslRow) + mask) & ~mask;
}

}  // namespace

Error Store::open(const std::string& path) {
  Error error = file.open(path);
  if (error != Error::none) return error;
  error = readDirectory(file.directory(), file.dataEnd(), file.groupCount(), &directory);
  if (error != Error::none) return error;
  file.setGroupSums(std::move(directory.groupSums));
  return Error::none;
}

const TableInfo* Store::findTable(const char* name) const {
  const auto found =
      std::find_if(directory.tables.begin(), directory.tables.end(),
                   [name](const TableInfo& table) { return std::strcmp(table.name, name) == 0; });
  return found != directory.tables.end() ? &*found : nullptr;
}

Error Store::lookupKeys(const TableInfo& table, const TslKey* keys, int count, TslResultSet* set) {
  rows.clear();
  const Error error = findRows(&file, table, keys, count, &rows);
  return error == Error::none ? makeResult(table, set) : error;
}

Error Store::lookupRows(const TableInfo& table, int first, int count, TslResultSet* set) {
  if (first < 0 || count < 1) return Error::invalidArgument;
  rows.clear();
  const auto begin = static_cast<std::uint32_t>(first);
  const std::uint32_t left = begin < table.rowCount ? table.rowCount - begin : 0;
  for (std::uint32_t i = 0; i < std::min(left, static_cast<std::uint32_t>(count)); ++i)
    rows.push_back(begin + i);
  return makeResult(table, set);
}

// Finds the texts of all rows that do not stand in the rows themselves; `*textSize` is
// the room for all texts with their NULs.
Error Store::measure(const TableInfo& table, std::uint64_t* textSize) {
  texts.clear();
  *textSize = rows.size() * table.fixedTextRoom;
  if (!table.hasOtherTexts) return Error::none;
  for (const std::uint32_t row : rows)
    for (const Column& column : table.columns) {
      if (column.coding == Coding::plain) continue;
      TextSpan& text = texts.emplace_back();
      const Error error = findText(&file, column, row, &text);
      if (error != Error::none) return error;
      *textSize += text.size + 1;
    }
  return Error::none;
}

// A result is one block: the rows, the values of all rows, the texts.
Error Store::makeResult(const TableInfo& table, TslResultSet* set) {
  if (rows.empty()) return Error::none;
  std::uint64_t size = 0;
  Error error = measure(table, &size);
  if (error != Error::none) return error;
  // Counts are of 31 bits and entries small: 64 bits are enough.
  size += valuesAt(rows.size()) +
          rows.size() * (table.columns.size() * std::uint64_t{sizeof(TslValue)});
  if (size > std::numeric_limits<std::size_t>::max() / 2) return Error::outOfMemory;
  void* const block = ::operator new(static_cast<std::size_t>(size), std::nothrow);
  if (block == nullptr) return Error::outOfMemory;
  error = fill(table, static_cast<unsigned char*>(block));
  if (error != Error::none) {
    ::operator delete(block);
    return error;
  }
  set->rowCount = static_cast<std::int32_t>(rows.size());
  set->rows = static_cast<const TslRow*>(block);
  return Error::none;
}

// Copies a text that stands in its row, with all of its room: nothing then waits for
// the length, since what the row's cache line holds has often yet to come.
Error Store::copyFixed(const Column& column, std::uint32_t row, char** text) {
  if (!file.copy(entryOffset(column, row), column.width, *text)) return file.error();
  if (std::memchr(*text, 0, column.width) == nullptr) return Error::damagedData;
  *text += column.width;
  return Error::none;
}

Error Store::copyFound(const TextSpan& span, char** text) {
  const auto size = static_cast<std::size_t>(span.size);
  if (!file.copy(span.offset, size, *text)) return file.error();
  (*text)[size] = '\0';
  *text += size + 1;
  return Error::none;
}

Error Store::fill(const TableInfo& table, unsigned char* block) {
  auto* row = reinterpret_cast<TslRow*>(block);
  auto* value = reinterpret_cast<TslValue*>(block + valuesAt(rows.size()));
  auto* text = reinterpret_cast<char*>(value + rows.size() * table.columns.size());
  auto span = texts.begin();
  for (const std::uint32_t number : rows) {
    *row++ = {0, static_cast<std::int32_t>(table.columns.size()), value};
    for (const Column& column : table.columns) {
      Error error = Error::none;
      value->type = column.type;
      value->unused1 = 0;
      value->value.floatingValue = 0;
      if (column.type != TslTypeText) {
        error = readNumber(&file, column, number, &value->value);
      } else {
        value->value.textValue = text;
        error = column.coding == Coding::plain ? copyFixed(column, number, &text)
                                               : copyFound(*span++, &text);
      }
      if (error != Error::none) return error;
      ++value;
    }
  }
  return Error::none;
}

void releaseResult(TslResultSet* set) {
  ::operator delete(const_cast<TslRow*>(set->rows));
  *set = {0, 0, nullptr};
}

}  // namespace tessel
