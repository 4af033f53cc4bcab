// SPDX-License-Identifier: MIT
#include "loomkit/db/xbase/xbase_record.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>

#include "loomkit/db/xbase/xbase_directory.h"
#include "loomkit/text/char_word.h"
#include "loomkit/text/fixed_number.h"
#include "loomkit/text/number.h"
#include "loomkit/text/number32.h"
#include "loomkit/text/output.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/field.h"

namespace loomkit {
namespace {

constexpr bool isBlank(char c) { return c == ' ' || c == '\0'; }

// Most fields are wider than what is in them, so that blanks are counted eight at a time.
inline std::string_view withoutBlanksBehind(std::string_view text) {
  while (text.size() >= CharWord::size) {
    const std::size_t blanks = CharWord(text.substr(text.size() - CharWord::size)).blanksBehind();
    text.remove_suffix(blanks);
    if (blanks < CharWord::size) break;
  }
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
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

constexpr std::int64_t largestInteger = std::numeric_limits<std::int32_t>::max();

constexpr std::size_t numberSize = sizeof(double);
constexpr std::size_t headSize = (sizeof(GDbRecord) + numberSize - 1) / numberSize * numberSize;

std::int32_t logicalValue(std::string_view text) {
  const int c = std::toupper(static_cast<unsigned char>(text.empty() ? ' ' : text.front()));
  return c == 'T' || c == 'Y' ? 1 : 0;
}

// Copies a text of one to two times `size` characters: its two ends, which may overlap.
template <std::size_t size>
void copyEnds(std::string_view text, char* out) {
  std::memcpy(out, text.data(), size);
  std::memcpy(out + text.size() - size, text.data() + text.size() - size, size);
}

// Most texts are short, and a call of memcpy() costs more than their copy.
char* putText(std::string_view text, char* out) {
  if (text.size() >= 8 && text.size() <= 16) {
    copyEnds<8>(text, out);
  } else if (text.size() >= 4 && text.size() < 8) {
    copyEnds<4>(text, out);
  } else if (!text.empty()) {
    std::memcpy(out, text.data(), text.size());
  }
  out[text.size()] = '\0';
  return out + text.size() + 1;
}

}  // namespace

XBaseRecordMaker::XBaseRecordMaker(const xbase::DataFile& data,
                                   const std::vector<GDbFieldType>& types)
    : fieldCount(static_cast<int>(types.size())) {
  for (std::size_t i = 0; i < types.size(); ++i) {
    const Column column = columnOf(data.fields[i], i, types[i]);
    (column.type == GDbFieldString ? textColumns : numberColumns).push_back(column);
  }
  texts.resize(textColumns.size());
  // Numbers stand first, in eight bytes each, so that all are aligned.
  valuesPlace = headSize;
  for (Column& column : numberColumns) {
    column.place = valuesPlace;
    valuesPlace += numberSize;
    // No memory is to be asked for while a record is being made.
    numberText.reserve(std::max(numberText.capacity(), column.width));
  }
  typesPlace = valuesPlace + types.size() * sizeof(void*);
  textsPlace = typesPlace + types.size() * sizeof(GDbFieldType);
}

XBaseRecordMaker::Column XBaseRecordMaker::columnOf(const xbase::Field& field, std::size_t number,
                                                    GDbFieldType wanted) {
  Column column;
  column.field = number;
  column.offset = field.offset;
  column.width = field.width;
  column.type = wanted == GDbFieldNone ? naturalType(field) : wanted;
  // A logical field is an integer, whichever kind is asked for.
  if (field.type == 'L') column.type = GDbFieldInt;
  column.kind = kindOf(field, column.type);
  if (column.kind != Kind::logical) column.form = FixedColumn(field.width, field.decimals);
  return column;
}

XBaseRecordMaker::Kind XBaseRecordMaker::kindOf(const xbase::Field& field, GDbFieldType type) {
  if (type == GDbFieldString) return field.type == 'M' ? Kind::memo : Kind::text;
  if (field.type == 'L') return Kind::logical;
  if (type == GDbFieldFloat) return Kind::floating;
  return type == GDbFieldUInt ? Kind::unsignedInteger : Kind::integer;
}

// The bytes of the current record. A zero byte within a text would end it, and is a
// blank here.
const char* XBaseRecordMaker::withoutZeros(const std::string& record) {
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

inline bool XBaseRecordMaker::prepareTexts(xbase::DataFile& data, const char* bytes,
                                           HulTextCodec* decoder, std::size_t* room) {
  converted.clear();
  *room = 0;
  std::string_view* text = texts.data();
  for (const Column& column : textColumns) {
    if (column.kind == Kind::text && decoder == nullptr) {
      *text = withoutBlanksBehind({bytes + column.offset, column.width});
    } else if (!convertText(data, column, decoder, text)) {
      return false;
    }
    *room += text->size() + 1;
    ++text;
  }
  return true;
}

// Puts a number in the eight bytes at `out`. What numbers usually look like is read
// here, all else as the readers of the C library do.
inline void XBaseRecordMaker::putNumber(const Column& column, const char* text, void* out) {
  FixedNumber number;
  const bool isFloating = column.kind == Kind::floating;
  if (!column.form.read(text, &number) || (!isFloating && number.whole > largestInteger)) {
    putOther(column, {text, column.width}, out);
  } else if (isFloating) {
    new (out) double(column.form.toDouble(number));
  } else {
    new (out) std::uint32_t(toBits(number));
  }
}

// The same for logical fields and for numbers in any form.
void XBaseRecordMaker::putOther(const Column& column, std::string_view text, void* out) {
  constexpr int base = 10;
  numberText = text;  // with the NUL behind it that the readers need
  const char* begin = numberText.c_str();
  switch (column.kind) {
    case Kind::logical:
      new (out) std::int32_t(logicalValue(text));
      break;
    case Kind::floating:
      new (out) double(gParseCDouble(begin, static_cast<const char**>(nullptr)));
      break;
    case Kind::unsignedInteger:
      new (out) std::uint32_t(parseUnsignedLong32(begin, nullptr, base));
      break;
    default:
      new (out) std::int32_t(parseLong32(begin, nullptr, base));
  }
}

GDbRecord* XBaseRecordMaker::make(xbase::DataFile& data, const char* plain, HulTextCodec* decoder) {
  const char* bytes = plain != nullptr ? plain : withoutZeros(data.record);
  std::size_t textBytes = 0;
  if (!prepareTexts(data, bytes, decoder, &textBytes)) return nullptr;
  char* block = static_cast<char*>(::operator new(textsPlace + textBytes));
  auto** values = reinterpret_cast<void**>(block + valuesPlace);
  auto* recordTypes = reinterpret_cast<GDbFieldType*>(block + typesPlace);
  for (const Column& column : numberColumns) {
    recordTypes[column.field] = column.type;
    values[column.field] = block + column.place;
    putNumber(column, bytes + column.offset, block + column.place);
  }
  char* out = block + textsPlace;
  const std::string_view* text = texts.data();
  for (const Column& column : textColumns) {
    recordTypes[column.field] = GDbFieldString;
    values[column.field] = out;
    out = putText(*text++, out);
  }
  return new (block) GDbRecord(true, fieldCount, recordTypes, values);
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
