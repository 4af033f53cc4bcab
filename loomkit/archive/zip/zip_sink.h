// SPDX-License-Identifier: MIT
// GZipFileWriter: where the bytes of a zip archive go, a file handle or a
// standard stream.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_SINK_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_SINK_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <ostream>

#include "loomkit/platform/export.h"

/// The int results are statuses of the platform's file layer: 0 is success, a
/// negative one a failure with words of its own; `unspecificFailure`, which has
/// none, stands for every failure of a stream. One thread at a time.
class LOOMKIT_API GZipFileWriter {
 public:
  static constexpr int unspecificFailure = static_cast<int>(0x80004005U);

  /// Takes over an open file handle of the platform's file layer.
  GZipFileWriter(int handle);
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
  friend class GZipEntry;
  friend class GZipWriter;

  // From hold() to release() what is written to a handle is gathered, so that a
  // small member costs one system call and a large one goes out in pieces that
  // end with a page. A failure is told by the write() that makes room, or by
  // release(); tell() is then where the bytes have ended. Nothing is held for a
  // stream, which has a buffer of its own, nor where there is no position.
  void hold();
  int release();
  // Overwrites bytes that are still held; false when they are not.
  bool amend(long target, const void* data, std::size_t size);
  [[nodiscard]] bool holds(long target) const { return holding && target >= position; }

  int writeOut(const char* data, int size);
  int gather(const char* data, std::size_t size);
  int makeRoom();

  static constexpr std::size_t capacity = 65536;

  bool usesHandle;
  std::ostream* stream = nullptr;
  bool ownsStream = false;
  int handle = -1;
  // Of the handle, which nobody else moves; -1 when it has to be asked for.
  std::int64_t position = -1;
  bool holding = false;
  std::unique_ptr<char[]> held;
  std::size_t heldSize = 0;
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_SINK_H
