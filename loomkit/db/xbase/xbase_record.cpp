// SPDX-License-Identifier: MIT
#include "loomkit/db/xbase/xbase_record.h"

#include <algorithm>
#include <cassert>
#include <cctype>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "loomkit/db/xbase/xbase_directory.h"
#include "loomkit/text/char_class.h"
#include "loomkit/text/number.h"
#include "loomkit/text/number32.h"
#include "loomkit/text/output.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/field.h"

namespace loomkit {
namespace {

constexpr bool isBlank(char c) { return c == ' ' || c == '\0'; }

std::string_view withoutBlanks(std::string_view text) {
  // Most fields are wider than what is in them: eight blanks at a time.
  constexpr char blanks[] = "        ";
  constexpr std::size_t step = sizeof blanks - 1;
  while (text.size() >= step && std::memcmp(text.data() + text.size() - step, blanks, step) == 0)
    text.remove_suffix(step);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool hasZeros(std::string_view text) {
  return !text.empty() && std::memchr(text.data(), '\0', text.size()) != nullptr;
}

// Copies a text; a zero byte within it would end it, and becomes a blank.
void copyText(std::string_view text, bool zeros, char* out) {
  if (text.empty()) return;
  std::memcpy(out, text.data(), text.size());
  if (zeros) std::replace(out, out + text.size(), '\0', ' ');
}

// Copies the text of a number into the buffer with a NUL behind it, which the parsers
// of numbers need.
constexpr std::size_t longestNumberText = 256;

const char* terminated(std::string_view text, bool zeros, char (&buffer)[longestNumberText]) {
  const std::size_t size = std::min(text.size(), longestNumberText - 1);
  copyText(text.substr(0, size), zeros, buffer);
  buffer[size] = '\0';
  return buffer;
}

// Reads what most fields hold, blanks and a number of few digits, as the readers
// of the C library do. False for all else.
bool readShortInteger(std::string_view text, std::int32_t* value) {
  constexpr std::size_t mostDigits = 9;
  const char* at = text.data();
  const char* end = at + text.size();
  while (at != end && isBlank(*at)) ++at;
  const bool negative = at != end && *at == '-';
  if (negative) ++at;
  if (at == end || static_cast<std::size_t>(end - at) > mostDigits) return false;
  std::int32_t number = 0;
  for (; at != end && isAsciiDigit(*at); ++at) number = number * 10 + (*at - '0');
  if (at != end) return false;
  *value = negative ? -number : number;
  return true;
}

// A memo that cannot be read is an empty one here, so that the record with its
// other fields is not lost.
std::string readMemo(xbase::DataFile& data, std::size_t field) {
  std::string text;
  const int code = xbase::memoText(data, field, &text);
  if (code >= 0) return text;
  data.engine->errorCode = 0;
  const std::string reason = "can't read memo " + data.fields[field].name + " of record " +
                             std::to_string(data.recordNumber) + " in " + data.alias +
                             ": XBase error " + std::to_string(code);
  gOutput->log(0, gDataSysName, reason.c_str());
  return {};
}

// No code set needs more than this many bytes for a character of another one.
constexpr std::size_t widestCharacter = 8;

constexpr std::size_t numberSize = sizeof(double);
constexpr std::size_t headSize = (sizeof(GDbRecord) + numberSize - 1) / numberSize * numberSize;

std::int32_t logicalValue(std::string_view text) {
  const int c = std::toupper(static_cast<unsigned char>(text.empty() ? ' ' : text.front()));
  return c == 'T' || c == 'Y' ? 1 : 0;
}

double floatValue(std::string_view text, bool zeros, char (&buffer)[longestNumberText]) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  return gParseCDouble(terminated(text, zeros, buffer), static_cast<const char**>(nullptr));
}

char* putText(std::string_view text, bool zeros, char* out) {
  copyText(text, zeros, out);
  out[text.size()] = '\0';
  return out + text.size() + 1;
}

}  // namespace

XBaseRecordMaker::XBaseRecordMaker(const xbase::DataFile& data,
                                   const std::vector<GDbFieldType>& wanted)
    : types(wanted) {
  for (std::size_t i = 0; i < types.size(); ++i) {
    const xbase::Field& field = data.fields[i];
    // A logical field is an integer, whichever kind is asked for.
    if (field.type == 'L') types[i] = GDbFieldInt;
    if (types[i] == GDbFieldNone) types[i] = naturalType(field);
    const Column column{i, field.offset, field.width, kindOf(field, types[i])};
    (types[i] == GDbFieldString ? textColumns : numberColumns).push_back(column);
  }
  texts.resize(textColumns.size());
}

XBaseRecordMaker::Kind XBaseRecordMaker::kindOf(const xbase::Field& field, GDbFieldType type) {
  if (type == GDbFieldString) return field.type == 'M' ? Kind::memo : Kind::text;
  if (field.type == 'L') return Kind::logical;
  if (type == GDbFieldFloat) return Kind::floating;
  return type == GDbFieldUInt ? Kind::unsignedInteger : Kind::integer;
}

// Requires: the record is one of the table that the column is of.
std::string_view XBaseRecordMaker::bytesOf(const xbase::DataFile& data, const Column& column) {
  assert(column.offset + column.width <= data.record.size());
  return {data.record.data() + column.offset, column.width};
}

// The text of a memo, or one in another code set.
bool XBaseRecordMaker::convertText(xbase::DataFile& data, const Column& column,
                                   HulTextCodec* decoder, std::string_view* text) {
  std::string made;
  if (column.kind == Kind::memo) {
    made = readMemo(data, column.field);
  } else {
    const std::string_view raw = withoutBlanks(bytesOf(data, column));
    const std::size_t room = raw.size() * widestCharacter;
    if (loomkit::convertText(decoder, raw, room, &made) != Conversion::done) return false;
  }
  // A move would end the views.
  if (converted.capacity() == 0) converted.reserve(textColumns.size());
  converted.push_back(std::move(made));
  *text = converted.back();
  return true;
}

bool XBaseRecordMaker::prepareTexts(xbase::DataFile& data, HulTextCodec* decoder,
                                    std::size_t* bytes) {
  converted.clear();
  *bytes = 0;
  for (std::size_t i = 0; i < textColumns.size(); ++i) {
    const Column& column = textColumns[i];
    if (column.kind == Kind::text && decoder == nullptr) {
      texts[i] = withoutBlanks(bytesOf(data, column));
    } else if (!convertText(data, column, decoder, &texts[i])) {
      return false;
    }
    *bytes += texts[i].size() + 1;
  }
  return true;
}

// Puts a number in the eight bytes at `out`.
void XBaseRecordMaker::putNumber(const Column& column, std::string_view text, bool zeros,
                                 void* out) {
  char buffer[longestNumberText];
  constexpr int base = 10;
  std::int32_t number = 0;
  if (column.kind == Kind::logical) {
    new (out) std::int32_t(logicalValue(text));
  } else if (column.kind == Kind::floating) {
    new (out) double(floatValue(text, zeros, buffer));
  } else if (readShortInteger(text, &number)) {
    // Signed and unsigned fields get the same bits, since a minus sign negates an
    // unsigned number, too.
    new (out) std::int32_t(number);
  } else if (column.kind == Kind::unsignedInteger) {
    new (out) std::uint32_t(parseUnsignedLong32(terminated(text, zeros, buffer), nullptr, base));
  } else {
    new (out) std::int32_t(parseLong32(terminated(text, zeros, buffer), nullptr, base));
  }
}

GDbRecord* XBaseRecordMaker::make(xbase::DataFile& data, HulTextCodec* decoder) {
  std::size_t textBytes = 0;
  if (!prepareTexts(data, decoder, &textBytes)) return nullptr;
  // Numbers stand first, in eight bytes each, so that all are aligned.
  const std::size_t count = types.size();
  const std::size_t numberBytes = numberColumns.size() * numberSize;
  const std::size_t arrayBytes = count * (sizeof(void*) + sizeof(GDbFieldType));
  char* block = static_cast<char*>(::operator new(headSize + numberBytes + arrayBytes + textBytes));
  char* number = block + headSize;
  auto** values = reinterpret_cast<void**>(number + numberBytes);
  auto* recordTypes = reinterpret_cast<GDbFieldType*>(values + count);
  char* text = reinterpret_cast<char*>(recordTypes + count);
  std::copy(types.begin(), types.end(), recordTypes);
  const bool zeros = hasZeros(data.record);
  for (const Column& column : numberColumns) {
    values[column.field] = number;
    putNumber(column, bytesOf(data, column), zeros, number);
    number += numberSize;
  }
  for (std::size_t i = 0; i < textColumns.size(); ++i) {
    values[textColumns[i].field] = text;
    // Texts that are not the record's own have zero bytes of their own.
    text = putText(texts[i], zeros || !converted.empty(), text);
  }
  return new (block) GDbRecord(true, static_cast<int>(count), recordTypes, values);
}

GDbFieldType naturalType(const xbase::Field& field) {
  switch (field.type) {
    case 'D':
      return GDbFieldUInt;
    case 'L':
      return GDbFieldInt;
    case 'F':
    case 'N':
      return field.decimals > 0 ? GDbFieldFloat : GDbFieldInt;
    default:
      return GDbFieldString;
  }
}

}  // namespace loomkit
