// SPDX-License-Identifier: MIT
#include "../temporary_directory.h"

#include <atomic>
#include <filesystem>

#include "../command.h"
#include "../interruption.h"
#include "../path_of.h"
#include "loomkit/platform/win32/windows_api.h"

namespace loom {

namespace fs = std::filesystem;

namespace {

// The directory of the one object that there is at a time.
std::atomic<const char*> current{nullptr};

void removeCurrent() {
  const char* const path = current.exchange(nullptr);
  std::error_code ignored;
  if (path != nullptr) fs::remove_all(pathOf(path), ignored);
}

}  // namespace

// The system's directory for temporary files belongs to one user, and what is made in it
// has its rights.
TemporaryDirectory::TemporaryDirectory() {
  std::error_code error;
  const std::string start = (fs::temp_directory_path(error) / "loom-").generic_string() +
                            std::to_string(::GetCurrentProcessId()) + "-";
  constexpr int attempts = 1000;
  bool made = false;
  for (int i = 0; i < attempts && !made && !error; ++i) {
    path = start + std::to_string(i);
    made = fs::create_directory(pathOf(path), error);
  }
  if (!made) throw Failure(ExitCode::cannotWrite, "cannot make a directory " + path);
  current = path.c_str();
  addCleanup(removeCurrent);
}

TemporaryDirectory::~TemporaryDirectory() {
  current = nullptr;
  std::error_code ignored;
  fs::remove_all(pathOf(path), ignored);
}

}  // namespace loom
