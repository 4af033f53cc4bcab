// SPDX-License-Identifier: MIT
#include "loomkit/text/csv_reader.h"

#include <algorithm>

namespace loomkit {
namespace {

constexpr char quote = '"';

bool endsLine(char c) { return c == '\n' || c == '\r'; }

}  // namespace

CsvReader::CsvReader(std::string_view itsText, char itsSeparator)
    : text(itsText), separator(itsSeparator) {}

bool CsvReader::read(std::vector<Field>* row) {
  row->clear();
  unescaped.clear();
  if (at == text.size() || failed()) return false;
  line = nextLine;
  column = 1;
  while (readField(row)) continue;
  return !failed();
}

// Reads a field and what stands behind it; true when that is a separator.
bool CsvReader::readField(std::vector<Field>* row) {
  Field& field = row->emplace_back();
  if (at < text.size() && text[at] == quote) {
    if (!readQuoted(&field)) return false;
  } else {
    const std::size_t begin = at;
    while (at < text.size() && text[at] != separator && !endsLine(text[at])) ++at;
    field.text = text.substr(begin, at - begin);
  }
  if (at == text.size()) return false;
  if (text[at] == separator) {
    ++at;
    return true;
  }
  if (!endsLine(text[at])) return fail("a separator is missing behind a quoted field", at);
  endLine();
  return false;
}

bool CsvReader::readQuoted(Field* field) {
  field->quoted = true;
  const std::size_t opening = at++;
  const std::size_t openingLine = nextLine;
  const std::size_t openingColumn = opening - lineBegin + 1;
  std::size_t begin = at;
  std::string* whole = nullptr;  // of a field with doubled quotes
  for (;;) {
    while (at < text.size() && text[at] != quote && !endsLine(text[at])) ++at;
    if (at == text.size()) {
      fail("a quote has no end", opening);
      line = openingLine;
      column = openingColumn;
      return false;
    }
    if (endsLine(text[at])) {
      endLine();
      continue;
    }
    const bool doubled = at + 1 < text.size() && text[at + 1] == quote;
    if (!doubled) break;
    if (whole == nullptr) whole = &unescaped.emplace_back();
    whole->append(text.substr(begin, at + 1 - begin));
    at += 2;
    begin = at;
  }
  field->text = text.substr(begin, at - begin);
  if (whole != nullptr) field->text = whole->append(field->text);
  ++at;
  return true;
}

// Moves behind the line end that stands here.
void CsvReader::endLine() {
  const bool two = text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n';
  at += two ? 2 : 1;
  ++nextLine;
  lineBegin = at;
}

bool CsvReader::fail(std::string_view reason, std::size_t position) {
  error = reason;
  line = nextLine;
  column = position >= lineBegin ? position - lineBegin + 1 : 1;
  return false;
}

char CsvReader::findSeparator(std::string_view text) {
  constexpr std::string_view candidates = ",;\t|";
  constexpr int lines = 20;
  char best = candidates[0];
  std::size_t most = 1;
  for (const char candidate : candidates) {
    CsvReader reader(text, candidate);
    std::vector<Field> row;
    std::size_t width = 0;
    for (int i = 0; i < lines && reader.read(&row); ++i) {
      if (row.size() == 1 && row[0].text.empty()) continue;  // a blank line
      if (width == 0) width = row.size();
      if (row.size() != width) width = 1;
      if (width == 1) break;
    }
    if (!reader.failed() && width > most) {
      most = width;
      best = candidate;
    }
  }
  return best;
}

}  // namespace loomkit
