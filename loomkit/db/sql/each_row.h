// SPDX-License-Identifier: MIT
// A walk over the rows of a query, as the drivers' catalogs make it. Private to the
// library.
#ifndef LOOMKIT_DB_SQL_EACH_ROW_H
#define LOOMKIT_DB_SQL_EACH_ROW_H

#include "loomkit/db/sql/sql_query.h"

namespace loomkit {

/// Executes a query that has its parameters and calls `use(row)` on each row, where
/// `row` is the query itself. The first status of `use` that is not 0 ends the walk and
/// is the result.
template <typename Use>
GDbStatus forEachRow(GSqlQuery* query, Use use) {
  GDbStatus status = query->exec();
  if (status == GDbNoError) status = query->next();
  while (status == GDbNoError) {
    status = use(*query);
    if (status == GDbNoError) status = query->next();
  }
  return status == GDbNoMoreRecords ? GDbNoError : status;
}

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQL_EACH_ROW_H
