// SPDX-License-Identifier: MIT
// Tables with index files of the tests' own.
#ifndef LOOMKIT_TESTS_XBASE_INDEX_FIXTURE_H
#define LOOMKIT_TESTS_XBASE_INDEX_FIXTURE_H

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "loomkit/text/binary.h"
#include "loomkit/xbase/cdx_layout.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/field.h"
#include "loomkit/xbase/index_file.h"
#include "tests/witness.h"
#include "tests/xbase/engine_fixture.h"

namespace loomkit::xbase {

using TableOwner = std::unique_ptr<DataFile>;

class IndexTest : public EngineTest {
 protected:
  IndexTest() {
    engine.report = Reporting::none();
    engine.autoOpen = false;
    engine.safety = false;
  }

  /// A table of NAME C(10), AMOUNT N(10,2), BORN D, PAID L.
  TableOwner makeTable(const std::string& name = "t.dbf") {
    return createDataFile(
        engine, scratch / name,
        {{"NAME", 'C', 10, 0}, {"AMOUNT", 'N', 10, 2}, {"BORN", 'D', 8, 0}, {"PAID", 'L', 1, 0}});
  }
  static int append(DataFile& data, const std::string& name, double amount = 0,
                    const std::string& born = "", bool paid = false) {
    int result = startAppend(data);
    if (result != ok) return result;
    blank(data);
    assignText(data, 0, name);
    assignDouble(data, 1, amount);
    assignText(data, 2, born);
    assignText(data, 3, paid ? "T" : "F");
    return finishAppend(data);
  }
  /// The names in the order of the tag, forward or backward.
  static std::string walk(DataFile& data, Tag* tag, bool forward = true) {
    std::string names;
    int result = forward ? goTop(*tag) : goBottom(*tag);
    for (; result == ok; result = skipKeys(*tag, forward ? 1 : -1)) {
      data.selected = nullptr;
      if (go(data, tag->cursor.record) != ok) return names + " dangling";
      names += names.empty() ? "" : " ";
      names += trimmed(fieldText(data, 0));
    }
    return names + (result < 0 ? " damaged" : "");
  }
  static std::string trimmed(std::string_view text) {
    return std::string(text.substr(0, text.find_last_not_of(' ') + 1));
  }

  /// Expects that what the checker says of a table and its index begins with `wanted`.
  /// It is a program of its own, and asked only where such programs run.
  void expectChecked(const std::string& wanted, const std::string& table = "t.dbf",
                     const std::string& index = "t.cdx") const {
    if (!testing::witnessesRun) return;
    const testing::Witnessed said =
        testing::runShell("python3 " LOOMKIT_SOURCE_DIR "/tests/xbase/check_cdx.py '" +
                          scratch / table + "' '" + scratch / index + "' 2>&1");
    EXPECT_EQ(said.status, 0) << said.output;
    EXPECT_THAT(said.output, ::testing::StartsWith(wanted));
  }
  std::string indexBytes() const { return scratch.read("t.cdx"); }
  static std::uint32_t number(const std::string& bytes, std::size_t offset, Le32 field) {
    return RecordReader(bytes.data() + offset, bytes.size() - offset).get(field);
  }
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_TESTS_XBASE_INDEX_FIXTURE_H
