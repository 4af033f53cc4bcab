// SPDX-License-Identifier: MIT
// Extension: LOOMKIT_SURPRISING marks a call that does not do what its name says.
//
//   LOOMKIT_SURPRISING("empties a directory that is there; ensure() does not")
//   bool create(bool quiet);
//
// Who calls it is warned, with the name of what to use instead. A host that relies
// on what the call does says so before it includes the library:
//
//   #define LOOMKIT_NO_SURPRISE_WARNINGS
#ifndef LOOMKIT_PLATFORM_SURPRISE_H
#define LOOMKIT_PLATFORM_SURPRISE_H

#if defined(LOOMKIT_NO_SURPRISE_WARNINGS)
#define LOOMKIT_SURPRISING(text)
#else
#define LOOMKIT_SURPRISING(text) [[deprecated(text)]]
#endif

#endif  // LOOMKIT_PLATFORM_SURPRISE_H
