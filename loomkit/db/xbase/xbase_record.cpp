// SPDX-License-Identifier: MIT
#include "loomkit/db/xbase/xbase_record.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "loomkit/db/xbase/xbase_directory.h"
#include "loomkit/text/number.h"
#include "loomkit/text/number32.h"
#include "loomkit/text/output.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/field.h"

namespace loomkit {
namespace {

// A number's text, NUL-terminated for the readers; zero bytes are blanks.
constexpr std::size_t longestNumberText = 256;

const char* terminated(std::string_view text, char (&buffer)[longestNumberText]) {
  const std::size_t size = std::min(text.size(), longestNumberText - 1);
  std::replace_copy(text.begin(), text.begin() + static_cast<long>(size), buffer, '\0', ' ');
  buffer[size] = '\0';
  return buffer;
}

std::string_view withoutBlanks(std::string_view text) {
  return text.substr(0, text.find_last_not_of(std::string_view(" \0", 2)) + 1);
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

// More bytes than any text becomes that is converted from one code set to
// another.
constexpr std::size_t widestCharacter = 8;

constexpr std::size_t numberSize = sizeof(double);
constexpr std::size_t headSize = (sizeof(GDbRecord) + numberSize - 1) / numberSize * numberSize;

void putLogical(const xbase::DataFile& data, std::size_t field, void* out) {
  const int c = std::toupper(static_cast<unsigned char>(xbase::fieldChar(data, field)));
  new (out) std::int32_t(c == 'T' || c == 'Y' ? 1 : 0);
}

void putNumber(const xbase::DataFile& data, std::size_t field, GDbFieldType type, void* out) {
  char buffer[longestNumberText];
  const char* text = terminated(xbase::fieldText(data, field), buffer);
  constexpr int base = 10;
  if (type == GDbFieldFloat) {
    new (out) double(gParseCDouble(text, static_cast<const char**>(nullptr)));
  } else if (type == GDbFieldUInt) {
    new (out) std::uint32_t(parseUnsignedLong32(text, nullptr, base));
  } else {
    new (out) std::int32_t(parseLong32(text, nullptr, base));
  }
}

// Copies a text with its end; within it, a zero byte would end it.
char* putText(std::string_view text, char* out) {
  out = std::replace_copy(text.begin(), text.end(), out, '\0', ' ');
  *out++ = '\0';
  return out;
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
  if (converted.capacity() == 0) converted.reserve(types.size());  // so that the views hold
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
