// SPDX-License-Identifier: MIT
#include "loomkit/rpn/value.h"

#include <algorithm>
#include <cmath>

#include "loomkit/rpn/free_list.h"

namespace {

// The pools of ended objects. The link of a pooled object lies over its last
// member, the union that also holds the reference count.
template <typename Object, typename Base>
using Pool = loomkit::FreeList<sizeof(Object), sizeof(Base)>;

constinit Pool<GRpnString, std::string> stringPool;
constinit Pool<GRpnVector, std::vector<GRpnValue>> vectorPool;

constexpr std::size_t roundUp(std::size_t size) {
  constexpr std::size_t step = alignof(std::string);
  return (size + step - 1) / step * step;
}
static_assert(sizeof(GRpnString) == sizeof(std::string) + roundUp(sizeof(unsigned) + sizeof(bool)));
static_assert(sizeof(GRpnVector) == sizeof(std::vector<GRpnValue>) + sizeof(void*));

}  // namespace

GRpnString::GRpnString(bool isSymbol) { tail.fields = {1, isSymbol}; }

GRpnString::GRpnString(const std::string& text, bool isSymbol) : std::string(text) {
  tail.fields = {1, isSymbol};
}

GRpnString::GRpnString(const char* text, bool isSymbol) : std::string(text) {
  tail.fields = {1, isSymbol};
}

void* GRpnString::operator new(std::size_t) { return stringPool.take(); }
void GRpnString::operator delete(void* block) noexcept { stringPool.give(block); }

void* GRpnVector::operator new(std::size_t) { return vectorPool.take(); }
void GRpnVector::operator delete(void* block) noexcept { vectorPool.give(block); }

// When a vector ends, its elements can be the last references to further vectors,
// to any depth. These are put into a chain and end one after the other instead of
// one inside the other, so that the machine stack does not grow.
void GRpnVector::destroy(GRpnVector* vector) noexcept {
  static constinit void* chain = nullptr;
  static constinit bool running = false;
  vector->tail.next = chain;
  chain = vector;
  if (running) return;
  running = true;
  while (chain != nullptr) {
    auto* next = static_cast<GRpnVector*>(chain);
    chain = next->tail.next;
    delete next;
  }
  running = false;
}

GRpnValue& GRpnValue::operator=(const GRpnValue& other) noexcept {
  setType(other.type);
  payload = other.payload;
  if (type >= String) incPayload();
  return *this;
}

GRpnValue& GRpnValue::operator=(GRpnValue&& other) noexcept {
  const Type newType = other.type;
  const Payload newPayload = other.payload;
  other.type = Void;
  setType(newType);
  payload = newPayload;
  return *this;
}

const char* GRpnValue::getTypeName() const noexcept {
  switch (type) {
    case Void:
      return "void";
    case Number:
      return "number";
    case String:
      return "string";
    case Vector:
      return "vector";
  }
  return "<unknown>";
}

void GRpnValue::setString(GRpnString* string) noexcept {
  string->incRef();
  setType(String);
  payload.string = string;
}

void GRpnValue::setVector(GRpnVector* vector) noexcept {
  vector->incRef();
  setType(Vector);
  payload.vector = vector;
}

namespace {

// Two vectors that are being compared, and the index at which to go on.
struct Pending {
  const GRpnVector* a;
  const GRpnVector* b;
  std::size_t next;
};

// Whether two values are the same. Requires: they are of one type, not Vector.
bool sameScalar(const GRpnValue& a, const GRpnValue& b) {
  switch (a.getType()) {
    case GRpnValue::Number:
      return !(std::fabs(a.getNumber() - b.getNumber()) >= 1e-10);  // a NaN equals everything
    case GRpnValue::String:
      return static_cast<const std::string&>(*a.getString()) == *b.getString();
    default:
      return true;
  }
}

// The order of two values: below 0, 0 or above 0. Two numbers of which one is a
// NaN give -1. Requires: they are of one type, not Vector.
int compareScalars(const GRpnValue& a, const GRpnValue& b) {
  switch (a.getType()) {
    case GRpnValue::Number:
      if (!(a.getNumber() >= b.getNumber())) return -1;
      return b.getNumber() >= a.getNumber() ? 0 : 1;
    case GRpnValue::String:
      return a.getString()->compare(*b.getString());
    default:
      return 0;
  }
}

}  // namespace

// The comparisons keep a list of the vectors that they are inside of, instead of
// recursing: an expression can nest vectors deeper than the machine stack allows.
bool GRpnValue::operator==(const GRpnValue& other) const {
  if (type != other.type) return false;
  if (type != Vector) return sameScalar(*this, other);
  std::vector<Pending> open{{payload.vector, other.payload.vector, 0}};
  while (!open.empty()) {
    Pending& now = open.back();
    if (now.a->size() != now.b->size()) return false;
    if (now.a == now.b || now.next == now.a->size()) {
      open.pop_back();
      continue;
    }
    const GRpnValue& x = (*now.a)[now.next];
    const GRpnValue& y = (*now.b)[now.next];
    ++now.next;
    if (x.type != y.type) return false;
    if (x.type == Vector)
      open.push_back({x.payload.vector, y.payload.vector, 0});
    else if (!sameScalar(x, y))
      return false;
  }
  return true;
}

bool GRpnValue::operator<(const GRpnValue& other) const {
  if (type != other.type) return type < other.type;
  if (type != Vector) return compareScalars(*this, other) < 0;
  std::vector<Pending> open{{payload.vector, other.payload.vector, 0}};
  while (!open.empty()) {
    Pending& now = open.back();
    if (now.next == std::min(now.a->size(), now.b->size())) {
      if (now.a->size() != now.b->size()) return now.a->size() < now.b->size();
      open.pop_back();
      continue;
    }
    const GRpnValue& x = (*now.a)[now.next];
    const GRpnValue& y = (*now.b)[now.next];
    ++now.next;
    if (x.type != y.type) return x.type < y.type;
    if (x.type == Vector) {
      open.push_back({x.payload.vector, y.payload.vector, 0});
      continue;
    }
    const int order = compareScalars(x, y);
    if (order != 0) return order < 0;
  }
  return false;
}
