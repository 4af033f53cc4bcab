// SPDX-License-Identifier: MIT
#include "tessel/inspector.h"

#include "tests/tessel/store_fixture.h"

namespace {

using namespace loomkit::testing;
namespace layout = tessel::layout;

class Inspector : public ::testing::Test {
 protected:
  Inspector() {
    writeSample(path);
    good = scratch.read("s.tessel");
  }
  // Where a section begins, by the record of index `number` of the sample.
  template <class Field>
  std::size_t sectionOf(Field field, std::size_t number) const {
    const loomkit::RecordReader record(good.data(), good.size());
    const std::size_t at = static_cast<std::size_t>(record.get(layout::header::directory)) +
                           layout::directory::size + 3 * layout::table::size +
                           15 * layout::field::size + number * layout::index::size;
    return static_cast<std::size_t>(record.get(field.behind(at)));
  }
  // The words of a check of these bytes, their checksums made right.
  std::string checked(std::string bytes) {
    repairSums(&bytes);
    const std::string bad = scratch.write("bad.tessel", bytes);
    GTesselInspector inspector;
    EXPECT_EQ(inspector.open(bad), GDbNoError);
    EXPECT_EQ(inspector.check(), GDbIoError);
    EXPECT_TRUE(inspector.isDamaged());
    return inspector.getErrMsg().substr(bad.size());
  }

  ScratchDirectory scratch;
  std::string path = scratch / "s.tessel";
  std::string good;
};

TEST_F(Inspector, TellsWhatIsInAStore) {
  GTesselInspector inspector;
  ASSERT_EQ(inspector.open(path), GDbNoError);
  EXPECT_EQ(inspector.getFileSize(), good.size());
  ASSERT_EQ(inspector.getTables().size(), 3U);
  const GTesselInspector::Table& all = inspector.getTables()[0];
  EXPECT_EQ(all.name, "all");
  EXPECT_EQ(all.rows, 20U);
  ASSERT_EQ(all.columns.size(), 12U);
  EXPECT_EQ(all.columns[0].name + " " + all.columns[0].storage, "tiny int8");
  EXPECT_EQ(all.columns[0].size, 20U);
  EXPECT_EQ(all.columns[10].storage, "text in a dictionary");
  EXPECT_EQ(all.columns[10].size, 20U + 3 * 4 + 14);
  ASSERT_EQ(all.indexes.size(), 6U);
  EXPECT_EQ(all.indexes[4].columns, "kind,code");
  EXPECT_TRUE(all.indexes[0].unique);
  EXPECT_EQ(all.indexes[0].size, 20U * 8 + 5 * 4);
}

TEST_F(Inspector, FindsNothingWrongWithAGoodStore) {
  GTesselInspector inspector;
  EXPECT_EQ(inspector.check(), GDbNotOpen);
  ASSERT_EQ(inspector.open(path), GDbNoError);
  std::uint64_t last = 0;
  std::uint64_t all = 0;
  EXPECT_EQ(inspector.check([&](std::uint64_t done, std::uint64_t total) {
    last = done;
    all = total;
  }),
            GDbNoError)
      << inspector.getErrMsg();
  EXPECT_EQ(inspector.getErrMsg(), "");
  EXPECT_EQ(last, all);
  EXPECT_GT(all, 0U);
}

TEST_F(Inspector, SaysWhyAFileCannotBeOpened) {
  GTesselInspector inspector;
  EXPECT_EQ(inspector.open(scratch / "none"), GDbCantOpenFile);
  EXPECT_EQ(inspector.getErrMsg(), scratch / "none" + ": there is no such file");
  EXPECT_FALSE(inspector.isDamaged());
  EXPECT_EQ(inspector.open(scratch.write("text", "text")), GDbCantOpenFile);
  EXPECT_EQ(inspector.getErrMsg(), scratch / "text" + ": not a table store");
  EXPECT_EQ(inspector.open(scratch.write("cut", good.substr(0, 100))), GDbIoError);
  EXPECT_EQ(inspector.getErrMsg(), scratch / "cut" + ": the header or the directory is damaged");
  EXPECT_TRUE(inspector.isDamaged());
}

TEST_F(Inspector, FindsAWrongChecksum) {
  std::string bad = good;
  bad[100] = static_cast<char>(bad[100] ^ 4);
  GTesselInspector inspector;
  ASSERT_EQ(inspector.open(scratch.write("bad", bad)), GDbNoError);
  EXPECT_EQ(inspector.check(), GDbIoError);
  EXPECT_EQ(inspector.getErrMsg(), scratch / "bad" + ": block 0: the checksum is wrong");
  EXPECT_TRUE(inspector.isDamaged());
}

TEST_F(Inspector, FindsWhatIsWrongBehindRightChecksums) {
  namespace x = layout::index;
  const std::size_t entries = sectionOf(x::entries, 0);
  std::string bad = good;
  std::swap_ranges(bad.begin() + static_cast<std::ptrdiff_t>(entries),
                   bad.begin() + static_cast<std::ptrdiff_t>(entries) + 8,
                   bad.begin() + static_cast<std::ptrdiff_t>(entries) + 8);
  EXPECT_EQ(checked(bad), ": all, index by id: not in order");
  bad = good;
  bad[entries + 4] = 99;
  EXPECT_EQ(checked(bad), ": all, index by id: an entry leads to no row");
  bad = good;
  bad[entries + 4] = static_cast<char>(bad[entries + 4] ^ 1);
  EXPECT_EQ(checked(bad), ": all, index by id: a hash is not that of its key");
  bad = good;
  bad[sectionOf(x::buckets, 0) + 4] = 20;
  EXPECT_EQ(checked(bad), ": all, index by id: a bucket begins at the wrong entry");
}

}  // namespace
