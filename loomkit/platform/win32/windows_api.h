// SPDX-License-Identifier: MIT
// The system's own header, without what nobody here uses, and how its handles are held
// by the rest of the library.
#ifndef LOOMKIT_PLATFORM_WIN32_WINDOWS_API_H
#define LOOMKIT_PLATFORM_WIN32_WINDOWS_API_H

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
// What Windows 7 has is enough.
#ifndef _WIN32_WINNT
#define _WIN32_WINNT 0x0601
#endif
#include <windows.h>

#include <cstdint>
#include <utility>

namespace loomkit::platform {

/// The floor's handles are of type int. The system promises that its own fit into 32
/// bits on 64-bit machines too; all ones, which is -1, is its word for none.
inline HANDLE systemHandle(int handle) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the system's handles are numbers
  return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(handle));
}
inline int handleNumber(HANDLE handle) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
}

/// A handle that is closed with the object.
class OwnedHandle {
 public:
  OwnedHandle() = default;
  explicit OwnedHandle(HANDLE opened) : handle(opened) {}
  OwnedHandle(OwnedHandle&& other) noexcept
      : handle(std::exchange(other.handle, INVALID_HANDLE_VALUE)) {}
  OwnedHandle& operator=(OwnedHandle&& other) noexcept {
    std::swap(handle, other.handle);
    return *this;
  }
  OwnedHandle(const OwnedHandle&) = delete;
  OwnedHandle& operator=(const OwnedHandle&) = delete;
  ~OwnedHandle() {
    if (isOpen()) ::CloseHandle(handle);
  }

  [[nodiscard]] bool isOpen() const { return handle != INVALID_HANDLE_VALUE && handle != nullptr; }
  [[nodiscard]] HANDLE get() const { return handle; }
  HANDLE release() { return std::exchange(handle, INVALID_HANDLE_VALUE); }

 private:
  HANDLE handle = INVALID_HANDLE_VALUE;
};

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_WIN32_WINDOWS_API_H
