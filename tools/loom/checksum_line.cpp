// SPDX-License-Identifier: MIT
#include "checksum_line.h"

namespace loom {

namespace {

constexpr std::string_view hexDigits = "0123456789abcdefABCDEF";

std::string inSmallLetters(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'F') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

// Nothing when a backslash stands before anything else than n, r and itself.
std::optional<std::string> unescaped(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      result += text[i];
      continue;
    }
    const char next = ++i < text.size() ? text[i] : '\0';
    if (next != 'n' && next != 'r' && next != '\\') return std::nullopt;
    result += next == 'n' ? '\n' : next == 'r' ? '\r' : '\\';
  }
  return result;
}

std::optional<ListedSum> readPlain(const std::string& line) {
  const std::size_t digits = line.find_first_not_of(hexDigits);
  const ChecksumKind* const kind = kindWithDigits(digits);
  if (kind == nullptr || line.size() < digits + 3 || line[digits] != ' ') return std::nullopt;
  if (line[digits + 1] != ' ' && line[digits + 1] != '*') return std::nullopt;
  return ListedSum{kind, inSmallLetters(line.substr(0, digits)), line.substr(digits + 2)};
}

// The name may hold anything, even ") = ": the last one counts.
std::optional<ListedSum> readBsd(const std::string& line) {
  const std::size_t open = line.find(" (");
  const std::size_t close = line.rfind(") = ");
  if (open == std::string::npos || close == std::string::npos || close < open + 3)
    return std::nullopt;
  const ChecksumKind* const kind = kindWithLabel(std::string_view(line).substr(0, open));
  const std::string sum = line.substr(close + 4);
  if (kind == nullptr || sum.size() != kind->digits ||
      sum.find_first_not_of(hexDigits) != std::string::npos)
    return std::nullopt;
  return ListedSum{kind, inSmallLetters(sum), line.substr(open + 2, close - open - 2)};
}

}  // namespace

EscapedName escapedName(const std::string& name) {
  if (name.find_first_of("\\\n\r") == std::string::npos) return {"", name};
  EscapedName result{"\\", ""};
  for (const char c : name) {
    if (c == '\\')
      result.name += "\\\\";
    else if (c == '\n')
      result.name += "\\n";
    else if (c == '\r')
      result.name += "\\r";
    else
      result.name += c;
  }
  return result;
}

std::string checksumLine(const ChecksumKind& kind, const std::string& sum, const std::string& name,
                         bool bsd) {
  const EscapedName escaped = escapedName(name);
  if (bsd) return escaped.mark + std::string(kind.label) + " (" + escaped.name + ") = " + sum;
  return escaped.mark + sum + "  " + escaped.name;
}

std::optional<ListedSum> readChecksumLine(const std::string& line) {
  const bool isEscaped = !line.empty() && line[0] == '\\';
  const std::string rest = isEscaped ? line.substr(1) : line;
  std::optional<ListedSum> listed = readPlain(rest);
  if (!listed) listed = readBsd(rest);
  if (!listed || !isEscaped) return listed;
  const std::optional<std::string> name = unescaped(listed->name);
  if (!name) return std::nullopt;
  listed->name = *name;
  return listed;
}

}  // namespace loom
