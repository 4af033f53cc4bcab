// SPDX-License-Identifier: MIT
#include "loomkit/db/sql/run_transaction.h"

namespace loomkit {
namespace {

// Rolls back unless the transaction was committed. A commit that failed may have
// left it open.
class OpenTransaction {
 public:
  explicit OpenTransaction(GSqlDatabase* itsDatabase) : database(itsDatabase) {}
  OpenTransaction(const OpenTransaction&) = delete;
  OpenTransaction& operator=(const OpenTransaction&) = delete;
  ~OpenTransaction() {
    if (database != nullptr) database->rollbackTransaction();
  }
  GDbStatus commit() {
    const GDbStatus status = database->commitTransaction();
    if (status == GDbNoError) database = nullptr;
    return status;
  }

 private:
  GSqlDatabase* database;
};

// Makes one attempt. What the database has said of a failure goes to `*error`.
GDbStatus runOnce(GSqlDatabase* database, const std::function<GDbStatus()>& work,
                  GSqlError* error) {
  GDbStatus status = database->beginTransaction(GSqlDatabase::defaultTransactionMode);
  *error = database->getLastError();
  if (status != GDbNoError) return status;
  OpenTransaction transaction(database);
  status = work();
  if (status == GDbNoError) status = transaction.commit();
  *error = database->getLastError();
  return status;
}

}  // namespace

GDbStatus runTransaction(GSqlDatabase* database, const std::function<GDbStatus()>& work,
                         int attempts) {
  if (database == nullptr || !work || attempts < 1) return GDbInvalidArgument;
  for (;;) {
    GSqlError error;
    const GDbStatus status = runOnce(database, work, &error);
    const bool mendable = error.getStatus() == status && error.mayRepeat();
    if (status == GDbNoError || !mendable || --attempts == 0) return status;
  }
}

}  // namespace loomkit
