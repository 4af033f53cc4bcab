// SPDX-License-Identifier: MIT
#include "loomkit/xbase/dates.h"

#include <gtest/gtest.h>

namespace loomkit::xbase {
namespace {

// Known Julian days, as astronomers' tables have them.
TEST(XBaseDates, AreJulianDays) {
  EXPECT_EQ(julianOfText("00010101"), 1721426);
  EXPECT_EQ(julianOfText("19700101"), 2440588);
  EXPECT_EQ(julianOfText("20000101"), 2451545);
  EXPECT_EQ(julianOfText("20000229"), 2451604);
  EXPECT_EQ(julianOfText("99991231"), 5373484);
}

TEST(XBaseDates, WhatIsNoDateIsMinusOneAndABlankOneIsZero) {
  EXPECT_EQ(julianOfText("        "), 0);
  EXPECT_EQ(julianOfText(std::string(8, '\0')), 0);
  for (const char* text : {"20000230", "19000229", "20001301", "20000001", "20000100", "00000101",
                           "2000 101", "2000010", "abcdefgh", "????????", "********", "-0010101"})
    EXPECT_EQ(julianOfText(text), -1) << text;
}

// Every day of all years, counted one by one.
TEST(XBaseDates, EveryDayComesBackAsItself) {
  long julian = 1721426;
  for (int year = 1; year <= 9999; ++year) {
    for (int month = 1; month <= 12; ++month) {
      for (int day = 1; day <= 31; ++day) {
        const long found = julianDay({year, month, day});
        if (found == invalidDay) continue;
        ASSERT_EQ(found, julian) << year << '-' << month << '-' << day;
        Day back;
        ASSERT_TRUE(dayOf(julian, &back));
        ASSERT_TRUE(back.year == year && back.month == month && back.day == day) << julian;
        ++julian;
      }
    }
  }
  Day none;
  EXPECT_FALSE(dayOf(julian, &none));
  EXPECT_FALSE(dayOf(1721425, &none));
  EXPECT_EQ(textOfJulian(julian), "        ");
  EXPECT_EQ(textOfJulian(julian - 1), "99991231");
}

TEST(XBaseDates, TakeTheFormOfAPicture) {
  const long day = julianOfText("19950726");
  const struct {
    const char* picture;
    const char* text;
  } rows[] = {{"MM/DD/YY", "07/26/95"},
              {"CCYYMMDD", "19950726"},
              {"dd.mm.ccyy", "26.07.1995"},
              {"YYYY-MM-DD", "1995-07-26"},
              {"MMM DD, CCYY", "Jul 26, 1995"},
              {"MMMMMMMMM/DD", "July     /26"},
              {"DDDDDDDDDD", "Wednesday "},
              {"DDD", "Wed"},
              {"", ""}};
  for (const auto& row : rows) EXPECT_EQ(formatDate(day, row.picture), row.text) << row.picture;
  EXPECT_EQ(formatDate(0, "MM/DD/YY"), "  /  /  ");
  EXPECT_EQ(formatDate(-1, "MMM DD"), "      ");
}

TEST(XBaseDates, AreReadByAPicture) {
  const struct {
    const char* text;
    const char* picture;
    const char* date;
  } rows[] = {{"07/26/95", "MM/DD/YY", "19950726"},
              {"7/26/95 ", "MM/DD/YY", nullptr},
              {" 7/26/95", "MM/DD/YY", "19950726"},
              {"07-26-95", "MM/DD/YY", "19950726"},
              {"07/26/05", "MM/DD/YY", "19050726"},
              {"26.07.2005", "DD.MM.CCYY", "20050726"},
              {"2005-07-26", "YYYY-MM-DD", "20050726"},
              {"Jul 26, 1995", "MMM DD, CCYY", "19950726"},
              {"july      26 1995", "MMMMMMMMM DD CCYY", "19950726"},
              {"xyz 26, 1995", "MMM DD, CCYY", nullptr},
              {"02/30/95", "MM/DD/YY", nullptr},
              {"07/26/", "MM/DD/YY", nullptr},
              {"07", "MM/DD/YY", nullptr}};
  for (const auto& row : rows)
    EXPECT_EQ(parseDate(row.text, row.picture), row.date == nullptr ? -1 : julianOfText(row.date))
        << row.text;
  EXPECT_EQ(parseDate("  /  /  ", "MM/DD/YY"), 0);
  EXPECT_EQ(parseDate("", "MM/DD/YY"), 0);
}

TEST(XBaseDates, TheClockGivesADateAndATime) {
  EXPECT_GT(julianDay(today()), julianOfText("20200101"));
  const std::string time = timeOfDay();
  EXPECT_TRUE(time.size() == 8 && time[2] == ':' && time[5] == ':') << time;
}

}  // namespace
}  // namespace loomkit::xbase
