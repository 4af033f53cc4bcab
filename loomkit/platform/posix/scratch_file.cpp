// SPDX-License-Identifier: MIT
#include "loomkit/platform/scratch_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "loomkit/platform/posix/hul_status.h"
#include "loomkit/platform/posix/paths.h"
#include "loomkit/platform/random_access.h"

namespace loomkit::platform {

ScratchFile::~ScratchFile() {
  if (handle >= 0) ::close(handle);
}

int ScratchFile::create(const std::string& neighbour) {
  const std::string beside = systemPath(neighbour);
  const std::size_t slash = beside.rfind('/');
  std::string path = slash == std::string::npos ? "" : beside.substr(0, slash + 1);
  path += ".loomkit-scratch-XXXXXX";
  handle = ::mkostemp(path.data(), O_CLOEXEC);
  if (handle < 0) return failedStatus();
  ::unlink(path.c_str());
  return 0;
}

int ScratchFile::write(std::uint64_t offset, const void* data, std::size_t size) {
  return writeAt(handle, offset, data, size) ? 0 : failedStatus();
}

int ScratchFile::read(std::uint64_t offset, void* data, std::size_t size) const {
  std::size_t count = 0;
  if (!readAt(handle, offset, data, size, &count)) return failedStatus();
  if (count == size) return 0;
  errno = EIO;  // somebody has cut what nobody else can open
  return failedStatus();
}

}  // namespace loomkit::platform
