// SPDX-License-Identifier: MIT
// Words for the way in which a column is stored.
#ifndef TESSEL_STORE_COLUMN_NAMES_H
#define TESSEL_STORE_COLUMN_NAMES_H

#include "tessel/store/directory.h"

namespace tessel {

/// Such as "int8", "double" or "text in a dictionary".
const char* storageName(const Column& column);

}  // namespace tessel

#endif  // TESSEL_STORE_COLUMN_NAMES_H
