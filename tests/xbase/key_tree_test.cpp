// SPDX-License-Identifier: MIT
// Trees against a sorted set of the same entries.
#include "loomkit/xbase/key_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <utility>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/file.h"
#include "tests/scratch_directory.h"

namespace loomkit::xbase {
namespace {

using Entry = std::pair<std::string, std::uint32_t>;
using Model = std::set<Entry>;

const unsigned char* bytesOf(const std::string& key) {
  return reinterpret_cast<const unsigned char*>(key.data());
}

// A tree in a file of its own.
class TreeFile {
 public:
  explicit TreeFile(std::size_t keyLength, char pad = ' ', std::size_t blockLimit = 64)
      : file(engine),
        space(engine, file, blockLimit),
        tree(space, keyLength, static_cast<unsigned char>(pad)) {
    engine.report = Reporting::none();
    EXPECT_EQ(file.create(scratch / "TREE.CDX"), ok);
    EXPECT_EQ(space.clear(2), ok);
    EXPECT_EQ(tree.create(0), ok);
  }

  int insert(const std::string& key, std::uint32_t record) {
    return tree.insert(bytesOf(key), record);
  }
  int remove(const std::string& key, std::uint32_t record) {
    return tree.remove(bytesOf(key), record);
  }
  static Entry entryOf(const TreeCursor& cursor) {
    return {std::string(cursor.key.begin(), cursor.key.end()), cursor.record};
  }

  // Flushes, and goes on with what the file has.
  void reopen() {
    const std::uint32_t root = tree.rootAddress();
    ASSERT_EQ(space.flush(), ok);
    ASSERT_EQ(file.close(), ok);
    ASSERT_EQ(file.open(scratch / "TREE.CDX"), ok);
    space.~BlockSpace();
    new (&space) BlockSpace(engine, file, 64);
    ASSERT_EQ(space.open(), ok);
    tree.open(root);
  }

  void expectEqual(const Model& model) {
    TreeCursor cursor;
    auto wanted = model.begin();
    int result = tree.first(&cursor);
    for (; result == ok && wanted != model.end(); ++wanted) {
      ASSERT_EQ(entryOf(cursor), *wanted);
      result = tree.next(&cursor);
    }
    ASSERT_EQ(result, endOfFile);
    ASSERT_EQ(wanted, model.end());
    auto back = model.rbegin();
    result = tree.last(&cursor);
    for (; result == ok && back != model.rend(); ++back) {
      ASSERT_EQ(entryOf(cursor), *back);
      result = tree.previous(&cursor);
    }
    ASSERT_EQ(result, model.empty() ? endOfFile : beginningOfFile);
    ASSERT_EQ(back, model.rend());
  }

  // How many branches lie above the leaves.
  std::size_t depth() {
    std::uint32_t address = tree.rootAddress();
    for (std::size_t levels = 0;; ++levels) {
      space.begin();
      Block* block = nullptr;
      if (space.read(address, &block) != ok || block->isLeaf()) return levels;
      address = BranchNode(block->bytes, tree.keyLength()).child(0);
    }
  }

