// SPDX-License-Identifier: MIT
#include "loomkit/text/csv_reader.h"

#include <algorithm>

namespace loomkit {
namespace {

using Field = CsvReader::Field;
using Row = std::vector<Field>;

bool endsLine(char c) { return c == '\n' || c == '\r'; }

bool isBlank(const Row& row) { return row.size() == 1 && row[0].text.empty() && !row[0].quoted; }

// The rows at the begin of a text that are looked at to find its dialect.
constexpr int sampleRows = 20;
constexpr std::size_t sampleSize = std::size_t{64} << 10;

// Nothing where the sample is no CSV of that dialect. The row in which it was cut off
// is left out. A text with doubled quotes is gone with the next read(), so nobody may
// look at the texts of quoted fields.
std::optional<std::vector<Row>> readSample(CsvReader& reader, std::string_view sample, bool whole) {
  std::vector<Row> rows;
  Row row;
  while (rows.size() < sampleRows && reader.read(&row)) {
    if (!whole && reader.getPosition() == sample.size()) break;
    if (!isBlank(row)) rows.push_back(row);
  }
  if (reader.failed() && (whole || reader.getPosition() != sample.size())) return std::nullopt;
  return rows;
}

// How many columns all rows have; 1 where they differ.
std::size_t widthOf(const std::vector<Row>& rows) {
  if (rows.empty()) return 1;
  const std::size_t width = rows.front().size();
  const bool even =
      std::all_of(rows.begin(), rows.end(), [&](const Row& row) { return row.size() == width; });
  return even ? width : 1;
}

bool looksLikeNumber(std::string_view text) {
  return text.find_first_not_of("+-.,0123456789eE") == std::string_view::npos;
}

// Whether quotes stand around every text of a row, and around one at least.
bool areTextsQuoted(const Row& row) {
  const bool all = std::all_of(row.begin(), row.end(), [](const Field& field) {
    return field.quoted || looksLikeNumber(field.text);
  });
  return all && std::any_of(row.begin(), row.end(), [](const Field& f) { return f.quoted; });
}

}  // namespace

CsvReader::CsvReader(std::string_view itsText, const Dialect& itsDialect)
    : text(itsText), dialect(itsDialect) {
  const auto add = [](SignSet* set, char sign) { (*set)[static_cast<unsigned char>(sign)] = true; };
  for (const char end : {'\n', '\r'}) {
    add(&plainEnds, end);
    add(&quotedStops, end);
  }
  add(&plainEnds, dialect.separator);
  if (dialect.quote) add(&quotedStops, *dialect.quote);
}

bool CsvReader::read(std::vector<Field>* row) {
  row->clear();
  if (!unescaped.empty()) unescaped.clear();
  if (at == text.size() || failed()) return false;
  line = nextLine;
  column = 1;
  while (readField(row)) continue;
  return !failed();
}

void CsvReader::skipTo(const SignSet& signs) {
  std::size_t position = at;
  while (position < text.size() && !signs[static_cast<unsigned char>(text[position])]) ++position;
  at = position;
}

// Reads a field and what stands behind it; true when that is a separator.
bool CsvReader::readField(std::vector<Field>* row) {
  Field& field = row->emplace_back();
  if (at < text.size() && text[at] == dialect.quote) {
    if (!readQuoted(&field)) return false;
  } else {
    const std::size_t begin = at;
    skipTo(plainEnds);
    field.text = text.substr(begin, at - begin);
  }
  if (at == text.size()) return false;
  if (text[at] == dialect.separator) {
    ++at;
    return true;
  }
  if (!endsLine(text[at])) return fail("a separator is missing behind a quoted field", at);
  endLine();
  return false;
}

bool CsvReader::readQuoted(Field* field) {
  const char quote = *dialect.quote;
  const std::size_t openingLine = nextLine;
  const std::size_t openingColumn = at - lineBegin + 1;
  std::size_t begin = ++at;
  std::string* whole = nullptr;  // of a field with doubled quotes
  field->quoted = true;
  for (;;) {
    skipTo(quotedStops);
    if (at == text.size()) {
      error = "a quote has no end";
      line = openingLine;
      column = openingColumn;
      return false;
    }
    if (text[at] != quote) {
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
  column = position - lineBegin + 1;
  return false;
}

char CsvReader::findSeparator(std::string_view text, std::optional<char> quote) {
  constexpr std::string_view candidates = ",;\t|";
  const std::string_view sample = text.substr(0, sampleSize);
  char best = candidates[0];
  std::size_t most = 1;
  for (const char candidate : candidates) {
    if (candidate == quote) continue;
    CsvReader reader(sample, {candidate, quote});
    const auto rows = readSample(reader, sample, sample.size() == text.size());
    const std::size_t width = rows ? widthOf(*rows) : 1;
    if (width <= most) continue;
    most = width;
    best = candidate;
  }
  return best;
}

CsvReader::Dialect CsvReader::findDialect(std::string_view text) {
  constexpr char apostrophe = '\'';
  const std::string_view sample = text.substr(0, sampleSize);
  const Dialect quoted = {findSeparator(text, apostrophe), apostrophe};
  CsvReader reader(sample, quoted);
  const auto rows = readSample(reader, sample, sample.size() == text.size());
  if (rows && rows->size() > 1 && std::all_of(rows->begin() + 1, rows->end(), areTextsQuoted))
    return quoted;
  return {findSeparator(text)};
}

}  // namespace loomkit
