// SPDX-License-Identifier: MIT
#include "loomkit/xbase/dates.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

#include "loomkit/platform/system.h"

namespace loomkit::xbase {
namespace {

constexpr int lastYear = 9999;
/// The Julian day of the day before the first of January of year 1.
constexpr long dayBeforeYearOne = 1721425;

constexpr std::array<std::string_view, 12> monthNames{
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
/// In the order of the remainder of a Julian day by 7.
constexpr std::array<std::string_view, 7> dayNames{"Monday", "Tuesday",  "Wednesday", "Thursday",
                                                   "Friday", "Saturday", "Sunday"};

constexpr bool isLeap(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

constexpr int daysIn(int year, int month) {
  constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return days[month - 1] + (month == 2 && isLeap(year) ? 1 : 0);
}

constexpr long daysBeforeYear(int year) {
  const int past = year - 1;
  return 365L * past + past / 4 - past / 100 + past / 400;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isBlank(char c) { return c == ' ' || c == '\0'; }
char capital(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// The number in a text of digits; -1 for any other text.
int numberOf(std::string_view digits) {
  int value = 0;
  for (const char c : digits) {
    if (!isDigit(c)) return -1;
    value = value * 10 + (c - '0');
  }
  return digits.empty() ? -1 : value;
}

// Calls `take` for each run of equal letters of the picture, in capitals, and
// for each other character, with its place and its length.
template <class Take>
void eachRun(std::string_view picture, Take take) {
  for (std::size_t begin = 0; begin < picture.size();) {
    const char letter = capital(picture[begin]);
    std::size_t end = begin + 1;
    const bool counts = letter == 'C' || letter == 'Y' || letter == 'M' || letter == 'D';
    while (counts && end < picture.size() && capital(picture[end]) == letter) ++end;
    take(counts ? letter : '\0', begin, end - begin);
    begin = end;
  }
}

// The last `width` digits of a number.
void putDigits(std::string* out, int number, std::size_t at, std::size_t width) {
  for (std::size_t i = width; i-- > 0; number /= 10)
    (*out)[at + i] = static_cast<char>('0' + number % 10);
}

void putName(std::string* out, std::string_view name, std::size_t at, std::size_t width) {
  const std::size_t size = std::min(width, name.size());
  out->replace(at, size, name.substr(0, size));
}

bool samePrefix(std::string_view text, std::string_view name) {
  if (text.empty() || text.size() > name.size()) return false;
  return std::equal(text.begin(), text.end(), name.begin(),
                    [](char a, char b) { return capital(a) == capital(b); });
}

// The month of a name that may be cut short, or -1.
int monthOf(std::string_view text) {
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  for (std::size_t i = 0; i < monthNames.size(); ++i) {
    if (text.size() >= 3 && samePrefix(text, monthNames[i])) return static_cast<int>(i) + 1;
  }
  return -1;
}

// Parts of a date as they are met in a text; -1 is one that is not there.
struct Parts {
  int century = -1;
  int year = -1;
  int month = -1;
  int day = -1;
};

// Reads one run; false for what is not of its kind.
bool readRun(char letter, std::string_view text, Parts* parts) {
  if (letter == 'D' && text.size() > 2) return true;  // the weekday adds nothing
  if (letter == 'M' && text.size() > 2) return (parts->month = monthOf(text)) > 0;
  while (text.size() > 1 && text.front() == ' ') text.remove_prefix(1);  // " 7"
  const int number = numberOf(text);
  if (number < 0) return false;
  if (letter == 'C') parts->century = number;
  if (letter == 'M') parts->month = number;
  if (letter == 'D') parts->day = number;
  if (letter == 'Y') {
    parts->year = number % 100;
    if (text.size() > 2) parts->century = number / 100;
  }
  return true;
}

std::tm now() {
  constexpr std::int64_t unitsPerSecond = 10'000'000;
  constexpr std::int64_t epoch = 11'644'473'600;  // seconds from 1601 to 1970
  std::tm parts{};
  platform::localTime(static_cast<long>(platform::systemTime() / unitsPerSecond - epoch), &parts);
  return parts;
}

}  // namespace

long julianDay(const Day& day) {
  if (day.year < 1 || day.year > lastYear || day.month < 1 || day.month > 12 || day.day < 1 ||
      day.day > daysIn(day.year, day.month))
    return invalidDay;
  long dayOfYear = day.day;
  for (int month = 1; month < day.month; ++month) dayOfYear += daysIn(day.year, month);
  return daysBeforeYear(day.year) + dayOfYear + dayBeforeYearOne;
}

bool dayOf(long julian, Day* day) {
  const long days = julian - dayBeforeYearOne;  // from 1
  if (days < 1 || days > daysBeforeYear(lastYear + 1)) return false;
  // 400 years have 146,097 days; the guess is at most one too small.
  int year = static_cast<int>((days - 1) * 400 / 146097) + 1;
  while (daysBeforeYear(year + 1) < days) ++year;
  while (daysBeforeYear(year) >= days) --year;
  auto left = static_cast<int>(days - daysBeforeYear(year));
  int month = 1;
  while (left > daysIn(year, month)) left -= daysIn(year, month++);
  *day = {year, month, left};
  return true;
}

long julianOfText(std::string_view text) {
  if (std::all_of(text.begin(), text.end(), isBlank)) return blankDay;
  if (text.size() < 8) return invalidDay;
  return julianDay(
      {numberOf(text.substr(0, 4)), numberOf(text.substr(4, 2)), numberOf(text.substr(6, 2))});
}

std::string textOfJulian(long julian) { return formatDate(julian, "CCYYMMDD"); }

std::string formatDate(long julian, std::string_view picture) {
  std::string out(picture);
  Day day;
  const bool known = dayOf(julian, &day);
  eachRun(picture, [&](char letter, std::size_t at, std::size_t width) {
    if (letter == '\0') return;
    out.replace(at, width, width, ' ');
    if (!known) return;
    if (letter == 'C') putDigits(&out, day.year / 100, at, width);
    if (letter == 'Y') putDigits(&out, day.year, at, width);
    if (letter == 'M' && width <= 2) putDigits(&out, day.month, at, width);
    if (letter == 'D' && width <= 2) putDigits(&out, day.day, at, width);
    if (letter == 'M' && width > 2)
      putName(&out, monthNames[static_cast<std::size_t>(day.month - 1)], at, width);
    if (letter == 'D' && width > 2)
      putName(&out, dayNames[static_cast<std::size_t>(julian % 7)], at, width);
  });
  return out;
}

long parseDate(std::string_view text, std::string_view picture) {
  Parts parts;
  bool good = true;
  bool blank = true;
  eachRun(picture, [&](char letter, std::size_t at, std::size_t width) {
    if (letter == '\0') return;
    const std::string_view run = at < text.size() ? text.substr(at, width) : std::string_view();
    if (std::all_of(run.begin(), run.end(), isBlank)) {
      good = false;
    } else {
      blank = false;
      good = readRun(letter, run, &parts) && good;
    }
  });
  if (blank) return blankDay;
  if (!good) return invalidDay;
  constexpr int defaultCentury = 19;
  const int century = parts.century < 0 ? defaultCentury : parts.century;
  return parts.year < 0 ? invalidDay
                        : julianDay({century * 100 + parts.year, parts.month, parts.day});
}

Day today() {
  const std::tm parts = now();
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday};
}

std::string timeOfDay() {
  const std::tm parts = now();
  std::string text(8, ':');
  putDigits(&text, parts.tm_hour, 0, 2);
  putDigits(&text, parts.tm_min, 3, 2);
  putDigits(&text, parts.tm_sec, 6, 2);
  return text;
}

}  // namespace loomkit::xbase
