// SPDX-License-Identifier: MIT
#include "loomkit/text/last_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/capture_output.h"

namespace loomkit::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(LastMessage, GivesTheErrorBeforeTheWarningBeforeTheRest) {
  const CaptureOutput channel;
  LastMessage reason;
  EXPECT_EQ(reason.text(), "");
  gOutput->message("said");
  gOutput->logMessageVar("logged", nullptr);
  EXPECT_EQ(reason.text(), "logged");
  gOutput->warning("warned");
  gOutput->message("said again");
  EXPECT_EQ(reason.text(), "warned");
  gOutput->error("failed first");
  gOutput->error("failed");
  gOutput->warning("warned again");
  EXPECT_EQ(reason.text(), "failed");
  gOutput->fatal("failed for good");
  EXPECT_EQ(reason.text(), "failed for good");
  reason.clear();
  EXPECT_EQ(reason.text(), "");
}

TEST(LastMessage, FindsMessagesByLevelAndSystem) {
  const CaptureOutput channel;
  const LastMessage reason;
  gOutput->error("_data", "of data");
  gOutput->error("_other", "of another");
  ASSERT_NE(reason.last(GOutputError), nullptr);
  EXPECT_EQ(reason.last(GOutputError)->text, "of another");
  ASSERT_NE(reason.last(GOutputError, "_data"), nullptr);
  EXPECT_EQ(reason.last(GOutputError, "_data")->text, "of data");
  EXPECT_EQ(reason.last(GOutputError, "_none"), nullptr);
  EXPECT_EQ(reason.last(GOutputWarning), nullptr);
}

TEST(LastMessage, PassesOnUnlessItIsQuiet) {
  const CaptureOutput channel;
  {
    const LastMessage outer;
    gOutput->error("one");
    {
      const LastMessage inner(LastMessage::Keep::quiet);
      gOutput->error("two");
      EXPECT_EQ(inner.text(), "two");
    }
    gOutput->error("three");
    EXPECT_EQ(outer.text(), "three");
    EXPECT_EQ(outer.entries().size(), 2U);
  }
  EXPECT_EQ(gOutput, &channel);
  EXPECT_THAT(channel.texts(), ElementsAre("one", "three"));
}

TEST(LastMessage, KeepsTheChannelsLogLevels) {
  CaptureOutput channel;
  channel.setLogLevel("a", 3);
  {
    const LastMessage reason;
    gOutput->log(3, "a", "passes");
    gOutput->log(3, "b", "does not");
    EXPECT_EQ(reason.entries().size(), 1U);
    gOutput->setLogLevel("b", 5);
  }
  EXPECT_EQ(channel.getLogLevel("b"), 5);
  EXPECT_THAT(channel.texts(), ElementsAre("passes"));
}

TEST(LastMessage, KeepsTheLatestOnly) {
  const CaptureOutput channel;
  const LastMessage reason;
  for (std::size_t i = 0; i < LastMessage::most + 5; ++i) {
    gOutput->message(std::to_string(i).c_str());
  }
  EXPECT_EQ(reason.entries().size(), LastMessage::most);
  EXPECT_EQ(reason.entries().front().text, "5");
}

}  // namespace
}  // namespace loomkit::testing
