// SPDX-License-Identifier: MIT
#include "line_params.h"

#include <charconv>

#include "rpn_host.h"

namespace loom {

void splitFields(std::string_view line, std::string_view separator,
                 std::vector<std::string_view>* fields) {
  fields->clear();
  if (separator.empty()) {
    constexpr std::string_view blanks = " \t";
    std::size_t start = line.find_first_not_of(blanks);
    while (start != std::string_view::npos) {
      const std::size_t end = std::min(line.find_first_of(blanks, start), line.size());
      fields->push_back(line.substr(start, end - start));
      start = line.find_first_not_of(blanks, end);
    }
    return;
  }
  if (line.empty()) return;
  for (;;) {
    const std::size_t end = line.find(separator);
    fields->push_back(line.substr(0, end));
    if (end == std::string_view::npos) return;
    line.remove_prefix(end + separator.size());
  }
}

LineParams::LineParams(std::string fieldSeparator, GRpnParamSet* others)
    : separator(std::move(fieldSeparator)), rest(others->incRef()) {}

void LineParams::setLine(const std::string& text, double number) {
  line = text;
  lineNumber = number;
  isSplit = false;
}

void LineParams::setPrevious(const GRpnValue& value) {
  previous = value;
  hasPrevious = true;
}

const std::vector<std::string_view>& LineParams::fields() {
  if (!isSplit) splitFields(line, separator, &parts);
  isSplit = true;
  return parts;
}

bool LineParams::field(std::string_view digits, GRpnValue* value) {
  std::size_t index = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), index);
  if (error != std::errc() || end != digits.data() + digits.size()) return false;
  if (index == 0 || index > fields().size()) return false;
  *value = typedValue(std::string(parts[index - 1]));
  return true;
}

bool LineParams::lookup(const char* name, unsigned length, GRpnValue* value, GRpnErrMsg* err) {
  const std::string_view wanted(name, length);
  if (wanted == "line") {
    *value = stringValue(std::string(line));
  } else if (wanted == "nf") {
    value->setNumber(static_cast<double>(fields().size()));
  } else if (wanted == "nr") {
    value->setNumber(lineNumber);
  } else if (wanted == "prev" && hasPrevious) {
    *value = previous;
  } else if (wanted.size() < 2 || wanted[0] != 'f' || !field(wanted.substr(1), value)) {
    return rest->lookup(name, length, value, err);
  }
  return true;
}

}  // namespace loom
