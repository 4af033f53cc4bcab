// SPDX-License-Identifier: MIT
// Databases on a machine that does not have their libraries: in this program none can be
// loaded, whatever the machine has. See no_libraries.cpp, here and in tests/windows.
#include <filesystem>
#include <string>

#include "loomkit/system/dyna_lib.h"
#include "tests/db/db_fixture.h"

namespace loomkit::testing {
namespace {

using Texts = std::vector<std::string>;

TEST(MissingLibrary, IsAStatusAndAMessageAtEachAttempt) {
  const ScratchDirectory scratch;
  CaptureLog log;
  const struct {
    std::string locator, message;
  } rows[] = {{"sqlite3:" + scratch / "x.db", "Error loading sqlite3.dll."},
              {"sqlite3:" + scratch / "x.db" + "?create", "Error loading sqlite3.dll."},
              {"postgresql://localhost/x", "Error loading libpq."}};
  Texts messages;
  for (const auto& row : rows) {
    for (int attempt = 0; attempt < 2; ++attempt) {
      GDbDatabase* database = nullptr;
      EXPECT_EQ(GDbDatabase::openDatabase(row.locator.c_str(), &database), GDbCantLoadLibrary)
          << row.locator;
      EXPECT_EQ(database, nullptr);
      messages.push_back(row.message);
      EXPECT_EQ(log.texts(), messages);
    }
  }
  EXPECT_TRUE(std::filesystem::is_empty(scratch.path())) << "no file is made";
  EXPECT_STREQ(gDbStrError(GDbCantLoadLibrary), "can't dynamically load database library");
}

TEST(MissingLibrary, IsNoneForTheDatabasesThatNeedNone) {
  const ScratchDirectory scratch;
  scratch.write("parts.csv", "1;bolt\n");
  const DatabaseOwner database = openDb("csv:" + scratch.path());
  const GDbStructure columns = structureOf({{"id", GDbFieldInt}, {"name", GDbFieldString}});
  EXPECT_NE(openTable(database, "parts", &columns), nullptr);
}

TEST(MissingLibrary, StaysClosed) { EXPECT_FALSE(GDynaLib("sqlite3").isOpen()); }

}  // namespace
}  // namespace loomkit::testing
