// SPDX-License-Identifier: MIT
#include "loomkit/db/locator.h"

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

TEST(Locator, IsTakenApartAtItsFirstColonAndItsFirstQuestionMark) {
  const struct {
    const char* text;
    const char* type;
    const char* path;
    Texts options;
  } rows[] = {
      {"csv:/data", "csv", "/data", {}},
      {"CSV:/Data", "csv", "/Data", {}},
      {"sqlite3:/a%20b%3fc.db?readonly", "sqlite3", "/a b?c.db", {"readonly"}},
      {"csv:d?zipfile=a%20b.zip;order=zip,files",
       "csv",
       "d",
       {"zipfile=a%20b.zip", "order=zip,files"}},
      {"csv:c:/x?a?b", "csv", "c:/x", {"a?b"}},
      {"csv:d?;x;", "csv", "d", {"", "x", ""}},
      {"a?b:c", "a?b", "c", {}},
      {"csv:", "csv", "", {}},
      {":x", "", "x", {}},
      {"\xC4X:y", "\xC4x", "y", {}},
      {"postgresql://user@host:5432/db?sslmode=require",
       "postgresql",
       "//user@host:5432/db",
       {"sslmode=require"}},
  };
  for (const auto& row : rows) {
    loomkit::Locator locator;
    ASSERT_TRUE(loomkit::splitLocator(row.text, &locator)) << row.text;
    EXPECT_EQ(locator.type, row.type) << row.text;
    EXPECT_EQ(locator.path, row.path) << row.text;
    EXPECT_EQ(locator.options, row.options) << row.text;
  }
}

TEST(Locator, WithoutAColonItIsNoneAndTheResultStaysAsItWas) {
  loomkit::Locator locator{"t", "p", {"o"}};
  for (const char* text : {"", "csv", "csv?a"}) {
    EXPECT_FALSE(loomkit::splitLocator(text, &locator)) << text;
    EXPECT_EQ(locator.type + locator.path + locator.options.at(0), "tpo") << text;
  }
}

TEST(Locator, ItsTypeIsOfLettersAndDigitsWithSomethingBehindIt) {
  EXPECT_EQ(loomkit::locatorType("SQLite3:x"), "sqlite3");
  EXPECT_EQ(loomkit::locatorType("9z:?"), "9z");
  for (const char* text : {"", "csv", "csv:", ":x", ":", "c sv:x", "c-v:x", "c\xe4v:x"})
    EXPECT_EQ(loomkit::locatorType(text), "") << text;
}

}  // namespace
