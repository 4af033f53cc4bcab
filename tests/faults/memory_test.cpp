// SPDX-License-Identifier: MIT
// How much memory archives and databases take: what the data need, whatever is
// claimed, and no more for longer data where they are streamed.
#include <random>
#include <sstream>

#include "loomkit/loomkit.h"
#include "tests/allocation_faults.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;

// The most memory that the work takes beyond what there is before it.
template <typename Work>
std::size_t peakOf(Work work) {
  const std::size_t before = byteCount();
  resetPeak();
  work();
  return peakByteCount() - before;
}

class Discard : public GZipReader::Output {
 public:
  Discard() : Output(false) {}
  bool write(const char*, unsigned size) override {
    bytes += size;
    return true;
  }
  bool flush() override { return true; }
  std::size_t bytes = 0;
};

class Zeros : public GZipWriter::Input {
 public:
  explicit Zeros(std::size_t size) : left(size) {}
  unsigned int read(char* buffer, unsigned int size) override {
    const auto count = static_cast<unsigned int>(std::min<std::size_t>(size, left));
    std::fill_n(buffer, count, '\0');
    left -= count;
    return count;
  }

 private:
  std::size_t left;
};

TEST(Memory, ZipMembersAreStreamed) {
  const ScratchDirectory scratch;
  for (const bool compress : {false, true}) {
    const std::size_t writing = peakOf([&] {
      GZipWriter writer;
      writer.setCompression(compress);
      ASSERT_TRUE(writer.open(scratch / "a.zip"));
      Zeros zeros(64 * mebibyte);
      ASSERT_TRUE(writer.writeEntry("zeros", &zeros));
      ASSERT_TRUE(writer.close());
    });
    EXPECT_LT(writing, mebibyte);
    const std::size_t reading = peakOf([&] {
      GZipReader reader;
      ASSERT_TRUE(reader.open(scratch / "a.zip"));
      Discard out;
      ASSERT_TRUE(reader.readEntry("zeros", &out));
      ASSERT_EQ(out.bytes, 64 * mebibyte);
    });
    EXPECT_LT(reading, mebibyte);
  }
}

TEST(Memory, ListingAnArchiveTakesNoMoreThanFourTimesItsSize) {
  const ScratchDirectory scratch;
  for (const std::size_t nameSize : {1U, 8U, 16U, 40U, 1000U}) {
    {
      GZipWriter writer;
      ASSERT_TRUE(writer.open(scratch / "a.zip"));
      for (int i = 0; i < 60000; ++i) {
        std::string name = std::to_string(i);
        name.resize(std::max(name.size(), nameSize), 'x');
        ASSERT_TRUE(writer.writeEntry(name, "", 0));
      }
      ASSERT_TRUE(writer.close());
    }
    GZipReader reader;
    const std::size_t peak = peakOf([&] { ASSERT_TRUE(reader.open(scratch / "a.zip")); });
    EXPECT_EQ(reader.getEntryCount(), 60000U);
    EXPECT_LT(peak, mebibyte + 4 * std::filesystem::file_size(scratch / "a.zip")) << nameSize;
  }
}

TEST(Memory, ACsvIndexTakesSixteenBytesARow) {
  const ScratchDirectory scratch;
  constexpr std::size_t rows = 200000;
  std::string text;
  for (std::size_t i = 0; i < rows; ++i) text += std::to_string(i) + ";some text in each row\n";
  scratch.write("t.csv", text);
  GDbDatabase* database = nullptr;
  ASSERT_EQ(GDbDatabase::openDatabase(("csv:" + scratch.path()).c_str(), &database), GDbNoError);
  const std::unique_ptr<GDbDatabase> owner(database);
  GDbStructure structure;
  structure.appendField(GDbField("id", GDbFieldInt, 0, 0, false, false));
  structure.appendField(GDbField("text", GDbFieldString, 0, 0, false, false));
  GDbTable* table = nullptr;
  ASSERT_EQ(database->openTable("t", &structure, &table), GDbNoError);
  const std::unique_ptr<GDbTable> tableOwner(table);
  const std::size_t before = byteCount();
  GDbRecordSet set;
  ASSERT_EQ(table->lookupKey(GDbKey(0, 5), &set), GDbNoError);
  ASSERT_EQ(set.getNumRecords(), 1U);
  EXPECT_LT(byteCount() - before, rows * 16 + 65536);
}

}  // namespace
}  // namespace loomkit::testing
