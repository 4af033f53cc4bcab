// SPDX-License-Identifier: MIT
// The floor knows a child by its number. The system wants handles, which are kept here
// until the child's end has been seen; as long as one is open, no other process has the
// number. Any thread may call these.
#ifndef LOOMKIT_PLATFORM_WIN32_RUNNING_CHILDREN_H
#define LOOMKIT_PLATFORM_WIN32_RUNNING_CHILDREN_H

#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {

/// Keeps a child's handles. The job holds all processes of a child that leads a group;
/// others have none.
void rememberChild(long id, OwnedHandle process, OwnedHandle job);

/// The handles, which stay here, or null.
HANDLE processOf(long id);
HANDLE jobOf(long id);

void forgetChild(long id);

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_WIN32_RUNNING_CHILDREN_H
