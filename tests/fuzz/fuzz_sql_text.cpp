// SPDX-License-Identifier: MIT
// Statements on their way to a PostgreSQL server: quoted bytes stay what they are,
// whatever they are, and a parameter behind them is one.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "loomkit/db/postgresql/statement_text.h"
#include "loomkit/db/postgresql/table_name.h"

namespace {

using loomkit::numberedParameters;
using loomkit::PgTableName;

// "?7" may leave numbers out, up to the last that the protocol has.
constexpr std::size_t mostParameters = 65535;

void require(bool holds) {
  if (!holds) std::abort();
}

std::string without(std::string text, const std::string& part) {
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part))
    text.erase(at, 1);
  return text;
}

std::string doubled(const std::string& text, char quote) {
  std::string result;
  for (const char c : text) result.append(c == quote ? 2 : 1, c);
  return result;
}

// The quoted text is kept as it is, and what stands behind it is outside of it.
void requireKept(const std::string& quoted, bool backslashes) {
  std::vector<std::string> names;
  require(numberedParameters(quoted + " ?", backslashes, &names) == quoted + " $1");
  require(names.size() == 1 && names[0].empty());
}

void checkQuotes(const std::string& text) {
  requireKept("'" + doubled(text, '\'') + "'", false);
  requireKept(loomkit::quotedIdentifier(text), false);
  requireKept(loomkit::quotedIdentifier(text), true);
  requireKept("$quote$" + without(text, "$quote$") + "$quote$;", false);
  requireKept("/* " + without(without(text, "/*"), "*/") + " */", false);
  std::string line = text;
  std::replace(line.begin(), line.end(), '\n', ' ');
  std::replace(line.begin(), line.end(), '\r', ' ');
  requireKept("--" + line + "\n", false);
  const std::string escaped = doubled(doubled(text, '\''), '\\');
  requireKept("E'" + escaped + "'", false);
  requireKept("'" + escaped + "'", true);
}

void checkTableName(const std::string& text) {
  const PgTableName name = PgTableName::of(text);
  const PgTableName again = PgTableName::of(name.plain());
  require(again.schema == name.schema && again.table == name.table);
  requireKept(name.quoted(), false);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (const bool backslashes : {false, true}) {
    std::vector<std::string> names;
    const std::string numbered = numberedParameters(text, backslashes, &names);
    require(names.size() <= size + mostParameters && numbered.size() <= 10 * size);
    if (text.find_first_of("?:@$") == std::string::npos) require(numbered == text);
  }
  checkQuotes(text);
  checkTableName(text);
  return 0;
}
