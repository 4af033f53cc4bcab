// SPDX-License-Identifier: MIT
// Finding the index for a lookup, and the text of its key.
#include <algorithm>
#include <cstdio>

#include "loomkit/db/xbase/xbase_data.h"
#include "loomkit/db/xbase/xbase_directory.h"
#include "loomkit/text/str_stream.h"
#include "loomkit/text/string_util.h"
#include "loomkit/xbase/index_file.h"

namespace xbase = loomkit::xbase;

namespace {

bool fits(int length, unsigned room) { return length >= 0 && static_cast<unsigned>(length) < room; }

// Prints one column at its field's width `w`, into `w` + 1 bytes. False for a
// value that does not fit.
bool printNumber(const GDbKey& key, const xbase::Field& field, std::string* out) {
  const auto room = static_cast<unsigned>(out->size());
  const int width = static_cast<int>(field.width);
  if (field.type == 'L') {
    const bool value = key.type == GDbFieldInt ? key.value.intValue != 0 : key.value.uintValue != 0;
    return fits(gsnprintf(out->data(), room, "%*s", width, value ? "T" : "F"), room);
  }
  if (key.type == GDbFieldInt)
    return fits(gsnprintf(out->data(), room, "%*d", width, key.value.intValue), room);
  if (key.type == GDbFieldUInt)
    return fits(gsnprintf(out->data(), room, "%*u", width, key.value.uintValue), room);
  GOStrStream stream;
  stream.setf(std::ios::fixed, std::ios::floatfield);
  stream.precision(static_cast<std::streamsize>(field.decimals));
  stream.width(width);
  stream << key.value.floatValue;
  return fits(gsnprintf(out->data(), room, "%s", stream.str().c_str()), room);
}

bool printText(const char* text, const xbase::Field& field, std::string* out) {
  const auto room = static_cast<unsigned>(out->size());
  return fits(gsnprintf(out->data(), room, "%-*s", static_cast<int>(field.width), text), room);
}

// Whether a key of that type can be looked for in the field.
GDbStatus checkKeyType(const GDbKey& key, const xbase::Field& field) {
  if (key.type == GDbFieldNone) return GDbInvalidArgument;
  if (!gDbXBaseTypesFit(key.type, field) || field.type == 'M') return GDbFieldTypeMismatch;
  return GDbNoError;
}

}  // namespace

GDbStatus GDbXBaseData::findIndex(const GDbKey* keys, int count, const GDbXBaseIndex** index,
                                  std::string* indexName) const {
  for (const auto& [ownName, own] : indexes) {
    if (!own.serves(keys, count)) continue;
    *index = &own;
    *indexName = ownName;
    dataFile->selected = xbase::findTag(*indexFile, ownName);
    return dataFile->selected != nullptr ? GDbNoError : GDbNoIndex;
  }
  const auto isOutside = [this](const GDbKey& key) {
    return key.field < 0 || static_cast<std::size_t>(key.field) >= dataFile->fields.size();
  };
  const bool outside = count >= 1 && std::any_of(keys, keys + count, isOutside);
  return outside ? GDbInvalidArgument : GDbNoIndex;
}

GDbStatus GDbXBaseData::buildKey(const GDbXBaseIndex& index, const GDbKey* keys, int count,
                                 std::string* text) const {
  text->clear();
  bool possible = true;
  for (const int id : index.getFieldIds()) {
    const GDbKey& key =
        *std::find_if(keys, keys + count, [id](const GDbKey& each) { return each.field == id; });
    const xbase::Field& field = dataFile->fields[static_cast<std::size_t>(id)];
    const GDbStatus status = checkKeyType(key, field);
    if (status != GDbNoError) return status;
    std::string column(field.width + 1, '\0');
    if (key.type == GDbFieldString) {
      std::string converted = key.value.stringValue;
      HulTextCodec* encoder = directory->getEncoder();
      if (encoder != nullptr) {
        const loomkit::Conversion conversion =
            loomkit::convertText(encoder, key.value.stringValue, column.size(), &converted);
        if (conversion == loomkit::Conversion::failed) return GDbIoError;
        possible = possible && conversion == loomkit::Conversion::done;
      }
      possible = printText(converted.c_str(), field, &column) && possible;
    } else {
      possible = printNumber(key, field, &column) && possible;
    }
    column.resize(field.width);
    *text += column;
  }
  if (!possible) text->clear();
  return GDbNoError;
}
