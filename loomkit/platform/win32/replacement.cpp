// SPDX-License-Identifier: MIT
#include "loomkit/platform/replacement.h"

#include <utility>
#include <vector>

#include "loomkit/platform/files.h"
#include "loomkit/platform/win32/error_codes.h"
#include "loomkit/platform/win32/hidden_name.h"
#include "loomkit/platform/win32/hul_status.h"
#include "loomkit/platform/win32/system_path.h"
#include "loomkit/platform/win32/unfinished_files.h"

namespace loomkit::platform {
namespace {

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

OwnedHandle openForAttributes(const std::string& path) {
  return OwnedHandle(::CreateFileW(SystemPath(path).c_str(), FILE_READ_ATTRIBUTES, shareAll,
                                   nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

// Follows links, so that it is the file that is replaced and not the link. A path that
// is no link, or leads nowhere yet, stays as it is.
std::string resolved(const std::string& path) {
  if (!isLink(path)) return path;
  const OwnedHandle file = openForAttributes(path);
  const std::wstring found = finalPathOf(file.get(), 0);
  return found.empty() ? path : narrowText(found);
}

std::string directoryOf(const std::string& path) {
  return path.substr(0, path.find_last_of("/\\:") + 1);
}

// 0, or the error that says why this is no file to be replaced.
DWORD refusal(const std::string& path) {
  if (isDirectory(path)) return ERROR_ACCESS_DENIED;
  const OwnedHandle file = openForAttributes(path);
  if (file.isOpen())
    return ::GetFileType(file.get()) != FILE_TYPE_DISK ? ERROR_INVALID_PARAMETER : 0;
  const DWORD error = ::GetLastError();
  return error == ERROR_FILE_NOT_FOUND ? 0 : error;
}

// Gives a file who may do what with another one. On a file system that has no such rights
// there are none to be given.
bool copyRights(const std::string& from, const std::string& to) {
  constexpr SECURITY_INFORMATION wanted = DACL_SECURITY_INFORMATION;
  const SystemPath model(from);
  DWORD size = 0;
  ::GetFileSecurityW(model.c_str(), wanted, nullptr, 0, &size);
  if (::GetLastError() != ERROR_INSUFFICIENT_BUFFER)
    return ::GetLastError() == ERROR_NOT_SUPPORTED || ::GetLastError() == ERROR_INVALID_FUNCTION;
  std::vector<std::byte> rights(size);
  return ::GetFileSecurityW(model.c_str(), wanted, rights.data(), size, &size) != 0 &&
         ::SetFileSecurityW(SystemPath(to).c_str(), wanted, rights.data()) != 0;
}

bool copyAttributes(const std::string& from, const std::string& to) {
  constexpr DWORD kept = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                         FILE_ATTRIBUTE_ARCHIVE;
  const DWORD attributes = ::GetFileAttributesW(SystemPath(from).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return false;
  const DWORD passed = attributes & kept;
  return ::SetFileAttributesW(SystemPath(to).c_str(),
                              passed != 0 ? passed : FILE_ATTRIBUTE_NORMAL) != 0;
}

bool copyTimes(const std::string& from, HANDLE to) {
  const OwnedHandle file = openForAttributes(from);
  FILETIME accessed, changed;
  return file.isOpen() && ::GetFileTime(file.get(), nullptr, &accessed, &changed) != 0 &&
         ::SetFileTime(to, nullptr, &accessed, &changed) != 0;
}

bool becomeLikeItsModel(const Replacement& replacement) {
  const std::string& model = replacement.options.likeFile;
  return model.empty() || (copyRights(model, replacement.path) &&
                           copyTimes(model, systemHandle(replacement.handle)) &&
                           copyAttributes(model, replacement.path));
}

// Lets others read the file, as GTesselWriter does before it has its name, from now on
// that it has the rights of its target. One that is to have a model's gets them last.
bool openToReaders(Replacement* replacement) {
  if (!replacement->options.likeFile.empty()) return true;
  ::CloseHandle(systemHandle(replacement->handle));
  OwnedHandle file(::CreateFileW(SystemPath(replacement->path).c_str(), GENERIC_WRITE,
                                 FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
  const bool opened = file.isOpen();
  replacement->handle = opened ? handleNumber(file.release()) : -1;
  return opened;
}

void closeFileOf(Replacement* replacement) {
  const int handle = std::exchange(replacement->handle, -1);
  if (handle >= 0) ::CloseHandle(systemHandle(handle));
}

void removeFileOf(Replacement* replacement) {
  const KeepLastError reason;
  const SystemPath path(replacement->path);
  ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  ::DeleteFileW(path.c_str());
  forgetUnfinished(&replacement->record);
}

}  // namespace

int createReplacement(const std::string& target, Replacement* replacement) {
  return createReplacement(target, {}, replacement);
}

int createReplacement(const std::string& target, const ReplacementOptions& options,
                      Replacement* replacement) {
  Replacement made;
  made.options = options;
  made.target = options.followLinks ? resolved(target) : target;
  const bool replacesLink = !options.followLinks && isLink(made.target);
  const DWORD refused = replacesLink ? 0 : refusal(made.target);
  if (refused != 0) return failedWith(refused);
  OwnedHandle file;
  for (int attempt = 0; attempt < hiddenNameAttempts && !file.isOpen(); ++attempt) {
    made.path = directoryOf(made.target) + hiddenName();
    file = openUnfinished(made.path, &made.record);
    if (!file.isOpen() && ::GetLastError() != ERROR_FILE_EXISTS) break;
  }
  if (!file.isOpen()) return failedStatus();
  made.handle = handleNumber(file.release());
  // The rights of a link say nothing, and those of a model count more.
  const bool hasRights = !replacesLink && options.likeFile.empty() && examine(made.target);
  if ((hasRights && !copyRights(made.target, made.path)) || !openToReaders(&made)) {
    const int failure = failedStatus();
    closeFileOf(&made);
    removeFileOf(&made);
    return failure;
  }
  *replacement = std::move(made);
  return 0;
}

int commitReplacement(Replacement* replacement) {
  const bool sync = replacement->options.sync;
  const bool complete = becomeLikeItsModel(*replacement) &&
                        (!sync || ::FlushFileBuffers(systemHandle(replacement->handle)) != 0);
  int status = complete ? 0 : failedStatus();
  closeFileOf(replacement);
  // Written through, the new name is on the disk when the call returns.
  const DWORD flags = MOVEFILE_REPLACE_EXISTING | (sync ? MOVEFILE_WRITE_THROUGH : 0);
  const SystemPath from(replacement->path), to(replacement->target);
  if (status == 0 && ::MoveFileExW(from.c_str(), to.c_str(), flags) == 0) status = failedStatus();
  if (status != 0) {
    removeFileOf(replacement);
  } else {
    forgetUnfinished(&replacement->record);
  }
  return status;
}

// A file that is open cannot be replaced, not even by who has opened it.
ReplacedFile replaceOpenFile(Replacement* replacement, ShareMode share, int* handle) {
  closeFile(std::exchange(*handle, -1));
  const bool replaced = commitReplacement(replacement) == 0;
  const KeepLastError reason;
  const bool opened = openRandomAccess(replacement->target, OpenMode::readWrite, share, handle);
  if (!replaced) return ReplacedFile::notReplaced;
  return opened ? ReplacedFile::done : ReplacedFile::notOpened;
}

void discardReplacement(Replacement* replacement) {
  if (replacement->handle < 0) return;
  const KeepLastError reason;
  closeFileOf(replacement);
  removeFileOf(replacement);
}

void deleteAllReplacements() noexcept { deleteUnfinished(); }

}  // namespace loomkit::platform
