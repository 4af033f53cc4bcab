// SPDX-License-Identifier: MIT
// What the pages about tables, memos and expressions show is so.
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "loomkit/xbase/error_texts.h"
#include "loomkit/xbase/expression_table.h"
#include "loomkit/xbase/xbase.h"
#include "tests/xbase/table_fixture.h"

namespace loomkit::xbase {
namespace {

std::vector<std::string> linesOf(const std::string& page) {
  std::ifstream in(std::string(LOOMKIT_SOURCE_DIR) + "/docs/" + page);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  EXPECT_GT(lines.size(), 10U) << page;
  return lines;
}

// The bytes of a page's lines "OFFSET: XX XX ...  what they are", with zero bytes
// where no line is, up to `size`.
std::string exampleOf(const std::string& page, std::size_t size) {
  std::string bytes(size, '\0');
  for (const std::string& line : linesOf(page)) {
    if (line.size() < 8 || line[4] != ':') continue;
    std::size_t at = std::stoul(line.substr(0, 4), nullptr, 16);
    std::istringstream text(line.substr(6, line.find("  ", 6) - 6));
    for (std::string byte; text >> byte;) {
      EXPECT_LT(at, size) << line;
      bytes[at++] = static_cast<char>(std::stoul(byte, nullptr, 16));
    }
  }
  return bytes;
}

// The cells of a table's row; "\|" in a cell is a bar.
std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  std::string cell;
  for (std::size_t i = 1; i < line.size(); ++i) {
    if (line[i] == '\\' && i + 1 < line.size() && line[i + 1] == '|') {
      cell += line[++i];
    } else if (line[i] == '|') {
      cells.push_back(cell.size() >= 2 ? cell.substr(1, cell.size() - 2) : cell);
      cell.clear();
    } else {
      cell += line[i];
    }
  }
  return cells;
}

std::string withoutTicks(const std::string& cell) {
  const bool code = cell.size() >= 2 && cell.front() == '`' && cell.back() == '`';
  return code ? cell.substr(1, cell.size() - 2) : std::string();
}

class XBasePages : public TableTest {
 protected:
  void makeParts() {
    const TableOwner made = createDataFile(engine, scratch / "parts.dbf",
                                           {{"NAME", 'C', 8, 0},
                                            {"CODE", 'C', 4, 0},
                                            {"AMOUNT", 'N', 10, 2},
                                            {"BORN", 'D', 0, 0},
                                            {"NEVER", 'D', 0, 0},
                                            {"GOOD", 'L', 0, 0},
                                            {"NOTE", 'M', 0, 0}});
    ASSERT_NE(made, nullptr);
    startAppend(*made);
    blank(*made);
    assignText(*made, 0, "  Bolt");
    assignText(*made, 1, "b7");
    assignDouble(*made, 2, 1234.5);
    assignText(*made, 3, "19950726");
    assignChar(*made, 5, 'T');
    assignMemo(*made, 6, "a memo");
    markDeleted(*made);
    ASSERT_EQ(finishAppend(*made), ok);
  }
};

TEST_F(XBasePages, TheExamplesOfTableAndMemoFileDecode) {
  scratch.write("t.dbf", exampleOf("formats/dbf.md", 0xaa));
  scratch.write("t.fpt", exampleOf("formats/fpt.md", 0x400));
  const TableOwner table = open("t.dbf");
  ASSERT_NE(table, nullptr) << engine.errorCode;
  EXPECT_EQ(table->version, 0xF5U);
  EXPECT_EQ(all(table.get()),
            (std::vector<std::string>{"|bolt|  1.5|         1", "*|nut | -2.0|          "}));
  ASSERT_EQ(go(*table, 1), ok);
  std::string memo;
  ASSERT_EQ(memoText(*table, 2, &memo), ok);
  EXPECT_EQ(memo, "hello");
}

// And what we write is the example but for the date, byte by byte.
TEST_F(XBasePages, TheExamplesAreWhatIsWritten) {
  {
    const TableOwner table = createDataFile(
        engine, scratch / "t.dbf", {{"NAME", 'C', 4, 0}, {"AGE", 'N', 5, 1}, {"NOTE", 'M', 0, 0}});
    for (const bool first : {true, false}) {
      ASSERT_EQ(startAppend(*table), ok);
      blank(*table);
      unmarkDeleted(*table);
      assignText(*table, 0, first ? "bolt" : "nut");
      assignDouble(*table, 1, first ? 1.5 : -2);
      if (first) assignMemo(*table, 2, "hello");
      if (!first) markDeleted(*table);
      ASSERT_EQ(finishAppend(*table), ok);
    }
  }
  std::string written = scratch.read("t.dbf");
  const std::string example = exampleOf("formats/dbf.md", 0xaa);
  written.replace(1, 3, example.substr(1, 3));
  EXPECT_EQ(written, example);
  EXPECT_EQ(scratch.read("t.fpt"), exampleOf("formats/fpt.md", 0x400));
}

TEST_F(XBasePages, EveryExpressionHasTheValueThatItsPageShows) {
  makeParts();
  GXBaseTable table;
  ASSERT_TRUE(table.open(scratch / "parts.dbf", true));
  ASSERT_TRUE(table.go(1));
  GXBaseExpression expression;
  std::string all;
  int examples = 0;
  bool errors = false;
  for (const std::string& line : linesOf("xbase-expressions.md")) {
    errors = errors || line == "## Errors";
    if (line.compare(0, 2, "| ") != 0 || errors) continue;
    const std::vector<std::string> cells = cellsOf(line);
    // The expression is the cell in front of the value.
    for (std::size_t i = 0; i + 1 < cells.size(); ++i) {
      const std::string source = withoutTicks(cells[i]);
      const std::string expected = withoutTicks(cells[i + 1]);
      if (source.empty() || expected.empty() || (i == 0 && cells.size() > 3)) continue;
      ASSERT_TRUE(expression.parse(&table, source)) << source << ": " << expression.getErrMsg();
      std::string value;
      ASSERT_TRUE(expression.evaluate(&value)) << source;
      if (expression.getType() == 'C') value = "|" + value + "|";
      EXPECT_EQ(value, expected) << source;
      all += source + " ";
      ++examples;
    }
  }
  EXPECT_GT(examples, 45);
  for (const FunctionRow* row = functionTable; row->code != codeEnd; ++row) {
    if (row->name.empty() || row->name == ".TRUE." || row->name == ".F." || row->name == "#" ||
        row->name == "**")
      continue;
    EXPECT_NE(all.find(row->name), std::string::npos) << "no example of " << row->name;
  }
}

TEST_F(XBasePages, EveryErrorHappensWhereItsPageSays) {
  makeParts();
  GXBaseTable table;
  ASSERT_TRUE(table.open(scratch / "parts.dbf", true));
  ASSERT_TRUE(table.go(1));
  GXBaseExpression expression;
  int examples = 0;
  for (const std::string& line : linesOf("xbase-expressions.md")) {
    if (line.compare(0, 3, "| -") != 0) continue;
    const std::vector<std::string> cells = cellsOf(line);
    ASSERT_EQ(cells.size(), 4U) << line;
    EXPECT_EQ(errorText(std::stoi(cells[0])), cells[3]);
    const std::string source = withoutTicks(cells[1]);
    if (source.empty()) continue;
    std::string value;
    EXPECT_FALSE(expression.parse(&table, source) && expression.evaluate(&value)) << source;
    EXPECT_EQ(expression.getErrMsg(), "XBase error " + cells[0] + ": " + cells[3]) << source;
    EXPECT_EQ(std::to_string(expression.getErrorPosition()), cells[2]) << source;
    ++examples;
  }
  EXPECT_EQ(examples, 13);
}

}  // namespace
}  // namespace loomkit::xbase
