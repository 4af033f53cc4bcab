// SPDX-License-Identifier: MIT
#include "../file_facts.h"

#include <fcntl.h>
#include <io.h>

#include <system_error>

#include "loomkit/platform/win32/file_times.h"
#include "loomkit/platform/win32/windows_api.h"

namespace loom {

namespace {

using loomkit::platform::OwnedHandle;

// The words for the last error, those of the C library, as other systems have them.
std::string lastWords() {
  const std::error_code code(static_cast<int>(::GetLastError()), std::system_category());
  return code.default_error_condition().message();
}

// Opens whatever is at a path: a directory too, and a link itself unless it is followed.
OwnedHandle open(const std::string& path, bool followLinks, DWORD access) {
  constexpr DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const DWORD flags = FILE_FLAG_BACKUP_SEMANTICS | (followLinks ? 0 : FILE_FLAG_OPEN_REPARSE_POINT);
  return OwnedHandle(
      ::CreateFileA(path.c_str(), access, share, nullptr, OPEN_EXISTING, flags, nullptr));
}

FileKind kindOf(HANDLE handle, const BY_HANDLE_FILE_INFORMATION& info) {
  const DWORD type = ::GetFileType(handle);
  if (type == FILE_TYPE_PIPE) return FileKind::fifo;
  if (type != FILE_TYPE_DISK) return FileKind::device;
  if ((info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return FileKind::link;
  return (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? FileKind::directory
                                                                 : FileKind::file;
}

// The type and the rights as Unix would write them: only "read only" is there to tell.
std::uint16_t modeOf(FileKind kind, DWORD attributes) {
  constexpr std::uint16_t writable = 0222;
  std::uint16_t mode = kind == FileKind::directory ? 0040755
                       : kind == FileKind::link    ? 0120777
                                                   : 0100644;
  if (kind == FileKind::file && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
    mode = static_cast<std::uint16_t>(mode & ~writable);
  return mode;
}

}  // namespace

bool factsOf(const std::string& path, bool followLinks, FileFacts* facts, std::string* reason) {
  const OwnedHandle opened = open(path, followLinks, FILE_READ_ATTRIBUTES);
  if (!opened.isOpen()) {
    *reason = lastWords();
    return false;
  }
  // Devices have none of these, and zeros say so.
  BY_HANDLE_FILE_INFORMATION info{};
  ::GetFileInformationByHandle(opened.get(), &info);
  facts->kind = kindOf(opened.get(), info);
  facts->mode = modeOf(facts->kind, info.dwFileAttributes);
  facts->modTime = loomkit::platform::secondsOf(info.ftLastWriteTime);
  facts->size = std::uint64_t{info.nFileSizeHigh} << 32 | info.nFileSizeLow;
  return true;
}

std::FILE* openRegular(const std::string& path, bool followLinks, std::string* reason) {
  OwnedHandle opened = open(path, followLinks, GENERIC_READ);
  if (!opened.isOpen()) {
    *reason = lastWords();
    return nullptr;
  }
  BY_HANDLE_FILE_INFORMATION info{};
  ::GetFileInformationByHandle(opened.get(), &info);
  const FileKind kind = kindOf(opened.get(), info);
  if (kind != FileKind::file) {
    *reason = kind == FileKind::directory ? std::generic_category().message(EISDIR)
                                          : "it is no file any more";
    return nullptr;
  }
  const int descriptor =
      ::_open_osfhandle(reinterpret_cast<std::intptr_t>(opened.get()), _O_RDONLY | _O_BINARY);
  if (descriptor >= 0) opened.release();
  std::FILE* const file = descriptor < 0 ? nullptr : ::_fdopen(descriptor, "rb");
  if (file == nullptr) *reason = std::generic_category().message(errno);
  if (file == nullptr && descriptor >= 0) ::_close(descriptor);
  return file;
}

// What a link says is not to be had from the C++ library here, and nobody needs it for
// more than to store it.
bool targetOf(const std::string& /*path*/, std::string* /*target*/, std::string* reason) {
  *reason = "links are not read on this system";
  return false;
}

}  // namespace loom
