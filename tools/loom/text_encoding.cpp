// SPDX-License-Identifier: MIT
#include "text_encoding.h"

#include <algorithm>

#include "command.h"
#include "text_converter.h"

namespace loom {

namespace {

constexpr std::string_view utf8Mark = "\xef\xbb\xbf";

std::string converted(const std::string& path, const std::string& bytes,
                      const std::string& encoding) {
  std::string result;
  std::size_t valid = 0;
  const Conversion conversion = convertToUtf8(bytes, encoding, &result, &valid);
  if (conversion == Conversion::done) return result;
  if (conversion == Conversion::unknownEncoding)
    throw Failure(ExitCode::usage, "there is no encoding '" + encoding + "'");
  throw Failure(ExitCode::damaged,
                path + ": byte " + std::to_string(valid + 1) + " is no " + encoding);
}

// How many bytes at the begin are UTF-8; the size of the text when all are.
std::size_t validUtf8(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    if (static_cast<unsigned char>(text[at]) < 0x80) {
      ++at;
      continue;
    }
    const std::size_t length = utf8Length(text.substr(at));
    if (length == 0) break;
    at += length;
  }
  return at;
}

bool hasHighControl(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 && byte < 0xa0;
  });
}

// "line 3, column 7"; lines end as those of CSV files do.
std::string placeOf(std::string_view text, std::size_t position) {
  std::size_t line = 1;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < position; ++i) {
    const bool ends = text[i] == '\n' || (text[i] == '\r' && text[i + 1] != '\n');
    if (!ends) continue;
    ++line;
    begin = i + 1;
  }
  return "line " + std::to_string(line) + ", column " + std::to_string(position - begin + 1);
}

}  // namespace

std::size_t utf8Length(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (text.size() < length) return 0;
  const unsigned least = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const unsigned most = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  if (byte(1) < least || byte(1) > most) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return 0;
  }
  return length;
}

DecodedText decodeText(const std::string& path, std::string bytes, const std::string& encoding) {
  const bool wide = bytes.starts_with("\xff\xfe") || bytes.starts_with("\xfe\xff");
  DecodedText result = {{}, !encoding.empty() ? encoding : wide ? "UTF-16" : "UTF-8"};
  if (!encoding.empty() || wide) {
    result.text = converted(path, bytes, result.encoding);
  } else if (const std::size_t valid = validUtf8(bytes); valid == bytes.size()) {
    result.text = std::move(bytes);
  } else if (!bytes.starts_with(utf8Mark) && !hasHighControl(bytes)) {
    result = {converted(path, bytes, "ISO-8859-1"), "ISO-8859-1", true};
  } else {
    throw Failure(ExitCode::damaged, path + ": " + placeOf(bytes, valid) + ": not UTF-8",
                  "say what it is by --encoding, such as WINDOWS-1252");
  }
  if (result.text.starts_with(utf8Mark)) result.text.erase(0, utf8Mark.size());
  return result;
}

}  // namespace loom
