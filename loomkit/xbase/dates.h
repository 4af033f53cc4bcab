// SPDX-License-Identifier: MIT
// Dates as tables hold them, CCYYMMDD, as Julian days, and in a picture such as
// "MM/DD/YY". The calendar is the Gregorian one for all years.
#ifndef LOOMKIT_XBASE_DATES_H
#define LOOMKIT_XBASE_DATES_H

#include <string>
#include <string_view>

namespace loomkit::xbase {

inline constexpr long blankDay = 0;     ///< of a date of blanks
inline constexpr long invalidDay = -1;  ///< of what is no date

/// A day of the calendar.
struct Day {
  int year = 0;
  int month = 0;  ///< from 1
  int day = 0;    ///< from 1
};

/// The Julian day of a date from year 1 to 9999; invalidDay for a day that the
/// calendar has not.
long julianDay(const Day& day);
/// The day of a Julian day; false for one outside those years.
bool dayOf(long julian, Day* day);

/// The Julian day of eight characters CCYYMMDD. Blanks, or zero bytes, are
/// blankDay; anything else that is no date is invalidDay.
long julianOfText(std::string_view text);
/// The eight characters; blanks for blankDay and for what is no day.
std::string textOfJulian(long julian);

/// A Julian day in a picture, at the picture's length. Of the picture, letters
/// of "CCYYMMDD" in either case stand for digits: C for the century, Y for the
/// year in it (YYYY is the whole year), M, D. Three letters M or more are the
/// month's English name and three letters D or more the weekday's, as far as
/// they fit; all else stands for itself. Of a blank or invalid day, those places
/// are blank.
std::string formatDate(long julian, std::string_view picture);
/// The Julian day of a text in a picture. A year without a century is 19YY.
long parseDate(std::string_view text, std::string_view picture);

/// The day and the time by the machine's clock, local time.
Day today();
/// "HH:MM:SS".
std::string timeOfDay();

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_DATES_H
