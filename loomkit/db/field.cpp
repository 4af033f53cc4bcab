// SPDX-License-Identifier: MIT
#include "loomkit/db/field.h"

GDbField::GDbField() = default;
GDbField::GDbField(const GDbField&) = default;
GDbField& GDbField::operator=(const GDbField&) = default;
GDbField::~GDbField() = default;

GDbField::GDbField(const std::string& fieldName, GDbFieldType fieldType, int fieldWidth,
                   int fieldDecDigits, bool fieldIsPrimKey, bool fieldIsKey)
    : name(fieldName),
      type(fieldType),
      width(fieldWidth),
      decDigits(static_cast<std::int16_t>(fieldDecDigits)),
      primKey(fieldIsPrimKey),
      key(fieldIsKey) {}

GDbIndex::GDbIndex() = default;
GDbIndex::GDbIndex(const GDbIndex&) = default;
GDbIndex& GDbIndex::operator=(const GDbIndex&) = default;
GDbIndex::~GDbIndex() = default;

GDbIndex::GDbIndex(const std::string& indexName, const std::string& indexColumns,
                   bool isUniqueIndex, bool isDescendingIndex)
    : name(indexName),
      columns(indexColumns),
      unique(isUniqueIndex),
      descending(isDescendingIndex) {}
