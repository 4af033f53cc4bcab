// SPDX-License-Identifier: MIT
#include "tessel/store/check.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "tessel/store/layout.h"
#include "tessel/store/lookup.h"
#include "tessel/store/unique_check.h"

namespace tessel {
namespace {

class Check {
 public:
  using Progress = std::function<void(std::uint64_t, std::uint64_t)>;

  Check(Store* checked, const Progress& progressCall, std::string* firstProblem)
      : store(checked), file(checked->blocks()), progress(progressCall), problem(firstProblem) {}

  Error run() {
    total = file->blockCount();
    for (const TableInfo& table : store->tables())
      total += std::uint64_t{table.rowCount} * (table.columns.size() + table.indexes.size());
    Error error = checkBlocks();
    for (std::size_t i = 0; error == Error::none && i < store->tables().size(); ++i)
      error = checkTable(i);
    return error;
  }

 private:
  // Seldom enough to cost nothing.
  void step() {
    if (++done % 4096 == 0 || done == total) progress(done, total);
  }

  Error failed(Error error, const std::string& words) {
    *problem = words;
    return error;
  }
  Error damaged(const std::string& words) { return failed(Error::damagedData, words); }

  Error checkBlocks() {
    for (std::uint32_t block = 0; block < file->blockCount(); ++block) {
      const Error error = file->verify(block);
      const std::string place = "block " + std::to_string(block);
      if (error == Error::damagedData) return damaged(place + ": the checksum is wrong");
      if (error != Error::none) return failed(error, place + ": cannot be read");
      step();
    }
    return Error::none;
  }

  Error checkTable(std::size_t number) {
    const TableInfo& table = store->tables()[number];
    Error error = checkRows(table);
    for (std::size_t i = 0; error == Error::none && i < table.indexes.size(); ++i)
      error = checkIndex(number, i);
    return error;
  }

  Error checkRows(const TableInfo& table) {
    for (std::uint32_t row = 0; row < table.rowCount; ++row)
      for (const Column& column : table.columns) {
        step();
        if (column.type != TslTypeText) continue;
        TextSpan text{};
        const Error error = findText(file, column, row, &text);
        if (error != Error::none)
          return failed(error, std::string(table.name) + "." + column.name + ": row " +
                                   std::to_string(row) + " has no text");
      }
    return Error::none;
  }

  Error checkIndex(std::size_t tableNumber, std::size_t number) {
    const TableInfo& table = store->tables()[tableNumber];
    const Index& index = table.indexes[number];
    const std::string place = std::string(table.name) + ", index " + index.name + ": ";
    if (index.form == IndexForm::ranges) return checkRanges(table, index, place);
    Error error = checkEntries(table, index, place);
    if (error != Error::none) return error;
    error = checkBuckets(table, index, place);
    if (error != Error::none || !index.unique) return error;
    std::optional<Twins> twins;
    error = checkUnique(store, {tableNumber, number}, &twins);
    if (error != Error::none) return failed(error, place + "cannot be read");
    return !twins ? Error::none : damaged(place + "two rows have the same key");
  }

  Error checkEntries(const TableInfo& table, const Index& index, const std::string& place) {
    std::vector<bool> seen(table.rowCount);
    std::uint64_t previous = 0;
    for (std::uint32_t i = 0; i < table.rowCount; ++i) {
      std::uint32_t hash = 0;
      std::uint32_t row = 0;
      Error error = readEntry(file, table, index, i, &hash, &row);
      if (error != Error::none) return failed(error, place + "an entry leads to no row");
      const std::uint64_t entry = std::uint64_t{hash} << 32 | row;
      if (i != 0 && entry <= previous) return damaged(place + "not in order");
      if (seen[row]) return damaged(place + "a row is there twice");
      KeyHash right;
      for (const std::int32_t column : index.columns)
        if (error == Error::none)
          error = addToHash(file, table.columns[static_cast<std::size_t>(column)], row, &right);
      if (error != Error::none) return failed(error, place + "a key cannot be read");
      if (right.value() != hash) return damaged(place + "a hash is not that of its key");
      seen[row] = true;
      previous = entry;
      step();
    }
    return Error::none;
  }

