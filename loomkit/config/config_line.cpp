// SPDX-License-Identifier: MIT
#include "loomkit/config/config_line.h"

#include "loomkit/text/char_class.h"
#include "loomkit/text/letter_case.h"

namespace loomkit {
namespace {

ConfigLine wrong(const char* error) { return {ConfigLine::Wrong, {}, {}, error}; }

ConfigLine parseHeader(std::string_view text) {
  const std::size_t close = text.find(']');
  if (close == std::string_view::npos) return wrong("missing ']'");
  const std::string_view name = trimmed(text.substr(1, close - 1));
  if (name.empty()) return wrong("empty section name");
  if (!trimmed(text.substr(close + 1)).empty()) return wrong("garbage after ']'");
  return {ConfigLine::Header, name, {}, nullptr};
}

ConfigLine parseKey(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) return wrong("missing '='");
  const std::string_view key = trimmed(text.substr(0, equals));
  if (key.empty()) return wrong("unexpected '='");
  return {ConfigLine::Entry, key, trimmed(text.substr(equals + 1)), nullptr};
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isAsciiSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isAsciiSpace(text.back())) text.remove_suffix(1);
  return text;
}

std::string sectionKey(std::string_view name) { return lowerCased(name); }

ConfigLine parseConfigLine(std::string_view line) {
  while (!line.empty() && isAsciiSpace(line.front())) line.remove_prefix(1);
  if (line.empty() || line.front() == '#') return {};
  return line.front() == '[' ? parseHeader(line) : parseKey(line);
}

}  // namespace loomkit
