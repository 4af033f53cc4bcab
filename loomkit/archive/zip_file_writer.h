// SPDX-License-Identifier: MIT
// GZipFileWriter: where the bytes of a zip archive go, a file handle or a
// standard stream.
#ifndef LOOMKIT_ARCHIVE_ZIP_FILE_WRITER_H
#define LOOMKIT_ARCHIVE_ZIP_FILE_WRITER_H

#include <cstdint>
#include <ostream>

#include "loomkit/platform/export.h"

/// The int results are statuses of the platform's file layer: 0 is success, a
/// negative one a failure with words of its own; `unspecificFailure`, which has
/// none, stands for every failure of a stream. One thread at a time.
class LOOMKIT_API GZipFileWriter {
 public:
  static constexpr int unspecificFailure = static_cast<int>(0x80004005U);

  /// Takes over an open file handle of the platform's file layer.
  explicit GZipFileWriter(int handle);
  /// Writes to a stream, and deletes it if `ownsStream` is set.
  GZipFileWriter(std::ostream* stream, bool ownsStream);
  GZipFileWriter(const GZipFileWriter&) = delete;
  GZipFileWriter& operator=(const GZipFileWriter&) = delete;
  /// Closes the handle, deletes an owned stream; failures go unnoticed.
  ~GZipFileWriter();

  /// Writes `size` bytes.
  int write(const void* data, int size);
  /// The position in bytes; -1 when there is none, or when that of a handle
  /// does not fit 32 bits.
  long tell();
  /// Moves to a position. A stream that cannot move stays failed.
  int seek(long target);
  /// Brings a stream's buffer out; nothing for a handle.
  int flush();
  /// Ends handle or stream. An owned file stream is closed and looked at, too.
  int close();

 private:
  bool usesHandle;
  std::ostream* stream = nullptr;
  bool ownsStream = false;
  int handle = -1;
  // Of the handle, which nobody else moves; -1 when it has to be asked for.
  std::int64_t position = -1;
};

#endif  // LOOMKIT_ARCHIVE_ZIP_FILE_WRITER_H
