// SPDX-License-Identifier: MIT
// Memory statistics: the interface of a heap recorder that this build does not
// have. The functions exist and do nothing, so that a caller links and runs
// with or without one; nothing in the library fills the records.
#ifndef LOOMKIT_SYSTEM_MEM_DBG_H
#define LOOMKIT_SYSTEM_MEM_DBG_H

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include "loomkit/platform/export.h"

/// Two counters, both 0 here.
struct GMemDbgStat {
  std::uint32_t first;
  std::uint32_t second;
};

/// A recorded object.
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
  static constexpr std::size_t stackSize = 8;

  [[nodiscard]] const void* getKey() const { return address; }
  [[nodiscard]] const void* getPtr() const { return address; }
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
  [[nodiscard]] std::size_t getTotalSize() const { return totalSize; }

 private:
  [[maybe_unused]] std::uint32_t first = 0;
  std::size_t totalSize = 0;
  [[maybe_unused]] const void* stack[8] = {};
  [[maybe_unused]] std::uint32_t further[2] = {0, 0};
  std::vector<void*> blocks;
};

/// Hash tables of the records, by their number of entries.
class LOOMKIT_API GMemDbgBlockHash {
 public:
  [[nodiscard]] std::uint32_t getNumEntries() const { return words[0]; }

 private:
  std::uint32_t words[3] = {0, 0, 0};
};
class LOOMKIT_API GMemDbgAllocSiteHash {
 public:
  [[nodiscard]] std::uint32_t getNumEntries() const { return words[0]; }

 private:
  std::uint32_t words[3] = {0, 0, 0};
};

/// These three do nothing.
LOOMKIT_API void gMemDbgStartRecording();
LOOMKIT_API void gMemDbgStopRecording();
LOOMKIT_API void gMemDbgResetRecording();

/// Writes "memory debugging not compiled in", without a line end.
LOOMKIT_API void gMemDbgDump(std::ostream& stream);

/// Sets both counters to 0.
LOOMKIT_API void gMemDbgGetStatistic(GMemDbgStat* statistic);

#endif  // LOOMKIT_SYSTEM_MEM_DBG_H
