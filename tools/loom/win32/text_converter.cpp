// SPDX-License-Identifier: MIT
#include "../text_converter.h"

#include <algorithm>
#include <optional>

#include "loomkit/platform/win32/code_pages.h"
#include "loomkit/platform/win32/windows_api.h"

namespace loom {

namespace {

void appendUtf8(const wchar_t* wide, int units, std::string* result) {
  char bytes[8];
  const int size =
      ::WideCharToMultiByte(CP_UTF8, 0, wide, units, bytes, sizeof bytes, nullptr, nullptr);
  result->append(bytes, static_cast<std::size_t>(size));
}

// One character of a code page of bytes: how many bytes it has, 0 when they are not valid.
std::size_t convertBytes(unsigned page, std::string_view bytes, std::string* result) {
  constexpr std::size_t longest = 4;
  for (std::size_t size = 1; size <= std::min(longest, bytes.size()); ++size) {
    wchar_t wide[2];
    const int units = ::MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes.data(),
                                            static_cast<int>(size), wide, 2);
    if (units == 0) continue;
    appendUtf8(wide, units, result);
    return size;
  }
  return 0;
}

// One character of UTF-16, whose units have their higher byte at `high`.
std::size_t convertUtf16(std::size_t high, std::string_view bytes, std::string* result) {
  const auto unit = [&](std::size_t i) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(bytes[2 * i + at]); };
    return static_cast<wchar_t>(byte(high) << 8 | byte(1 - high));
  };
  if (bytes.size() < 2) return 0;
  const wchar_t wide[2] = {unit(0), bytes.size() >= 4 ? unit(1) : L'\0'};
  const bool isPair = IS_HIGH_SURROGATE(wide[0]) && IS_LOW_SURROGATE(wide[1]);
  if (!isPair && (IS_HIGH_SURROGATE(wide[0]) || IS_LOW_SURROGATE(wide[0]))) return 0;
  appendUtf8(wide, isPair ? 2 : 1, result);
  return isPair ? 4 : 2;
}

// Where the higher byte of a unit of UTF-16 lies; nothing for other encodings. Where the
// name does not say it, a mark at the beginning does.
std::optional<std::size_t> highByteOf(const std::string& encoding, std::string_view bytes) {
  const auto is = [&](const char* name) { return ::_stricmp(encoding.c_str(), name) == 0; };
  if (is("UTF-16LE")) return 1;
  if (is("UTF-16BE")) return 0;
  if (is("UTF-16")) return bytes.starts_with("\xfe\xff") ? 0 : 1;
  return std::nullopt;
}

}  // namespace

Conversion convertToUtf8(std::string_view bytes, const std::string& encoding, std::string* result,
                         std::size_t* valid) {
  *valid = 0;
  const std::optional<std::size_t> high = highByteOf(encoding, bytes);
  const unsigned page = loomkit::platform::codePageOf(encoding.c_str());
  if (!high && page == 0) return Conversion::unknownEncoding;
  while (*valid < bytes.size()) {
    const std::string_view rest = bytes.substr(*valid);
    const std::size_t taken =
        high ? convertUtf16(*high, rest, result) : convertBytes(page, rest, result);
    if (taken == 0) return Conversion::invalid;
    *valid += taken;
  }
  return Conversion::done;
}

}  // namespace loom
