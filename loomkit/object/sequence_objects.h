// SPDX-License-Identifier: MIT
// The sequences: GVectorObj, which is an array, and GListObj, which is a linked
// list.
//
//   GRef2<GVectorObj> vector = new GVectorObj;
//   vector->pushBack(new GIntegerObj(1));
//   vector->pushBack(nullptr);
//   vector->toString();                       // "[1, NULL]"
#ifndef LOOMKIT_OBJECT_SEQUENCE_OBJECTS_H
#define LOOMKIT_OBJECT_SEQUENCE_OBJECTS_H

#include <list>
#include <string>
#include <vector>

#include "loomkit/object/object.h"
#include "loomkit/platform/export.h"

namespace loomkit {
class ObjectWriter;
}

/// A sequence in an array, written `[a, b]`. Access by index takes the same time
/// anywhere; elements are added and removed at the end.
///
/// The vector holds a reference to each element. When it is deleted it lets them
/// go without recursion, so that vectors and lists may be nested to any depth. An
/// object belongs to one thread at a time.
class LOOMKIT_API GVectorObj : public GSequenceObj {
 public:
  /// An empty vector.
  GVectorObj() = default;
  /// Lets the elements go. Whoever holds a reference to one keeps it.
  ~GVectorObj() override;
  /// A new vector without a reference, which belongs to the caller. It shares the
  /// elements with this one: a change of an element shows in both.
  [[nodiscard]] GObject* clone() const override;
  /// The text of the vector with all its elements, such as `[1, NULL]`.
  [[nodiscard]] std::string toString() const override;
  /// Whether there is no element.
  [[nodiscard]] bool empty() const override;
  /// The number of elements, those that are null included.
  [[nodiscard]] int size() const override;
  /// The element at `index`, which may be null. It stays the vector's: a caller
  /// that keeps it beyond a change of the vector takes a reference, as by a GRef2.
  /// Requires: `index` is at least 0 and below size(), which is not checked in a
  /// release build.
  [[nodiscard]] GObject* get(int index) const override;
  /// Puts `item`, which may be null, in the place of the element at `index`. The
  /// vector takes a reference to it and lets the old element go, which may delete
  /// it. The index is as for get().
  void set(int index, GObject* item) override;
  /// Adds `item`, which may be null, behind the last element and takes a reference
  /// to it. A new object therefore belongs to the vector from now on.
  void pushBack(GObject* item) override;
  /// Removes the last element and lets it go. Requires: the vector is not empty.
  void popBack() override;

 private:
  friend class loomkit::ObjectWriter;
  GVectorObj(const GVectorObj&) = default;
  std::vector<GRef2<GObject>> items;
};

/// A sequence in a linked list, written `@(a, b)`. Elements are added and removed
/// fast at both ends.
///
/// The list remembers the element that was asked for last, and starts from there
/// or from an end, whichever is nearer. So a walk by index, forwards or
/// backwards, takes one step for each element, while an element far from all
/// three takes as many steps as it is away. Because of that memory even get()
/// changes the object.
///
/// Ownership, deletion and threads are as for GVectorObj.
class LOOMKIT_API GListObj : public GSequenceObj {
 public:
  /// An empty list.
  GListObj();
  /// Lets the elements go, as the vector does.
  ~GListObj() override;
  /// A new list without a reference, which belongs to the caller and shares the
  /// elements with this one.
  [[nodiscard]] GObject* clone() const override;
  /// The text of the list with all its elements, such as `@(1, NULL)`.
  [[nodiscard]] std::string toString() const override;
  [[nodiscard]] bool empty() const override;
  [[nodiscard]] int size() const override;
  /// The element at `index`, which may be null and stays the list's. Requires:
  /// `index` is at least 0 and below size().
  [[nodiscard]] GObject* get(int index) const override;
  /// Replaces the element at `index`, as in a vector.
  void set(int index, GObject* item) override;
  /// Adds `item`, which may be null, behind the last element, with a reference to
  /// it.
  void pushBack(GObject* item) override;
  /// Removes the last element and lets it go. Requires: the list is not empty.
  void popBack() override;
  /// Puts `item`, which may be null, in front of the element at `index`, or at the
  /// end when `index` is size(), and takes a reference to it. The elements from
  /// `index` on move up by one.
  virtual void insert(int index, GObject* item);
  /// Puts `item` in front of the first element and adds a reference to it.
  virtual void pushFront(GObject* item);
  /// Removes the first element and lets it go. Requires: the list is not empty.
  virtual void popFront();

 private:
  friend class loomkit::ObjectWriter;
  using Items = std::list<GRef2<GObject>>;

  GListObj(const GListObj& other);
  Items::iterator getIter(int index) const;

  mutable Items items;
  mutable int cursorIndex = 0;
  mutable Items::iterator cursor;
};

#endif  // LOOMKIT_OBJECT_SEQUENCE_OBJECTS_H
