// SPDX-License-Identifier: MIT
#include "loomkit/db/csv/csv_format.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "loomkit/text/char_class.h"
#include "loomkit/text/number.h"
#include "loomkit/text/number32.h"
#include "loomkit/text/short_number.h"

namespace loomkit {
namespace {

// What a value may need beyond the bytes of its text.
unsigned slackOf(GDbFieldType type) {
  switch (type) {
    case GDbFieldNone:
      std::abort();
    case GDbFieldInt:
    case GDbFieldUInt:
      return 7;  // the word and up to 3 bytes to align it
    case GDbFieldFloat:
      return 15;  // the double and up to 7 bytes to align it
    case GDbFieldString:
      return 1;  // the terminator
    default:
      return 0;
  }
}

char* aligned(char* at, std::size_t alignment) {
  const auto address = reinterpret_cast<std::uintptr_t>(at);
  return at + ((alignment - address % alignment) % alignment);
}

// Readers of one column: the position behind what was read, or null when it is
// not of the type. They store the value at `*out` and move it behind.
const char* readInt(const char* text, GDbFieldType type, char** out) {
  // Nearly every number is short; the full readers decide on the others.
  const bool negative = *text == '-';
  std::int32_t value = 0;
  const char* end = readShortNumber(negative ? text + 1 : text, &value);
  if (negative) value = -value;
  if (end == nullptr) {
    value = type == GDbFieldInt ? parseLong32(text, &end, 10)
                                : static_cast<std::int32_t>(parseUnsignedLong32(text, &end, 10));
    if (end == text) return nullptr;
  }
  std::memcpy(*out, &value, sizeof value);
  *out += sizeof value;
  return end;
}

const char* readFloat(const char* text, char** out) {
  const char* end = nullptr;
  const double value = gParseCDouble(text, &end);
  if (end == text) return nullptr;
  std::memcpy(*out, &value, sizeof value);
  *out += sizeof value;
  return end;
}

}  // namespace

std::string csvTableName(const std::string& file) {
  const std::string suffix = csvSuffix;
  if (file.size() <= suffix.size()) return {};
  const std::size_t stem = file.size() - suffix.size();
  return file.compare(stem, suffix.size(), suffix) == 0 ? file.substr(0, stem) : std::string();
}

const char* readCsvText(const char* text, char** out) noexcept {
  char* to = *out;
  if (*text != csvQuote) {
    for (; *text != '\0' && *text != csvSeparator; ++text) *to++ = *text;
  } else {
    for (++text; *text != '\0'; ++text) {
      if (*text == csvQuote) {
        ++text;
        if (*text != csvQuote) break;  // a doubled quote stands for one
      }
      *to++ = *text;
    }
  }
  *to++ = '\0';
  *out = to;
  return text;
}

CsvLayout::CsvLayout(const GDbStructure& structure) {
  for (const GDbField& field : structure.getFields()) {
    types.push_back(field.getType());
    extraSize += slackOf(field.getType());
  }
}

std::size_t CsvLayout::blockSize(std::size_t length) const {
  return sizeof(GDbRecord) + types.size() * (sizeof(void*) + sizeof(GDbFieldType)) + extraSize +
         length;
}

GDbStatus CsvLayout::parse(const char* line, std::size_t length, void* block,
                           GDbRecord** record) const {
  // The pointers come before the types, so that both are aligned.
  auto** values = reinterpret_cast<void**>(static_cast<char*>(block) + sizeof(GDbRecord));
  auto* recordTypes = reinterpret_cast<GDbFieldType*>(values + types.size());
  char* out = reinterpret_cast<char*>(recordTypes + types.size());

  const char* at = line;
  bool atEnd = false;
  for (std::size_t i = 0; i < types.size(); ++i) {
    const GDbFieldType type = types[i];
    recordTypes[i] = type;
    if (type != GDbFieldString) {
      if (type > GDbFieldFloat) return GDbInvalidArgument;
      if (atEnd) return GDbFieldCountMismatch;
      out = aligned(out, type == GDbFieldFloat ? alignof(double) : alignof(std::int32_t));
    }
    values[i] = out;
    if (type == GDbFieldString)
      at = readCsvText(at, &out);
    else
      at = type == GDbFieldFloat ? readFloat(at, &out) : readInt(at, type, &out);
    if (at == nullptr) return GDbFieldTypeMismatch;
    at = skipAsciiSpace(at);
    if (*at == csvSeparator)
      ++at;
    else if (at == line + length)
      atEnd = true;  // further texts are empty, further numbers are missing
    else
      return GDbFieldTypeMismatch;
  }
  *record = new (block) GDbRecord(true, numFields(), recordTypes, values);
  return GDbNoError;
}

bool isBlankLine(const char* line, std::size_t length) noexcept {
  return std::all_of(line, line + length, isAsciiSpace);
}

}  // namespace loomkit
