// SPDX-License-Identifier: MIT
// GDbDbFactory: what opens the databases of one type.
//
//   class MyFactory : public GDbDbFactory {
//    public:
//     MyFactory() : GDbDbFactory("mine") { GDbDatabase::registerDbFactory(this); }
//     GDbStatus openDatabase(const char* locator, GDbDatabase** database) override;
//   };
//   static MyFactory* const factory = new MyFactory;   // "mine:..." opens from now on
#ifndef LOOMKIT_DB_FACTORY_H
#define LOOMKIT_DB_FACTORY_H

#include <string>

#include "loomkit/db/status.h"
#include "loomkit/platform/export.h"

class GDbDatabase;

/// Opens databases of one type. A backend derives from it and hands one object
/// to GDbDatabase::registerDbFactory(), which keeps it to the end of the
/// process. Failures are statuses. For one thread at a time, as the registry is.
class LOOMKIT_API GDbDbFactory {
 public:
  /// `typeId` is what stands before a locator's colon: ASCII letters and digits, the
  /// letters in lower case, since a locator with any other is never found. Two
  /// factories of one type id do no harm: the one registered first opens all.
  GDbDbFactory(const std::string& typeId);
  GDbDbFactory(const GDbDbFactory&);
  GDbDbFactory& operator=(const GDbDbFactory&);
  virtual ~GDbDbFactory();

  /// Opens the database of a whole locator, type id included, and stores it in
  /// `*database`; the caller owns it. `locator` is NUL-terminated, stays the caller's
  /// and is not needed after the call. GDbDatabase::openDatabase() gives neither
  /// pointer as null. GDbInvalidLocator when the locator has no colon; on every
  /// failure `*database` stays as it is. loomkit::splitLocator() takes a locator
  /// apart.
  virtual GDbStatus openDatabase(const char* locator, GDbDatabase** database) = 0;

  /// The type id that the constructor was given; the text stays the factory's.
  [[nodiscard]] const std::string& getDbTypeId() const { return typeId; }

 private:
  std::string typeId;
};

#endif  // LOOMKIT_DB_FACTORY_H
