// SPDX-License-Identifier: MIT
// An open directory is not shared for deletion: while it is held, nobody can rename it or
// put a link in its place. Rights as on Unix have no counterpart here, so those that a
// caller names are passed over; a file has the rights that its directory passes on.
#include "loomkit/platform/directory_handle.h"

#include <winternl.h>

#include "loomkit/platform/win32/directory_names.h"
#include "loomkit/platform/win32/error_codes.h"
#include "loomkit/platform/win32/file_times.h"
#include "loomkit/platform/win32/hidden_name.h"
#include "loomkit/platform/win32/system_path.h"

namespace loomkit::platform {
namespace {

constexpr ACCESS_MASK directoryAccess = FILE_LIST_DIRECTORY | FILE_TRAVERSE | FILE_READ_ATTRIBUTES;
constexpr ULONG shareButDelete = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr ULONG shareAll = shareButDelete | FILE_SHARE_DELETE;

OwnedHandle openDirectory(const std::string& path) {
  OwnedHandle opened(::CreateFileW(SystemPath(path).c_str(), directoryAccess, shareButDelete,
                                   nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!opened.isOpen()) {
    succeeded(false);
    return {};
  }
  FileNature nature;
  if (!natureOf(opened.get(), &nature)) return {};
  if ((nature.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return opened;
  failed(ERROR_DIRECTORY);
  return {};
}

// Makes what is missing of a path. What cannot be made is met again by who opens it.
void makeDirectories(const std::string& path) {
  for (std::size_t end = path.find_first_of("/\\", 1);; end = path.find_first_of("/\\", end + 1)) {
    ::CreateDirectoryW(SystemPath(path.substr(0, end)).c_str(), nullptr);
    if (end == std::string::npos) return;
  }
}

bool setChangeTime(HANDLE file, long seconds) {
  const FILETIME time = fileTimeOf(seconds);
  return succeeded(::SetFileTime(file, nullptr, nullptr, &time) != 0);
}

// The whole path of a name, for the one call that takes nothing else.
std::wstring pathOf(HANDLE directory, const std::string& name) {
  const std::wstring path = finalPathOf(directory, 0);
  return path.empty() ? path : path + L'\\' + wideText(name);
}

bool makeLinkAt(HANDLE directory, const std::string& target, const std::string& name) {
  const std::wstring path = pathOf(directory, name);
  if (path.empty()) return succeeded(false);
  std::wstring wideTarget = wideText(target);
  for (wchar_t& c : wideTarget)
    if (c == L'/') c = L'\\';
  // A link to a directory is of another kind than one to a file.
  const DWORD attributes =
      ::GetFileAttributesW((path.substr(0, path.rfind(L'\\') + 1) + wideTarget).c_str());
  const bool toDirectory =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  const DWORD flags = SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE |
                      (toDirectory ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0);
  return succeeded(::CreateSymbolicLinkW(path.c_str(), wideTarget.c_str(), flags) != 0);
}

}  // namespace

DirectoryHandle::DirectoryHandle(DirectoryHandle&& other) noexcept
    : descriptor(std::exchange(other.descriptor, -1)) {}

DirectoryHandle& DirectoryHandle::operator=(DirectoryHandle&& other) noexcept {
  std::swap(descriptor, other.descriptor);
  return *this;
}

DirectoryHandle::~DirectoryHandle() { close(); }

void DirectoryHandle::close() {
  const KeepLastError reason;
  if (isOpen()) ::CloseHandle(systemHandle(std::exchange(descriptor, -1)));
}

bool DirectoryHandle::openPath(const std::string& path, bool make) {
  close();
  OwnedHandle opened = openDirectory(path);
  if (!opened.isOpen() && make) {
    const DWORD error = ::GetLastError();
    if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) return false;
    makeDirectories(path);
    opened = openDirectory(path);
  }
  descriptor = handleNumber(opened.release());
  return isOpen();
}

bool DirectoryHandle::enter(const DirectoryHandle& parent, const std::string& name,
                            unsigned /*mode*/, bool* made) {
  NameRequest request{directoryAccess, shareButDelete, FILE_OPEN, FILE_DIRECTORY_FILE};
  if (made != nullptr) {
    *made = false;
    request.disposition = FILE_OPEN_IF;
  }
  OwnedHandle opened = openName(systemHandle(parent.descriptor), name, request, made);
  FileNature nature;
  if (!opened.isOpen() || !natureOf(opened.get(), &nature)) return false;
  if (nature.link) return failed(ERROR_CANT_RESOLVE_FILENAME);
  close();
  descriptor = handleNumber(opened.release());
  return true;
}

NameKind DirectoryHandle::kindOf(const std::string& name, unsigned* mode) const {
  const NameRequest request{FILE_READ_ATTRIBUTES, shareAll, FILE_OPEN, 0};
  const OwnedHandle opened = openName(systemHandle(descriptor), name, request);
  FileNature nature;
  if (!opened.isOpen() || !natureOf(opened.get(), &nature)) return NameKind::nothing;
  const bool directory = (nature.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  const bool readOnly = (nature.attributes & FILE_ATTRIBUTE_READONLY) != 0;
  if (mode != nullptr) *mode = directory ? 0777 : readOnly ? 0444 : 0666;
  if (nature.link) return NameKind::link;
  if (directory) return NameKind::directory;
  return ::GetFileType(opened.get()) == FILE_TYPE_DISK ? NameKind::file : NameKind::other;
}

bool DirectoryHandle::makeLink(const std::string& target, const std::string& name,
                               bool replace) const {
  const HANDLE directory = systemHandle(descriptor);
  const bool taken = kindOf(name) != NameKind::nothing;
  if (taken && !replace) return failed(ERROR_ALREADY_EXISTS);
  const std::string first = taken ? hiddenName() : name;
  if (!makeLinkAt(directory, target, first)) return false;
  // There are systems that report success and make nothing.
  if (kindOf(first) != NameKind::link) return failed(ERROR_NOT_SUPPORTED);
  if (!taken) return true;
  const OwnedHandle made = openName(directory, first, {DELETE, shareAll, FILE_OPEN, 0});
  if (!made.isOpen()) return false;
  if (renameTo(made.get(), directory, name, true)) return true;
  const KeepLastError reason;
  setDeletion(made.get(), true);
  return false;
}

bool DirectoryHandle::narrow(unsigned /*mode*/) const { return true; }

bool DirectoryHandle::setTime(long seconds) const {
  const NameRequest request{FILE_WRITE_ATTRIBUTES, shareAll, FILE_OPEN, FILE_DIRECTORY_FILE};
  const OwnedHandle opened = openName(systemHandle(descriptor), {}, request);
  return opened.isOpen() && setChangeTime(opened.get(), seconds);
}

// What brings a whole file system to the disk is a call on its volume, which the system
// allows to administrators only; for others this is a failure.
bool DirectoryHandle::sync() const {
  const std::wstring path = finalPathOf(systemHandle(descriptor), VOLUME_NAME_GUID);
  if (path.empty()) return succeeded(false);
  // "\\?\Volume{...}" is the volume; with what follows it is a directory on it.
  const std::wstring volume = path.substr(0, path.find(L'\\', 4));
  const OwnedHandle opened(::CreateFileW(volume.c_str(), GENERIC_WRITE, shareButDelete, nullptr,
                                         OPEN_EXISTING, 0, nullptr));
  return succeeded(opened.isOpen() && ::FlushFileBuffers(opened.get()) != 0);
}

bool NewFile::create(const DirectoryHandle& parent, unsigned mode) {
  discard();
  directory = &parent;
  return createNamed(mode);
}

// From its first moment on the file is to be deleted with its only handle, so that
// nothing stays when the process is ended. place() takes that back.
bool NewFile::createNamed(unsigned /*mode*/) {
  const NameRequest request{FILE_GENERIC_WRITE | DELETE, 0, FILE_CREATE, FILE_NON_DIRECTORY_FILE};
  for (int attempt = 0; attempt < hiddenNameAttempts; ++attempt) {
    hiddenName = platform::hiddenName();
    OwnedHandle made = openName(systemHandle(directory->descriptor), hiddenName, request);
    if (made.isOpen()) {
      if (!setDeletion(made.get(), true)) return false;
      descriptor = handleNumber(made.release());
      return true;
    }
    if (::GetLastError() != ERROR_ALREADY_EXISTS && ::GetLastError() != ERROR_FILE_EXISTS) break;
  }
  return false;
}

bool NewFile::write(const void* data, std::size_t size) {
  constexpr std::size_t largest = 1U << 30;
  const char* next = static_cast<const char*>(data);
  while (size > 0) {
    DWORD count = 0;
    const auto step = static_cast<DWORD>(std::min(size, largest));
    if (::WriteFile(systemHandle(descriptor), next, step, &count, nullptr) == 0)
      return succeeded(false);
    // A device that takes nothing and calls it success would be asked forever.
    if (count == 0) return failed(ERROR_WRITE_FAULT);
    next += count;
    size -= count;
  }
  return true;
}

bool NewFile::setTime(long seconds) { return setChangeTime(systemHandle(descriptor), seconds); }

bool NewFile::addMode(unsigned /*bits*/) { return true; }

bool NewFile::place(const std::string& name, bool replace) {
  const HANDLE file = systemHandle(descriptor);
  const bool placed = setDeletion(file, false) &&
                      renameTo(file, systemHandle(directory->descriptor), name, replace);
  if (placed) {
    ::CloseHandle(file);
    descriptor = -1;
  } else {
    discard();
  }
  return placed;
}

void NewFile::discard() {
  if (descriptor < 0) return;
  const KeepLastError reason;
  const HANDLE file = systemHandle(std::exchange(descriptor, -1));
  setDeletion(file, true);
  ::CloseHandle(file);
}

}  // namespace loomkit::platform
