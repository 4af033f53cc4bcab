// SPDX-License-Identifier: MIT
// Tables with indexes when system calls fail, and when the process is killed at
// each of them: what was flushed is in the table, and the index is right, or is
// known not to be.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <set>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/field.h"
#include "loomkit/xbase/index_file.h"
#include "tests/io_faults.h"
#include "tests/killed_work.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

using namespace loomkit::xbase;

const std::vector<TagDescription> tagsOfTable = {
    {"DOWN", "NAME", "", false, true}, {"ID", "ID", "", true}, {"NAME", "NAME"}};

class IndexFaults {
 public:
  IndexFaults() {
    engine.report = Reporting::none();
    engine.safety = false;
    engine.autoOpen = false;
    // Small, so that blocks have to make room and are written early.
    engine.indexBlocks = 1;
    engine.cacheBlockSize = 1024;
    engine.cacheBlocks = 4;
    engine.sortMemory = 500;
  }

  [[nodiscard]] std::string table() const { return scratch / "t.dbf"; }
  [[nodiscard]] std::string index() const { return scratch / "t.cdx"; }

  std::unique_ptr<DataFile> open() {
    engine.errorCode = ok;
    return openDataFile(engine, table());
  }
  // The index as the database opens it: one that cannot be opened is made anew.
  IndexFile* openOrMake(DataFile& data) {
    IndexFile* found = openIndex(data, index());
    if (found != nullptr) return found;
    engine.errorCode = ok;
    return createIndex(data, index(), tagsOfTable);
  }

  void create(int records) {
    engine.errorCode = ok;
    const auto data = createDataFile(engine, table(), {{"ID", 'N', 10, 0}, {"NAME", 'C', 40, 0}});
    ASSERT_NE(data, nullptr);
    ASSERT_NE(createIndex(*data, index(), tagsOfTable), nullptr);
    for (int i = 0; i < records; ++i) ASSERT_EQ(insert(*data, i), ok);
    ASSERT_EQ(close(*data), ok);
  }

  static int insert(DataFile& data, int id) {
    int result = startAppend(data);
    if (result != ok) return result;
    blank(data);
    unmarkDeleted(data);
    assignLong(data, 0, id);
    assignText(data, 1, "name " + std::to_string(id * 7919 % 1000));
    return finishAppend(data);
  }

  // The ids in the table, each once, though the index may not be there.
  std::set<int> ids(DataFile& data) {
    std::set<int> found;
    for (std::uint32_t n = 1; n <= data.recordCount; ++n) {
      EXPECT_EQ(go(data, n), ok);
      if (isDeleted(data)) continue;
      EXPECT_TRUE(found.insert(static_cast<int>(fieldNumber(data, std::size_t{0}))).second);
    }
    return found;
  }

  // Every tag has every record, in the order of the keys that the records have now.
  static void expectRight(DataFile& data, IndexFile& file) {
    ASSERT_EQ(file.tags.size(), tagsOfTable.size());
    for (const auto& tag : file.tags) {
      std::vector<std::pair<std::string, std::uint32_t>> wanted;
      for (std::uint32_t n = 1; n <= data.recordCount; ++n) {
        ASSERT_EQ(go(data, n), ok);
        std::vector<unsigned char> key;
        bool inTag = false;
        ASSERT_EQ(recordKey(*tag, &key, &inTag), ok);
        wanted.emplace_back(std::string(key.begin(), key.end()), n);
      }
      std::sort(wanted.begin(), wanted.end());
      if (tag->descending) std::reverse(wanted.begin(), wanted.end());
      int result = goTop(*tag);
      for (const auto& entry : wanted) {
        ASSERT_EQ(result, ok);
        ASSERT_EQ(currentKey(*tag), entry.first);
        ASSERT_EQ(tag->cursor.record, entry.second);
        result = skipKeys(*tag, 1);
      }
      ASSERT_EQ(result, endOfFile);
    }
  }

