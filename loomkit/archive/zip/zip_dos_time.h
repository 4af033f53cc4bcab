// SPDX-License-Identifier: MIT
// Times as zip archives hold them: MS-DOS's local time of day and date, in
// steps of two seconds, from 1980 to 2107.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_DOS_TIME_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_DOS_TIME_H

#include <cstdint>

namespace loomkit::zip {

struct DosTime {
  std::uint16_t time = 0;
  std::uint16_t date = 0;
};

/// From seconds since 1970; both fields are zero for a time that has no local form.
DosTime toDosTime(long seconds);

/// To seconds since 1970. The time is taken for standard time all year round, so that
/// a time in summer comes back an hour late. Hosts that compare the times of members
/// with each other rely on the rule being the same for all.
long fromDosTime(DosTime time);

/// To seconds since 1970, with summer time where the local time has it: the inverse of
/// toDosTime(), for the readers that restore times.
long localDosTime(DosTime time);

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_DOS_TIME_H
