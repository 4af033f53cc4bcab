// SPDX-License-Identifier: MIT
// The objects that hold one value: numbers, strings, symbols, names.
#ifndef LOOMKIT_OBJECT_VALUE_OBJECTS_H
#define LOOMKIT_OBJECT_VALUE_OBJECTS_H

#include <string>

#include "loomkit/object/object.h"
#include "loomkit/platform/export.h"

/// A whole number, written in decimal.
class LOOMKIT_API GIntegerObj : public GNumberObj {
 public:
  GIntegerObj() = default;
  GIntegerObj(int number) : value(number) {}
  ~GIntegerObj() override;
  [[nodiscard]] GObject* clone() const override;
  [[nodiscard]] std::string toString() const override;
  [[nodiscard]] int getIntValue() const override;
  [[nodiscard]] double getFloatValue() const override;
  [[nodiscard]] int getValue() const { return value; }
  void setValue(int number) { value = number; }

 private:
  GIntegerObj(const GIntegerObj&) = default;
  int value = 0;
};

/// A floating-point number, written with 15 significant digits. One that is
/// whole has no point and reads back as an integer.
class LOOMKIT_API GFloatObj : public GNumberObj {
 public:
  GFloatObj() = default;
  GFloatObj(double number) : value(number) {}
  ~GFloatObj() override;
  [[nodiscard]] GObject* clone() const override;
  [[nodiscard]] std::string toString() const override;
  [[nodiscard]] int getIntValue() const override;
  [[nodiscard]] double getFloatValue() const override;
  [[nodiscard]] double getValue() const { return value; }
  void setValue(double number) { value = number; }

 private:
  GFloatObj(const GFloatObj&) = default;
  double value = 0.0;
};

/// Bytes, written as a quoted literal.
class LOOMKIT_API GStringObj : public GObject {
 public:
  GStringObj() = default;
  GStringObj(const std::string& text) : value(text) {}
  /// A NUL-terminated text, or the `n` characters at `text`.
  GStringObj(const char* text) : value(text) {}
  GStringObj(const char* text, unsigned n) : value(text, n) {}
  ~GStringObj() override;
  [[nodiscard]] GObject* clone() const override;
  [[nodiscard]] std::string toString() const override;
  [[nodiscard]] const std::string& getValue() const { return value; }
  void setValue(const std::string& text) { value = text; }

 private:
  GStringObj(const GStringObj&) = default;
  std::string value;
};

/// A symbol: its text is kept without the '@'. Written \@text, or Symbol("text")
/// where the text is not a word.
class LOOMKIT_API GSymbolObj : public GObject {
 public:
  GSymbolObj(const std::string& text) : value(text) {}
  GSymbolObj(const char* text) : value(text) {}
  GSymbolObj(const char* text, unsigned n) : value(text, n) {}
  ~GSymbolObj() override;
  [[nodiscard]] GObject* clone() const override;
  [[nodiscard]] std::string toString() const override;
  [[nodiscard]] const std::string& getValue() const { return value; }
  void setValue(const std::string& text) { value = text; }

 private:
  GSymbolObj(const GSymbolObj&) = default;
  std::string value;
};

/// A name, written as it is.
class LOOMKIT_API GNameObj : public GObject {
 public:
  GNameObj(const std::string& text) : value(text) {}
  ~GNameObj() override;
  [[nodiscard]] GObject* clone() const override;
  [[nodiscard]] std::string toString() const override;
  [[nodiscard]] const std::string& getValue() const { return value; }
  void setValue(const std::string& text) { value = text; }

 private:
  GNameObj(const GNameObj&) = default;
  std::string value;
};

#endif  // LOOMKIT_OBJECT_VALUE_OBJECTS_H
