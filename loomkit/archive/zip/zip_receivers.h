// SPDX-License-Identifier: MIT
// The receivers behind GZipReader's readEntry: a stream and a growing block.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_RECEIVERS_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_RECEIVERS_H

#include <cstdint>
#include <ostream>

#include "loomkit/archive/zip/zip_reader.h"

/// Writes to a stream that it does not own.
class LOOMKIT_LOCAL GZipReader::StreamOutput : public GZipReader::Output {
 public:
  StreamOutput(std::ostream* stream, bool convertLineEnds);
  bool write(const char* data, unsigned int size) override;
  bool flush() override;

 private:
  std::ostream* target;
  bool pendingCR = false;
};

/// Gathers the bytes in one block.
class LOOMKIT_LOCAL GZipReader::BufferOutput : public GZipReader::Output {
 public:
  /// `plausible` is the most that the archive can deliver, judged by its own size.
  /// A member that claims more gets its memory only as its bytes come.
  BufferOutput(bool convertLineEnds, std::uint64_t plausible);
  BufferOutput(const BufferOutput&) = delete;
  BufferOutput& operator=(const BufferOutput&) = delete;
  ~BufferOutput() override;

  void reserve(unsigned int size) override;
  bool write(const char* data, unsigned int size) override;
  bool flush() override;

  /// Hands the block over to the caller.
  void release(char** data, unsigned int* size);

 private:
  void grow(unsigned int newCapacity);
  void put(char c) { buffer[used++] = c; }

  std::uint64_t believed;
  char* buffer = nullptr;
  std::uint32_t capacity = 0;
  std::uint32_t used = 0;
  std::uint32_t pendingCR = 0;
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_RECEIVERS_H
