// SPDX-License-Identifier: MIT
#include "loomkit/platform/shared_stream.h"

#include <fcntl.h>
#include <io.h>

#include <ext/stdio_filebuf.h>
#include <utility>

#include "loomkit/platform/files.h"
#include "loomkit/platform/win32/system_path.h"

namespace loomkit::platform {
namespace {

DWORD sharingOf(int denied) {
  DWORD sharing = 0;
  if ((denied & denyReading) == 0) sharing |= FILE_SHARE_READ;
  if ((denied & denyWriting) == 0) sharing |= FILE_SHARE_WRITE;
  if ((denied & denyDeletion) == 0) sharing |= FILE_SHARE_DELETE;
  return sharing;
}

// A descriptor of the C runtime for the file, or -1.
int openDescriptor(const std::string& path, bool binary, int denied) {
  const HANDLE file = ::CreateFileW(SystemPath(path).c_str(), GENERIC_READ, sharingOf(denied),
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return -1;
  const int flags = binary ? 0 : _O_TEXT;
  const int descriptor = ::_open_osfhandle(reinterpret_cast<std::intptr_t>(file), flags);
  if (descriptor < 0) ::CloseHandle(file);
  return descriptor;
}

}  // namespace

std::unique_ptr<std::ifstream> openShared(const std::string& nativePath,
                                          std::ios_base::openmode mode, int denied) {
  if (denied == denyDeletion) return std::make_unique<std::ifstream>(streamPath(nativePath), mode);
  auto stream = std::make_unique<std::ifstream>();
  const bool binary = (mode & std::ios_base::binary) != 0;
  const int descriptor = openDescriptor(nativePath, binary, denied);
  if (descriptor >= 0) {
    // The buffer closes the descriptor, also when it has moved into the stream.
    __gnu_cxx::stdio_filebuf<char> opened(descriptor, mode | std::ios_base::in);
    static_cast<std::filebuf&>(*stream->rdbuf()) = std::move(opened);
  }
  if (!stream->is_open()) stream->setstate(std::ios_base::failbit);
  return stream;
}

}  // namespace loomkit::platform
