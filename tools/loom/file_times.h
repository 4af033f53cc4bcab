// SPDX-License-Identifier: MIT
// Times of files in the seconds that gzip headers and people's programs count in.
#ifndef LOOM_FILE_TIMES_H
#define LOOM_FILE_TIMES_H

#include <cstdint>
#include <string>

namespace loom {

/// When the file was last changed, in seconds since 1970; 0 when that is unknown
/// or no number of 32 bits.
[[nodiscard]] std::uint32_t modificationTime(const std::string& path);

/// Sets it. A file system that refuses keeps its own time.
void setModificationTime(const std::string& path, std::uint32_t seconds);

}  // namespace loom

#endif  // LOOM_FILE_TIMES_H
