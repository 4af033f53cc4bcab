// SPDX-License-Identifier: MIT
#include "loomkit/platform/scratch_file.h"

#include "loomkit/platform/random_access.h"
#include "loomkit/platform/win32/hidden_name.h"
#include "loomkit/platform/win32/hul_status.h"
#include "loomkit/platform/win32/system_path.h"

namespace loomkit::platform {

ScratchFile::~ScratchFile() {
  if (handle >= 0) ::CloseHandle(systemHandle(handle));
}

// The file has a name while it is open, but nobody may open it, and the system deletes
// it when its only handle is closed, by whatever end of the process.
int ScratchFile::create(const std::string& neighbour) {
  constexpr DWORD flags =
      FILE_ATTRIBUTE_TEMPORARY | FILE_ATTRIBUTE_HIDDEN | FILE_FLAG_DELETE_ON_CLOSE;
  const std::string directory = neighbour.substr(0, neighbour.find_last_of("/\\:") + 1);
  for (int attempt = 0; attempt < hiddenNameAttempts; ++attempt) {
    const SystemPath path(directory + hiddenName());
    const HANDLE made = ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                      CREATE_NEW, flags, nullptr);
    if (made != INVALID_HANDLE_VALUE) {
      handle = handleNumber(made);
      return 0;
    }
    if (::GetLastError() != ERROR_FILE_EXISTS) break;
  }
  return failedStatus();
}

int ScratchFile::write(std::uint64_t offset, const void* data, std::size_t size) {
  return writeAt(handle, offset, data, size) ? 0 : failedStatus();
}

int ScratchFile::read(std::uint64_t offset, void* data, std::size_t size) const {
  std::size_t count = 0;
  if (!readAt(handle, offset, data, size, &count)) return failedStatus();
  return count == size ? 0 : failedWith(ERROR_HANDLE_EOF);
}

}  // namespace loomkit::platform
