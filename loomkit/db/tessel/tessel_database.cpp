// SPDX-License-Identifier: MIT
#include "loomkit/db/tessel/tessel_database.h"

#include <memory>
#include <string_view>

#include "loomkit/db/locator.h"
#include "loomkit/db/tessel/tessel_errors.h"
#include "loomkit/db/tessel/tessel_structure.h"

namespace {

constexpr std::string_view suffix = ".tessel";

bool endsWithSuffix(const std::string& path) {
  return path.size() >= suffix.size() &&
         path.compare(path.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// A handle of the store that is closed again unless somebody takes it over.
class Handle {
 public:
  Handle(int opened, int (*closingCall)(int)) : number(opened), close(closingCall) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() {
    if (number != -1) static_cast<void>(close(number));
  }
  [[nodiscard]] int get() const { return number; }
  void release() { number = -1; }

 private:
  int number;
  int (*close)(int);
};

GDbStatus checkTable(int table, const GDbStructure& structure) {
  loomkit::TesselDescr descr;
  const GDbStatus status = loomkit::getTesselDescr(table, &descr);
  return status == GDbNoError ? loomkit::checkTesselStructure(*descr, structure) : status;
}

}  // namespace

namespace loomkit::backends {
// Registered while the library is loaded; never deleted.
extern const GDbDbFactory* const tessel;
const GDbDbFactory* const tessel = new GDbTesselFactory;
}  // namespace loomkit::backends

GDbTessel::GDbTessel(const std::string& locator, std::int32_t databaseHandle)
    : GDbDatabase(locator), handle(databaseHandle) {}

GDbTessel::~GDbTessel() { static_cast<void>(GDbTessel::closeDatabase()); }

GDbStatus GDbTessel::closeDatabase() {
  const GDbStatus status = GDbDatabase::closeDatabase();
  if (handle == -1) return status;
  const bool failed = tsl_close_database(handle) == -1;
  handle = -1;
  // Hosts rely on a clean closing of the tables being success, whatever becomes
  // of the store behind them.
  return failed && status != GDbNoError ? loomkit::tesselStatus(loomkit::tesselCloseErrors)
                                        : status;
}

GDbStatus GDbTessel::openTable(const std::string& tableName, const GDbStructure* structure,
                               GDbTable** table) {
  if (handle == -1) return GDbNotOpen;
  if (table == nullptr) return GDbInvalidArgument;
  Handle opened(tsl_open_table(handle, tableName.c_str(), 0), tsl_close_table);
  if (opened.get() == -1) return loomkit::tesselStatus(loomkit::tesselOpenTableErrors);
  if (structure != nullptr) {
    const GDbStatus status = checkTable(opened.get(), *structure);
    if (status != GDbNoError) return status;
  }
  *table = new GDbTesselTable(this, tableName, opened.get());
  opened.release();
  return GDbNoError;
}

GDbStatus GDbTessel::createTable(const std::string& /*tableName*/,
                                 const GDbStructure* /*structure*/, GDbTable** /*table*/) {
  return GDbCreateTableNotSupported;
}

GDbStatus GDbTessel::deleteTable(const std::string& /*tableName*/) {
  return GDbDeleteTableNotSupported;
}

GDbTesselFactory::GDbTesselFactory() : GDbDbFactory("tessel") {
  GDbDatabase::registerDbFactory(this);
}

GDbStatus GDbTesselFactory::openDatabase(const char* locator, GDbDatabase** database) {
  loomkit::Locator parts;
  if (locator == nullptr || database == nullptr) return GDbInvalidArgument;
  if (!loomkit::splitLocator(locator, &parts)) return GDbInvalidLocator;
  for (std::string& path = parts.path;; path += suffix) {
    Handle opened(tsl_open_database(path.c_str(), 0), tsl_close_database);
    if (opened.get() != -1) {
      *database = new GDbTessel(locator, opened.get());
      opened.release();
      return GDbNoError;
    }
    const GDbStatus status = loomkit::tesselStatus(loomkit::tesselOpenErrors);
    if (status != GDbCantOpenFile || endsWithSuffix(path)) return status;
  }
}
