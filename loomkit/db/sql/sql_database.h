// SPDX-License-Identifier: MIT
// GSqlDatabase: what an SQL database adds to a GDbDatabase for its host.
//
//   auto* sql = dynamic_cast<GSqlDatabase*>(database);
//   GSqlQuery query(sql, "SELECT COUNT(*) FROM parts;");
//   query.exec();
#ifndef LOOMKIT_DB_SQL_SQL_DATABASE_H
#define LOOMKIT_DB_SQL_SQL_DATABASE_H

#include <string>

#include "loomkit/db/database.h"
#include "loomkit/db/sql/sql_error.h"
#include "loomkit/platform/export.h"

/// An SQL database: transactions, the last error, and what the driver is. A
/// database with its queries belongs to one thread at a time.
class LOOMKIT_API GSqlDatabase : public GDbDatabase {
 public:
  ~GSqlDatabase() override;

  /// The last failure; a success does not clear it.
  [[nodiscard]] virtual const GSqlError& getLastError() const = 0;
  virtual void setTransactionMode(int mode) = 0;
  [[nodiscard]] virtual int getTransactionMode() const = 0;
  virtual GDbStatus beginTransaction(int mode) = 0;
  [[nodiscard]] virtual int getDefaultTransactionMode() const = 0;
  virtual GDbStatus commitTransaction() = 0;
  virtual GDbStatus rollbackTransaction() = 0;
  [[nodiscard]] virtual const char* getDriverName() const = 0;
  /// Major << 20 | minor << 10 | patch; 0 when the driver cannot be loaded.
  [[nodiscard]] virtual unsigned getDriverVersion() const = 0;
  [[nodiscard]] virtual int getFeatureLevel(int feature) const = 0;

 protected:
  explicit GSqlDatabase(const std::string& locator);
};

#endif  // LOOMKIT_DB_SQL_SQL_DATABASE_H
