// SPDX-License-Identifier: MIT
#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>

#include "loomkit/platform/files.h"
#include "loomkit/platform/platform.h"
#include "loomkit/platform/posix/error_codes.h"
#include "loomkit/platform/posix/paths.h"

namespace loomkit::platform {
namespace {

constexpr unsigned noSuchFile = 2;
constexpr unsigned noSuchDirectory = 3;
constexpr unsigned noMoreFiles = 18;

// '*' stands for any run of characters, '?' for one. Goes back to the last '*'
// only, so the time is bounded by the product of the lengths.
bool matches(const char* pattern, const char* name) {
  const char* star = nullptr;
  const char* resume = nullptr;
  while (*name != '\0') {
    if (*pattern == '*') {
      star = pattern++;
      resume = name;
    } else if (*pattern == '?' || *pattern == *name) {
      ++pattern;
      ++name;
    } else if (star != nullptr) {
      pattern = star + 1;
      name = ++resume;
    } else {
      return false;
    }
  }
  while (*pattern == '*') ++pattern;
  return *pattern == '\0';
}

struct CloseDirectory {
  void operator()(DIR* directory) const { ::closedir(directory); }
};

}  // namespace

struct FileSearch::State {
  std::unique_ptr<DIR, CloseDirectory> directory;  // null: one plain name only
  std::string pattern;
  std::string found;
};

FileSearch::FileSearch() = default;
FileSearch::~FileSearch() = default;

bool FileSearch::first(const std::string& pattern) {
  const std::string path = systemPath(pattern);
  const std::size_t slash = path.rfind('/');
  const std::size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
  auto search = std::make_unique<State>();
  search->pattern = path.substr(nameStart);
  state.reset();

  if (search->pattern.find_first_of("*?") == std::string::npos) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
      setPathError(path, errno);
      return false;
    }
    search->found = search->pattern;
    state = std::move(search);
    return true;
  }

  const std::string folder = nameStart == 0 ? "." : path.substr(0, nameStart);
  search->directory.reset(::opendir(folder.c_str()));
  if (!search->directory) {
    if (errno == ENOENT) {
      setLastError(noSuchDirectory);
    } else {
      setLastErrorFromErrno(errno);
    }
    return false;
  }
  state = std::move(search);
  if (next()) return true;
  if (lastError() == noMoreFiles) setLastError(noSuchFile);
  state.reset();
  return false;
}

bool FileSearch::next() {
  if (!state || !state->directory) {
    setLastError(noMoreFiles);
    return false;
  }
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(state->directory.get());
    if (entry == nullptr) {
      if (errno == 0) {
        setLastError(noMoreFiles);
      } else {
        setLastErrorFromErrno(errno);
      }
      return false;
    }
    if (matches(state->pattern.c_str(), entry->d_name)) {
      state->found = entry->d_name;
      return true;
    }
  }
}

const std::string& FileSearch::name() const { return state->found; }

bool FileSearch::close() {
  if (!state) return false;
  DIR* directory = state->directory.release();
  state.reset();
  if (directory == nullptr || ::closedir(directory) == 0) return true;
  setLastErrorFromErrno(errno);
  return false;
}

}  // namespace loomkit::platform
