// SPDX-License-Identifier: MIT
#include "rpn_report.h"

#include <algorithm>
#include <string_view>

#include "console.h"
#include "visible_text.h"

namespace loom {

namespace {

constexpr std::string_view marker = " >!< ";
constexpr std::string_view title = "rpn error: ";
constexpr std::string_view inFunction = "error in local function \"";

std::string withoutMarker(const std::string& body, std::size_t at) {
  return body.substr(0, at) + body.substr(at + marker.size());
}

// The place of the marker: where the rest is the expression, or at least a
// part of it, as a default is; else the first.
std::size_t findMarker(const std::string& body, const std::string& expr) {
  const std::size_t first = body.find(marker);
  for (std::size_t at = first; at != std::string::npos; at = body.find(marker, at + 1)) {
    if (withoutMarker(body, at) == expr) return at;
  }
  for (std::size_t at = first; at != std::string::npos; at = body.find(marker, at + 1)) {
    if (expr.find(withoutMarker(body, at)) != std::string::npos) return at;
  }
  return first;
}

// What stands below a report.
std::string hintLines(const RpnReport& report) {
  std::string lines;
  if (!report.functions.empty()) lines += "\n" + visible(callerText(report));
  if (!report.suggestion.empty()) lines += "\nDid you mean '" + visible(report.suggestion) + "'?";
  return lines;
}

}  // namespace

RpnReport readReport(const std::string& text, const std::string& name, const std::string& expr) {
  RpnReport report{text, {}, {}, {}, {}, {}};
  const std::string prefix = (name.empty() ? std::string() : name + ": ").append(title);
  const std::size_t start = text.starts_with(prefix) ? prefix.size() : 0;
  const std::size_t lineEnd = std::min(text.find('\n', start), text.size());
  report.message = text.substr(start, lineEnd - start);
  std::string body = text.substr(std::min(lineEnd + 1, text.size()));
  if (report.message.ends_with(':')) {
    report.message.pop_back();
    const std::size_t at = findMarker(body, expr);
    if (at == std::string::npos) return report;
    report.position = at;
    report.expression = withoutMarker(body, at);
  } else {
    constexpr std::string_view in = "in: ";
    report.expression = body.starts_with(in) ? body.substr(in.size()) : body;
  }
  return report;
}

RpnReport causeOf(const std::vector<RpnReport>& reports) {
  if (reports.empty()) return {};
  RpnReport cause = reports.front();
  for (const RpnReport& report : reports) {
    if (!report.message.starts_with(inFunction) || report.message.back() != '"') continue;
    cause.functions.push_back(
        report.message.substr(inFunction.size(), report.message.size() - inFunction.size() - 1));
  }
  return cause;
}

std::string callerText(const RpnReport& report) {
  constexpr std::size_t most = 3;
  std::string text;
  std::size_t shown = 0;
  for (std::size_t i = 0; i < report.functions.size() && shown < most; ++shown) {
    const std::string& name = report.functions[i];
    std::size_t calls = 1;
    while (i + calls < report.functions.size() && report.functions[i + calls] == name) ++calls;
    text += (shown == 0 ? "in local function \"" : ", called by \"") + name + "\"";
    if (calls > 1) text += " (" + std::to_string(calls) + " calls deep)";
    i += calls;
    if (shown + 1 == most && i < report.functions.size()) text += ", and so on";
  }
  return text;
}

std::string unknownName(const RpnReport& report) {
  const bool word = report.message == "unknown function";
  if (!report.position || !(word || report.message == "unknown parameter")) return {};
  const auto isNameByte = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  };
  const std::string& expr = report.expression;
  std::size_t begin = *report.position;
  // The marker stands before the name, or behind it where a host was asked for it.
  if (begin >= expr.size() || !(isNameByte(expr[begin]) || expr[begin] == '$')) {
    while (begin > 0 && isNameByte(expr[begin - 1])) --begin;
  }
  if (!word) begin = std::min(expr.find_first_not_of("${", begin), expr.size());
  std::size_t end = begin;
  while (end < expr.size() && isNameByte(expr[end])) ++end;
  return (word ? "" : "$") + expr.substr(begin, end - begin);
}

std::string reportText(const RpnReport& report) {
  return visibleLines(report.text) + hintLines(report);
}

void printReport(const RpnReport& report) {
  if (!report.position || !colorsOn(StandardStream::error)) {
    complainPlainly("loom: " + reportText(report));
    return;
  }
  const std::string header = report.text.substr(0, report.text.find('\n'));
  const std::string& expr = report.expression;
  complainPlainly("loom: " + colored(StandardStream::error, Color::bold, visible(header)) + "\n" +
                  visibleLines(expr.substr(0, *report.position)) +
                  colored(StandardStream::error, Color::red, marker) +
                  visibleLines(expr.substr(*report.position)) + hintLines(report));
}

std::string caretLine(const RpnReport& report, const std::string& indent) {
  std::string line = indent;
  for (std::size_t i = 0; report.position && i < *report.position; ++i) {
    const unsigned char byte = static_cast<unsigned char>(report.expression[i]);
    // A tab is as wide here as above; the later bytes of UTF-8 have no width.
    if ((byte & 0xC0U) != 0x80) line += byte == '\t' ? '\t' : ' ';
  }
  line += report.position ? "^ " : "";
  line += colored(StandardStream::error, Color::red, report.message);
  if (!report.functions.empty()) line += ", " + callerText(report);
  if (!report.suggestion.empty()) line += "; did you mean '" + report.suggestion + "'?";
  return line;
}

std::string caretLines(const RpnReport& report, const std::string& indent) {
  return indent + report.expression + "\n" + caretLine(report, indent);
}

}  // namespace loom
