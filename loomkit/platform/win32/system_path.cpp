// SPDX-License-Identifier: MIT
#include "loomkit/platform/win32/system_path.h"

#include <cwchar>
#include <new>
#include <string_view>
#include <vector>

namespace loomkit::platform {
namespace {

constexpr std::wstring_view filePrefix = L"\\\\?\\";
constexpr std::wstring_view sharePrefix = L"\\\\?\\UNC\\";

// The usual rules end at 260 characters. Of a directory's path they want 12 more, for the
// name of a file in it.
constexpr std::size_t longestUsual = MAX_PATH - 12;

// A text that is allocated without an exception; null without memory.
std::unique_ptr<wchar_t[]> roomFor(std::size_t size) noexcept {
  return std::unique_ptr<wchar_t[]>(new (std::nothrow) wchar_t[size]);
}

}  // namespace

SystemPath::SystemPath(const char* path) noexcept {
  convert(path);
  // With the working directory in front of it a short path may be a long one. The size
  // counts the NUL.
  const std::size_t size = ::GetFullPathNameW(c_str(), 0, nullptr, nullptr);
  if (size > longestUsual) lengthen(size);
}

void SystemPath::convert(const char* path) noexcept {
  if (::MultiByteToWideChar(CP_ACP, 0, path, -1, shortText, MAX_PATH) > 0) return;
  shortText[0] = L'\0';
  const int size = ::MultiByteToWideChar(CP_ACP, 0, path, -1, nullptr, 0);
  longText = roomFor(static_cast<std::size_t>(size));
  if (longText != nullptr) ::MultiByteToWideChar(CP_ACP, 0, path, -1, longText.get(), size);
}

void SystemPath::lengthen(std::size_t size) noexcept {
  std::unique_ptr<wchar_t[]> whole = roomFor(sharePrefix.size() + size);
  const auto room = static_cast<DWORD>(size);
  wchar_t* const full = whole.get() + (whole != nullptr ? sharePrefix.size() : 0);
  const DWORD length = whole != nullptr ? ::GetFullPathNameW(c_str(), room, full, nullptr) : 0;
  if (length == 0 || length >= room) {
    longText.reset();
    shortText[0] = L'\0';
    return;
  }
  const std::wstring_view path(full, length);
  // What follows the prefix, or has one already: "\\?\" and "\\.\" are no machine's names.
  const bool hasPrefix = path.starts_with(filePrefix) || path.starts_with(L"\\\\.\\");
  const bool onShare = !hasPrefix && path.starts_with(L"\\\\");
  const std::wstring_view prefix = hasPrefix ? L"" : onShare ? sharePrefix : filePrefix;
  const std::wstring_view rest = onShare ? path.substr(2) : path;
  std::wmemcpy(whole.get(), prefix.data(), prefix.size());
  std::wmemmove(whole.get() + prefix.size(), rest.data(), rest.size() + 1);
  longText = std::move(whole);
}

std::wstring wideText(const std::string& text) {
  if (text.empty()) return {};
  const int size = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');
  const int length = ::MultiByteToWideChar(CP_ACP, 0, text.data(), size, wide.data(), size);
  wide.resize(static_cast<std::size_t>(length));
  return wide;
}

std::string narrowText(const std::wstring& text) {
  if (text.empty()) return {};
  const int size = static_cast<int>(text.size());
  const auto convert = [&](char* to, int room) {
    return ::WideCharToMultiByte(CP_ACP, 0, text.data(), size, to, room, nullptr, nullptr);
  };
  std::string narrow(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
  convert(narrow.data(), static_cast<int>(narrow.size()));
  return narrow;
}

std::wstring finalPathOf(HANDLE file, DWORD kind) {
  std::vector<wchar_t> buffer(32768);
  const DWORD length =
      ::GetFinalPathNameByHandleW(file, buffer.data(), static_cast<DWORD>(buffer.size()), kind);
  if (length >= buffer.size()) return {};
  return {buffer.data(), length};
}

}  // namespace loomkit::platform
