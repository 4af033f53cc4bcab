// SPDX-License-Identifier: MIT
// How the store's error numbers become statuses: one table for each kind of
// call. Private to the backend.
#ifndef LOOMKIT_DB_TESSEL_TESSEL_ERRORS_H
#define LOOMKIT_DB_TESSEL_TESSEL_ERRORS_H

#include "loomkit/db/status.h"
#include "loomkit/db/tessel/tessel.h"

namespace loomkit {

/// What one error number of the store means after a certain call.
struct TesselError {
  int number;
  GDbStatus status;
};

/// Opening a database. 1 and 2 say that no store is there: GDbCantOpenFile.
inline constexpr TesselError tesselOpenErrors[] = {
    {1, GDbCantOpenFile}, {2, GDbCantOpenFile}, {3, GDbIoError}, {4, GDbIoError}, {5, GDbIoError}};
inline constexpr TesselError tesselOpenTableErrors[] = {
    {3, GDbIoError}, {5, GDbIoError}, {6, GDbInternalError}, {8, GDbInvalidTableName}};
inline constexpr TesselError tesselDescrErrors[] = {{6, GDbInternalError}, {7, GDbInternalError}};
inline constexpr TesselError tesselLookupErrors[] = {{3, GDbIoError},         {5, GDbIoError},
                                                     {6, GDbInternalError},   {7, GDbInternalError},
                                                     {9, GDbInvalidArgument}, {11, GDbNoIndex}};
inline constexpr TesselError tesselScanErrors[] = {{3, GDbIoError},
                                                   {5, GDbIoError},
                                                   {6, GDbInternalError},
                                                   {7, GDbInternalError},
                                                   {9, GDbInvalidArgument}};
inline constexpr TesselError tesselCloseTableErrors[] = {{6, GDbInternalError},
                                                         {7, GDbInternalError}};
inline constexpr TesselError tesselCloseErrors[] = {{6, GDbInternalError}};

/// The status of the call that has just failed; GDbUnknownError for a number
/// that the table does not have.
template <std::size_t count>
GDbStatus tesselStatus(const TesselError (&table)[count]) {
  const int number = tsl_get_error();
  for (const TesselError& error : table)
    if (error.number == number) return error.status;
  return GDbUnknownError;
}

}  // namespace loomkit

#endif  // LOOMKIT_DB_TESSEL_TESSEL_ERRORS_H
