// SPDX-License-Identifier: MIT
#include "loomkit/platform/files.h"

#include <direct.h>

#include <cerrno>
#include <vector>

#include "loomkit/platform/win32/error_codes.h"
#include "loomkit/platform/win32/file_times.h"
#include "loomkit/platform/win32/system_path.h"

namespace loomkit::platform {
namespace {

bool attributesOf(const std::string& path, DWORD* attributes) {
  *attributes = ::GetFileAttributesW(SystemPath(path).c_str());
  return succeeded(*attributes != INVALID_FILE_ATTRIBUTES);
}

// Opens what a path leads to, a directory as well, for its attributes alone.
OwnedHandle openForAttributes(const std::string& path, DWORD access) {
  constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  return OwnedHandle(::CreateFileW(SystemPath(path).c_str(), access, shareAll, nullptr,
                                   OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

// Calls `ask` with a buffer and its size, and again with a larger one for as long as
// its result says that more is needed. False when the result is 0.
template <class Ask>
bool textFrom(Ask ask, std::string* text) {
  std::vector<wchar_t> buffer(MAX_PATH);
  for (;;) {
    const DWORD length = ask(static_cast<DWORD>(buffer.size()), buffer.data());
    if (length == 0) return false;
    if (length < buffer.size()) {
      *text = narrowText({buffer.data(), length});
      return true;
    }
    buffer.resize(std::size_t{length} + 1);
  }
}

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

}  // namespace

std::filesystem::path streamPath(const std::string& path) { return SystemPath(path).c_str(); }

bool access(const std::string& path, Access mode) {
  DWORD attributes = 0;
  if (!attributesOf(path, &attributes)) return false;
  // As in the C runtime: the attribute is all that counts, and says nothing of a
  // directory.
  const bool readOnly =
      (attributes & FILE_ATTRIBUTE_READONLY) != 0 && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
  return mode != Access::Write || !readOnly || failed(ERROR_ACCESS_DENIED);
}

bool examine(const std::string& path) {
  DWORD attributes = 0;
  return attributesOf(path, &attributes);
}

bool isDirectory(const std::string& path) {
  DWORD attributes = 0;
  return attributesOf(path, &attributes) && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool isLink(const std::string& path) {
  WIN32_FIND_DATAW data;
  const HANDLE search = ::FindFirstFileW(SystemPath(path).c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) return false;
  ::FindClose(search);
  return (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         (data.dwReserved0 == IO_REPARSE_TAG_SYMLINK ||
          data.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT);
}

void setModificationTime(const std::string& path, long seconds) {
  const OwnedHandle file = openForAttributes(path, FILE_WRITE_ATTRIBUTES);
  const FILETIME time = fileTimeOf(seconds);
  if (file.isOpen()) ::SetFileTime(file.get(), nullptr, nullptr, &time);
}

bool modificationTime(const std::string& path, long* seconds) {
  const OwnedHandle file = openForAttributes(path, FILE_READ_ATTRIBUTES);
  FILETIME time;
  if (!file.isOpen() || ::GetFileTime(file.get(), nullptr, nullptr, &time) == 0)
    return succeeded(false);
  *seconds = secondsOf(time);
  return true;
}

bool deleteFile(const std::string& path) {
  return succeeded(::DeleteFileW(SystemPath(path).c_str()) != 0);
}

// As the C runtime's rename(): a file of the new name is not replaced here.
bool rename(const std::string& from, const std::string& to) {
  return succeeded(
      ::MoveFileExW(SystemPath(from).c_str(), SystemPath(to).c_str(), MOVEFILE_COPY_ALLOWED) != 0);
}

bool makeDirectory(const std::string& path) {
  return succeeded(::CreateDirectoryW(SystemPath(path).c_str(), nullptr) != 0);
}

bool removeDirectory(const std::string& path) {
  return succeeded(::RemoveDirectoryW(SystemPath(path).c_str()) != 0);
}

bool unlinkFile(const std::string& path) {
  const SystemPath systemPath(path);
  if (::DeleteFileW(systemPath.c_str()) != 0) return true;
  const DWORD error = ::GetLastError();
  // A link to a directory is removed as a directory is.
  return (isDirectory(path) && isLink(path) && ::RemoveDirectoryW(systemPath.c_str()) != 0) ||
         failed(error);
}

bool unlinkEntry(const std::string& directory, const std::string& entry) {
  // A search gives no such name; a caller's own could lead out of the directory.
  if (entry.find_first_of("/\\:") != std::string::npos) return failed(ERROR_FILE_NOT_FOUND);
  return unlinkFile(directory + "/" + entry);
}

// The C runtime keeps a working directory for each drive, beside the system's.
bool changeDirectory(const std::string& path) { return ::_chdir(path.c_str()) == 0; }

bool workingDirectory(std::string* path, std::size_t limit) {
  std::string found;
  if (!textFrom(::GetCurrentDirectoryW, &found)) return succeeded(false);
  if (found.size() >= limit) return failed(ERROR_INSUFFICIENT_BUFFER);
  *path = std::move(found);
  return true;
}

std::string tempPath() {
  std::string path;
  if (!textFrom(::GetTempPathW, &path)) return "C:\\";
  if (path.back() != '\\') path += '\\';
  return path;
}

bool fullPath(const std::string& path, std::string* full) {
  const std::wstring wide = wideText(path);
  const auto ask = [&wide](DWORD size, wchar_t* buffer) {
    return ::GetFullPathNameW(wide.c_str(), size, buffer, nullptr);
  };
  if (!textFrom(ask, full)) return succeeded(false);
  for (char& c : *full)
    if (c == '/') c = '\\';
  return true;
}

bool splitRoot(const std::string& full, std::string* root, std::string* rest) {
  if (full.size() < 3 || !isLetter(full[0]) || full[1] != ':' || full[2] != '\\') return false;
  *root = full.substr(0, 2);
  *rest = full.substr(2);
  return true;
}

}  // namespace loomkit::platform
