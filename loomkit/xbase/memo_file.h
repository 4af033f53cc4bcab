// SPDX-License-Identifier: MIT
// MemoFile: the file of a table's memos. fpt_layout.h has the format.
#ifndef LOOMKIT_XBASE_MEMO_FILE_H
#define LOOMKIT_XBASE_MEMO_FILE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "loomkit/xbase/file.h"

namespace loomkit::xbase {

/// An open memo file. The `int` results are codes; each failure is also kept in
/// the engine.
class MemoFile {
 public:
  explicit MemoFile(Engine& engine);

  /// errorNotATable: the file is too short to be one.
  int open(const std::string& path);
  /// Makes a file without memos, of the engine's block size, and leaves it open.
  int create(const std::string& path);

  /// Reads the memo at a block. Its length is held to what the file has.
  /// errorReading: the block is in the header or behind the end.
  int read(std::uint32_t block, std::string* text);
  /// How long the memo is that read() would give.
  int length(std::uint32_t block, std::uint64_t* bytes);

  /// Writes a memo over the one at `*block`, if that one's blocks are enough, or
  /// else to new blocks, whose first goes to `*block`. 0 is no block.
  int write(std::string_view text, std::uint32_t* block);

  /// Writes what has changed and brings it to the disk.
  int flush();
  int close();

  [[nodiscard]] std::uint32_t blockSize() const { return sizeOfBlock; }
  /// The number of the block that the next new memo gets.
  [[nodiscard]] std::uint64_t nextFree() const;
  [[nodiscard]] const File& getFile() const { return file; }

 private:
  [[nodiscard]] bool holds(std::uint32_t block) const;
  int failed(int code);

  Engine* engine;
  File file;
  std::uint32_t sizeOfBlock = 0;
  std::uint32_t free = 0;
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_MEMO_FILE_H
