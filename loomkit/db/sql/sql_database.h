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

/// An SQL database: transactions, the last error, and what the driver is. The
/// caller of GDbDatabase::openDatabase() owns it, as with every database. Calls
/// report by status; the database's own words are in getLastError(). A database
/// with its queries belongs to one thread at a time.
class LOOMKIT_API GSqlDatabase : public GDbDatabase {
 public:
  /// The transaction mode that leaves the choice to the driver. It is what
  /// GDbTransactionHandler::begin() passes.
  static constexpr int defaultTransactionMode = -2;
  /// The one feature that has a number so far, what every driver of this layer
  /// can do, and its level.
  static constexpr int basicFeature = 1;
  static constexpr int basicFeatureLevel = 1;
  /// The level of every feature that a driver does not know.
  static constexpr int unknownFeatureLevel = -1;

  ~GSqlDatabase() override;

  /// The last failure of this database; a success does not clear it. The error
  /// stays the database's.
  [[nodiscard]] virtual const GSqlError& getLastError() const = 0;
  /// Chooses how later transactions begin. The modes are numbers of the driver;
  /// one that has a single way to begin ignores the call.
  virtual void setTransactionMode(int mode) = 0;
  /// The mode that was chosen, or the default one.
  [[nodiscard]] virtual int getTransactionMode() const = 0;
  /// Begins a transaction in `mode`, a number of the driver or
  /// defaultTransactionMode. What happens when one is open already is the
  /// database's to say.
  virtual GDbStatus beginTransaction(int mode) = 0;
  /// The mode that is used when nobody has chosen one.
  [[nodiscard]] virtual int getDefaultTransactionMode() const = 0;
  /// Makes what happened since beginTransaction() lasting.
  virtual GDbStatus commitTransaction() = 0;
  /// Undoes what happened since beginTransaction().
  virtual GDbStatus rollbackTransaction() = 0;
  /// A short name that does not change, such as "sqlite3"; static storage.
  [[nodiscard]] virtual const char* getDriverName() const = 0;
  /// The version of the database's library: major << 20 | minor << 10 | patch; 0
  /// when the library cannot be loaded.
  [[nodiscard]] virtual unsigned getDriverVersion() const = 0;
  /// How far the driver supports a feature: a positive level, or
  /// unknownFeatureLevel.
  [[nodiscard]] virtual int getFeatureLevel(int feature) const = 0;

 protected:
  /// `locator` is the whole locator, which becomes the database's name.
  GSqlDatabase(const std::string& locator);
};

#endif  // LOOMKIT_DB_SQL_SQL_DATABASE_H
