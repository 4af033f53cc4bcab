// SPDX-License-Identifier: MIT
#include "loomkit/db/tessel/tessel_structure.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

#include "loomkit/db/tessel/tessel_errors.h"

namespace loomkit {
namespace {

constexpr int anyStorage = 0;
// Stands for the width of a text whose field tells its own length.
constexpr int fixedTextWidth = -2;

// How a field is presented. The first row that fits decides.
struct Presentation {
  int type;
  int storage;
  GDbFieldType fieldType;
  int width;  // of integers: the characters of the longest one
  int decDigits;
};

constexpr Presentation presentations[] = {
    {TslTypeSigned, TslStorageInt8, GDbFieldInt, 4, 0},
    {TslTypeSigned, TslStorageInt16, GDbFieldInt, 6, 0},
    {TslTypeSigned, TslStorageInt32, GDbFieldInt, 11, 0},
    {TslTypeUnsigned, TslStorageUInt8, GDbFieldUInt, 3, 0},
    {TslTypeUnsigned, TslStorageUInt16, GDbFieldUInt, 5, 0},
    {TslTypeUnsigned, TslStorageUInt32, GDbFieldUInt, 10, 0},
    {TslTypeFloating, TslStorageFloat, GDbFieldFloat, 12, -1},
    {TslTypeFloating, anyStorage, GDbFieldFloat, 22, -1},
    {TslTypeText, TslStorageFixedText, GDbFieldString, fixedTextWidth, 0},
    {TslTypeText, anyStorage, GDbFieldString, -1, 0},
    {TslTypePattern, anyStorage, GDbFieldUInt, 8, 0},
};

Presentation presentationOf(const TslField& field) {
  for (const Presentation& row : presentations)
    if (row.type == field.type && (row.storage == anyStorage || row.storage == field.storage))
      return row;
  // The store has a field of integers in a form that it does not have by its own rules.
  if (field.type == TslTypeSigned || field.type == TslTypeUnsigned) std::abort();
  return {field.type, anyStorage, GDbFieldNone, 0, 0};
}

GDbField makeField(const TslField& field) {
  const Presentation row = presentationOf(field);
  const int width = row.width == fixedTextWidth ? field.length - 1 : row.width;
  return {field.name, row.fieldType, width, row.decDigits, false, false};
}

GDbIndex makeIndex(const TslTableDescr& descr, const TslIndex& index) {
  std::string columns;
  for (int i = 0; i < index.columnCount; ++i) {
    if (i != 0) columns += ',';
    columns += descr.fields[index.columns[i]].name;
  }
  return {index.name, columns, index.unique != 0, false};
}

const TslField* findExactly(const TslTableDescr& descr, const std::string& name) {
  for (int i = 0; i < descr.fieldCount; ++i)
    if (name == descr.fields[i].name) return &descr.fields[i];
  return nullptr;
}

GDbStatus checkField(const TslTableDescr& descr, const GDbField& field) {
  const TslField* entry = findExactly(descr, field.getName());
  if (entry == nullptr) return GDbInvalidFieldName;
  const int type = field.getType();
  if (type < GDbFieldInt || type > GDbFieldString) return GDbInvalidFieldType;
  // A field of 32-bit patterns is presented as UInt and yet fits no structure.
  if (entry->type != type) return GDbFieldTypeMismatch;
  if (field.isKey() && entry->indexed == 0 && descr.keysNeedIndex != 0) return GDbNoIndex;
  return GDbNoError;
}

bool sameIgnoringCase(const char* a, const char* b) {
  const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  for (; lower(*a) == lower(*b); ++a, ++b)
    if (*a == '\0') return true;
  return false;
}

}  // namespace

GDbStatus getTesselDescr(int table, TesselDescr* descr) {
  descr->reset(tsl_get_table_descr(table));
  return *descr != nullptr ? GDbNoError : tesselStatus(tesselDescrErrors);
}

GDbStatus checkTesselStructure(const TslTableDescr& descr, const GDbStructure& structure) {
  for (const GDbField& field : structure.getFields()) {
    const GDbStatus status = checkField(descr, field);
    if (status != GDbNoError) return status;
  }
  return GDbNoError;
}

int findTesselField(const TslTableDescr& descr, const char* name) {
  for (int i = 0; i < descr.fieldCount; ++i)
    if (sameIgnoringCase(descr.fields[i].name, name)) return i;
  return -1;
}

std::unique_ptr<GDbStructure> makeTesselStructure(const TslTableDescr& descr) {
  auto structure = std::make_unique<GDbStructure>(false, 0xFFFFFFFF);
  for (int i = 0; i < descr.fieldCount; ++i) structure->appendField(makeField(descr.fields[i]));
  for (int i = 0; i < descr.indexCount; ++i)
    structure->addIndex(makeIndex(descr, descr.indexes[i]));
  return structure;
}

}  // namespace loomkit
