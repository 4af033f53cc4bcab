// SPDX-License-Identifier: MIT
// What can go wrong in the store, by the numbers that tsl_get_error() gives.
#ifndef TESSEL_STORE_ERROR_H
#define TESSEL_STORE_ERROR_H

namespace tessel {

enum class [[nodiscard]] Error : int{
    none = 0,
    noSuchFile = 1,
    noStore = 2,           ///< a file of another kind
    cannotRead = 3,        ///< refused or failed by the system, or shorter than it was
    damagedDirectory = 4,  ///< the header or the directory
    damagedData = 5,
    noSuchDatabase = 6,  ///< the handle is none, or the table's database is closed
    noSuchTable = 7,     ///< the handle is none
    noTableOfThatName = 8,
    invalidArgument = 9,
    outOfMemory = 10,
    noIndex = 11};

}  // namespace tessel

#endif  // TESSEL_STORE_ERROR_H
