// SPDX-License-Identifier: MIT
#include "loomkit/db/postgresql/table_name.h"

#include <cstddef>

#include "loomkit/db/postgresql/statement_text.h"

namespace loomkit {
namespace {

// Takes a quoted identifier from the front of `*text`; false when it has none.
bool takeQuoted(std::string_view* text, std::string* name) {
  if (!text->starts_with('"')) return false;
  std::string found;
  for (std::size_t pos = 1; pos < text->size(); ++pos) {
    if ((*text)[pos] == '"') {
      const bool doubled = pos + 1 < text->size() && (*text)[pos + 1] == '"';
      if (!doubled) {
        text->remove_prefix(pos + 1);
        *name = found;
        return true;
      }
      ++pos;
    }
    found += (*text)[pos];
  }
  return false;
}

// An identifier up to a dot or the end, quoted or plain.
bool takePart(std::string_view* text, std::string* name) {
  if (text->starts_with('"')) return takeQuoted(text, name);
  const std::size_t end = text->find('.');
  *name = text->substr(0, end);
  text->remove_prefix(name->size());
  return true;
}

std::string plainPart(const std::string& name) {
  const bool plain = name.find('.') == std::string::npos && !name.starts_with('"');
  return plain ? name : quotedIdentifier(name);
}

}  // namespace

PgTableName PgTableName::of(std::string_view name) {
  std::string_view rest = name;
  PgTableName result;
  if (!takePart(&rest, &result.table)) return {{}, std::string(name)};
  if (rest.empty()) return result;
  if (!rest.starts_with('.')) return {{}, std::string(name)};
  rest.remove_prefix(1);
  result.schema = result.table;
  if (!rest.starts_with('"')) {
    result.table = rest;  // with any further dots
    return result;
  }
  if (!takeQuoted(&rest, &result.table) || !rest.empty()) return {{}, std::string(name)};
  return result;
}

std::string PgTableName::quoted() const {
  const std::string own = quotedIdentifier(table);
  return schema.empty() ? own : quotedIdentifier(schema) + "." + own;
}

std::string PgTableName::plain() const {
  return schema.empty() ? plainPart(table) : plainPart(schema) + "." + plainPart(table);
}

}  // namespace loomkit
