// SPDX-License-Identifier: MIT
#include "loomkit/db/postgresql/column_value.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <memory>
#include <string_view>

#include "loomkit/text/binary.h"

namespace loomkit {
namespace {

// The numbers of the built-in types never change.
constexpr PgType types[] = {
    {16, PgForm::boolean, GDbFieldString},  // bool
    {17, PgForm::bytes, GDbFieldBlob},      // bytea
    {18, PgForm::text, GDbFieldString},     // "char"
    {19, PgForm::text, GDbFieldString},     // name
    {20, PgForm::int8, GDbFieldInt},        // int8
    {21, PgForm::int2, GDbFieldInt},        // int2
    {23, PgForm::int4, GDbFieldInt},        // int4
    {25, PgForm::text, GDbFieldString},     // text
    {114, PgForm::text, GDbFieldString},    // json
    {700, PgForm::float4, GDbFieldFloat},   // float4
    {701, PgForm::float8, GDbFieldFloat},   // float8
    {705, PgForm::text, GDbFieldString},    // unknown
    {1042, PgForm::text, GDbFieldString},   // char(n)
    {1043, PgForm::text, GDbFieldString},   // varchar
    {2950, PgForm::uuid, GDbFieldString},   // uuid
    {3802, PgForm::jsonb, GDbFieldString},  // jsonb
};

constexpr PgType otherType{0, PgForm::none, GDbFieldString};

// The number in the first bytes of a value; 0 when it is too short for one.
template <typename Number, typename Bits, typename Load>
Number fromBits(const PgValue& value, Load load) {
  if (value.length < static_cast<int>(sizeof(Bits))) return 0;
  const Bits bits = load(reinterpret_cast<const unsigned char*>(value.data));
  Number number;
  static_assert(sizeof number == sizeof bits);
  std::memcpy(&number, &bits, sizeof number);
  return number;
}

template <typename Number>
Number fromText(const PgValue& value) {
  Number number = 0;
  std::from_chars(value.data, value.data + value.length, number);
  return number;
}

// 16 bytes as 8-4-4-4-12 hexadecimal digits.
std::string uuidText(const PgValue& value) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (int i = 0; i < value.length; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    const auto byte = static_cast<unsigned char>(value.data[i]);
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

}  // namespace

const PgType& pgType(PgOid oid) {
  const auto* found = std::find_if(std::begin(types), std::end(types),
                                   [&](const PgType& row) { return row.oid == oid; });
  return found != std::end(types) ? *found : otherType;
}

std::int64_t PgValue::integer() const {
  if (!binary) return fromText<std::int64_t>(*this);
  switch (type->form) {
    case PgForm::int2:
      return fromBits<std::int16_t, std::uint16_t>(*this, loadBe16);
    case PgForm::int4:
      return fromBits<std::int32_t, std::uint32_t>(*this, loadBe32);
    default:
      return fromBits<std::int64_t, std::uint64_t>(*this, loadBe64);
  }
}

// The text of a float4 has only the digits that tell floats apart. Read as a double, it
// would give another number than the one that is stored.
double PgValue::number() const {
  const bool narrow = type->form == PgForm::float4;
  if (!binary) return narrow ? double{fromText<float>(*this)} : fromText<double>(*this);
  return narrow ? double{fromBits<float, std::uint32_t>(*this, loadBe32)}
                : fromBits<double, std::uint64_t>(*this, loadBe64);
}

std::string_view PgValue::text(std::string* room) const {
  const std::size_t size = length > 0 ? static_cast<std::size_t>(length) : 0;
  const PgForm form = binary ? type->form : PgForm::text;
  if (form == PgForm::boolean) return size != 0 && data[0] != '\0' ? "t" : "f";
  if (form == PgForm::uuid) return *room = uuidText(*this);
  if (form == PgForm::jsonb && size > 0) return {data + 1, size - 1};  // behind its version
  return {data, size};
}

const char* PgValue::bytes(std::string* room, std::size_t* size) const {
  *size = length > 0 ? static_cast<std::size_t>(length) : 0;
  if (binary) return data;
  const std::unique_ptr<unsigned char, void (*)(void*)> plain(
      libpq().unescapeBytea(reinterpret_cast<const unsigned char*>(data), size), libpq().freemem);
  if (plain == nullptr) *size = 0;
  room->assign(reinterpret_cast<const char*>(plain.get()), *size);
  return room->data();
}

}  // namespace loomkit
