// SPDX-License-Identifier: MIT
#include "loomkit/db/xbase/xbase_record.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "loomkit/db/xbase/xbase_directory.h"
#include "loomkit/text/binary.h"
#include "loomkit/text/char_class.h"
#include "loomkit/text/number.h"
#include "loomkit/text/number32.h"
#include "loomkit/text/output.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/field.h"

namespace loomkit {
namespace {

constexpr bool isBlank(char c) { return c == ' ' || c == '\0'; }

// Most fields are wider than what is in them, so that blanks are counted in words of
// eight bytes, the first of which is the lowest.
constexpr std::size_t wordSize = 8;
constexpr std::uint64_t blankWord = 0x2020202020202020;

std::uint64_t wordAt(const char* bytes) { return RecordReader(bytes, wordSize).get(Le64{0}); }

std::string_view withoutBlanksBehind(std::string_view text) {
  while (text.size() >= wordSize) {
    const std::uint64_t word = wordAt(text.data() + text.size() - wordSize);
    const auto blanks = static_cast<std::size_t>(std::countl_zero(word ^ blankWord)) / 8;
    text.remove_suffix(blanks);
    if (blanks < wordSize) break;
  }
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view withoutBlanksInFront(std::string_view text) {
  while (text.size() >= wordSize) {
    const std::uint64_t word = wordAt(text.data());
    const auto blanks = static_cast<std::size_t>(std::countr_zero(word ^ blankWord)) / 8;
    text.remove_prefix(blanks);
    if (blanks < wordSize) break;
  }
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  return text;
}

// Puts the NUL that the parsers of numbers need behind the `size` bytes at `text`, as
// long as the object lives.
class Terminated {
 public:
  Terminated(char* text, std::size_t size) : end(text + size), kept(*end) { *end = '\0'; }
  Terminated(const Terminated&) = delete;
  Terminated& operator=(const Terminated&) = delete;
  ~Terminated() { *end = kept; }

 private:
  char* end;
  char kept;
};

// Whether eight bytes are digits: their high halves are 3, and stay so when 6 is added.
bool areDigits(std::uint64_t bytes) {
  constexpr std::uint64_t highHalves = 0xF0F0F0F0F0F0F0F0;
  constexpr std::uint64_t sixes = 0x0606060606060606;
  constexpr std::uint64_t threes = 0x3030303030303030;
  return (bytes & highHalves) == threes && ((bytes + sixes) & highHalves) == threes;
}

// The number of eight digits, the first of which is the lowest byte: neighbours are put
// together to two digits, to four, and to eight.
std::int32_t valueOfDigits(std::uint64_t digits) {
  digits = (digits & 0x0F0F0F0F0F0F0F0F) * (10 * 256 + 1) >> 8;
  digits = (digits & 0x00FF00FF00FF00FF) * (100 * 65536 + 1) >> 16;
  digits = (digits & 0x0000FFFF0000FFFF) * (10000 * (std::uint64_t{1} << 32) + 1) >> 32;
  return static_cast<std::int32_t>(digits);
}

// Reads what most fields hold, a number of few digits, as the readers of the C library
// do. False for all else.
bool readShortInteger(std::string_view text, std::int32_t* value) {
  constexpr std::size_t mostDigits = 9;
  const char* at = text.data();
  const char* end = at + text.size();
  const bool negative = at != end && *at == '-';
  if (negative) ++at;
  if (at == end || static_cast<std::size_t>(end - at) > mostDigits) return false;
  std::int32_t number = 0;
  if (static_cast<std::size_t>(end - at) >= wordSize) {
    const std::uint64_t bytes = wordAt(at);
    if (!areDigits(bytes)) return false;
    number = valueOfDigits(bytes);
    at += wordSize;
  }
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

char* putText(std::string_view text, char* out) {
  if (!text.empty()) std::memcpy(out, text.data(), text.size());
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

// The bytes of the current record. A zero byte within a text would end it, and is a
// blank here.
char* XBaseRecordMaker::bytesOf(xbase::DataFile& data) {
  std::string& record = data.record;
  if (record.find('\0') == std::string::npos) return record.data();
  cleaned = record;
  std::replace(cleaned.begin(), cleaned.end(), '\0', ' ');
  return cleaned.data();
}

// The text of a memo, or one in another code set.
bool XBaseRecordMaker::convertText(xbase::DataFile& data, const Column& column,
                                   HulTextCodec* decoder, std::string_view* text) {
  std::string made;
  if (column.kind == Kind::memo) {
    made = readMemo(data, column.field);
  } else {
    // As it stands in the file: a code set may have zero bytes in its characters.
    const std::string_view bytes(data.record.data() + column.offset, column.width);
    const std::string_view raw = withoutBlanksBehind(bytes);
    const std::size_t room = raw.size() * widestCharacter;
    if (loomkit::convertText(decoder, raw, room, &made) != Conversion::done) return false;
  }
  std::replace(made.begin(), made.end(), '\0', ' ');
  // A move would end the views.
  if (converted.capacity() == 0) converted.reserve(textColumns.size());
  converted.push_back(std::move(made));
  *text = converted.back();
  return true;
}

bool XBaseRecordMaker::prepareTexts(xbase::DataFile& data, const char* bytes, HulTextCodec* decoder,
                                    std::size_t* room) {
  converted.clear();
  *room = 0;
  for (std::size_t i = 0; i < textColumns.size(); ++i) {
    const Column& column = textColumns[i];
    if (column.kind == Kind::text && decoder == nullptr) {
      texts[i] = withoutBlanksBehind({bytes + column.offset, column.width});
    } else if (!convertText(data, column, decoder, &texts[i])) {
      return false;
    }
    *room += texts[i].size() + 1;
  }
  return true;
}

// Puts a number in the eight bytes at `out`. `bytes` are the record's.
void XBaseRecordMaker::putNumber(const Column& column, char* bytes, void* out) {
  char* field = bytes + column.offset;
  if (column.kind == Kind::logical) {
    new (out) std::int32_t(logicalValue({field, column.width}));
    return;
  }
  const std::string_view text = withoutBlanksInFront({field, column.width});
  std::int32_t number = 0;
  if (column.kind != Kind::floating && readShortInteger(text, &number)) {
    // Signed and unsigned fields get the same bits, since a minus sign negates an
    // unsigned number, too.
    new (out) std::int32_t(number);
    return;
  }
  constexpr int base = 10;
  const Terminated terminated(field, column.width);
  if (column.kind == Kind::floating) {
    new (out) double(gParseCDouble(text.data(), static_cast<const char**>(nullptr)));
  } else if (column.kind == Kind::unsignedInteger) {
    new (out) std::uint32_t(parseUnsignedLong32(text.data(), nullptr, base));
  } else {
    new (out) std::int32_t(parseLong32(text.data(), nullptr, base));
  }
}

GDbRecord* XBaseRecordMaker::make(xbase::DataFile& data, HulTextCodec* decoder) {
  char* bytes = bytesOf(data);
  std::size_t textBytes = 0;
  if (!prepareTexts(data, bytes, decoder, &textBytes)) return nullptr;
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
  for (const Column& column : numberColumns) {
    values[column.field] = number;
    putNumber(column, bytes, number);
    number += numberSize;
  }
  for (std::size_t i = 0; i < textColumns.size(); ++i) {
    values[textColumns[i].field] = text;
    text = putText(texts[i], text);
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
