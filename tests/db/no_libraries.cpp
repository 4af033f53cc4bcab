// SPDX-License-Identifier: MIT
// Stands in front of the C library's dlopen(): no library is there.
extern "C" __attribute__((visibility("default"))) void* dlopen(const char* name,
                                                               int flags) noexcept;

extern "C" void* dlopen(const char* /*name*/, int /*flags*/) noexcept { return nullptr; }
