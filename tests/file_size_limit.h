// SPDX-License-Identifier: MIT
#ifndef LOOMKIT_TESTS_FILE_SIZE_LIMIT_H
#define LOOMKIT_TESTS_FILE_SIZE_LIMIT_H

#include <cstdint>
#include <string>

namespace loomkit::testing {

/// Lets no file of this process grow beyond so many bytes while it lives, which stands
/// in for a full disk. There is one at a time.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(std::uint64_t bytes);
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit();

  /// The system's words for what is met at the limit.
  static std::string words();
};

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_FILE_SIZE_LIMIT_H
