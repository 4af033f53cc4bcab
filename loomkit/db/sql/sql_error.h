// SPDX-License-Identifier: MIT
// GSqlError: the status of a failed SQL operation with the driver's own words.
//
//   if (query.exec() != GDbNoError) std::puts(query.getLastError().getText().c_str());
#ifndef LOOMKIT_DB_SQL_SQL_ERROR_H
#define LOOMKIT_DB_SQL_SQL_ERROR_H

#include <string>

#include "loomkit/db/status.h"
#include "loomkit/platform/export.h"

/// A shared error value: copies are cheap and show the same error. The default
/// object means "no error". Not locked: an error and its copies belong to one
/// thread.
class LOOMKIT_API GSqlError {
 public:
  /// No error.
  GSqlError();
  /// Shares the error of `other`.
  GSqlError(const GSqlError& other);
  /// An error whose words are only those of its status.
  GSqlError(GDbStatus status);
  /// `databaseText` is the database's own message, of which a copy is kept.
  GSqlError(GDbStatus status, const std::string& databaseText);
  /// Extension: with the SQLSTATE that the server gave.
  GSqlError(GDbStatus status, const std::string& databaseText, const std::string& sqlState);
  /// Shares the error of `other` from now on. The error that was shown before ends
  /// with its last copy.
  GSqlError& operator=(const GSqlError& other);
  ~GSqlError();

  /// The status; 0 for "no error".
  [[nodiscard]] GDbStatus getStatus() const;
  /// The words of gDbStrError() for a status that is not 0; else empty. This
  /// reference, and those of the other texts, are valid as long as the caller holds
  /// the error or a copy of it.
  [[nodiscard]] const std::string& getDriverText() const;
  /// The database's own message; empty when it had none.
  [[nodiscard]] const std::string& getDatabaseText() const;
  /// What a message to a user shows: "driver text (database text)", or whichever of
  /// the two is not empty. Empty for "no error".
  [[nodiscard]] std::string getText() const;
  /// Extension: the five characters by which SQL servers name an error, such as
  /// "23505"; empty where the driver has none.
  [[nodiscard]] const std::string& getSqlState() const;
  /// Extension: whether the same transaction may well succeed when it is run again
  /// from its begin: a serialization failure (40001) or a deadlock (40P01). A
  /// caller rolls back first; loomkit::runTransaction() does all of that.
  [[nodiscard]] bool mayRepeat() const;

 private:
  struct Block;
  void release();

  Block* block = nullptr;
};

#endif  // LOOMKIT_DB_SQL_SQL_ERROR_H