  // A range as the rows show it.
  struct Stretch {
    Range range;
    std::uint32_t count;
  };

  // The ranges are in the order of their values and apart, and together they have
  // all rows, with the values that these have.
  Error checkRanges(const TableInfo& table, const Index& index, const std::string& place) {
    std::vector<Stretch> stretches;
    for (std::uint32_t i = 0; i < index.rangeCount; ++i) {
      Range range{};
      const Error error = readRange(file, table, index, i, &range);
      if (error != Error::none) return failed(error, place + "a range leads to no row");
      if (i != 0 && range.value <= stretches.back().range.value)
        return damaged(place + "not in order");
      stretches.push_back({range, 0});
    }
    const Error error = countRows(table, &stretches, place);
    if (error != Error::none) return error;
    for (const Stretch& stretch : stretches) {
      const Error wrong = checkStretch(table, index, stretch, place);
      if (wrong != Error::none) return wrong;
    }
    for (std::size_t i = 1; i < stretches.size(); ++i)
      if (stretches[i].range.value - stretches[i - 1].range.value < stretches[i - 1].count)
        return damaged(place + "two rows have the same value");
    return Error::none;
  }

  // Each range ends where the next one begins in the order of the rows.
  Error countRows(const TableInfo& table, std::vector<Stretch>* stretches,
                  const std::string& place) {
    std::vector<Stretch*> byRow;
    for (Stretch& stretch : *stretches) byRow.push_back(&stretch);
    std::sort(byRow.begin(), byRow.end(),
              [](const Stretch* a, const Stretch* b) { return a->range.row < b->range.row; });
    std::uint32_t end = table.rowCount;
    for (std::size_t i = byRow.size(); i-- > 0; end = byRow[i]->range.row) {
      byRow[i]->count = end - byRow[i]->range.row;
      if (byRow[i]->count == 0) return damaged(place + "two ranges begin at the same row");
    }
    return end == 0 ? Error::none : damaged(place + "rows are in no range");
  }

  Error checkStretch(const TableInfo& table, const Index& index, const Stretch& stretch,
                     const std::string& place) {
    const Column& column = table.columns[static_cast<std::size_t>(index.columns[0])];
    for (std::uint32_t i = 0; i < stretch.count; ++i) {
      TslContent value{};
      const Error error = readNumber(file, column, stretch.range.row + i, &value);
      if (error != Error::none) return failed(error, place + "a key cannot be read");
      if (integerOf(column, value) != stretch.range.value + i)
        return damaged(place + "a value is not that of its range");
      step();
    }
    return Error::none;
  }

  // Each bucket begins at the first entry whose hash has its bits or higher ones.
  Error checkBuckets(const TableInfo& table, const Index& index, const std::string& place) {
    std::uint32_t next = 0;
    for (std::uint64_t bucket = 0; bucket <= index.bucketCount(); ++bucket) {
      std::uint64_t first = 0;
      Error error = readUnsigned(file, index.buckets + bucket * layout::bucket::size,
                                 layout::bucket::size, &first);
      for (; error == Error::none && next < table.rowCount; ++next) {
        std::uint32_t hash = 0;
        std::uint32_t row = 0;
        error = readEntry(file, table, index, next, &hash, &row);
        if (std::uint64_t{hash} >> (32 - index.bucketBits) >= bucket) break;
      }
      if (error != Error::none) return failed(error, place + "cannot be read");
      if (first != next) return damaged(place + "a bucket begins at the wrong entry");
    }
    return Error::none;
  }

  Store* store;
  BlockFile* file;
  const Progress& progress;
  std::string* problem;
  std::uint64_t done = 0;
  std::uint64_t total = 0;
};

}  // namespace

Error checkStore(Store* store, const std::function<void(std::uint64_t, std::uint64_t)>& progress,
                 std::string* problem) {
  return Check(store, progress, problem).run();
}

}  // namespace tessel
