// SPDX-License-Identifier: MIT
// GDbDbFactory: what opens the databases of one type.
#ifndef LOOMKIT_DB_FACTORY_H
#define LOOMKIT_DB_FACTORY_H

#include <string>

#include "loomkit/db/status.h"
#include "loomkit/platform/export.h"

class GDbDatabase;

/// Opens databases of one type. A backend derives from it and hands one object
/// to GDbDatabase::registerDbFactory(), which keeps it to the end of the
/// process.
class LOOMKIT_API GDbDbFactory {
 public:
  /// `typeId` is what stands before a locator's colon, in lower case.
  GDbDbFactory(const std::string& typeId);
  GDbDbFactory(const GDbDbFactory&);
  GDbDbFactory& operator=(const GDbDbFactory&);
  virtual ~GDbDbFactory();

  /// Opens the database of a whole locator and stores it in `*database`; the
  /// caller owns it. GDbInvalidLocator when the locator has no colon.
  virtual GDbStatus openDatabase(const char* locator, GDbDatabase** database) = 0;

  [[nodiscard]] const std::string& getDbTypeId() const { return typeId; }

 private:
  std::string typeId;
};

#endif  // LOOMKIT_DB_FACTORY_H
