// SPDX-License-Identifier: MIT
// Every public call with names and values that are meant to break out of a
// statement: they stay names and values, or are refused.
#include <algorithm>
#include <functional>
#include <iterator>

#include "loomkit/db/catalog.h"
#include "tests/db/postgresql_fixture.h"

namespace {

using namespace loomkit::testing;
using namespace std::string_literals;

const std::string hostileTexts[] = {
    "'", "\"", "\\", "''", "\"\"", "\\'", "$1", "$$", "$a$", "?", "??", ":a", "@a", ";", "--", "/*",
    "*/", "a'b", "a\"b", "a\\'b", "'; DROP TABLE victim; --", "\"; DROP TABLE victim; --",
    "$$; DROP TABLE victim; $$", "\\'; DROP TABLE victim; --", "x); DROP TABLE victim; --",
    "victim; DROP TABLE victim", "victim\"; DROP TABLE victim; --", "E'\\''", "U&'\\0027'", "a.b",
    ".", "..", "\"a", "a\"", "%s%n%1", "\xc3\xa4", "a\nb\r", "\t", " ", "", "select", "NULL",
    "{1,2}", "(a)", std::string(70, 'x'), std::string(5000, '"'),
    // no text of the server's
    "\xff", "a\xc3", "'\xc0\xa7; DROP TABLE victim; --", "\xed\xa0\x80", "\0"s, "a\0b"s,
    "victim\0"s, "victim\0\"; DROP TABLE victim; --"s};

// A byte that no UTF-8 has, a surrogate, or a NUL.
bool isNoText(const std::string& text) {
  return text.find('\0') != std::string::npos ||
         text.find_first_of("\xff\xc0\xed") != std::string::npos || text == "a\xc3";
}

class PostgresqlHostile : public PostgresqlFixture {
 protected:
  using Call = std::function<GDbStatus(const std::string& text)>;
  struct Row {
    const char* name;
    Call call;
    bool refusesNoText = true;  // NULs and what is no UTF-8
  };

  void SetUp() override {
    PostgresqlFixture::SetUp();
    run("CREATE TABLE victim (n int, s text, b bytea)");
    run("INSERT INTO victim VALUES (1, 'one', 'one')");
    table = openTable(database, "victim");
  }

  GDbStatus create(const std::string& name, const GDbStructure& structure) {
    GDbTable* made = nullptr;
    const GDbStatus status = database->createTable(name, &structure, &made);
    delete made;
    return status;
  }

  GDbStatus insert(const std::string& text) {
    GDbRecordSet records;
    auto* record = new GDbRecord;
    record->addIntField(2);
    record->addStringField(text);
    record->addBlobField(text.data(), static_cast<unsigned>(text.size()));
    records.addRecord(record);
    return table->insertRecords(records);
  }

  GDbStatus bound(const char* statement, const std::function<GDbStatus(GSqlQuery&)>& bind) {
    GSqlQuery query(sql, statement);
    const GDbStatus status = bind(query);
    return status != GDbNoError ? status : query.exec();
  }

