// SPDX-License-Identifier: MIT
// GZipReader against archives that are damaged, forged or out of proportion.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <fstream>
#include <map>
#include <random>

#include "loomkit/archive/zip/zip_reader.h"
#include "loomkit/platform/poison.h"
#include "tests/archive/zip/zip_builder.h"

namespace loomkit::testing {
namespace {

using Lines = std::vector<OutputLine>;
namespace central = zip::central;

// Keeps the process from taking more than so many bytes beyond what it has. The
// sanitizers reserve far more for themselves, and see to it in their own way.
class AddressSpaceLimit {
 public:
  explicit AddressSpaceLimit(std::size_t more) {
    ::getrlimit(RLIMIT_AS, &before);
#if !defined(LOOMKIT_HAS_ASAN)
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit now = before;
    now.rlim_cur = pages * 4096 + more;
    ::setrlimit(RLIMIT_AS, &now);
#else
    static_cast<void>(more);
#endif
  }
  AddressSpaceLimit(const AddressSpaceLimit&) = delete;
  AddressSpaceLimit& operator=(const AddressSpaceLimit&) = delete;
  ~AddressSpaceLimit() { ::setrlimit(RLIMIT_AS, &before); }

 private:
  rlimit before{};
};

// Opens the bytes and reads whatever they offer, in both ways.
void readEverything(const std::string& bytes) {
  Opened opened(bytes);
  opened.reader.setPassword("pw");
  for (auto i = opened.reader.entriesBegin(); i != opened.reader.entriesEnd(); ++i) {
    const auto text = textOf(opened.reader, i->second);
    const auto block = blockOf(opened.reader, i->second);
    ASSERT_EQ(text, block);
  }
}

TEST(ZipHostile, SurvivesTruncationAtEveryByte) {
  const std::string whole = smallOfEachKind();
  for (std::size_t size = 0; size < whole.size(); ++size) readEverything(whole.substr(0, size));
}

TEST(ZipHostile, SurvivesEveryBitFlip) {
  const std::string whole = smallOfEachKind();
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (int bit = 0; bit < 8; ++bit) {
      std::string damaged = whole;
      damaged[i] = static_cast<char>(damaged[i] ^ (1 << bit));
      readEverything(damaged);
    }
  }
}

// Every field, at every place where one begins, with the values that hurt.
TEST(ZipHostile, SurvivesEveryForgedNumber) {
  const std::string whole = smallOfEachKind();
  const auto size = static_cast<std::uint32_t>(whole.size());
  for (std::size_t i = 0; i + 4 <= whole.size(); ++i) {
    for (const std::uint32_t value :
         {0U, 1U, size - 1, size, size + 1, 0xffffU, 0x80000000U, 0xffffffffU, 0x7fffffffU}) {
      readEverything(with(whole, Le16{i}, value));
      readEverything(with(whole, Le32{i}, value));
    }
  }
}

// A stored and a deflated member that claim 4 GiB: reading them into a block
// must not even try to take that much.
TEST(ZipHostile, AClaimTakesNoMemory) {
  for (const bool second : {false, true}) {
    Opened opened(forgeUncompr(twoMembers(), second, 0xfffffff0));
    const AddressSpaceLimit limit(std::size_t{1} << 30);
    EXPECT_EQ(blockOf(opened.reader, opened.reader.getEntry(second ? "d" : "s")),
              second ? deflatedText : "stored");
    EXPECT_EQ(opened.output.texts().size(), 1U);
  }
}

TEST(ZipHostile, NamesAreKeptWhole) {
  std::string bytes = zipOf({{"aXb", "data"}});
  for (std::size_t i = bytes.find("aXb"); i != std::string::npos; i = bytes.find("aXb", i + 1)) {
    bytes[i + 1] = '\0';
  }
  Opened opened(bytes);
  EXPECT_EQ(textOf(opened.reader, std::string("a\0b", 3)), "data");
}

// Beside a map, the obvious way. Names of few letters, so that many are equal,
// or differ behind their eighth byte only.
TEST(ZipHostile, AnyNamesAreInOrderAndTheFirstOfEqualOnesCounts) {
  std::mt19937 random(11);
  const std::string letters("\0\1az\x7f\x80\xff", 7);
  for (int round = 0; round < 300; ++round) {
    std::vector<ZipMember> members(random() % 60);
    std::map<std::string, std::string> expected;
    for (ZipMember& member : members) {
      member.name = std::string(random() % 2 == 0 ? 0 : 7, 'x');
      for (auto size = random() % 4; size > 0; --size) member.name += letters[random() % 7];
      member.data = std::to_string(random());
      expected.emplace(member.name, member.data);
    }
    Opened opened(zipOf(members));
    std::map<std::string, std::string> found;
    std::string last;
    for (auto i = opened.reader.entriesBegin(); i != opened.reader.entriesEnd(); ++i) {
      const auto& [name, entry] = *i;
      EXPECT_TRUE(found.empty() || last < name);
      last = name;
      found[name] = textOf(opened.reader, entry).value_or("failed");
    }
    ASSERT_EQ(found, expected) << round;
    ASSERT_EQ(opened.output.lines, Lines{});
  }
}

TEST(ZipHostile, OverlappingMembersAreReadEachForItself) {
  std::string bytes = zipOf({{"a", "data"}, {"b", "more"}});
  // Both directory entries name the same local header.
  bytes = with(bytes, central::localHeaderOffset.behind(directoryOf(bytes) + central::size + 1), 0);
  Opened opened(bytes);
  EXPECT_EQ(textOf(opened.reader, "a"), "data");
  EXPECT_EQ(textOf(opened.reader, "b"), std::nullopt) << "the names differ";
}

TEST(ZipHostile, ReadsManyMembers) {
  std::vector<ZipMember> members(65535);
  for (std::size_t i = 0; i < members.size(); ++i) members[i].name = std::to_string(i);
  Opened opened(zipOf(members));
  EXPECT_FALSE(opened.reader.isError());
  EXPECT_EQ(opened.reader.getEntryCount(), 65535U);
  EXPECT_EQ(textOf(opened.reader, "65534"), "");
  EXPECT_EQ(opened.output.lines, Lines{});
  members.push_back({"one more", ""});
  Opened wrapped(zipOf(members));
  EXPECT_EQ(wrapped.reader.getEntryCount(), 65536U) << "the count has 16 bits on both sides";
  EXPECT_EQ(wrapped.output.lines, Lines{});
}

// The count of the end record has 16 bits, the reader's has not.
TEST(ZipHostile, ListsAMillionEmptyMembers) {
  std::ostringstream out;
  {
    GZipWriter writer(&out, false);
    for (int i = 0; i < 1000000; ++i) ASSERT_TRUE(writer.writeEntry(std::to_string(i), "", 0));
    ASSERT_TRUE(writer.close());
  }
  Opened opened(out.str());
  EXPECT_EQ(opened.reader.getEntryCount(), 1000000U);
  EXPECT_EQ(textOf(opened.reader, "999999"), "");
  EXPECT_EQ(opened.output.lines, Lines{});
}

}  // namespace
}  // namespace loomkit::testing
