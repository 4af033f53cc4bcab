// SPDX-License-Identifier: MIT
// The store's errors as statuses, for what does not come through the ten calls.
#ifndef TESSEL_STATUS_H
#define TESSEL_STATUS_H

#include "loomkit/db/status.h"
#include "tessel/store/error.h"

namespace tessel {

inline GDbStatus statusOf(Error error) {
  switch (error) {
    case Error::none:
      return GDbNoError;
    case Error::noSuchFile:
    case Error::noStore:
      return GDbCantOpenFile;
    case Error::outOfMemory:
      return GDbOutOfMemory;
    default:
      return GDbIoError;
  }
}

}  // namespace tessel

#endif  // TESSEL_STATUS_H
