// SPDX-License-Identifier: MIT
#include "rpn_report.h"

#include <string_view>

#include "console.h"
#include "visible_text.h"

namespace loom {

namespace {

constexpr std::string_view marker = " >!< ";
constexpr std::string_view title = "rpn error: ";

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

}  // namespace

RpnReport readReport(const std::string& text, const std::string& name, const std::string& expr) {
  RpnReport report{text, {}, {}, {}};
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

void printReport(const RpnReport& report) {
  if (!report.position || !colorsOn(StandardStream::error)) {
    complainPlainly("loom: " + visibleLines(report.text));
    return;
  }
  const std::string header = report.text.substr(0, report.text.find('\n'));
  const std::string& expr = report.expression;
  complainPlainly("loom: " + colored(StandardStream::error, Color::bold, visible(header)) + "\n" +
                  visibleLines(expr.substr(0, *report.position)) +
                  colored(StandardStream::error, Color::red, marker) +
                  visibleLines(expr.substr(*report.position)));
}

std::string caretLine(const RpnReport& report, const std::string& indent) {
  std::string line = indent;
  for (std::size_t i = 0; report.position && i < *report.position; ++i) {
    const unsigned char byte = static_cast<unsigned char>(report.expression[i]);
    // A tab is as wide here as above; the later bytes of UTF-8 have no width.
    if ((byte & 0xC0U) != 0x80) line += byte == '\t' ? '\t' : ' ';
  }
  line += report.position ? "^ " : "";
  return line + colored(StandardStream::error, Color::red, report.message);
}

std::string caretLines(const RpnReport& report, const std::string& indent) {
  return indent + report.expression + "\n" + caretLine(report, indent);
}

}  // namespace loom
