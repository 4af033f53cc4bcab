// SPDX-License-Identifier: MIT
// GRef2: a counted pointer to an object that counts its own references.
#ifndef LOOMKIT_OBJECT_REF_H
#define LOOMKIT_OBJECT_REF_H

#include <utility>

/// Holds a reference to a T, which has addRef() and release(), or nothing. It
/// is as safe with threads as T is.
template <typename T>
class GRef2 {
 public:
  GRef2() = default;
  /// Adds a reference, unless the pointer is null.
  GRef2(T* object) : pointer(object) {
    if (pointer != nullptr) pointer->addRef();
  }
  GRef2(const GRef2& other) : GRef2(other.pointer) {}
  GRef2(GRef2&& other) noexcept : pointer(std::exchange(other.pointer, nullptr)) {}
  /// The new reference is added before the old one is let go, so that an object
  /// may be assigned to itself.
  GRef2& operator=(GRef2 other) noexcept {
    std::swap(pointer, other.pointer);
    return *this;
  }
  ~GRef2() {
    if (pointer != nullptr) pointer->release();
  }

  /// The object, to which no reference is added; or null.
  [[nodiscard]] T* get() const noexcept { return pointer; }
  operator T*() const noexcept { return pointer; }
  /// Requires: it is not null.
  T& operator*() const noexcept { return *pointer; }
  T* operator->() const noexcept { return pointer; }

 private:
  T* pointer = nullptr;
};

#endif  // LOOMKIT_OBJECT_REF_H
