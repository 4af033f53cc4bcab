// SPDX-License-Identifier: MIT
#include "loomkit/platform/win32/directory_names.h"

#include <winternl.h>

#include <cstddef>
#include <cstring>
#include <vector>

#include "loomkit/platform/win32/error_codes.h"
#include "loomkit/platform/win32/system_path.h"

namespace loomkit::platform {
namespace {

bool succeededWith(NTSTATUS status) {
  return status >= 0 || failed(::RtlNtStatusToDosError(status));
}

// A name of the kernel's, which counts bytes in 16 bits. False for one that is no single
// name: a separator leads to another directory, a colon to another stream of the file.
bool isSingleName(const std::string& name) {
  constexpr std::size_t longest = 255;
  return name.size() <= longest && name.find_first_of("/\\:") == std::string::npos;
}

}  // namespace

OwnedHandle openName(HANDLE directory, const std::string& name, const NameRequest& request,
                     bool* made) {
  if (!isSingleName(name)) {
    failed(ERROR_INVALID_NAME);
    return {};
  }
  std::wstring wide = wideText(name);
  const auto bytes = static_cast<USHORT>(wide.size() * sizeof(wchar_t));
  UNICODE_STRING text{bytes, bytes, wide.data()};
  OBJECT_ATTRIBUTES object{};
  object.Length = sizeof object;
  object.RootDirectory = directory;
  object.ObjectName = &text;
  object.Attributes = OBJ_CASE_INSENSITIVE;
  IO_STATUS_BLOCK result{};
  HANDLE opened = nullptr;
  constexpr ULONG options = FILE_OPEN_REPARSE_POINT | FILE_SYNCHRONOUS_IO_NONALERT;
  const NTSTATUS status = ::NtCreateFile(
      &opened, request.access | SYNCHRONIZE, &object, &result, nullptr, FILE_ATTRIBUTE_NORMAL,
      request.share, request.disposition, request.options | options, nullptr, 0);
  if (!succeededWith(status)) return {};
  if (made != nullptr) *made = result.Information == FILE_CREATED;
  return OwnedHandle(opened);
}

bool renameTo(HANDLE file, HANDLE directory, const std::string& name, bool replace) {
  if (!isSingleName(name)) return failed(ERROR_INVALID_NAME);
  const std::wstring wide = wideText(name);
  const std::size_t bytes = wide.size() * sizeof(wchar_t);
  FILE_RENAME_INFORMATION head{};
  head.ReplaceIfExists = replace ? TRUE : FALSE;
  head.RootDirectory = directory;
  head.FileNameLength = static_cast<ULONG>(bytes);
  // The name follows the record's other members, from its last one on.
  constexpr std::size_t start = offsetof(FILE_RENAME_INFORMATION, FileName);
  std::vector<unsigned char> record(sizeof head + bytes);
  std::memcpy(record.data(), &head, start);
  std::memcpy(record.data() + start, wide.data(), bytes);
  IO_STATUS_BLOCK result{};
  return succeededWith(::NtSetInformationFile(
      file, &result, record.data(), static_cast<ULONG>(record.size()), FileRenameInformation));
}

bool setDeletion(HANDLE file, bool deleted) {
  FILE_DISPOSITION_INFO how{};
  how.DeleteFile = deleted ? TRUE : FALSE;
  return succeeded(::SetFileInformationByHandle(file, FileDispositionInfo, &how, sizeof how) != 0);
}

bool natureOf(HANDLE file, FileNature* nature) {
  FILE_ATTRIBUTE_TAG_INFO info{};
  if (::GetFileInformationByHandleEx(file, FileAttributeTagInfo, &info, sizeof info) == 0)
    return succeeded(false);
  nature->attributes = info.FileAttributes;
  nature->link =
      (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
      (info.ReparseTag == IO_REPARSE_TAG_SYMLINK || info.ReparseTag == IO_REPARSE_TAG_MOUNT_POINT);
  return true;
}

}  // namespace loomkit::platform
