// SPDX-License-Identifier: MIT
#include "tessel/store/column_names.h"

namespace tessel {
namespace {

constexpr const char* storageNames[] = {"",       "int8",       "uint8",  "int16",
                                        "uint16", "int32",      "uint32", "float",
                                        "double", "fixed text", "text"};

}  // namespace

const char* storageName(const Column& column) {
  if (column.coding == Coding::dictionary) return "text in a dictionary";
  if (column.type == TslTypePattern) return "pattern of 32 bits";
  return storageNames[column.storage];
}

}  // namespace tessel
