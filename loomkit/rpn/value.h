// SPDX-License-Identifier: MIT
// GRpnValue, the tagged value of the expression engine, and the two counted
// heap objects that it can hold, GRpnString and GRpnVector.
//
//   auto text = loomkit::make<GRpnString>("abc", false);  // ref.h: one reference, ours
//   GRpnValue value(text);                                // takes its own
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

/// A text on the stack of an evaluator: a std::string that counts its references.
///
/// Ownership: a new string has one reference, which belongs to its creator. Each
/// GRpnValue that holds the string has one of its own. The last decRef() ends the
/// string; nobody deletes it otherwise. Its memory then waits in a pool for the
/// next string, which is why a class derived from it must not add members: the
/// pool hands out blocks of exactly this size.
///
/// Other values may share the text, so that a host changes it only as long as it
/// holds the only reference. Nothing fails, apart from running out of memory.
class LOOMKIT_API GRpnString : public std::string {
 public:
  /// The empty text, with one reference, which belongs to the creator.
  GRpnString(bool isSymbol);
  /// A copy of `text`, with one reference. The caller's text may change or end.
  /// Requires: not null.
  GRpnString(const std::string& text, bool isSymbol);
  GRpnString(const char* text, bool isSymbol);

  /// Copies all members, the reference count included. A copy is not an object
  /// of its own; these are here for hosts that were built with them.
  GRpnString(const GRpnString&) = default;
  GRpnString& operator=(const GRpnString&) = default;

  /// Adds a reference. Returns this object.
  GRpnString* incRef() noexcept {
    ++tail.fields.refCount;
    return this;
  }

  /// Takes a reference away, which must have been the caller's. With the last one
  /// the string ends, so that the caller does not use the pointer afterwards.
  void decRef() noexcept {
    if (--tail.fields.refCount == 0) delete this;
  }

  /// Whether the text was written as a symbol in an expression, with an '@' in
  /// front of it. The operators and words of the language do not care; hosts may.
  [[nodiscard]] bool isSymbol() const noexcept { return tail.fields.isSymbol; }

  /// Takes the memory from the pool, and gives it back there.
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

/// A value of an expression: void, a number, a string or a vector, with a tag that
/// says which of them.
///
///     if (value.getType() == GRpnValue::Number) use(value.getNumber());
///
/// A value holds its number itself and one reference to its string or vector.
/// Copying it takes one more reference and destroying it lets one go. It has 16
/// bytes (12 on a 32-bit machine).
///
/// What reads the payload does not look at the tag: a caller looks at getType()
/// first. Nothing fails, and nothing throws.
class LOOMKIT_API GRpnValue {
 public:
  /// What a value can be. The operator < puts the types into this order.
  enum Type : int { Void = 0, Number = 1, String = 2, Vector = 3 };

  /// A void value.
  GRpnValue() noexcept : type(Void) { payload.number = 0; }
  /// A number.
  GRpnValue(double number) noexcept : type(Number) { payload.number = number; }
  /// A string or a vector. The value takes a reference of its own; the caller's
  /// stays the caller's. Requires: not null.
  inline GRpnValue(GRpnString* string) noexcept;
  inline GRpnValue(GRpnVector* vector) noexcept;

  /// The same number, or one more reference to the same string or vector.
  GRpnValue(const GRpnValue& other) noexcept : type(other.type), payload(other.payload) {
    if (type >= String) incPayload();
  }
  /// Takes the payload of `other` over, which is void afterwards.
  GRpnValue(GRpnValue&& other) noexcept : type(other.type), payload(other.payload) {
    other.type = Void;
  }

  /// Replaces the payload. The old one is let go before the new one is read; hosts
  /// rely on that order. Requires: the old payload does not keep `other` alive. A
  /// value must not be assigned an element of its own vector, nor itself, when it
  /// holds the last reference.
  GRpnValue& operator=(const GRpnValue& other) noexcept;
  GRpnValue& operator=(GRpnValue&& other) noexcept;

