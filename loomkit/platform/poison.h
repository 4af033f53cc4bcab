// SPDX-License-Identifier: MIT
// Tells AddressSanitizer which bytes nobody may touch, such as those of an object that
// waits in a pool to be used again. In a build without the sanitizer both functions do
// nothing.
#ifndef LOOMKIT_PLATFORM_POISON_H
#define LOOMKIT_PLATFORM_POISON_H

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define LOOMKIT_HAS_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define LOOMKIT_HAS_ASAN 1
#endif
#endif

#if defined(LOOMKIT_HAS_ASAN)
#include <sanitizer/asan_interface.h>
#endif

namespace loomkit::platform {

/// Forbids `size` bytes: whoever touches them ends the program with a report.
/// unpoison() allows them again.
#if defined(LOOMKIT_HAS_ASAN)
inline void poison(const void* begin, std::size_t size) {
  __asan_poison_memory_region(begin, size);
}
inline void unpoison(const void* begin, std::size_t size) {
  __asan_unpoison_memory_region(begin, size);
}
#else
inline void poison(const void*, std::size_t) {}
inline void unpoison(const void*, std::size_t) {}
#endif

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_POISON_H
