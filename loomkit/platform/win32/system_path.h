// SPDX-License-Identifier: MIT
// Paths and names on their way to the system, which takes UTF-16, and back. In the library
// they are texts of the process's code page.
#ifndef LOOMKIT_PLATFORM_WIN32_SYSTEM_PATH_H
#define LOOMKIT_PLATFORM_WIN32_SYSTEM_PATH_H

#include <memory>
#include <string>

#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {

/// A path as the calls of the system take it; each path that goes to one goes through
/// here. One that is too long for the usual rules is absolute and has the prefix "\\?\",
/// or "\\?\UNC\" for one on another machine: behind it the system takes up to 32,767
/// characters. Since it then takes them as they stand, everything that it otherwise does to
/// a path is done before: slashes, "." and "..", points and blanks at the ends of names.
///
/// No memory is needed for a short path, so that a destructor can delete its file
/// whatever has happened. Without memory for a long one it is empty, which no call takes
/// for a file.
class SystemPath {
 public:
  explicit SystemPath(const char* path) noexcept;
  explicit SystemPath(const std::string& path) noexcept : SystemPath(path.c_str()) {}

  [[nodiscard]] const wchar_t* c_str() const noexcept {
    return longText != nullptr ? longText.get() : shortText;
  }

 private:
  void convert(const char* path) noexcept;
  void lengthen(std::size_t size) noexcept;

  wchar_t shortText[MAX_PATH];
  std::unique_ptr<wchar_t[]> longText;
};

/// A text of the process's code page in UTF-16.
std::wstring wideText(const std::string& text);

/// A text in the process's code page. What that does not have becomes something alike, or
/// a question mark.
std::string narrowText(const std::wstring& text);

/// The path of an open file with all links followed, in the form with the prefix. Empty
/// after a failure, which sets the last error. `kind` is as of GetFinalPathNameByHandle().
std::wstring finalPathOf(HANDLE file, DWORD kind);

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_WIN32_SYSTEM_PATH_H
