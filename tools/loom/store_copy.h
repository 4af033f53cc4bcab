// SPDX-License-Identifier: MIT
// Copying a table into a file of the table store.
#ifndef LOOM_STORE_COPY_H
#define LOOM_STORE_COPY_H

#include "table_copy.h"

namespace loom {

/// copyTable() into a table store: the file is written anew, with the tables that it
/// has and with the new one, its indexes and the further ones of the job.
unsigned long copyToStore(const CopyJob& job);

}  // namespace loom

#endif  // LOOM_STORE_COPY_H
