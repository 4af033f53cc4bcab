// SPDX-License-Identifier: MIT
#include "loomkit/db/xbase/xbase_record.h"

#include <algorithm>
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
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

// Copies a text; a zero byte within it would end it, and becomes a blank.
void copyText(std::string_view text, char* out) {
  if (text.empty()) return;
  std::memcpy(out, text.data(), text.size());
  if (std::memchr(out, '\0', text.size()) != nullptr)
    std::replace(out, out + text.size(), '\0', ' ');
}

// Copies the text of a number into the buffer with a NUL behind it, which the parsers
// of numbers need.
constexpr std::size_t longestNumberText = 256;

const char* terminated(std::string_view text, char (&buffer)[longestNumberText]) {
  const std::size_t size = std::min(text.size(), longestNumberText - 1);
  copyText(text.substr(0, size), buffer);
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

void putLogical(const xbase::DataFile& data, std::size_t field, void* out) {
  const int c = std::toupper(static_cast<unsigned char>(xbase::fieldChar(data, field)));
  new (out) std::int32_t(c == 'T' || c == 'Y' ? 1 : 0);
}

void putNumber(const xbase::DataFile& data, std::size_t field, GDbFieldType type, void* out) {
  const std::string_view bytes = xbase::fieldText(data, field);
  char buffer[longestNumberText];
  constexpr int base = 10;
  std::int32_t number = 0;
  if (type == GDbFieldFloat) {
    new (out) double(gParseCDouble(terminated(bytes, buffer), static_cast<const char**>(nullptr)));
  } else if (readShortInteger(bytes, &number)) {
    // Signed and unsigned fields get the same bits, since a minus sign negates an
    // unsigned number, too.
    new (out) std::int32_t(number);
  } else if (type == GDbFieldUInt) {
    new (out) std::uint32_t(parseUnsignedLong32(terminated(bytes, buffer), nullptr, base));
  } else {
    new (out) std::int32_t(parseLong32(terminated(bytes, buffer), nullptr, base));
  }
}

char* putText(std::string_view text, char* out) {
  copyText(text, out);
  out[text.size()] = '\0';
  return out + text.size() + 1;
}

}  // namespace

XBaseRecordMaker::XBaseRecordMaker(const xbase::DataFile& data,
                                   const std::vector<GDbFieldType>& wanted)
    : types(wanted), texts(wanted.size()) {
  for (std::size_t i = 0; i < types.size(); ++i) {
    // A logical field is an integer, whichever kind is asked for.
    if (data.fields[i].type == 'L') types[i] = GDbFieldInt;
    if (types[i] == GDbFieldNone) types[i] = naturalType(data.fields[i]);
    if (types[i] != GDbFieldString) ++numberCount;
  }
}

bool XBaseRecordMaker::prepareText(xbase::DataFile& data, std::size_t field,
                                   HulTextCodec* decoder) {
  std::string text;
  if (data.fields[field].type == 'M') {
    text = readMemo(data, field);
  } else {
    const std::string_view raw = withoutBlanks(xbase::fieldText(data, field));
    if (decoder == nullptr) {
      texts[field] = raw;
      return true;
    }
    const std::size_t room = raw.size() * widestCharacter;
    if (convertText(decoder, raw, room, &text) != Conversion::done) return false;
  }
  if (converted.capacity() == 0) converted.reserve(types.size());  // a move would end the views
  converted.push_back(std::move(text));
  texts[field] = converted.back();
  return true;
}

bool XBaseRecordMaker::prepareTexts(xbase::DataFile& data, HulTextCodec* decoder,
                                    std::size_t* bytes) {
  converted.clear();
  *bytes = 0;
  for (std::size_t i = 0; i < types.size(); ++i) {
    if (types[i] != GDbFieldString) continue;
    if (!prepareText(data, i, decoder)) return false;
    *bytes += texts[i].size() + 1;
  }
  return true;
}

GDbRecord* XBaseRecordMaker::make(xbase::DataFile& data, HulTextCodec* decoder) {
  std::size_t textBytes = 0;
  if (!prepareTexts(data, decoder, &textBytes)) return nullptr;
  // Numbers stand first, in eight bytes each, so that all are aligned.
  const std::size_t count = types.size();
  const std::size_t numberBytes = numberCount * numberSize;
  const std::size_t arrayBytes = count * (sizeof(void*) + sizeof(GDbFieldType));
  char* block = static_cast<char*>(::operator new(headSize + numberBytes + arrayBytes + textBytes));
  char* number = block + headSize;
  auto** values = reinterpret_cast<void**>(number + numberBytes);
  auto* recordTypes = reinterpret_cast<GDbFieldType*>(values + count);
  char* text = reinterpret_cast<char*>(recordTypes + count);
  for (std::size_t i = 0; i < count; ++i) {
    recordTypes[i] = types[i];
    if (types[i] == GDbFieldString) {
      values[i] = text;
      text = putText(texts[i], text);
      continue;
    }
    values[i] = number;
    if (data.fields[i].type == 'L') {
      putLogical(data, i, number);
    } else {
      putNumber(data, i, types[i], number);
    }
    number += numberSize;
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