  // After whatever has happened: the table opens, and so does a right index, or
  // none, and then one can be made.
  std::set<int> expectSound() {
    const auto data = open();
    EXPECT_NE(data, nullptr) << engine.errorCode;
    if (data == nullptr) return {};
    IndexFile* found = openIndex(*data, index());
    if (found == nullptr) {
      ++rebuilt;
      engine.errorCode = ok;
      found = createIndex(*data, index(), tagsOfTable);
      EXPECT_NE(found, nullptr) << engine.errorCode;
    }
    if (found != nullptr) expectRight(*data, *found);
    std::set<int> all = ids(*data);
    EXPECT_EQ(close(*data), ok);
    return all;
  }

  void keep() {
    for (const char* name : {"t.dbf", "t.cdx"}) kept[name] = scratch.read(name);
  }
  // What a killed process left beside them goes: scratch files above all, each of
  // which would be one more name that the next process finds taken.
  void restore() {
    for (const auto& old : std::filesystem::directory_iterator(scratch.path()))
      std::filesystem::remove(old.path());
    for (const auto& [name, bytes] : kept) scratch.write(name, bytes);
  }

  ScratchDirectory scratch;
  Engine engine;
  std::map<std::string, std::string> kept;
  int rebuilt = 0;
};

class IndexIoFault : public ::testing::TestWithParam<int> {
 protected:
  // Does the work on a table of 60 records with each call failing in turn. The
  // table is sound afterwards, and goes on as soon as calls succeed again, or
  // says that it does not.
  void failInTurnOver(const std::function<int(DataFile&)>& work) {
    IndexFaults files;
    files.create(60);
    files.keep();
    const int failures = failInTurn(
        GetParam(),
        [&] {
          files.engine.errorCode = ok;
          const auto data = files.open();
          IndexFile* index = data == nullptr ? nullptr : openIndex(*data, files.index());
          if (index == nullptr) return false;
          bool done = work(*data) == ok;
          done = done && close(*data) == ok;
          return done;
        },
        [&] {
          files.expectSound();
          const auto data = files.open();
          ASSERT_NE(data, nullptr);
          ASSERT_NE(files.openOrMake(*data), nullptr);
          EXPECT_EQ(IndexFaults::insert(*data, 5000), ok);
          EXPECT_EQ(close(*data), ok);
          files.expectSound();
          files.restore();
        },
        [&] { files.restore(); });
    EXPECT_GE(failures, 5);
  }
};

TEST_P(IndexIoFault, LeavesATableThatGrowsSound) {
  failInTurnOver([](DataFile& data) {
    int result = ok;
    for (int i = 100; i < 130 && result == ok; ++i) result = IndexFaults::insert(data, i);
    return result == ok ? flush(data) : result;
  });
}

TEST_P(IndexIoFault, LeavesATableThatChangesSound) {
  failInTurnOver([](DataFile& data) {
    int result = ok;
    for (std::uint32_t i = 1; i < 20 && result == ok; ++i) {
      result = go(data, i * 3);
      if (result == ok) assignText(data, 1, "changed " + std::to_string(i));
    }
    return result == ok ? flush(data) : result;
  });
}

TEST_P(IndexIoFault, LeavesATableThatIsPackedSound) {
  failInTurnOver([](DataFile& data) {
    int result = ok;
    for (std::uint32_t i = 1; i < 20 && result == ok; ++i) {
      result = go(data, i * 3);
      if (result == ok) markDeleted(data);
      // A run before may have packed the table, and failed in nothing that counts.
      if (result == noSuchRecord) result = ok;
    }
    return result == ok ? pack(data) : result;
  });
}

TEST_P(IndexIoFault, LeavesATableThatIsIndexedAnewSound) {
  failInTurnOver([](DataFile& data) { return rebuild(*data.indexes.back()); });
}

