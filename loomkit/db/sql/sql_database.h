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

  /// Closes the database if it is open. Query handles may live longer; they answer
  /// GDbNotOpen from then on.
  ~GSqlDatabase() override;

  /// The last failure of this database; a success does not clear it, so a caller
  /// looks at it only after a status that is not 0. The reference is valid as long
  /// as the database; a copy keeps its error when another failure follows.
  [[nodiscard]] virtual const GSqlError& getLastError() const = 0;
  /// Chooses how later transactions begin; one that is open stays as it is. The
  /// modes are numbers of the driver. A driver that has a single way to begin
  /// ignores the call.
  virtual void setTransactionMode(int mode) = 0;
  /// The mode that later transactions begin in: the chosen one, or the default one.
  [[nodiscard]] virtual int getTransactionMode() const = 0;
  /// Begins a transaction in `mode`, a number of the driver or
  /// defaultTransactionMode. Until it ends by one of the two calls below, all that
  /// is done to this database by its queries and tables belongs to it. What happens
  /// when one is open already is the database's to say.
  virtual GDbStatus beginTransaction(int mode) = 0;
  /// The mode that is used when nobody has chosen one, a number of the driver.
  [[nodiscard]] virtual int getDefaultTransactionMode() const = 0;
  /// Makes what happened since beginTransaction() lasting. It may move queries off
  /// their rows, so that a caller reads results to their end before. After a
  /// failure nothing is lasting that was not before; the caller then rolls back.
  /// Without an open transaction the database decides whether that is a failure.
  virtual GDbStatus commitTransaction() = 0;
  /// Undoes what happened since beginTransaction(). Queries lose their rows as by
  /// commitTransaction().
  virtual GDbStatus rollbackTransaction() = 0;
  /// A short name that does not change, such as "sqlite3". It is in static storage,
  /// so that a caller may keep the pointer.
  [[nodiscard]] virtual const char* getDriverName() const = 0;
  /// The version of the database's library as major << 20 | minor << 10 | patch, so
  /// that versions compare as numbers. 0 when the library cannot be loaded.
  [[nodiscard]] virtual unsigned getDriverVersion() const = 0;
  /// How far the driver supports `feature`, such as basicFeature: a positive level,
  /// of which a higher one can do more, or unknownFeatureLevel.
  [[nodiscard]] virtual int getFeatureLevel(int feature) const = 0;

 protected:
  /// `locator` is the whole locator, which becomes the database's name.
  GSqlDatabase(const std::string& locator);
};

#endif  // LOOMKIT_DB_SQL_SQL_DATABASE_H
