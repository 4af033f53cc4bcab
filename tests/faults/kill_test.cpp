// SPDX-License-Identifier: MIT
// A process that is killed at each of its writes: a file that is replaced is the
// old one or the new one, and what was committed is there.
#include <csignal>
#include <filesystem>
#include <sstream>
#include <utility>

#include "loomkit/archive/zip/zip64_reader.h"
#include "loomkit/archive/zip/zip64_writer.h"
#include "loomkit/archive/zip/zip_extractor.h"
#include "loomkit/archive/zip/zip_writer.h"
#include "loomkit/config/key_value_config_file.h"
#include "loomkit/streams/atomic_file.h"
#include "tests/db/db_fixture.h"
#include "tests/killed_work.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

// With blanks at their ends, so that there is more to write.
std::string manyLines(const char* value) {
  std::string text;
  for (int i = 0; i < 20000; ++i) {
    text += "key" + std::to_string(i) + " = " + value + std::string(20, ' ') + "\n";
  }
  return text;
}

TEST(Killed, AnAtomicFileIsTheOldOneOrTheNewOne) {
  const ScratchDirectory scratch;
  const std::string before = manyLines("old");
  const std::string after = manyLines("new");
  const std::string path = scratch.write("file", before);
  const int calls = killInTurn(
      scratch,
      [&] {
        GAtomicFile file(path);
        for (const char c : after) file.out().put(c);
        file.commit();
      },
      [&] {
        const std::string now = scratch.read("file");
        EXPECT_TRUE(now == before || now == after);
        scratch.write("file", before);
      });
  EXPECT_GT(calls, 5);
}

TEST(Killed, ASavedConfigurationIsTheOldOneOrTheNewOne) {
  const ScratchDirectory scratch;
  const std::string before = manyLines("old");
  const std::string path = scratch.write("file", before);
  killInTurn(
      scratch,
      [&] {
        GKeyValueConfigFile file;
        file.load(path);
        file.set("", "key7", "new");
        file.save();
      },
      [&] {
        GKeyValueConfigFile file;
        ASSERT_TRUE(file.load(path)) << file.getErrMsg();
        EXPECT_EQ(file.getKeys("").size(), 20000U);
      });
}

TEST(Killed, AnExtractedFileIsWholeOrMissing) {
  const ScratchDirectory scratch;
  const std::string text = manyLines("text");
  {
    GZipWriter writer;
    writer.setCompression(true);
    ASSERT_TRUE(writer.open(scratch / "a.zip"));
    writer.writeEntry("a", text.data(), static_cast<unsigned>(text.size()));
    writer.writeEntry("b", text.data(), static_cast<unsigned>(text.size()));
    ASSERT_TRUE(writer.close());
  }
  const int calls = killInTurn(
      scratch,
      [&] {
        GZipReader reader;
        reader.open(scratch / "a.zip");
        GZipExtractor extractor(&reader, scratch / "out");
        extractor.setOverwrite(true);
        extractor.extractAll();
      },
      [&] {
        for (const char* name : {"out/a", "out/b"}) {
          const std::string now = scratch.read(name);
          EXPECT_TRUE(now.empty() || now == text) << name;
        }
      });
  EXPECT_GT(calls, 20);
}

// As hosts do that handle signals: the hidden files go, then the process.
void discardAllAndEnd(int number) {
  GAtomicFile::discardAll();
  std::signal(number, SIG_DFL);
  std::raise(number);
}

TEST(Signalled, ExtractionLeavesNoHiddenFileBehind) {
  const ScratchDirectory scratch;
  std::ostringstream archive;
  GZip64Writer writer(&archive);
  for (const char* name : {"a", "b"}) {
    writer.writeFile(name, {}, [end = false](char* buffer, std::size_t) mutable -> std::int64_t {
      *buffer = 'x';
      return std::exchange(end, true) ? 0 : 1;
    });
  }
  writer.writeLink("l", "a", {});
  ASSERT_TRUE(writer.close());
  scratch.write("a.zip", archive.str());
  for (const bool nameless : {true, false}) {
    IoFaults::refuseNamelessFiles(!nameless);
    const int calls = killInTurn(
        scratch,
        [&] {
          std::signal(SIGTERM, discardAllAndEnd);
          GZip64Reader reader;
          reader.open(scratch / "a.zip");
          GZipExtractor extractor(&reader, scratch / "out");
          extractor.setOverwrite(true);
          extractor.setMakeLinks(true);
          extractor.extractAll();
        },
        [&] {
          if (!std::filesystem::exists(scratch / "out")) return;
          for (const auto& file : std::filesystem::directory_iterator(scratch / "out")) {
            EXPECT_EQ(file.path().filename().string().size(), 1U) << file.path();
          }
        },
        IoFaults::Signal);
    EXPECT_GT(calls, 10);
    EXPECT_EQ(scratch.read("out/a"), "x");
    EXPECT_TRUE(std::filesystem::is_symlink(scratch / "out/l"));
  }
  IoFaults::refuseNamelessFiles(false);
}

// Of each death is known how many rows had been committed.
TEST(Killed, NothingThatSqliteHasCommittedIsLost) {
  const ScratchDirectory scratch;
  const CaptureOutput output;
  const std::string locator = "sqlite3:" + scratch / "k.db";
  const GDbStructure structure = structureOf({{"id", GDbFieldInt}});
  const auto insertRows = [&](const Say& say) {
    const DatabaseOwner database = openDb(locator);
    GDbTable* table = nullptr;
    if (database->openTable("t", nullptr, &table) != GDbNoError) {
      database->createTable("t", &structure, &table);
    }
    if (table == nullptr) return;
    for (int i = 0; i < 5; ++i) {
      GDbRecordSet records;
      auto* record = new GDbRecord;
      record->addIntField(i);
      records.addRecord(record);
      if (table->insertRecords(records) != GDbNoError) return;
      say("x");
    }
  };
  int known = 0;
  int call = 1;
  for (;; call += killStep) {
    const KilledWork work = doKilled(scratch, call, insertRows);
    if (!work.killed) break;
    known += static_cast<int>(work.said.size());
    const DatabaseOwner database = openDb(locator);
    GDbTable* found = nullptr;
    int rows = 0;
    if (database->openTable("t", nullptr, &found) == GDbNoError) {
      const TableOwner table(found);
      GDbRecordSet row;
      EXPECT_EQ(table->getFirstRecord(&row), GDbNoError);
      for (; row.getNumRecords() > 0; ++rows) EXPECT_EQ(table->getNextRecord(&row), GDbNoError);
    }
    EXPECT_GE(rows, known);
    known = rows;
  }
  EXPECT_GT(call, 20);
}

}  // namespace
}  // namespace loomkit::testing