  std::vector<Row> calls();
};

std::vector<PostgresqlHostile::Row> PostgresqlHostile::calls() {
  const auto indexed = [](const GDbIndex& index) {
    GDbStructure structure = structureOf({{"a", GDbFieldInt}});
    structure.addIndex(index);
    return structure;
  };
  return {
      {"openTable",
       [&](const std::string& text) {
         GDbTable* opened = nullptr;
         const GDbStatus status = database->openTable(text, nullptr, &opened);
         delete opened;
         return status;
       }},
      {"tableExists", [&](const std::string& text) { return sql->tableExists(text); }},
      {"getTableStructure",
       [&](const std::string& text) {
         GDbStructure* structure = nullptr;
         const GDbStatus status = sql->getTableStructure(text, &structure);
         delete structure;
         return status;
       }},
      {"describeTable",
       [&](const std::string& text) {
         GDbCatalog::Description description;
         return GDbCatalog::describeTable(database.get(), text, &description);
       }},
      {"deleteTable", [&](const std::string& text) { return database->deleteTable(text); }},
      {"createTable, the table's name",
       [&](const std::string& text) {
         return create(text, structureOf({{"a", GDbFieldInt}}));
       }},
      {"createTable, a column's name",
       [&](const std::string& text) {
         return create("made", structureOf({{text, GDbFieldInt}}));
       }},
      // An index that fails is left out and logged.
      {"createTable, an index's name",
       [&](const std::string& text) {
         return create("made", indexed(GDbIndex(text, "a", true, false)));
       },
       false},
      {"createTable, an index's columns",
       [&](const std::string& text) {
         return create("made", indexed(GDbIndex("i", text, true, false)));
       },
       false},
      {"getFieldId",
       [&](const std::string& text) {
         int id = -1;
         return table->getFieldId(text.c_str(), &id);
       },
       false},
      // Keys and texts of records end at a NUL.
      {"lookupKey",
       [&](const std::string& text) {
         GDbRecordSet found;
         const GDbStatus status = table->lookupKey(GDbKey(1, text.c_str()), &found);
         EXPECT_EQ(found.getNumRecords(), 0U) << text;
         return status;
       },
       false},
      {"deleteKey",
       [&](const std::string& text) { return table->deleteKey(GDbKey(1, text.c_str())); }, false},
      {"insertRecords", [&](const std::string& text) { return insert(text); }, false},
      {"exec", [&](const std::string& text) { return GSqlQuery(sql).exec(text); }, false},
      {"prepare", [&](const std::string& text) { return GSqlQuery(sql, text).prepare(); }, false},
      {"bindText",
       [&](const std::string& text) {
         return bound("INSERT INTO victim VALUES (2, ?, '')", [&](GSqlQuery& query) {
           return query.bindText(0, text.data(), static_cast<int>(text.size()), true);
         });
       }},
      {"bindBlob",
       [&](const std::string& text) {
         std::string bytes = text;
         return bound("INSERT INTO victim VALUES (2, '', ?)", [&](GSqlQuery& query) {
           return query.bindBlob(0, bytes.data(), static_cast<unsigned>(bytes.size()), true);
         });
       },
       false},
  };
}

TEST_F(PostgresqlHostile, NoCallLetsANameOrAValueBreakOut) {
  for (const Row& row : calls()) {
    for (const std::string& text : hostileTexts) {
      CaptureLog log;
      const GDbStatus status = row.call(text);
      if (row.refusesNoText && isNoText(text)) {
        EXPECT_NE(status, GDbNoError) << row.name << ": " << text;
      }
      EXPECT_EQ(rowsOf("SELECT n, s, encode(b, 'escape') FROM victim WHERE n = 1"),
                Texts{"1|one|one"})
          << row.name << ": " << text;
    }
    run("DELETE FROM victim WHERE n <> 1");
    // What was made was made under the name that was given.
    for (const std::string& name : rowsOf("SELECT tablename FROM pg_tables WHERE schemaname = "
                                          "'scratch' AND tablename <> 'victim'")) {
      EXPECT_TRUE(name == "made" ||
                  std::any_of(std::begin(hostileTexts), std::end(hostileTexts),
                              [&](const std::string& text) { return text.starts_with(name); }))
          << row.name << ": " << name;
      run("DROP TABLE " + sql->quoteName(name));
    }
  }
}

// What goes in comes out.
TEST_F(PostgresqlHostile, EveryValueIsStoredAsItIs) {
  for (const std::string& text : hostileTexts) {
    if (isNoText(text)) continue;
    ASSERT_EQ(insert(text), GDbNoError) << text << sql->getLastError().getText();
    GDbRecordSet found;
    EXPECT_EQ(table->lookupKey(GDbKey(1, text.c_str()), &found), GDbNoError);
    ASSERT_EQ(found.getNumRecords(), 1U) << text;
    EXPECT_EQ(found.getRecord(0)->getStringField(1), text);
    const void* bytes = nullptr;
    unsigned size = 0;
    found.getRecord(0)->getBlobField(2, &bytes, &size);
    EXPECT_EQ(std::string(static_cast<const char*>(bytes), size), text);
    EXPECT_EQ(table->deleteKey(GDbKey(1, text.c_str())), GDbNoError);
  }
  EXPECT_EQ(rowsOf("SELECT count(*) FROM victim"), Texts{"1"});
}

// The parts of a locator are no statements either.
TEST_F(PostgresqlHostile, NoLocatorBreaksOut) {
  for (const std::string& text : hostileTexts) {
    if (text.size() > 63) continue;  // the server only cuts them
    std::string escaped;
    for (const char c : text) {
      constexpr char digits[] = "0123456789abcdef";
      const auto byte = static_cast<unsigned char>(c);
      escaped += {'%', digits[byte >> 4], digits[byte & 15]};
    }
    for (const std::string& locator :
         {server().socketUri(escaped), server().socketUri() + "&user=" + escaped,
          server().socketUri() + "&application_name=" + escaped,
          server().socketUri() + "&options=-csearch_path%3D" + escaped,
          server().socketUri() + "&" + escaped + "=1", server().socketUri(text)}) {
      CaptureLog log;
      GDbDatabase* opened = nullptr;
      GDbDatabase::openDatabase(locator.c_str(), &opened);
      delete opened;
    }
    EXPECT_EQ(rowsOf("SELECT n FROM victim"), Texts{"1"}) << text;
  }
}

}  // namespace
