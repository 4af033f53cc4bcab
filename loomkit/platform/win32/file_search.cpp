// SPDX-License-Identifier: MIT
#include "loomkit/platform/files.h"
#include "loomkit/platform/win32/error_codes.h"
#include "loomkit/platform/win32/system_path.h"

namespace loomkit::platform {

struct FileSearch::State {
  State() = default;
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State() {
    const KeepLastError unchanged;
    if (handle != INVALID_HANDLE_VALUE) ::FindClose(handle);
  }

  HANDLE handle = INVALID_HANDLE_VALUE;
  WIN32_FIND_DATAW data{};
  std::string found;
};

FileSearch::FileSearch() = default;
FileSearch::~FileSearch() = default;

bool FileSearch::first(const std::string& pattern) {
  auto search = std::make_unique<State>();
  state.reset();
  search->handle = ::FindFirstFileW(SystemPath(pattern).c_str(), &search->data);
  if (search->handle == INVALID_HANDLE_VALUE) {
    // A file in the place of a directory is a directory that is missing.
    return failed(::GetLastError() == ERROR_DIRECTORY ? ERROR_PATH_NOT_FOUND : ::GetLastError());
  }
  search->found = narrowText(search->data.cFileName);
  state = std::move(search);
  return true;
}

bool FileSearch::next() {
  if (!state) return failed(ERROR_NO_MORE_FILES);
  if (::FindNextFileW(state->handle, &state->data) == 0) return succeeded(false);
  state->found = narrowText(state->data.cFileName);
  return true;
}

const std::string& FileSearch::name() const { return state->found; }

bool FileSearch::close() {
  if (!state) return false;
  const HANDLE handle = std::exchange(state->handle, INVALID_HANDLE_VALUE);
  state.reset();
  return succeeded(::FindClose(handle) != 0);
}

}  // namespace loomkit::platform
