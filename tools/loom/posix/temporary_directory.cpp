// SPDX-License-Identifier: MIT
#include "../temporary_directory.h"

#include <cstdlib>
#include <filesystem>

#include "../command.h"

namespace loom {

namespace fs = std::filesystem;

TemporaryDirectory::TemporaryDirectory() {
  std::error_code error;
  path = (fs::temp_directory_path(error) / "loom-XXXXXX").string();
  if (error || mkdtemp(path.data()) == nullptr) {
    throw Failure(ExitCode::cannotWrite, "cannot make a directory " + path);
  }
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

}  // namespace loom
