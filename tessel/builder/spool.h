// SPDX-License-Identifier: MIT
// Spool: bytes that are written once and read once or twice, in order.
#ifndef TESSEL_BUILDER_SPOOL_H
#define TESSEL_BUILDER_SPOOL_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "tessel/builder/workspace.h"

namespace tessel {

/// Holds its bytes in chunks, in memory while the workspace has room, else in
/// the scratch file. Failures are the workspace's.
class Spool {
 public:
  explicit Spool(Workspace* ownedElsewhere) : workspace(ownedElsewhere) {}
  Spool(Spool&&) = default;
  Spool& operator=(Spool&&) = delete;
  ~Spool();

  void append(const void* data, std::size_t size) {
    if (size <= room) {
      std::memcpy(end, data, size);
      end += size;
      room -= size;
    } else {
      appendOver(static_cast<const unsigned char*>(data), size);
    }
  }

  [[nodiscard]] std::uint64_t size() const;

 private:
  friend class SpoolReader;
  struct Chunk {
    std::unique_ptr<unsigned char[]> bytes;  // null: in the scratch file
    std::uint64_t offset;
    std::size_t size;
  };

  void appendOver(const unsigned char* data, std::size_t size);
  void startChunk();
  void closeChunk();

  Workspace* workspace;
  std::vector<Chunk> chunks;              // those that are full
  std::unique_ptr<unsigned char[]> tail;  // the one that is filled
  std::size_t tailSize = 0;
  unsigned char* end = nullptr;  // in the tail
  std::size_t room = 0;          // behind `end`
  std::size_t kept = 0;          // reserved of the workspace
};

/// Reads a spool from its start. Nothing may be appended meanwhile.
class SpoolReader {
 public:
  explicit SpoolReader(const Spool& owner) : spool(owner) { enter(0); }

  /// The next `size` bytes; good until the next call. Null when there are not so
  /// many, and when they cannot be read.
  const unsigned char* take(std::size_t size) {
    if (size <= left) {
      const unsigned char* const bytes = next;
      next += size;
      left -= size;
      return bytes;
    }
    return takeOver(size);
  }

 private:
  bool enter(std::size_t number);
  const unsigned char* takeOver(std::size_t size);

  const Spool& spool;
  std::size_t chunk = 0;  // chunks.size() is the tail
  const unsigned char* next = nullptr;
  std::size_t left = 0;
  std::vector<unsigned char> fetched;   // a chunk of the scratch file
  std::vector<unsigned char> gathered;  // bytes that lay in two chunks or more
};

}  // namespace tessel

#endif  // TESSEL_BUILDER_SPOOL_H
