// SPDX-License-Identifier: MIT
// A file without a name for what does not fit into memory.
#ifndef LOOMKIT_PLATFORM_SCRATCH_FILE_H
#define LOOMKIT_PLATFORM_SCRATCH_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace loomkit::platform {

/// An empty file that nobody else can open, and that is gone with the object or
/// with the process. For one thread at a time.
class ScratchFile {
 public:
  ScratchFile() = default;
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  ~ScratchFile();

  [[nodiscard]] bool isOpen() const { return handle >= 0; }

  /// Makes the file in the directory of `neighbour`, a native path. 0 or a
  /// status of hul.h.
  int create(const std::string& neighbour);

  /// Writes and reads exactly `size` bytes from `offset` on. 0 or a status.
  int write(std::uint64_t offset, const void* data, std::size_t size);
  int read(std::uint64_t offset, void* data, std::size_t size) const;

 private:
  int handle = -1;
};

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_SCRATCH_FILE_H
