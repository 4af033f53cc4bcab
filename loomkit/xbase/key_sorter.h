// SPDX-License-Identifier: MIT
// KeySorter: brings the keys of a table into order, in bounded memory. What does
// not fit is written to a scratch file in sorted runs, which are merged in the
// end.
//
// After D. Knuth, "The Art of Computer Programming" 3, 5.4 (external sorting).
#ifndef LOOMKIT_XBASE_KEY_SORTER_H
#define LOOMKIT_XBASE_KEY_SORTER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace loomkit::xbase {

class ScratchFile;
struct Engine;

/// Sorts entries of a key and a record number, by the key, then the number. What
/// returns an `int` gives a code of codes.h.
///
///   KeySorter sorter(engine, keyLength, tableDirectory);
///   sorter.reserve(recordCount);
///   for (...) sorter.add(key, record);
///   sorter.forEach([&](const unsigned char* key, std::uint32_t record) { ... });
class KeySorter {
 public:
  using Take = std::function<int(const unsigned char* key, std::uint32_t record)>;

  /// A scratch file is made in the directory that the environment names by TEMP,
  /// or else in `directory`. Memory is bounded by the engine's setting.
  KeySorter(Engine& engine, std::size_t keyLength, std::string directory);
  KeySorter(const KeySorter&) = delete;
  KeySorter& operator=(const KeySorter&) = delete;
  /// Removes the scratch file.
  ~KeySorter();

  /// Makes room for so many entries, as far as they are to stay in memory.
  void reserve(std::size_t count);
  /// Requires: record numbers ascend.
  int add(const unsigned char* key, std::uint32_t record);
  /// Hands over all entries in order, until one is not taken. The sorter is empty
  /// afterwards.
  int forEach(const Take& take);

  /// Runs that had to be written so far.
  [[nodiscard]] std::size_t runCount() const noexcept { return runs.size(); }

 private:
  /// What an entry is compared by first: eight bytes of its key, most significant
  /// first, behind what all keys have in common.
  struct Rank {
    std::uint64_t bytes;
    std::uint32_t index;
  };
  struct Run {
    std::uint64_t offset;
    std::uint64_t count;
  };
  class RunReader;

  [[nodiscard]] const unsigned char* keyAt(std::uint32_t index) const noexcept;
  void sortRun();
  [[nodiscard]] std::size_t commonPrefix() const noexcept;
  int writeRun();
  int merge(const Take& take);

  Engine* engine;
  std::size_t keyLength;
  std::size_t limit;  // of entries in memory
  std::string directory;
  std::vector<unsigned char> keys;
  std::vector<std::uint32_t> records;
  std::vector<Rank> ranks;
  bool ordered = true;  // what is in memory came in order
  std::vector<Run> runs;
  std::unique_ptr<ScratchFile> scratch;
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_KEY_SORTER_H
