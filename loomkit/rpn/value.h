// SPDX-License-Identifier: MIT
// GRpnValue, the tagged value of the expression engine, and the two counted
// heap objects that it can hold, GRpnString and GRpnVector.
//
//   GRpnString* text = new GRpnString("abc", false);  // one reference, ours
//   GRpnValue value(text);                            // takes its own
//   text->decRef();                                   // ours goes
//
// Reference counts and pools are not locked: all values and evaluators of a
// process are used from one thread at a time.
#ifndef LOOMKIT_RPN_VALUE_H
#define LOOMKIT_RPN_VALUE_H

#include <cstddef>
#include <string>
#include <vector>

#include "loomkit/platform/export.h"

class GRpnVector;

/// A counted text. Starts with one reference, which belongs to its creator;
/// ends only through decRef(), after which its memory waits in a pool for the
/// next string. Not to be derived from with further members: the pool hands out
/// blocks of exactly this size.
class LOOMKIT_API GRpnString : public std::string {
 public:
  GRpnString(bool isSymbol);
  GRpnString(const std::string& text, bool isSymbol);
  GRpnString(const char* text, bool isSymbol);

  /// Memberwise, the reference count included; no way of making an independent
  /// object.
  GRpnString(const GRpnString&) = default;
  GRpnString& operator=(const GRpnString&) = default;

  /// Adds a reference. Returns this object.
  GRpnString* incRef() noexcept {
    ++tail.fields.refCount;
    return this;
  }

  /// Takes a reference away, and with the last one ends the object.
  void decRef() noexcept {
    if (--tail.fields.refCount == 0) delete this;
  }

  /// True for a text that was written as a symbol literal (@name). The engine's
  /// own operators look at the text only.
  [[nodiscard]] bool isSymbol() const noexcept { return tail.fields.isSymbol; }

  static void* operator new(std::size_t size);
  static void operator delete(void* block) noexcept;

 protected:
  ~GRpnString() = default;

 private:
  friend class GRpnEval;

  struct Fields {
    unsigned refCount;
    bool isSymbol;
  };
  // In the pool the link lies over the reference count.
  union Tail {
    Fields fields;
    void* next;
  };
  Tail tail;
};

/// The tagged value: void, a number, or a counted reference to a string or a
/// vector. A plain value of 16 bytes (12 on a 32-bit machine): copying takes
/// one more reference, destroying releases it.
///
/// The payload readers check nothing; look at getType() first.
class LOOMKIT_API GRpnValue {
 public:
  /// The order is used by operator<.
  enum Type : int { Void = 0, Number = 1, String = 2, Vector = 3 };

  /// A void value.
  GRpnValue() noexcept : type(Void) { payload.number = 0; }
  /// A number.
  GRpnValue(double number) noexcept : type(Number) { payload.number = number; }
  /// A string or vector. Takes a reference of its own. Requires: not null.
  GRpnValue(GRpnString* string) noexcept;
  GRpnValue(GRpnVector* vector) noexcept;

  GRpnValue(const GRpnValue& other) noexcept : type(other.type), payload(other.payload) {
    if (type >= String) incPayload();
  }
  /// Takes the payload over; `other` is void afterwards.
  GRpnValue(GRpnValue&& other) noexcept : type(other.type), payload(other.payload) {
    other.type = Void;
  }

  /// Drops the old payload first and only then looks at the source, with no
  /// check for self-assignment. Requires: the source does not live through this
  /// value's last reference.
  GRpnValue& operator=(const GRpnValue& other) noexcept;
  GRpnValue& operator=(GRpnValue&& other) noexcept;

  ~GRpnValue() {
    if (type >= String) decPayload();
  }

  [[nodiscard]] Type getType() const noexcept { return type; }

  /// "void", "number", "string" or "vector"; "<unknown>" for any other tag.
  [[nodiscard]] const char* getTypeName() const noexcept;

  /// The payload. Requires: the type fits. The pointers carry no reference.
  [[nodiscard]] double getNumber() const noexcept { return payload.number; }
  [[nodiscard]] GRpnString* getString() const noexcept { return payload.string; }
  [[nodiscard]] GRpnVector* getVector() const noexcept { return payload.vector; }

  /// Releases the old payload and stores the number.
  void setNumber(double number) noexcept {
    setType(Number);
    payload.number = number;
  }

  /// Takes a reference on the new object, then releases the old payload.
  void setString(GRpnString* string) noexcept;
  void setVector(GRpnVector* vector) noexcept;

  /// Same type and same content. Numbers are equal unless they differ by 1e-10
  /// or more, so that a NaN equals every number. The language's own == operator
  /// is another one.
  bool operator==(const GRpnValue& other) const;

  /// Orders by type, then by content; vectors lexicographically. A NaN on
  /// either side of two numbers gives true.
  bool operator<(const GRpnValue& other) const;

 private:
  friend class GRpnEval;

  union Payload {
    double number;
    GRpnString* string;
    GRpnVector* vector;
  };

  void setType(Type newType) noexcept {
    if (type >= String) decPayload();
    type = newType;
  }
  void incPayload() const noexcept;
  void decPayload() const noexcept;

  Type type;
  Payload payload;
};

/// A counted list of values, which can be vectors themselves. The same rules as
/// for GRpnString hold. A vector nested to any depth ends without recursion.
class LOOMKIT_API GRpnVector : public std::vector<GRpnValue> {
 public:
  /// An empty vector with one reference.
  GRpnVector() noexcept { tail.refCount = 1; }

  /// Memberwise, the reference count included.
  GRpnVector(const GRpnVector&) = default;
  GRpnVector& operator=(const GRpnVector&) = default;

  /// Adds a reference. Returns this object.
  GRpnVector* incRef() noexcept {
    ++tail.refCount;
    return this;
  }

  /// Takes a reference away, and with the last one ends the object.
  void decRef() noexcept {
    if (--tail.refCount == 0) destroy(this);
  }

  static void* operator new(std::size_t size);
  static void operator delete(void* block) noexcept;

 protected:
  ~GRpnVector() = default;

 private:
  friend class GRpnEval;

  static void destroy(GRpnVector* vector) noexcept;

  union Tail {
    unsigned refCount;
    void* next;
  };
  Tail tail;
};

inline GRpnValue::GRpnValue(GRpnString* string) noexcept : type(String) {
  payload.string = string->incRef();
}

inline GRpnValue::GRpnValue(GRpnVector* vector) noexcept : type(Vector) {
  payload.vector = vector->incRef();
}

inline void GRpnValue::incPayload() const noexcept {
  if (type == String)
    payload.string->incRef();
  else
    payload.vector->incRef();
}

inline void GRpnValue::decPayload() const noexcept {
  if (type == String)
    payload.string->decRef();
  else
    payload.vector->decRef();
}

#endif  // LOOMKIT_RPN_VALUE_H
