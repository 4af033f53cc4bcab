// SPDX-License-Identifier: MIT
// GRef2: a counted pointer to an object that counts its own references.
//
//   GRef2<GStringObj> text = new GStringObj("abc");   // one reference
//   GRef2<GObject> same = text.get();                 // two
#ifndef LOOMKIT_OBJECT_REF_H
#define LOOMKIT_OBJECT_REF_H

#include <utility>

/// Holds one reference to an object of type T, or nothing. T is any class that
/// has addRef() and release(), as GObject has: the pointer calls the one when it
/// takes an object and the other when it lets the object go. Nothing can fail.
///
/// A GRef2 has the size of a plain pointer, and converts from and to one. Two
/// threads may use two GRef2 to one object only if the counts of T allow it;
/// those of GObject do not.
template <typename T>
class GRef2 {
 public:
  GRef2() = default;
  /// Points to `object` and adds a reference to it, unless it is null.
  GRef2(T* object) : pointer(object) {
    if (pointer != nullptr) pointer->addRef();
  }
  /// Points to the same object, with a reference of its own.
  GRef2(const GRef2& other) : GRef2(other.pointer) {}
  /// Takes the reference of `other` over, which is null afterwards.
  GRef2(GRef2&& other) noexcept : pointer(std::exchange(other.pointer, nullptr)) {}
  /// Points to the object of `other`. The new reference is added before the old
  /// one is let go, so that an object may be assigned to itself.
  GRef2& operator=(GRef2 other) noexcept {
    std::swap(pointer, other.pointer);
    return *this;
  }
  /// Lets the object go, which is deleted if this was its last reference.
  ~GRef2() {
    if (pointer != nullptr) pointer->release();
  }

  /// The object, or null. No reference is added: the plain pointer is valid as
  /// long as this GRef2 holds the object.
  [[nodiscard]] T* get() const noexcept { return pointer; }
  /// The same, wherever a plain pointer is expected.
  operator T*() const noexcept { return pointer; }
  /// The object itself. Requires: the pointer is not null.
  T& operator*() const noexcept { return *pointer; }
  T* operator->() const noexcept { return pointer; }

 private:
  T* pointer = nullptr;
};

#endif  // LOOMKIT_OBJECT_REF_H
