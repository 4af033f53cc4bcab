// SPDX-License-Identifier: MIT
// CreatorRef: owns the reference that a new counted object starts with. Private
// to the engine.
#ifndef LOOMKIT_RPN_CREATOR_REF_H
#define LOOMKIT_RPN_CREATOR_REF_H

namespace loomkit {

/// Drops its creator's reference on a counted object at the end of the scope.
/// Who is to keep the object takes a reference of his own before that.
///
///     const CreatorRef<GRpnString> text(new GRpnString("abc", false));
///     value.setString(text.get());
template <typename Object>
class CreatorRef {
 public:
  /// Takes over the reference of `created`. Requires: not null.
  explicit CreatorRef(Object* created) noexcept : object(created) {}
  CreatorRef(const CreatorRef&) = delete;
  CreatorRef& operator=(const CreatorRef&) = delete;
  ~CreatorRef() { object->decRef(); }
  Object* operator->() const noexcept { return object; }
  Object& operator*() const noexcept { return *object; }
  [[nodiscard]] Object* get() const noexcept { return object; }

 private:
  Object* object;
};

}  // namespace loomkit

#endif  // LOOMKIT_RPN_CREATOR_REF_H
