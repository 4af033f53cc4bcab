// SPDX-License-Identifier: MIT
#include "../temporary_directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "../command.h"
#include "../interruption.h"

namespace loom {

namespace fs = std::filesystem;

namespace {

// The directory of the one object that there is at a time.
std::atomic<const char*> current{nullptr};

// Deletes the files of a directory and the directory. readdir() allocates, which
// a signal handler may not, so the system is asked directly.
void removeCurrent() {
  const char* const path = current.exchange(nullptr);
  if (path == nullptr) return;
  const int directory = ::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  alignas(dirent64) char block[4096];
  long size = 0;
  while ((size = ::syscall(SYS_getdents64, directory, block, sizeof block)) > 0) {
    for (long at = 0; at < size;) {
      dirent64 entry{};
      std::memcpy(&entry.d_reclen, block + at + offsetof(dirent64, d_reclen),
                  sizeof entry.d_reclen);
      ::unlinkat(directory, block + at + offsetof(dirent64, d_name), 0);
      at += entry.d_reclen;
    }
  }
  ::rmdir(path);
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
  std::error_code error;
  path = (fs::temp_directory_path(error) / "loom-XXXXXX").string();
  if (error || mkdtemp(path.data()) == nullptr) {
    throw Failure(ExitCode::cannotWrite, "cannot make a directory " + path);
  }
  current = path.c_str();
  addCleanup(removeCurrent);
}

TemporaryDirectory::~TemporaryDirectory() {
  current = nullptr;
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

}  // namespace loom
