// SPDX-License-Identifier: MIT
#include "tessel/builder/entry_sorter.h"

#include <algorithm>
#include <array>

namespace tessel {
namespace {

constexpr std::size_t mergeBlock = 8192;  // entries read of a run at a time

// The rows come in ascending order, so that a stable sort by the hash alone is
// enough: three passes of a radix sort over 11, 11 and 10 bits.
void sortByHash(std::vector<std::uint64_t>* entries) {
  constexpr unsigned shifts[] = {32, 43, 54};
  constexpr std::size_t digits = 2048;
  constexpr std::size_t fewEntries = 4096;
  if (entries->size() < fewEntries) {
    std::sort(entries->begin(), entries->end());
    return;
  }
  std::vector<std::uint64_t> other(entries->size());
  for (const unsigned shift : shifts) {
    std::array<std::size_t, digits> places{};
    for (const std::uint64_t entry : *entries) ++places[entry >> shift & (digits - 1)];
    std::size_t sum = 0;
    for (std::size_t& place : places) {
      const std::size_t count = place;
      place = sum;
      sum += count;
    }
    for (const std::uint64_t entry : *entries)
      other[places[entry >> shift & (digits - 1)]++] = entry;
    entries->swap(other);
  }
}

}  // namespace

void EntrySorter::spillRun() {
  sortByHash(&entries);
  Run run{0, entries.size(), {}, 0};
  workspace->spill(entries.data(), entries.size() * sizeof entries[0], &run.offset);
  runs.push_back(std::move(run));
  entries.clear();
}

void EntrySorter::sort() {
  if (runs.empty()) {
    sortByHash(&entries);
    return;
  }
  if (!entries.empty()) spillRun();
  entries = {};
  for (std::size_t i = 0; i < runs.size(); ++i)
    if (refill(&runs[i])) heap.push_back(i);
  const auto later = [this](std::size_t a, std::size_t b) {
    return runs[a].block[runs[a].at] > runs[b].block[runs[b].at];
  };
  std::make_heap(heap.begin(), heap.end(), later);
}

bool EntrySorter::refill(Run* run) {
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(run->left, mergeBlock));
  run->block.resize(count);
  run->at = 0;
  const std::size_t size = count * sizeof run->block[0];
  if (count == 0 || !workspace->fetch(run->offset, run->block.data(), size)) return false;
  run->offset += size;
  run->left -= count;
  return true;
}

// The run whose entry was given out moves on.
void EntrySorter::mergeStep() {
  const auto later = [this](std::size_t a, std::size_t b) {
    return runs[a].block[runs[a].at] > runs[b].block[runs[b].at];
  };
  std::pop_heap(heap.begin(), heap.end(), later);
  Run& run = runs[heap.back()];
  if (++run.at == run.block.size() && !refill(&run))
    heap.pop_back();
  else
    std::push_heap(heap.begin(), heap.end(), later);
}

bool EntrySorter::next(std::uint32_t* hash, std::uint32_t* row) {
  std::uint64_t entry = 0;
  if (runs.empty()) {
    if (at == entries.size()) return false;
    entry = entries[at++];
  } else {
    if (heap.empty() || workspace->status() != 0) return false;
    const Run& run = runs[heap.front()];
    entry = run.block[run.at];
    mergeStep();
  }
  *hash = static_cast<std::uint32_t>(entry >> 32);
  *row = static_cast<std::uint32_t>(entry);
  return true;
}

}  // namespace tessel
