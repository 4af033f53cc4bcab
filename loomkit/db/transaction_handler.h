// SPDX-License-Identifier: MIT
// GDbTransactionHandler: transactions of a database that has them.
//
//   GDbTransactionHandler* handler = nullptr;
//   GDbTransactionHandler::getHandler(database, &handler);
//   if (handler != nullptr) handler->begin();
#ifndef LOOMKIT_DB_TRANSACTION_HANDLER_H
#define LOOMKIT_DB_TRANSACTION_HANDLER_H

#include "loomkit/db/status.h"
#include "loomkit/platform/export.h"

class GDbDatabase;

/// Begins and ends transactions. Belongs to its database and is never deleted
/// through this interface.
class LOOMKIT_API GDbTransactionHandler {
 public:
  virtual GDbStatus begin() = 0;
  virtual GDbStatus commit() = 0;
  virtual GDbStatus rollback() = 0;

  /// Stores the database's handler, which is null for a database without
  /// transactions. A null database stores null and gives GDbInvalidArgument.
  static GDbStatus getHandler(GDbDatabase* database, GDbTransactionHandler** handler);

 protected:
  GDbTransactionHandler();
  GDbTransactionHandler(const GDbTransactionHandler&);
  GDbTransactionHandler& operator=(const GDbTransactionHandler&);
  virtual ~GDbTransactionHandler();
};

#endif  // LOOMKIT_DB_TRANSACTION_HANDLER_H
