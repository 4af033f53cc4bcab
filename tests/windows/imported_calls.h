// SPDX-License-Identifier: MIT
// How a test program stands in front of calls of the system. A call goes through a pointer
// that the linker knows as "__imp_" and its name, to which 32 bits add an underscore and
// the bytes of its arguments. A pointer that a program defines itself takes the place of
// the import library's. What the C runtime calls is not met.
#ifndef LOOMKIT_TESTS_WINDOWS_IMPORTED_CALLS_H
#define LOOMKIT_TESTS_WINDOWS_IMPORTED_CALLS_H

#include <windows.h>

namespace loomkit::testing {

/// A function of one of the system's libraries.
template <class Function>
Function realCall(const char* library, const char* name) {
  // By way of void (*)(), as the compiler wants it for functions of different types.
  const auto found =
      reinterpret_cast<void (*)()>(::GetProcAddress(::GetModuleHandleA(library), name));
  return reinterpret_cast<Function>(found);
}

}  // namespace loomkit::testing

#define LOOMKIT_REAL(library, name) loomkit::testing::realCall<decltype(&::name)>(library, #name)

/// Gives a pointer the linker's name for that of a call.
#ifdef __i386__
#define LOOMKIT_IMPORT(name, bytes) __asm__("__imp__" #name "@" #bytes)
#else
#define LOOMKIT_IMPORT(name, bytes) __asm__("__imp_" #name)
#endif

#endif  // LOOMKIT_TESTS_WINDOWS_IMPORTED_CALLS_H
