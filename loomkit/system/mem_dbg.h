// SPDX-License-Identifier: MIT
// Memory statistics: the interface of a heap recorder that this build does not
// have. The functions exist and do nothing, so that a caller links and runs with or
// without a recorder. Nothing in the library fills the records, nothing here fails,
// and any thread may call it.
//
//   GMemDbgStat statistic;
//   gMemDbgGetStatistic(&statistic);         // both counters are 0
#ifndef LOOMKIT_SYSTEM_MEM_DBG_H
#define LOOMKIT_SYSTEM_MEM_DBG_H

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include "loomkit/platform/export.h"

/// Two counters, both 0 here.
struct GMemDbgStat {
  std::uint32_t first;   ///< always 0
  std::uint32_t second;  ///< always 0
};

/// A recorded object; it tells nothing.
class LOOMKIT_API GMemDbgObj {
 public:
  GMemDbgObj& operator=(const GMemDbgObj&) = default;

 private:
  [[maybe_unused]] std::uint32_t words[2] = {0, 0};
};

/// A recorded heap block: its address, its size in bytes, and where it came
/// from.
class LOOMKIT_API GMemDbgBlock {
 public:
  /// The number of code addresses that a block keeps.
  static constexpr std::size_t stackSize = 8;

  /// What a hash table files the block under: its address.
  [[nodiscard]] const void* getKey() const { return address; }
  /// The address of the block.
  [[nodiscard]] const void* getPtr() const { return address; }
  /// The size of the block in bytes.
  [[nodiscard]] std::size_t getSize() const { return size; }
  /// `stackSize` code addresses, which belong to this object.
  [[nodiscard]] const void* const* getStack() const { return stack; }

 private:
  const void* address = nullptr;
  std::size_t size = 0;
  const void* stack[stackSize] = {};
};

/// All blocks that came from one place.
class LOOMKIT_API GMemDbgAllocSite {
 public:
  /// The bytes of all its blocks together.
  [[nodiscard]] std::size_t getTotalSize() const { return totalSize; }

 private:
  [[maybe_unused]] std::uint32_t first = 0;
  std::size_t totalSize = 0;
  [[maybe_unused]] const void* stack[8] = {};
  [[maybe_unused]] std::uint32_t further[2] = {0, 0};
  std::vector<void*> blocks;
};

/// A hash table of blocks, which tells its number of entries.
class LOOMKIT_API GMemDbgBlockHash {
 public:
  /// The number of blocks, 0 here.
  [[nodiscard]] std::uint32_t getNumEntries() const { return words[0]; }

 private:
  std::uint32_t words[3] = {0, 0, 0};
};
/// A hash table of places that blocks come from, which tells its number of entries.
class LOOMKIT_API GMemDbgAllocSiteHash {
 public:
  /// The number of places, 0 here.
  [[nodiscard]] std::uint32_t getNumEntries() const { return words[0]; }

 private:
  std::uint32_t words[3] = {0, 0, 0};
};

/// Would begin to record; does nothing.
LOOMKIT_API void gMemDbgStartRecording();
/// Would end the recording; does nothing.
LOOMKIT_API void gMemDbgStopRecording();
/// Would forget what was recorded; does nothing.
LOOMKIT_API void gMemDbgResetRecording();

/// Writes "memory debugging not compiled in", without a line end.
LOOMKIT_API void gMemDbgDump(std::ostream& stream);

/// Sets both counters to 0.
LOOMKIT_API void gMemDbgGetStatistic(GMemDbgStat* statistic);

#endif  // LOOMKIT_SYSTEM_MEM_DBG_H
