// SPDX-License-Identifier: MIT
// LOOMKIT_API marks what the shared library exports; everything else is hidden.
#ifndef LOOMKIT_PLATFORM_EXPORT_H
#define LOOMKIT_PLATFORM_EXPORT_H

#if defined(_WIN32)
#if defined(LOOMKIT_BUILD)
#define LOOMKIT_API __declspec(dllexport)
#else
#define LOOMKIT_API __declspec(dllimport)
#endif
#else
#define LOOMKIT_API __attribute__((visibility("default")))
#endif

#endif  // LOOMKIT_PLATFORM_EXPORT_H
