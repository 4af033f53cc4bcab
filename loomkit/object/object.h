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

/// A value that counts its references. A new object has none and belongs to who
/// made it: who keeps it in a GRef2 or a sequence need not care any more. There
/// is no order and no comparison, and no two objects are one.
///
/// Counts are not protected, and even reading a list moves its cursor: an
/// object, with all that it holds, belongs to one thread at a time.
class LOOMKIT_API GObject {
 public:
  GObject& operator=(const GObject&) = delete;
  virtual ~GObject();

  /// A new object of the same value and without references. A sequence's copy
  /// holds the same elements.
  [[nodiscard]] virtual GObject* clone() const = 0;
  /// The notation, which parseCb() reads.
  [[nodiscard]] virtual std::string toString() const = 0;

  /// Adds a reference and gives their number.
  int addRef();
  /// Lets a reference go and gives the number of those left; with the last one
  /// the object ends. One that had none ends the process by abort().
  int release();

  /// Reads one object from the start of the text, behind white space, and sets
  /// `*end` behind it. `*end` is `s` when there is none: the result, which
  /// belongs to the caller, tells nothing, since it is null for NULL as well.
  /// Nesting beyond gObjectMaxDepth is no object.
  static GObject* parseCb(const char* s, const char** end);
  static GObject* parseCb(char* s, char** end);
  /// The object's notation; "NULL" for null.
  static std::string formatCb(GObject* object);

 protected:
  GObject() = default;
  GObject(const GObject&) {}

 private:
  int refCount = 0;
};

/// A number.
class LOOMKIT_API GNumberObj : public GObject {
 public:
  ~GNumberObj() override;
  /// The nearest int, halves upwards. What is beyond the ints is the nearest of
  /// them; no number is the smallest.
  [[nodiscard]] virtual int getIntValue() const = 0;
  [[nodiscard]] virtual double getFloatValue() const = 0;

 protected:
  GNumberObj() = default;
  GNumberObj(const GNumberObj&) = default;
};

/// Elements in an order, from 0 on. An element may be null. Indices are not
/// checked: one that is not there is the caller's fault.
class LOOMKIT_API GSequenceObj : public GObject {
 public:
  ~GSequenceObj() override;
  [[nodiscard]] virtual bool empty() const = 0;
  [[nodiscard]] virtual int size() const = 0;
  /// The element, which stays the sequence's: no reference is added.
  [[nodiscard]] virtual GObject* get(int index) const = 0;
  /// Put an element in, to which a reference is added.
  virtual void set(int index, GObject* item) = 0;
  virtual void pushBack(GObject* item) = 0;
  /// Requires: the sequence is not empty.
  virtual void popBack() = 0;

 protected:
  GSequenceObj() = default;
  GSequenceObj(const GSequenceObj&) = default;
};

#endif  // LOOMKIT_OBJECT_OBJECT_H
