// SPDX-License-Identifier: MIT
// The objects that hold one value: numbers, strings, symbols, names.
//
//   GRef2<GIntegerObj> number = new GIntegerObj(42);
//   number->toString();                               // "42"
//   GRef2<GObject> copy = number->clone();            // a second object
//
// All of them own the value that they hold, are deleted with their last
// reference (see GObject), and belong to one thread at a time. None of their
// operations fails.
#ifndef LOOMKIT_OBJECT_VALUE_OBJECTS_H
#define LOOMKIT_OBJECT_VALUE_OBJECTS_H

#include <string>

#include "loomkit/object/object.h"
#include "loomkit/platform/export.h"

/// A whole number of 32 bits, written in decimal: `42`, `-7`. The reader makes
/// one of every number that has neither a point nor an exponent.
class LOOMKIT_API GIntegerObj : public GNumberObj {
 public:
  /// The number 0.
  GIntegerObj() = default;
  /// The number `number`.
  GIntegerObj(int number) : value(number) {}
  ~GIntegerObj() override;
  [[nodiscard]] GObject* clone() const override;
  [[nodiscard]] std::string toString() const override;
  /// The number itself, as getValue().
  [[nodiscard]] int getIntValue() const override;
  [[nodiscard]] double getFloatValue() const override;
  /// The number.
  [[nodiscard]] int getValue() const { return value; }
  /// Replaces the number.
  void setValue(int number) { value = number; }

 private:
  GIntegerObj(const GIntegerObj&) = default;
  int value = 0;
};

/// A floating-point number, written with 15 significant digits: `2.5`, `1e+20`.
/// A number that is whole is written without a point, so that the reader makes
/// a GIntegerObj of that text.
class LOOMKIT_API GFloatObj : public GNumberObj {
 public:
  /// The number 0.
  GFloatObj() = default;
  /// The number `number`.
  GFloatObj(double number) : value(number) {}
  ~GFloatObj() override;
  [[nodiscard]] GObject* clone() const override;
  [[nodiscard]] std::string toString() const override;
  [[nodiscard]] int getIntValue() const override;
  /// The number itself, as getValue().
  [[nodiscard]] double getFloatValue() const override;
  /// The number.
  [[nodiscard]] double getValue() const { return value; }
  /// Replaces the number.
  void setValue(double number) { value = number; }

 private:
  GFloatObj(const GFloatObj&) = default;
  double value = 0.0;
};

/// A text, written as a quoted literal: `"two\tcolumns"`. It may hold any bytes,
/// zero included; no encoding is assumed.
class LOOMKIT_API GStringObj : public GObject {
 public:
  /// The empty text.
  GStringObj() = default;
  /// A copy of `text`.
  GStringObj(const std::string& text) : value(text) {}
  /// A copy of the NUL-terminated `text`. Requires: not null.
  GStringObj(const char* text) : value(text) {}
  /// A copy of the `n` bytes at `text`.
  GStringObj(const char* text, unsigned n) : value(text, n) {}
  ~GStringObj() override;
  [[nodiscard]] GObject* clone() const override;
  [[nodiscard]] std::string toString() const override;
  /// The text. The reference is valid until the object ends.
  [[nodiscard]] const std::string& getValue() const { return value; }
  /// Replaces the text.
  void setValue(const std::string& text) { value = text; }

 private:
  GStringObj(const GStringObj&) = default;
  std::string value;
};

/// A symbol: a text that stands for itself, such as the name of a choice. It is
/// written `@text` where the text is a word, and `Symbol("text")` otherwise. The
/// object holds the text without the '@'.
class LOOMKIT_API GSymbolObj : public GObject {
 public:
  /// The symbol of a copy of `text`.
  GSymbolObj(const std::string& text) : value(text) {}
  /// The symbol of the NUL-terminated `text`. Requires: not null.
  GSymbolObj(const char* text) : value(text) {}
  /// The symbol of the `n` bytes at `text`.
  GSymbolObj(const char* text, unsigned n) : value(text, n) {}
  ~GSymbolObj() override;
  [[nodiscard]] GObject* clone() const override;
  [[nodiscard]] std::string toString() const override;
  /// The text, without the '@'. The reference is valid until the object ends.
  [[nodiscard]] const std::string& getValue() const { return value; }
  /// Replaces the text.
  void setValue(const std::string& text) { value = text; }

 private:
  GSymbolObj(const GSymbolObj&) = default;
  std::string value;
};

/// A name: a bare word such as `width` or `ns::item.part`, which is written as it
/// is. A name that is not a word of letters, digits, '_', ':' and '.' cannot be
/// read back, and is written all the same.
class LOOMKIT_API GNameObj : public GObject {
 public:
  /// The name `text`.
  GNameObj(const std::string& text) : value(text) {}
  ~GNameObj() override;
  [[nodiscard]] GObject* clone() const override;
  [[nodiscard]] std::string toString() const override;
  /// The name. The reference is valid until the object ends.
  [[nodiscard]] const std::string& getValue() const { return value; }
  /// Replaces the name.
  void setValue(const std::string& text) { value = text; }

 private:
  GNameObj(const GNameObj&) = default;
  std::string value;
};

#endif  // LOOMKIT_OBJECT_VALUE_OBJECTS_H
