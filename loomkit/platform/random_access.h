// SPDX-License-Identifier: MIT
// Files that are read and written at any place. Paths are native. A call that
// returns false has set the thread's last error (platform.h).
#ifndef LOOMKIT_PLATFORM_RANDOM_ACCESS_H
#define LOOMKIT_PLATFORM_RANDOM_ACCESS_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace loomkit::platform {

/// What a file is opened for. The two that create open for reading and writing.
enum class OpenMode {
  readOnly,
  readWrite,
  createNew,    ///< fails if the file is there
  createAlways  ///< empties a file that is there
};

/// What other openers may do meanwhile. Where the system has no share modes, an
/// advisory lock on the whole file stands in: it holds between the openers that
/// come through this function, in any process.
enum class ShareMode { readWrite, none };

/// Opens the regular file at `nativePath`; anything else, a directory or a pipe,
/// is a failure, and never waited for. `*handle` is set on success only.
bool openRandomAccess(const std::string& nativePath, OpenMode mode, ShareMode share, int* handle);

/// Reads `size` bytes, fewer at the end of the file; `*count` tells how many.
bool readAt(int handle, std::uint64_t offset, void* data, std::size_t size, std::size_t* count);

/// Writes all `size` bytes, or fails having written some of them.
bool writeAt(int handle, std::uint64_t offset, const void* data, std::size_t size);

bool fileSize(int handle, std::uint64_t* size);
/// Cuts the file, or lengthens it by zero bytes.
bool setFileSize(int handle, std::uint64_t size);
/// Brings what was written to the disk.
bool syncFile(int handle);
/// The handle is gone afterwards in any case.
bool closeFile(int handle);

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_RANDOM_ACCESS_H
