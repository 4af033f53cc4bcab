// SPDX-License-Identifier: MIT
// GDbTransactionHandler: transactions of a database that has them.
//
//   GDbTransactionHandler* handler = nullptr;
//   GDbTransactionHandler::getHandler(database, &handler);
//   if (handler != nullptr && handler->begin() == GDbNoError) {
//     const GDbStatus status = table->insertRecords(rows);
//     if (status == GDbNoError) handler->commit();
//     else handler->rollback();
//   }
#ifndef LOOMKIT_DB_TRANSACTION_HANDLER_H
#define LOOMKIT_DB_TRANSACTION_HANDLER_H

#include "loomkit/db/status.h"
#include "loomkit/platform/export.h"

class GDbDatabase;

/// Begins and ends transactions. A handler belongs to its database, lives as long
/// as that, and is never deleted through this interface. A backend with
/// transactions derives from it and hands its handler to
/// GDbDatabase::setTransactionHandler(). For one thread, as the database is.
class LOOMKIT_API GDbTransactionHandler {
 protected:
  GDbTransactionHandler();
  GDbTransactionHandler(const GDbTransactionHandler&);
  GDbTransactionHandler& operator=(const GDbTransactionHandler&);
  /// The first virtual function: the order of the slots is part of the interface.
  virtual ~GDbTransactionHandler();

 public:
  /// Begins a transaction on all tables of the database. It lasts until commit() or
  /// rollback(). The failures are the backend's.
  virtual GDbStatus begin() = 0;
  /// Makes what happened since begin() lasting. What a failure leaves behind depends
  /// on the backend; a caller that gives up calls rollback().
  virtual GDbStatus commit() = 0;
  /// Undoes what happened since begin(). GDbRollbackNotSupported where a backend
  /// cannot.
  virtual GDbStatus rollback() = 0;

  /// Stores the database's handler in `*handler`; null, with the status 0, for a
  /// database without transactions. A null database stores null and gives
  /// GDbInvalidArgument, and so does a null `handler`. The handler stays the
  /// database's, and is valid until that is deleted.
  static GDbStatus getHandler(GDbDatabase* database, GDbTransactionHandler** handler);
};

#endif  // LOOMKIT_DB_TRANSACTION_HANDLER_H
