// SPDX-License-Identifier: MIT
// ScratchFile: a file for what does not fit into memory, gone with the object.
#ifndef LOOMKIT_XBASE_SCRATCH_FILE_H
#define LOOMKIT_XBASE_SCRATCH_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace loomkit::xbase {

struct Engine;

/// A file that is written from its front to its end and read anywhere. Its name
/// ends in ".TMP"; its directory is the one that the environment names by TEMP, or
/// else the one it was given. What returns an `int` gives a code of codes.h.
class ScratchFile {
 public:
  ScratchFile(Engine& engine, std::string directory);
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  /// Closes and removes the file.
  ~ScratchFile();

  /// Makes the file unless it is there. errorCreating.
  int open();
  int append(const void* data, std::size_t size);
  /// Reads what was appended. errorReading for less than `size` bytes.
  int read(std::uint64_t offset, void* data, std::size_t size);

  /// In bytes.
  [[nodiscard]] std::uint64_t length() const noexcept { return written + buffer.size(); }
  /// Empty until the file is there.
  [[nodiscard]] const std::string& name() const noexcept { return path; }

 private:
  int writeBuffer();
  int failed(int code);

  Engine* engine;
  std::string directory;
  std::string path;
  int handle = -1;
  std::uint64_t written = 0;
  std::vector<char> buffer;
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_SCRATCH_FILE_H