  testing::ScratchDirectory scratch;
  Engine engine;
  File file;
  BlockSpace space;
  KeyTree tree;
};

std::string numbered(unsigned number, std::size_t length) {
  std::string key = std::to_string(number);
  key.insert(0, 7 - std::min<std::size_t>(key.size(), 7), '0');
  key.resize(length, ' ');
  return key;
}

// Keys with much in common, with blanks inside and at their ends, and equal ones.
std::string randomKey(std::mt19937* random, std::size_t length) {
  static constexpr char letters[] = {' ', ' ', 'A', 'B', '\0', '\xFF'};
  std::string key((*random)() % (length + 1), 'A');
  for (std::size_t i = key.size() - std::min<std::size_t>(key.size(), 4); i < key.size(); ++i)
    key[i] = letters[(*random)() % sizeof letters];
  key.resize(length, ' ');
  return key;
}

struct Workload {
  std::size_t keyLength;
  char pad;
  std::uint32_t records;
  int steps;
};

class KeyTreeWorkload : public ::testing::TestWithParam<Workload> {};

TEST_P(KeyTreeWorkload, EqualsASortedSet) {
  const Workload& load = GetParam();
  std::mt19937 random(static_cast<unsigned>(load.keyLength));
  TreeFile file(load.keyLength, load.pad);
  Model model;
  for (int i = 0; i < load.steps; ++i) {
    // Grows for a while, then shrinks, and so on.
    const bool growing = i / (load.steps / 4) % 2 == 0;
    if (random() % 10 < (growing ? 8U : 2U) || model.empty()) {
      const Entry entry(randomKey(&random, load.keyLength), 1 + random() % load.records);
      ASSERT_EQ(file.insert(entry.first, entry.second), ok) << "step " << i;
      model.insert(entry);
    } else {
      auto victim = model.lower_bound({randomKey(&random, load.keyLength), 0});
      if (victim == model.end()) victim = model.begin();
      ASSERT_EQ(file.remove(victim->first, victim->second), ok) << "step " << i;
      model.erase(victim);
    }
    if (i % (load.steps / 7) == 0) {
      file.expectEqual(model);
      file.reopen();
      if (HasFatalFailure()) return;
    }
  }
  file.expectEqual(model);
  for (int i = 0; i < 1000; ++i) {
    const std::string key = randomKey(&random, load.keyLength);
    const std::size_t length = 1 + random() % load.keyLength;
    const auto wanted = model.lower_bound({key.substr(0, length), 0});
    TreeCursor cursor;
    // Blanks and zeros sort behind the end of a text.
    const int result = file.tree.seek(bytesOf(key), length, 0, &cursor);
    if (wanted == model.end()) {
      EXPECT_EQ(result, endOfFile);
    } else {
      ASSERT_EQ(result, ok);
      EXPECT_EQ(TreeFile::entryOf(cursor), *wanted);
    }
  }
  while (!model.empty()) {
    const auto victim = random() % 2 == 0 ? model.begin() : std::prev(model.end());
    ASSERT_EQ(file.remove(victim->first, victim->second), ok);
    model.erase(victim);
    if (model.size() % 1000 == 0) file.expectEqual(model);
  }
  EXPECT_EQ(file.depth(), 0U);
  file.expectEqual(model);
}

INSTANTIATE_TEST_SUITE_P(
    Lengths, KeyTreeWorkload,
    ::testing::Values(Workload{1, '\0', 60000, 20000}, Workload{2, ' ', 5000, 20000},
                      Workload{8, '\0', 100, 20000}, Workload{10, ' ', 70000, 60000},
                      Workload{33, ' ', 4100, 20000}, Workload{127, ' ', 66000, 20000},
                      Workload{128, ' ', 66000, 8000}, Workload{240, ' ', 66000, 8000}));

// Whatever the order in which keys come, the tree stays shallow.
TEST(KeyTree, StaysShallowWithTheLongestKeys) {
  constexpr unsigned count = 3000;
  std::vector<unsigned> orders[4];
  for (auto& order : orders) {
    order.resize(count);
    std::iota(order.begin(), order.end(), 0U);
  }
  std::reverse(orders[1].begin(), orders[1].end());
  std::shuffle(orders[2].begin(), orders[2].end(), std::mt19937(1));
  // Into the middle: 0, 5999, 1, 5998...
  for (unsigned i = 0; i < count; ++i) orders[3][i] = i % 2 == 0 ? i / 2 : 2 * count - i / 2;
  for (const auto& order : orders) {
    TreeFile file(cdx::longestKey);
    Model model;
    for (const unsigned number : order) {
      // The key's end differs, so that nothing of it is left out.
      std::string key = numbered(number, cdx::longestKey);
      key.back() = 'x';
      ASSERT_EQ(file.insert(key, number + 1), ok);
      model.emplace(key, number + 1);
    }
    file.expectEqual(model);
    EXPECT_GE(file.depth(), 4U);
    EXPECT_LE(file.depth(), 20U) << "order " << &order - orders;
  }
}

TEST(KeyTree, FillsLeavesWithKeysThatComeInOrder) {
  TreeFile file(10);
  for (unsigned i = 0; i < 10000; ++i) ASSERT_EQ(file.insert(numbered(i, 10), i + 1), ok);
  // Four bytes an entry, two digits' rest and three of information: over a
  // hundred in a leaf.
  EXPECT_LT(file.space.end(), 10000 / 90 * cdx::blockSize);
}

// Most entries stand behind the one before, as they do in a table with counted keys;
// others come and go in between, some of them at the very same place.
TEST(KeyTree, TakesOtherEntriesBetweenThoseThatComeInOrder) {
  constexpr std::size_t length = 9;
  std::mt19937 random(20261122);
  TreeFile file(length);
  Model model;
  unsigned last = 1000;
  std::uint32_t record = 1;
  for (int step = 0; step < 20000; ++step) {
    switch (random() % 10) {
      case 0: {
        const Entry entry{numbered(static_cast<unsigned>(random() % last), length), record++};
        ASSERT_EQ(file.insert(entry.first, entry.second), ok);
        model.insert(entry);
        break;
      }
      case 1: {
        // One of the last entries.
        auto at = model.end();
        for (std::size_t i = 0; i < random() % 3 + 1 && at != model.begin(); ++i) --at;
        if (at == model.end()) break;
        ASSERT_EQ(file.remove(at->first, at->second), ok);
        model.erase(at);
        break;
      }
      case 2: {
        // The last key once more, with a record number on either side.
        const Entry entry{numbered(last, length), record + (random() % 2 == 0 ? 0 : 100000)};
        ASSERT_EQ(file.insert(entry.first, entry.second), ok);
        model.insert(entry);
        break;
      }
      default:
        last += static_cast<unsigned>(random() % 3);
        ASSERT_EQ(file.insert(numbered(last, length), ++record), ok);
        model.emplace(numbered(last, length), record);
    }
    if (step % 4000 == 0) file.expectEqual(model);
  }
  file.expectEqual(model);
  file.reopen();
  file.expectEqual(model);
}

TEST(KeyTree, PacksLeavesAnewWhenRecordNumbersGrow) {
  TreeFile file(10);
  Model model;
  for (const std::uint32_t record :
       {1U, 4095U, 4096U, 65535U, 65536U, 16777215U, 16777216U, 4294967295U}) {
    for (unsigned i = 0; i < 50; ++i) {
      ASSERT_EQ(file.insert(numbered(i * 7 % 50, 10), record - i), ok);
      model.emplace(numbered(i * 7 % 50, 10), record - i);
      if (record == 1) break;
    }
    file.expectEqual(model);
  }
}

TEST(KeyTree, RemovesWhatIsThereAndNothingElse) {
  TreeFile file(4);
  EXPECT_EQ(file.remove("AAAA", 1), notFound);
  ASSERT_EQ(file.insert("AAAA", 1), ok);
  ASSERT_EQ(file.insert("AAAA", 1), ok) << "the same again";
  EXPECT_EQ(file.remove("AAAA", 2), notFound);
  EXPECT_EQ(file.remove("AAAB", 1), notFound);
  EXPECT_EQ(file.remove("AAAA", 1), ok);
  EXPECT_EQ(file.remove("AAAA", 1), notFound);
}

TEST(KeyTree, GivesBlocksBackAndTakesThemAgain) {
  TreeFile file(10);
  for (unsigned i = 0; i < 5000; ++i) ASSERT_EQ(file.insert(numbered(i, 10), i + 1), ok);
  const std::uint64_t end = file.space.end();
  for (int round = 0; round < 3; ++round) {
    for (unsigned i = 0; i < 5000; ++i) ASSERT_EQ(file.remove(numbered(i, 10), i + 1), ok);
    for (unsigned i = 0; i < 5000; ++i) ASSERT_EQ(file.insert(numbered(i, 10), i + 1), ok);
  }
  EXPECT_LE(file.space.end(), end + 2 * cdx::blockSize);
}

// A cursor is good whatever happens to the tree.
TEST(KeyTree, FindsACursorsPlaceAgainAfterChanges) {
  TreeFile file(4);
  for (const char* key : {"AAAA", "BBBB", "CCCC", "DDDD"}) ASSERT_EQ(file.insert(key, 1), ok);
  TreeCursor cursor;
  ASSERT_EQ(file.tree.first(&cursor), ok);
  ASSERT_EQ(file.tree.next(&cursor), ok);
  ASSERT_EQ(file.remove("BBBB", 1), ok);
  TreeCursor back = cursor;
  ASSERT_EQ(file.tree.next(&cursor), ok);
  EXPECT_EQ(TreeFile::entryOf(cursor).first, "CCCC");
  ASSERT_EQ(file.tree.previous(&back), ok);
  EXPECT_EQ(TreeFile::entryOf(back).first, "AAAA");
  ASSERT_EQ(file.insert("BABA", 1), ok);
  ASSERT_EQ(file.tree.next(&back), ok);
  EXPECT_EQ(TreeFile::entryOf(back).first, "BABA");
  ASSERT_EQ(file.tree.last(&cursor), ok);
  ASSERT_EQ(file.remove("DDDD", 1), ok);
  EXPECT_EQ(file.tree.next(&cursor), endOfFile);
  ASSERT_EQ(file.tree.previous(&cursor), ok);
  EXPECT_EQ(TreeFile::entryOf(cursor).first, "CCCC");
}

}  // namespace
}  // namespace loomkit::xbase
