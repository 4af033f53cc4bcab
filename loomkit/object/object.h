// SPDX-License-Identifier: MIT
// GObject: dynamic values with a text notation.
//
//   const char* end;
//   GRef2<GObject> object = GObject::parseCb("[1, 2.5, \"text\", @symbol, name]", &end);
//   if (end == text) ...                          // it could not be read
//   std::string text = GObject::formatCb(object); // and the same text again
//
// docs/objects.md describes the notation.
#ifndef LOOMKIT_OBJECT_OBJECT_H
#define LOOMKIT_OBJECT_OBJECT_H

#include <string>

#include "loomkit/object/ref.h"
#include "loomkit/platform/export.h"

/// The base of all dynamic values: numbers, strings, symbols, names, sequences
/// and what a host derives from it. An object counts its references.
///
/// A new object has no reference yet and belongs to whoever made it. The first
/// GRef2 or sequence that takes it owns it from then on, and the last one that
/// lets go deletes it. An object that was never taken is deleted by its maker.
///
/// Objects have neither an order nor a comparison: two objects of the same value
/// are two objects. The null pointer is a value too, written NULL.
///
/// The counts are not locked, and even reading a list moves its cursor. An
/// object, with all that it holds, therefore belongs to one thread at a time.
class LOOMKIT_API GObject {
 public:
  GObject& operator=(const GObject&) = delete;
  virtual ~GObject();

  /// A new object of the same value, which has no reference and belongs to the
  /// caller. The copy of a sequence shares the elements of the original.
  [[nodiscard]] virtual GObject* clone() const = 0;
  /// The text of the object in the notation that parseCb() reads.
  [[nodiscard]] virtual std::string toString() const = 0;

  /// Adds a reference. Returns the number of references that there are now.
  int addRef();
  /// Takes a reference away. Returns the number of references that are left; at
  /// 0 the object has been deleted. Requires: there was a reference. An object
  /// without one would be deleted twice, so that the process ends by abort().
  int release();

  /// Reads one object from the start of the NUL-terminated text `s`, which may
  /// begin with white space, and sets `*end` to the position behind it. What
  /// follows the object is not looked at. The result belongs to the caller.
  ///
  /// When the text is no object, or is nested deeper than gObjectMaxDepth, the
  /// result is null and `*end` is `s`. Look at `*end`: the result is null for
  /// the word NULL, too. gParseObject() says why a text could not be read.
  static GObject* parseCb(const char* s, const char** end);
  static GObject* parseCb(char* s, char** end);
  /// The text of `object` in the notation; "NULL" when it is null.
  static std::string formatCb(GObject* object);

 protected:
  GObject() = default;
  GObject(const GObject&) {}

 private:
  int refCount = 0;
};

/// What all numbers have in common: a host that does not care how a number is
/// stored reads it through this class.
///
///     if (auto* number = dynamic_cast<GNumberObj*>(object)) width = number->getFloatValue();
class LOOMKIT_API GNumberObj : public GObject {
 public:
  ~GNumberObj() override;
  /// The int that is nearest to the number; a half is rounded upwards. A number
  /// beyond the range of int gives the limit on its side, and a NaN the smallest
  /// int.
  [[nodiscard]] virtual int getIntValue() const = 0;
  /// The number as a double, which holds every int exactly.
  [[nodiscard]] virtual double getFloatValue() const = 0;

 protected:
  GNumberObj() = default;
  GNumberObj(const GNumberObj&) = default;
};

/// A sequence of objects, counted from 0. GVectorObj and GListObj are the two
/// kinds, and differ in what is fast.
///
///     for (int i = 0; i < sequence->size(); ++i) show(sequence->get(i));
///
/// The sequence holds a reference to each element, which may be null. Indices
/// are not checked. Requires: an index is at least 0 and below size().
class LOOMKIT_API GSequenceObj : public GObject {
 public:
  ~GSequenceObj() override;
  /// Whether there is no element.
  [[nodiscard]] virtual bool empty() const = 0;
  /// The number of elements.
  [[nodiscard]] virtual int size() const = 0;
  /// The element at `index`. No reference is added: the pointer is valid as long
  /// as the sequence holds the element, or somebody else does.
  [[nodiscard]] virtual GObject* get(int index) const = 0;
  /// Replaces the element at `index` by `item`, adds a reference to `item` and
  /// lets the old element go.
  virtual void set(int index, GObject* item) = 0;
  /// Adds `item`, and a reference to it, behind the last element.
  virtual void pushBack(GObject* item) = 0;
  /// Removes the last element. Requires: the sequence is not empty.
  virtual void popBack() = 0;

 protected:
  GSequenceObj() = default;
  GSequenceObj(const GSequenceObj&) = default;
};

#endif  // LOOMKIT_OBJECT_OBJECT_H
