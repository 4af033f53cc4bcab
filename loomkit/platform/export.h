// SPDX-License-Identifier: MIT
// LOOMKIT_API marks what the shared library exports; everything else is hidden. A
// class within an exported one would be exported with it: LOOMKIT_LOCAL, at its
// definition, keeps one in that is private. On Windows a host that links the static
// library defines LOOMKIT_STATIC; the CMake target does it for him.
#ifndef LOOMKIT_PLATFORM_EXPORT_H
#define LOOMKIT_PLATFORM_EXPORT_H

#if defined(_WIN32)
#if defined(LOOMKIT_BUILD)
#define LOOMKIT_API __declspec(dllexport)
#elif defined(LOOMKIT_STATIC)
#define LOOMKIT_API
#else
#define LOOMKIT_API __declspec(dllimport)
#endif
#define LOOMKIT_LOCAL
#else
#define LOOMKIT_API __attribute__((visibility("default")))
#define LOOMKIT_LOCAL __attribute__((visibility("hidden")))
#endif

#endif  // LOOMKIT_PLATFORM_EXPORT_H
