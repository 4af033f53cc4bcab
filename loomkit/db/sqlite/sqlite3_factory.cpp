// SPDX-License-Identifier: MIT
// Opening SQLite databases.
#include <memory>
#include <vector>

#include "loomkit/db/locator.h"
#include "loomkit/db/sql/local_text.h"
#include "loomkit/db/sql/log_line.h"
#include "loomkit/db/sqlite/result_code.h"
#include "loomkit/db/sqlite/sqlite3_api.h"
#include "loomkit/db/sqlite/sqlite3_catalog.h"
#include "loomkit/db/sqlite/sqlite3_database.h"
#include "loomkit/streams/file.h"
#include "loomkit/text/template.h"

using loomkit::logLine;
using loomkit::sqlite3Library;

namespace {

constexpr int busyMilliseconds = 10000;

int openFlags(const std::vector<std::string>& options) {
  int flags = 0;
  for (const std::string& option : options) {
    if (option == "readonly") flags |= loomkit::sqliteOpenReadOnly;
    if (option == "readwrite") flags |= loomkit::sqliteOpenReadWrite;
    if (option == "create") flags |= loomkit::sqliteOpenReadWrite | loomkit::sqliteOpenCreate;
  }
  if (flags == 0) flags = loomkit::sqliteOpenReadWrite;
  if ((flags & loomkit::sqliteOpenReadWrite) != 0) flags &= ~loomkit::sqliteOpenReadOnly;
  return flags;
}

// Stores the result code of the opening call in `*code`. The function without flags
// creates a missing file, so that its existence is tested here, unless the options say
// "create".
GDbStatus openConnection(const std::string& path, int flags, sqlite3** db, int* code) {
  std::string logText = "Failed to convert path of Sqlite3 database (%1) to UTF-8: %2";
  logText << path;
  const loomkit::HulText utf8 = loomkit::toUtf8(path.c_str(), -1, nullptr, logText.c_str());
  const loomkit::Sqlite3Api& api = sqlite3Library().api;
  if (api.openWithFlags != nullptr) {
    *code = api.openWithFlags(utf8.get(), db, flags, nullptr);
    return GDbNoError;
  }
  if ((flags & loomkit::sqliteOpenCreate) == 0 && !GFile(path).exists()) return GDbCantOpenFile;
  *code = api.open(utf8.get(), db);
  return GDbNoError;
}

}  // namespace

// The factory and the catalog are made while the library is being loaded; the
// registries keep them to the end of the process.
namespace loomkit::backends {
extern const GDbDbFactory* const sqlite3;
const GDbDbFactory* const sqlite3 = [] {
  GDbCatalog::registerCatalog(new Sqlite3Catalog);
  return new GSqlite3DatabaseFactory;
}();
}  // namespace loomkit::backends

GSqlite3DatabaseFactory::GSqlite3DatabaseFactory() : GDbDbFactory("sqlite3") {
  GDbDatabase::registerDbFactory(this);
}

GDbStatus GSqlite3DatabaseFactory::openDatabase(const char* locator, GDbDatabase** database) {
  loomkit::Locator parts;
  if (locator == nullptr || database == nullptr) return GDbInvalidArgument;
  if (!loomkit::splitLocator(locator, &parts)) return GDbInvalidLocator;
  if (!sqlite3Library().load()) {
    logLine("Error loading sqlite3.dll.");
    return GDbCantLoadLibrary;
  }
  sqlite3* db = nullptr;
  int code = loomkit::sqliteOk;
  const GDbStatus status = openConnection(parts.path, openFlags(parts.options), &db, &code);
  if (status != GDbNoError) return status;
  // The library leaves a connection even when it has failed.
  const loomkit::Sqlite3Api& api = sqlite3Library().api;
  std::unique_ptr<sqlite3, decltype(api.close)> connection(db, api.close);
  if (code != loomkit::sqliteOk) {
    std::string text = "Failed to open database %1 (error %2).";
    text << parts.path << code;
    logLine(text);
    return loomkit::sqliteStatus(code);
  }
  code = api.busy_timeout(db, busyMilliseconds);
  if (code != loomkit::sqliteOk) {
    logLine("Failed to set busy timeout of Sqlite3 database.");
    return loomkit::sqliteStatus(code);
  }
  *database = new GSqlite3Database(locator, connection.get());
  static_cast<void>(connection.release());
  return GDbNoError;
}
