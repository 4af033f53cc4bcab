// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_dos_time.h"

#include <ctime>

#include "loomkit/platform/system.h"

namespace loomkit::zip {

DosTime toDosTime(long seconds) {
  std::tm t{};
  if (!platform::localTime(seconds, &t)) return {};
  // tm counts years from 1900, DOS from 1980, and 48 is -80 in its seven bits.
  const int time = (t.tm_hour << 11) | ((t.tm_min & 63) << 5) | ((t.tm_sec >> 1) & 31);
  const int date =
      (((t.tm_year + 48) << 9) & 0xfe00) | (((t.tm_mon + 1) << 5) & 0x1e0) | (t.tm_mday & 31);
  return {static_cast<std::uint16_t>(time), static_cast<std::uint16_t>(date)};
}

namespace {

long toSeconds(DosTime dos, int summerTime) {
  std::tm t{};
  t.tm_sec = (dos.time & 31) * 2;
  t.tm_min = (dos.time >> 5) & 63;
  t.tm_hour = dos.time >> 11;
  t.tm_mday = dos.date & 31;
  t.tm_mon = ((dos.date >> 5) & 15) - 1;
  t.tm_year = (dos.date >> 9) + 80;
  t.tm_isdst = summerTime;
  return static_cast<long>(std::mktime(&t));
}

}  // namespace

long fromDosTime(DosTime dos) { return toSeconds(dos, 0); }

long localDosTime(DosTime dos) { return toSeconds(dos, -1); }

}  // namespace loomkit::zip
