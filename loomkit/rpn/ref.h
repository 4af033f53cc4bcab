// SPDX-License-Identifier: MIT
// Extension: owning handles for the counted objects of the expression engine.
//
//   auto prices = loomkit::make<GRpnMapParamSet>();
//   prices->set("net", 100);
//   eval.setParamSet(prices);       // the evaluator takes a reference of its own
//
// Nothing is left to be done: the handle's reference goes with the handle.
#ifndef LOOMKIT_RPN_REF_H
#define LOOMKIT_RPN_REF_H

#include <type_traits>
#include <utility>

namespace loomkit {

/// Holds one reference to a parameter set, a set of functions, a GRpnString or a
/// GRpnVector, or nothing. Object is any class that has incRef() and decRef() and
/// whose new objects have one reference, the creator's. Nothing can fail.
///
/// A handle has the size of a plain pointer and converts to one, without adding a
/// reference. Counts are not locked: for the thread that runs expressions.
template <typename Object>
class Ref {
 public:
  /// Holds nothing.
  Ref() noexcept = default;
  /// Takes over the reference that the creator of `created` has; null gives an
  /// empty handle.
  static Ref adopt(Object* created) noexcept { return Ref(created); }
  /// Adds a reference to an object that others hold as well; null gives an empty
  /// handle.
  static Ref share(Object* object) noexcept {
    if (object != nullptr) object->incRef();
    return Ref(object);
  }

  /// Holds the same object, with a reference of its own.
  Ref(const Ref& other) noexcept : Ref(share(other.object)) {}
  /// Takes the reference of `other` over, which is empty afterwards.
  Ref(Ref&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
  /// The same from a handle on a derived class.
  template <typename Derived,
            typename = std::enable_if_t<std::is_convertible<Derived*, Object*>::value>>
  Ref(const Ref<Derived>& other) noexcept : Ref(share(other.get())) {}
  /// The new reference is taken before the old one is let go.
  Ref& operator=(Ref other) noexcept {
    std::swap(object, other.object);
    return *this;
  }
  /// Lets the object go.
  ~Ref() {
    if (object != nullptr) object->decRef();
  }

  /// The object, or null; it is valid as long as this handle holds it.
  [[nodiscard]] Object* get() const noexcept { return object; }
  /// The same, wherever a plain pointer is expected.
  operator Object*() const noexcept { return object; }
  /// The object itself. Requires: the handle is not empty.
  Object& operator*() const noexcept { return *object; }
  Object* operator->() const noexcept { return object; }

 private:
  explicit Ref(Object* owned) noexcept : object(owned) {}

  Object* object = nullptr;
};

/// A new object, made of `arguments`, and a handle on it.
template <typename Object, typename... Arguments>
[[nodiscard]] Ref<Object> make(Arguments&&... arguments) {
  return Ref<Object>::adopt(new Object(std::forward<Arguments>(arguments)...));
}

}  // namespace loomkit

#endif  // LOOMKIT_RPN_REF_H
