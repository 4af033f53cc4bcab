// SPDX-License-Identifier: MIT
// GZipFileWriter: the sink that the bytes of a zip archive go to, be it a file
// handle or a standard stream.
//
//   GZipFileWriter sink(&stream, false);
//   if (sink.write(bytes, size) != 0) ...
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_SINK_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_SINK_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <ostream>

#include "loomkit/platform/export.h"

/// Writes bytes, moves to a position, and ends what it writes to. GZipWriter makes
/// one for each archive; a host needs it only to write single headers of a
/// GZipEntry.
///
/// The results of type int are statuses of the platform's file layer: 0 is success,
/// and a negative one is a failure with words of its own. `unspecificFailure`, which
/// has none, stands for every failure of a stream. Nothing throws. One thread at a
/// time uses a sink.
class LOOMKIT_API GZipFileWriter {
 public:
  /// The status of a failure that nobody has words for.
  static constexpr int unspecificFailure = static_cast<int>(0x80004005U);

  /// Takes over an open file handle of the platform's file layer.
  GZipFileWriter(int handle);
  /// Writes to a stream, and deletes it in the end if `ownsStream` is set.
  GZipFileWriter(std::ostream* stream, bool ownsStream);
  GZipFileWriter(const GZipFileWriter&) = delete;
  GZipFileWriter& operator=(const GZipFileWriter&) = delete;
  /// Closes the handle or deletes an owned stream. Who wants to hear of a failure
  /// calls close() before.
  ~GZipFileWriter();

  /// Writes all `size` bytes at the present position.
  int write(const void* data, int size);
  /// The position in bytes. It is -1 when there is none, as for a stream that has
  /// failed, and when that of a handle does not fit 32 bits.
  long tell();
  /// Moves to a position, in bytes from the start. A stream that cannot move
  /// stays failed, and nothing more can be written to it.
  int seek(long target);
  /// Brings out what a stream's buffer holds. A handle has no buffer.
  int flush();
  /// Ends the handle or the stream, once; later calls do nothing and give 0. An
  /// owned file stream is closed, and a failure of that is told, too.
  int close();

 private:
  friend class GZipEntry;
  friend class GZipWriter;

  // Between hold() and release() the sink gathers what is written to a handle. So
  // a small member costs one system call, and a large one goes out in pieces that
  // end with a page. The write() that makes room tells of a failure, or release()
  // does; tell() is then where the bytes have ended. Nothing is held for a stream,
  // which has a buffer of its own, nor where there is no position.
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
  // The position of the handle, which nobody else moves; -1 when it has to be asked
  // for.
  std::int64_t position = -1;
  bool holding = false;
  std::unique_ptr<char[]> held;
  std::size_t heldSize = 0;
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_SINK_H
