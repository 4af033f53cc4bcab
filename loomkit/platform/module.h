// SPDX-License-Identifier: MIT
// Dynamically loaded modules, for GDynaLib. Null is the failure; nobody is told why.
#ifndef LOOMKIT_PLATFORM_MODULE_H
#define LOOMKIT_PLATFORM_MODULE_H

namespace loomkit::platform {

/// The suffix of a dynamic library's file name, with its point.
extern const char* const moduleSuffix;

/// Loads a library, whose name can be a native path. Null if it cannot be
/// loaded.
void* openModule(const char* name);

/// Releases what openModule() gave. Requires: not null.
void closeModule(void* module) noexcept;

/// The address of an exported function, or null.
void* moduleSymbol(void* module, const char* name) noexcept;

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_MODULE_H
