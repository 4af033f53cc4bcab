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
  ~GVectorObj() override;
  [[nodiscard]] GObject* clone() const override;
  [[nodiscard]] std::string toString() const override;
  [[nodiscard]] bool empty() const override;
  [[nodiscard]] int size() const override;
  [[nodiscard]] GObject* get(int index) const override;
  void set(int index, GObject* item) override;
  void pushBack(GObject* item) override;
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
  ~GListObj() override;
  [[nodiscard]] GObject* clone() const override;
  [[nodiscard]] std::string toString() const override;
  [[nodiscard]] bool empty() const override;
  [[nodiscard]] int size() const override;
  [[nodiscard]] GObject* get(int index) const override;
  void set(int index, GObject* item) override;
  void pushBack(GObject* item) override;
  void popBack() override;
  /// Puts `item` in front of the element at `index`, or at the end when `index`
  /// is size(), and adds a reference to it.
  virtual void insert(int index, GObject* item);
  /// Puts `item` in front of the first element and adds a reference to it.
  virtual void pushFront(GObject* item);
  /// Removes the first element. Requires: the list is not empty.
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
