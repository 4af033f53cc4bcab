// SPDX-License-Identifier: MIT
// Copying a table into a directory of CSV tables.
#ifndef LOOM_CSV_COPY_H
#define LOOM_CSV_COPY_H

#include "table_copy.h"

namespace loom {

/// copyTable() into a csv: database, which by itself is read-only: writes NAME.csv in
/// the form that docs/formats/csv.md describes, whole or not at all. Such a file has
/// no names and types of columns, which a note on standard error therefore tells, and
/// it holds neither NULL nor line ends.
unsigned long copyToText(const CopyJob& job);

}  // namespace loom

#endif  // LOOM_CSV_COPY_H