// After a failure, the same table and index go on once calls succeed, or the index
// refuses until it is opened anew.
TEST_P(IndexIoFault, GoesOnOrRefusesInTheSameProcess) {
  IndexFaults files;
  files.create(60);
  files.keep();
  int wentOn = 0;
  for (int call = 1; call < 200; ++call) {
    files.restore();
    const auto data = files.open();
    ASSERT_NE(data, nullptr);
    ASSERT_NE(openIndex(*data, files.index()), nullptr);
    bool met = false;
    {
      const IoFaults faults(IoFaults::Fail, call, GetParam(), 0);
      for (int i = 100; i < 120; ++i) IndexFaults::insert(*data, i);
      flush(*data);
      met = IoFaults::calls() >= call;
    }
    files.engine.errorCode = ok;
    const int result = IndexFaults::insert(*data, 7000);
    files.engine.errorCode = ok;
    const int flushed = flush(*data);
    if (result == ok && flushed == ok) ++wentOn;
    files.engine.errorCode = ok;
    close(*data);
    const std::set<int> all = files.expectSound();
    if (result == ok && flushed == ok) {
      EXPECT_EQ(all.count(7000), 1U) << "call " << call;
    }
    if (!met) break;
  }
  EXPECT_GT(wentOn, 0);
}

INSTANTIATE_TEST_SUITE_P(Errors, IndexIoFault, ::testing::Values(EIO, ENOSPC));

// Inserts, changes, deletes with a pack, and indexes anew, each flushed, on the table
// as it lies there; says after each flush what is now in the table.
void changeTable(IndexFaults& files, int firstId, const Say& say) {
  const auto data = files.open();
  if (data == nullptr) return;
  IndexFile* index = files.openOrMake(*data);
  if (index == nullptr) return;
  for (int id = firstId; id < firstId + 4; ++id) {
    if (IndexFaults::insert(*data, id) != ok || flush(*data) != ok) return;
    say("+" + std::to_string(id) + " ");
  }
  if (go(*data, 1) != ok) return;
  const int gone = static_cast<int>(fieldNumber(*data, std::size_t{0}));
  say("-" + std::to_string(gone) + " ");
  markDeleted(*data);
  if (go(*data, 2) != ok) return;
  assignText(*data, 1, "changed " + std::to_string(firstId));
  if (pack(*data) != ok || flush(*data) != ok) return;
  if (rebuild(*index) != ok) return;
  close(*data);
}

// Each kill begins with the same files, each pass with those of the run before that
// came to its end. LOOMKIT_KILL_PASSES=15 makes a long run of over a thousand kills.
TEST(Killed, AnIndexIsRightOrIsKnownNotToBe) {
  const char* wanted = std::getenv("LOOMKIT_KILL_PASSES");
  const int passes = wanted != nullptr ? std::atoi(wanted) : 1;
  IndexFaults files;
  files.create(40);
  std::set<int> before = files.expectSound();
  int kills = 0;
  for (int pass = 0; pass < passes; ++pass) {
    files.keep();
    for (int call = 1; call < 10000; call += killStep) {
      files.restore();
      std::set<int> known = before;
      const KilledWork work = doKilled(
          files.scratch, call, [&](const Say& say) { changeTable(files, 1000 * (1 + pass), say); });
      const std::string& said = work.said;
      std::set<int> maybeGone;
      for (std::size_t at = 0; at < said.size(); at = said.find(' ', at) + 1) {
        const int id = std::atoi(said.c_str() + at + 1);
        said[at] == '+' ? known.insert(id) : maybeGone.insert(id);
      }
      const std::set<int> all = files.expectSound();
      for (const int id : known) {
        EXPECT_TRUE(all.count(id) == 1 || maybeGone.count(id) == 1)
            << "record " << id << " is lost, killed at call " << call;
      }
      if (::testing::Test::HasFailure()) return;
      if (!work.killed) {
        before = all;
        break;
      }
      ++kills;
    }
  }
  std::printf("%d kills, %d indexes made anew\n", kills, files.rebuilt);
  EXPECT_GE(kills * killStep, 40 * passes);
  EXPECT_GT(files.rebuilt, 0);
}

}  // namespace
}  // namespace loomkit::testing
