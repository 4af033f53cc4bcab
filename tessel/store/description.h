// SPDX-License-Identifier: MIT
// The description of a table, as the ten calls give it.
#ifndef TESSEL_STORE_DESCRIPTION_H
#define TESSEL_STORE_DESCRIPTION_H

#include "loomkit/db/tessel/tessel.h"
#include "tessel/store/directory.h"

namespace tessel {

/// A description of its own memory, which outlives the table. Never null.
TslTableDescr* makeDescription(const TableInfo& table);
void releaseDescription(TslTableDescr* descr);

}  // namespace tessel

#endif  // TESSEL_STORE_DESCRIPTION_H
