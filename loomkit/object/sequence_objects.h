// SPDX-License-Identifier: MIT
// The sequences: GVectorObj, and GListObj with its cursor.
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

/// A sequence with random access, written [a, b]. Its end, like that of a list,
/// does not recurse, however deep its elements are nested.
class LOOMKIT_API GVectorObj : public GSequenceObj {
 public:
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

/// A linked sequence, written @(a, b). It remembers the position that was used
/// last, so that going through it by index takes one step an element.
class LOOMKIT_API GListObj : public GSequenceObj {
 public:
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
  /// Puts an element in front of the one at `index`, which may be size().
  virtual void insert(int index, GObject* item);
  virtual void pushFront(GObject* item);
  /// Requires: the list is not empty.
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
