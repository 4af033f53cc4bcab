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

/// Puts a record together: the texts that take more than a copy first, so that
/// the size of the block is known.
class RecordMaker {
 public:
  RecordMaker(xbase::DataFile& table, const std::vector<GDbFieldType>& wanted, HulTextCodec* codec)
      : data(table), types(wanted), decoder(codec) {}

  GDbRecord* make();

 private:
  bool prepareText(std::size_t field, std::string_view* text);
  void putNumber(std::size_t field, GDbFieldType type, void* out);

  xbase::DataFile& data;
  const std::vector<GDbFieldType>& types;
  HulTextCodec* decoder;
  std::vector<std::string> converted;
  std::vector<std::string_view> texts;
};

GDbFieldType typeOf(const xbase::Field& field, GDbFieldType wanted) {
  // A logical field is an integer, whichever kind is asked for.
  if (field.type == 'L') return GDbFieldInt;
  return wanted == GDbFieldNone ? naturalType(field) : wanted;
}

bool RecordMaker::prepareText(std::size_t field, std::string_view* text) {
  if (data.fields[field].type == 'M') {
    converted.push_back(readMemo(data, field));
    *text = converted.back();
    return true;
  }
  *text = withoutBlanks(xbase::fieldText(data, field));
  if (decoder == nullptr) return true;
  std::string decoded;
  const std::size_t room = text->size() * widestCharacter;
  if (convertText(decoder, *text, room, &decoded) != Conversion::done) return false;
  converted.push_back(std::move(decoded));
  *text = converted.back();
  return true;
}

void RecordMaker::putNumber(std::size_t field, GDbFieldType type, void* out) {
  const xbase::Field& info = data.fields[field];
  if (info.type == 'L') {
    const int c = std::toupper(static_cast<unsigned char>(xbase::fieldChar(data, field)));
    new (out) std::int32_t(c == 'T' || c == 'Y' ? 1 : 0);
    return;
  }
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

GDbRecord* RecordMaker::make() {
  const std::size_t count = data.fields.size();
  converted.reserve(count);  // the views stay where they are
  texts.resize(count);
  // Numbers first, each in eight bytes, so that all are aligned.
  std::size_t numbers = 0;
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (typeOf(data.fields[i], types[i]) != GDbFieldString) {
      ++numbers;
    } else if (prepareText(i, &texts[i])) {
      bytes += texts[i].size() + 1;
    } else {
      return nullptr;
    }
  }
  constexpr std::size_t numberSize = sizeof(double);
  constexpr std::size_t headSize = (sizeof(GDbRecord) + numberSize - 1) / numberSize * numberSize;
  char* block = static_cast<char*>(::operator new(
      headSize + numbers * numberSize + count * (sizeof(void*) + sizeof(GDbFieldType)) + bytes));
  char* number = block + headSize;
  auto** values = reinterpret_cast<void**>(number + numbers * numberSize);
  auto* recordTypes = reinterpret_cast<GDbFieldType*>(values + count);
  char* text = reinterpret_cast<char*>(recordTypes + count);
  for (std::size_t i = 0; i < count; ++i) {
    recordTypes[i] = typeOf(data.fields[i], types[i]);
    if (recordTypes[i] != GDbFieldString) {
      values[i] = number;
      putNumber(i, recordTypes[i], number);
      number += numberSize;
      continue;
    }
    values[i] = text;
    // Within a text, a zero byte would end it.
    text = std::replace_copy(texts[i].begin(), texts[i].end(), text, '\0', ' ');
    *text++ = '\0';
  }
  return new (block) GDbRecord(true, static_cast<int>(count), recordTypes, values);
}

}  // namespace

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

GDbRecord* makeRecord(xbase::DataFile& data, const std::vector<GDbFieldType>& types,
                      HulTextCodec* decoder) {
  return RecordMaker(data, types, decoder).make();
}

}  // namespace loomkit
