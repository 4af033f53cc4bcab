// SPDX-License-Identifier: MIT
// OutputFile: a store file that is written from its start to its end.
#ifndef TESSEL_BUILDER_OUTPUT_FILE_H
#define TESSEL_BUILDER_OUTPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "loomkit/platform/replacement.h"

namespace tessel {

/// Gathers the data in blocks, and a checksum of each. Until commit() the target
/// is as it was; a file that is not committed is gone with the object. The first
/// failure stays.
class OutputFile {
 public:
  OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  /// Makes a file beside the target. 0 or a status of hul.h, here and below.
  int open(const std::string& target);

  [[nodiscard]] int status() const { return firstFailure; }
  /// Where the file lies until it is committed.
  [[nodiscard]] const std::string& path() const { return file.path; }

  void append(const void* data, std::size_t size) {
    if (size < bufferSize - used) {
      std::memcpy(buffer.data() + used, data, size);
      used += size;
    } else {
      appendOver(static_cast<const unsigned char*>(data), size);
    }
  }
  void appendZeros(std::size_t count);
  /// Appends zeros up to a place where a section may begin; the place.
  std::uint64_t startSection();

  /// The checksums of the groups of blocks, for the directory. Nothing is
  /// appended from here on.
  std::vector<std::uint32_t> endData();
  /// Writes the checksums, the directory and the header. The file is whole, and
  /// can be read at path().
  int finish(const std::vector<unsigned char>& directory);

  /// Brings the file to the disk and into the target's place.
  int commit();

 private:
  static constexpr std::size_t bufferSize = std::size_t{1} << 20;

  void appendOver(const unsigned char* data, std::size_t size);
  void flush();
  void write(const void* data, std::size_t size);

  loomkit::platform::Replacement file;
  std::vector<unsigned char> buffer;  // whole blocks, as many as fit
  std::size_t used = 0;
  std::uint64_t flushed = 0;        // bytes in front of the buffer
  std::vector<unsigned char> sums;  // as the file has them
  int firstFailure = 0;
};

}  // namespace tessel

#endif  // TESSEL_BUILDER_OUTPUT_FILE_H
