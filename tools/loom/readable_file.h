// SPDX-License-Identifier: MIT
// Why a file cannot be read, where a backend tells only that it cannot.
#ifndef LOOM_READABLE_FILE_H
#define LOOM_READABLE_FILE_H

#include <filesystem>
#include <string>

namespace loom {

/// "is a directory", "is no regular file", "is a link to nothing", or the system's words, such as
/// "Permission denied"; empty when the file can be read, and also when it is not there. A pipe is
/// never opened, which would wait for somebody to write.
[[nodiscard]] std::string whyUnreadable(const std::filesystem::path& file);

/// The entry of a directory that a backend takes for the table `name`, or nothing:
/// NAME.csv, or NAME.DBF in any letter case.
[[nodiscard]] std::filesystem::path csvFileOf(const std::string& directory,
                                              const std::string& name);
[[nodiscard]] std::filesystem::path xbaseFileOf(const std::string& directory,
                                                const std::string& name);

}  // namespace loom

#endif  // LOOM_READABLE_FILE_H