  /// Lets the string or vector go.
  ~GRpnValue() {
    if (type >= String) decPayload();
  }

  /// What the value is.
  [[nodiscard]] Type getType() const noexcept { return type; }

  /// The type as a word for messages: "void", "number", "string" or "vector". Any
  /// other tag gives "<unknown>".
  [[nodiscard]] const char* getTypeName() const noexcept;

  /// The number. Requires: the type is Number.
  [[nodiscard]] double getNumber() const noexcept { return payload.number; }
  /// The string. No reference is added: the pointer is valid as long as somebody
  /// holds the string. Requires: the type is String.
  [[nodiscard]] GRpnString* getString() const noexcept { return payload.string; }
  /// The vector. No reference is added: a caller that keeps the pointer calls
  /// incRef(). Requires: the type is Vector.
  [[nodiscard]] GRpnVector* getVector() const noexcept { return payload.vector; }

  /// Lets the old payload go and stores the number. The type is Number afterwards.
  void setNumber(double number) noexcept {
    setType(Number);
    payload.number = number;
  }

  /// Takes a reference of its own to `string`, then lets the old payload go, so
  /// that a value may be set to what it holds. Requires: not null.
  void setString(GRpnString* string) noexcept;
  /// The same for a vector, which must not be one that holds this value as an
  /// element: it would never end.
  void setVector(GRpnVector* vector) noexcept;

  /// Whether type and content are the same. Two numbers are the same unless they
  /// differ by 1e-10 or more, so that a NaN is the same as every number. Two
  /// vectors are the same if their elements are, to any depth.
  ///
  /// The operator == of the language compares numbers in another way.
  bool operator==(const GRpnValue& other) const;

  /// Whether this value comes before `other`: by type, and within a type by
  /// content. Vectors are compared element by element. Two numbers of which one
  /// is a NaN give true, whichever it is.
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
  inline void incPayload() const noexcept;
  inline void decPayload() const noexcept;

  Type type;
  Payload payload;
};

/// A vector on the stack of an evaluator: a std::vector of values that counts its
/// references.
///
///     auto vector = loomkit::make<GRpnVector>();   // one reference, ours (ref.h)
///     vector->push_back(1.5);
///     eval.push(vector.get());                     // the stack takes its own
///
/// Ownership, the pool and sharing are as for GRpnString. Elements may be vectors
/// themselves; a vector that is nested to any depth ends without recursion. A
/// vector must not contain itself, since it would never end.
class LOOMKIT_API GRpnVector : public std::vector<GRpnValue> {
 public:
  /// An empty vector with one reference, which belongs to the creator.
  GRpnVector() noexcept { tail.refCount = 1; }

  /// Copies all members, the reference count included. A copy is not an object
  /// of its own; these are here for hosts that were built with them.
  GRpnVector(const GRpnVector&) = default;
  GRpnVector& operator=(const GRpnVector&) = default;

  /// Adds a reference. Returns this object.
  GRpnVector* incRef() noexcept {
    ++tail.refCount;
    return this;
  }

  /// Takes a reference away, which must have been the caller's. With the last one
  /// the vector ends and lets its elements go.
  void decRef() noexcept {
    if (--tail.refCount == 0) destroy(this);
  }

  /// Takes the memory from the pool, and gives it back there.
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

GRpnValue::GRpnValue(GRpnString* string) noexcept : type(String) {
  payload.string = string->incRef();
}

GRpnValue::GRpnValue(GRpnVector* vector) noexcept : type(Vector) {
  payload.vector = vector->incRef();
}

void GRpnValue::incPayload() const noexcept {
  if (type == String)
    payload.string->incRef();
  else
    payload.vector->incRef();
}

void GRpnValue::decPayload() const noexcept {
  if (type == String)
    payload.string->decRef();
  else
    payload.vector->decRef();
}

#endif  // LOOMKIT_RPN_VALUE_H
