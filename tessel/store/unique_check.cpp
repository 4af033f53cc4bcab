// SPDX-License-Identifier: MIT
#include "tessel/store/unique_check.h"

#include <algorithm>
#include <vector>

#include "tessel/store/lookup.h"

namespace tessel {
namespace {

class UniqueCheck {
 public:
  UniqueCheck(Store* store, UniqueSuspect suspect)
      : file(store->blocks()),
        table(store->tables()[suspect.table]),
        index(table.indexes[suspect.index]) {}

  Error run(std::optional<Twins>* found) {
    std::uint32_t previous = 0;
    for (std::uint32_t i = 0; error == Error::none && !twins && i < table.rowCount; ++i) {
      std::uint32_t hash = 0;
      std::uint32_t row = 0;
      error = readEntry(file, table, index, i, &hash, &row);
      if (hash != previous) endGroup();
      previous = hash;
      group.push_back(row);
    }
    if (error == Error::none && !twins) endGroup();
    *found = twins;
    return error;
  }

 private:
  // Sorts the rows of a hash by their keys: however many there are, it takes
  // little more than one look at each.
  void endGroup() {
    if (group.size() > 1) {
      std::stable_sort(group.begin(), group.end(),
                       [this](std::uint32_t a, std::uint32_t b) { return orderOf(a, b) < 0; });
      for (std::size_t i = 1; i < group.size() && !twins; ++i)
        if (orderOf(group[i - 1], group[i]) == 0 && error == Error::none)
          twins = {group[i - 1], group[i]};
    }
    group.clear();
  }

  // 0 once something has failed.
  int orderOf(std::uint32_t a, std::uint32_t b) {
    int order = 0;
    if (error == Error::none) error = compareKeys(file, table, index, a, b, &order);
    return order;
  }

  BlockFile* file;
  const TableInfo& table;
  const Index& index;
  std::vector<std::uint32_t> group;  // rows of the same hash
  Error error = Error::none;
  std::optional<Twins> twins;
};

}  // namespace

Error checkUnique(Store* store, UniqueSuspect suspect, std::optional<Twins>* twins) {
  // The rows of ranges have different values: checkStore() sees to it.
  twins->reset();
  if (store->tables()[suspect.table].indexes[suspect.index].form == IndexForm::ranges)
    return Error::none;
  return UniqueCheck(store, suspect).run(twins);
}

Error checkUnique(const std::string& path, UniqueSuspect suspect, std::optional<Twins>* twins) {
  Store store;
  const Error error = store.open(path);
  return error == Error::none ? checkUnique(&store, suspect, twins) : error;
}

}  // namespace tessel
