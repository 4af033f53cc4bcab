// SPDX-License-Identifier: MIT
#include "loomkit/xbase/engine.h"

#include <cstring>

#include "loomkit/xbase/error_texts.h"
#include "tests/xbase/engine_fixture.h"

namespace loomkit::xbase {
namespace {

class XBaseEngine : public EngineTest {};

TEST_F(XBaseEngine, HasTheDefaultsThatItsUsersCountOn) {
  EXPECT_EQ(engine.dateFormat, "MM/DD/YY");
  EXPECT_EQ(engine.memoBlockSize, 512U);
  EXPECT_TRUE(engine.autoOpen && engine.safety);
  EXPECT_FALSE(engine.readOnly || engine.exclusive || engine.laterTypes);
  const Reporting& report = engine.report;
  EXPECT_TRUE(report.open && report.create && report.go && report.skip && report.tag &&
              report.expressions && report.files);
  EXPECT_EQ(engine.errorCode, 0);
}

TEST_F(XBaseEngine, IsOneForTheProcess) { EXPECT_EQ(&theEngine(), &theEngine()); }

TEST_F(XBaseEngine, KeepsTheCodeOfAFailure) {
  EXPECT_EQ(fail(engine, errorReading, false), errorReading);
  EXPECT_EQ(engine.errorCode, -70);
  EXPECT_TRUE(reports.empty());
}

TEST_F(XBaseEngine, ReportsTheCodeItsTextAndFurtherLines) {
  fail(engine, errorOpening, true, fileNameLine("parts.dbf").c_str(), nullptr, "third");
  fail(engine, -12345, true);
  EXPECT_EQ(reports,
            (std::vector<std::string>{
                "XBASE ERROR|Error #: -60\r\nOpening File\r\nFile Name: parts.dbf\r\nthird",
                "XBASE ERROR|Error #: -12345"}));
}

TEST_F(XBaseEngine, ReportsSevereErrorsUnderAnotherTitle) {
  EXPECT_EQ(failSeverely(engine, errorMemory, "openIndex()"), errorMemory);
  EXPECT_EQ(engine.errorCode, -920);
  EXPECT_EQ(reports, std::vector<std::string>{"XBASE SEVERE ERROR|\r\n\r\nSevere Error Number #: "
                                              "-920\r\nOut of Memory\r\nopenIndex()"});
}

TEST_F(XBaseEngine, NamesAFileWithoutANameToo) {
  EXPECT_EQ(fileNameLine("a.dbf"), "File Name: a.dbf");
  EXPECT_EQ(fileNameLine(""), "File Name: Unknown Name");
}

TEST_F(XBaseEngine, WritesItsReportsToStandardErrorUnlessAHostTakesThem) {
  engine.sink = nullptr;
  ::testing::internal::CaptureStderr();
  fail(engine, errorString, true, "'abc");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "XBASE ERROR\nError #: -500\nUnterminated String\n'abc\n");
}

// What the words of a code are is part of the interface: hosts show them.
TEST(XBaseErrorTexts, AreTheseAndNoOthers) {
  const ErrorText expected[] = {
      {-10, "Closing File"},
      {-20, "Creating File"},
      {-30, "Determining File Length"},
      {-40, "Setting File Length"},
      {-50, "Locking File"},
      {-60, "Opening File"},
      {-70, "Reading File"},
      {-80, "Removing File"},
      {-90, "Renaming File"},
      {-100, "Seeking to File Position"},
      {-110, "Unlocking File"},
      {-120, "Writing to File"},
      {-200, "File is not a Data File"},
      {-210, "Unrecognized Field Name"},
      {-220, "Unrecognized Field Type"},
      {-230, "Record Length is too Large"},
      {-300, "Tag Entry Missing"},
      {-310, "Not a Correct Index File"},
      {-330, "Tag Name not Found"},
      {-340, "Unique Key Error"},
      {-400, "Comma or Bracket Expected"},
      {-410, "Expression not Complete"},
      {-420, "Data File Name not Located"},
      {-422, "IIF() Needs Parameters of Same Length"},
      {-425, "SUBSTR() and STR() need Constant Parameters"},
      {-430, "Number of Parameters is Wrong"},
      {-440, "Overflow while Evaluating Expression"},
      {-450, "Right Bracket Missing"},
      {-460, "Sub-expression Type is Wrong"},
      {-470, "Unrecognized Function"},
      {-480, "Unrecognized Operator"},
      {-490, "Unrecognized Value"},
      {-500, "Unterminated String"},
      {-610, "Optimization Error"},
      {-620, "Optimization Removal Failure"},
      {-630, "Optimization File Flushing Failure"},
      {-710, "Matching Slave Record Not Located"},
      {-720, "Relation Error"},
      {-810, "Report Error"},
      {-811, "Error Creating Style"},
      {-812, "Error Selecting Style"},
      {-813, "Error Finding Style"},
      {-814, "Error Creating Area"},
      {-815, "Error Creating Group"},
      {-816, "Error Setting Group Reset-Expression"},
      {-817, "Error Creating Total"},
      {-818, "Error Creating Object"},
      {-819, "Error In Windows Output"},
      {-820, "Error In Report Output"},
      {-821, "Error Saving Report"},
      {-822, "Error Retrieving Report"},
      {-823, "Error In Sending Report to Data File"},
      {-910, "Unexpected Information"},
      {-920, "Out of Memory"},
      {-930, "Unexpected Parameter"},
      {-950, "Unexpected Result"},
      {-1010, "Function unsupported: library compiled without index files"},
      {-1020, "Function unsupported: library compiled without memo files"},
      {-1030, "Function unsupported: library compiled without renaming"},
      {-1040, "Function unsupported: library compiled without writing"},
      {-1050, "Function unsupported: library not compiled with the second index format"},
      {-1060, "Function unsupported: library not compiled with the lock hook"},
      {-1070, "Function unsupported: library not compiled with the error hook"},
  };
  const ErrorText* row = errorTexts;
  for (const ErrorText& text : expected) {
    ASSERT_EQ(row->code, text.code);
    EXPECT_STREQ(row->text, text.text);
    EXPECT_STREQ(errorText(text.code), text.text);
    ++row;
  }
  EXPECT_EQ(row->code, 0);
  EXPECT_EQ(errorText(0), nullptr);
  EXPECT_EQ(errorText(-61), nullptr);
  EXPECT_EQ(errorText(20), nullptr);
}

}  // namespace
}  // namespace loomkit::xbase
