// SPDX-License-Identifier: MIT
#include "loomkit/system/command_line.h"

namespace loomkit {
namespace {

bool isWhiteSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace

void appendArgument(const std::string& argument, std::string* line) {
  const std::size_t start = line->size();
  bool quotes = argument.empty();
  std::size_t backslashes = 0;
  for (const char c : argument) {
    if (c == '"') line->append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    quotes = quotes || isWhiteSpace(c);
    *line += c;
  }
  if (!quotes) return;
  line->insert(line->size() - backslashes, 1, '"');
  line->insert(start, 1, '"');
}

std::string commandLine(const std::string& program, int argc, const char* const* argv) {
  std::string line;
  if (argc < 0) return line;
  appendArgument(program, &line);
  for (int i = 0; i < argc; ++i) {
    line += ' ';
    appendArgument(argv[i], &line);
  }
  return line;
}

}  // namespace loomkit
