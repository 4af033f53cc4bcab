// SPDX-License-Identifier: MIT
// What the file system says of a name: the one place where the commands ask it.
#ifndef LOOM_FILE_FACTS_H
#define LOOM_FILE_FACTS_H

#include <cstdint>
#include <cstdio>
#include <string>

namespace loom {

enum class FileKind { file, directory, link, socket, fifo, device, other };

struct FileFacts {
  FileKind kind = FileKind::other;
  std::uint16_t mode = 0;    ///< type and rights as on Unix
  std::int64_t modTime = 0;  ///< seconds since 1970
  std::uint64_t size = 0;
};

/// Tells of what is at a path; of a link itself unless `followLinks`. False, with the
/// reason, when there is nothing or it cannot be looked at.
bool factsOf(const std::string& path, bool followLinks, FileFacts* facts, std::string* reason);

/// Opens a file for reading, which the caller closes; never waits for the other end of a
/// FIFO. Null, with the reason, for what cannot be opened or is no regular file, as may be
/// when it has changed since it was looked at; a link itself is none unless `followLinks`.
std::FILE* openRegular(const std::string& path, bool followLinks, std::string* reason);

/// Where a link leads to. False, with the reason, when that cannot be read.
bool targetOf(const std::string& path, std::string* target, std::string* reason);

}  // namespace loom

#endif  // LOOM_FILE_FACTS_H
