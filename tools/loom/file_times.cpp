// SPDX-License-Identifier: MIT
#include "file_times.h"

#include <chrono>
#include <filesystem>

#include "path_of.h"

namespace loom {

namespace fs = std::filesystem;
using std::chrono::file_clock;
using std::chrono::seconds;
using std::chrono::sys_seconds;

std::uint32_t modificationTime(const std::string& path) {
  std::error_code error;
  const fs::file_time_type time = fs::last_write_time(pathOf(path), error);
  if (error) return 0;
  const auto since1970 =
      std::chrono::floor<seconds>(file_clock::to_sys(time)).time_since_epoch().count();
  return since1970 > 0 && since1970 <= UINT32_MAX ? static_cast<std::uint32_t>(since1970) : 0;
}

void setModificationTime(const std::string& path, std::uint32_t time) {
  std::error_code ignored;
  fs::last_write_time(pathOf(path), file_clock::from_sys(sys_seconds(seconds(time))), ignored);
}

}  // namespace loom
