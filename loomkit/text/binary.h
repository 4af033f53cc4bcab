// SPDX-License-Identifier: MIT
// Binary records. A layout header names each field of its format once, with its
// offset, its width and its byte order; RecordReader and RecordWriter are the one
// way in which every format of the library reads and writes those fields.
//
//   namespace end {                                  // in the layout header
//   inline constexpr Le16 entries{10};
//   inline constexpr Le32 directorySize{12};
//   inline constexpr std::size_t size = 16;
//   static_assert(directorySize.offset == entries.end() && size == directorySize.end());
//   }
//
//   const RecordReader record(bytes, count);         // in the format's reader
//   const std::uint32_t left = record.get(end::directorySize);
//   if (!record.ok()) return false;                  // asked once, after the fields
#ifndef LOOMKIT_TEXT_BINARY_H
#define LOOMKIT_TEXT_BINARY_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace loomkit {

/// Loads of 2, 4 and 8 bytes at `p`, whatever the machine's own order is.
/// Requires: that many bytes are readable.
inline std::uint16_t loadLe16(const unsigned char* p) noexcept {
  return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}
inline std::uint32_t loadLe32(const unsigned char* p) noexcept {
  return p[0] | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
}
inline std::uint64_t loadLe64(const unsigned char* p) noexcept {
  return loadLe32(p) | std::uint64_t{loadLe32(p + 4)} << 32;
}
inline std::uint16_t loadBe16(const unsigned char* p) noexcept {
  return static_cast<std::uint16_t>(p[0] << 8 | p[1]);
}
inline std::uint32_t loadBe32(const unsigned char* p) noexcept {
  return std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3];
}
inline std::uint64_t loadBe64(const unsigned char* p) noexcept {
  return std::uint64_t{loadBe32(p)} << 32 | loadBe32(p + 4);
}

/// Stores of 2, 4 and 8 bytes at `p`. Requires: that many bytes are writable.
inline void storeLe16(unsigned char* p, std::uint16_t v) noexcept {
  p[0] = static_cast<unsigned char>(v);
  p[1] = static_cast<unsigned char>(v >> 8);
}
inline void storeLe32(unsigned char* p, std::uint32_t v) noexcept {
  storeLe16(p, static_cast<std::uint16_t>(v));
  storeLe16(p + 2, static_cast<std::uint16_t>(v >> 16));
}
inline void storeLe64(unsigned char* p, std::uint64_t v) noexcept {
  storeLe32(p, static_cast<std::uint32_t>(v));
  storeLe32(p + 4, static_cast<std::uint32_t>(v >> 32));
}
inline void storeBe16(unsigned char* p, std::uint16_t v) noexcept {
  p[0] = static_cast<unsigned char>(v >> 8);
  p[1] = static_cast<unsigned char>(v);
}
inline void storeBe32(unsigned char* p, std::uint32_t v) noexcept {
  p[0] = static_cast<unsigned char>(v >> 24);
  p[1] = static_cast<unsigned char>(v >> 16);
  p[2] = static_cast<unsigned char>(v >> 8);
  p[3] = static_cast<unsigned char>(v);
}

inline void storeBe64(unsigned char* p, std::uint64_t v) noexcept {
  storeBe32(p, static_cast<std::uint32_t>(v >> 32));
  storeBe32(p + 4, static_cast<std::uint32_t>(v));
}

enum class ByteOrder { little, big };

/// An unsigned number in a record: where it begins. Its width is that of `T`.
template <class T, ByteOrder byteOrder>
struct NumberField {
  static_assert(std::is_unsigned_v<T>);
  using Value = T;
  static constexpr std::size_t size = sizeof(T);
  std::size_t offset;

  /// Where the next field begins.
  [[nodiscard]] constexpr std::size_t end() const noexcept { return offset + size; }
  /// The field of a record that begins `distance` bytes into another one.
  [[nodiscard]] constexpr NumberField behind(std::size_t distance) const noexcept {
    return {offset + distance};
  }

  /// Requires: `size` bytes from `p` on are readable, or writable.
  static T load(const unsigned char* p) noexcept {
    constexpr bool little = byteOrder == ByteOrder::little;
    if constexpr (size == 1) {
      return *p;
    } else if constexpr (size == 2) {
      return little ? loadLe16(p) : loadBe16(p);
    } else if constexpr (size == 4) {
      return little ? loadLe32(p) : loadBe32(p);
    } else {
      return little ? loadLe64(p) : loadBe64(p);
    }
  }
  static void store(unsigned char* p, T value) noexcept {
    constexpr bool little = byteOrder == ByteOrder::little;
    if constexpr (size == 1) {
      *p = value;
    } else if constexpr (size == 2) {
      little ? storeLe16(p, value) : storeBe16(p, value);
    } else if constexpr (size == 4) {
      little ? storeLe32(p, value) : storeBe32(p, value);
    } else {
      little ? storeLe64(p, value) : storeBe64(p, value);
    }
  }
};

using U8 = NumberField<std::uint8_t, ByteOrder::little>;
using Le16 = NumberField<std::uint16_t, ByteOrder::little>;
using Le32 = NumberField<std::uint32_t, ByteOrder::little>;
using Le64 = NumberField<std::uint64_t, ByteOrder::little>;
using Be16 = NumberField<std::uint16_t, ByteOrder::big>;
using Be32 = NumberField<std::uint32_t, ByteOrder::big>;
using Be64 = NumberField<std::uint64_t, ByteOrder::big>;

/// Bytes in a record that are no number: a text, or what nobody reads.
struct BytesField {
  std::size_t offset;
  std::size_t size;

  [[nodiscard]] constexpr std::size_t end() const noexcept { return offset + size; }
};

/// Reads the fields of a record of `size` bytes, which it does not own. A field
/// that is not wholly inside reads as 0 or as an empty text, and makes ok()
/// false for good: read all that is needed, then ask once.
class RecordReader {
 public:
  RecordReader(const void* bytes, std::size_t size) noexcept
      : begin(static_cast<const unsigned char*>(bytes)), length(size) {}

  [[nodiscard]] bool ok() const noexcept { return good; }
  [[nodiscard]] std::size_t size() const noexcept { return length; }

  template <class T, ByteOrder byteOrder>
  [[nodiscard]] T get(NumberField<T, byteOrder> field) const noexcept {
    return contains(field.offset, field.size) ? field.load(begin + field.offset) : T{0};
  }
  /// Points into the record.
  [[nodiscard]] std::string_view get(BytesField field) const noexcept {
    if (!contains(field.offset, field.size)) return {};
    return {reinterpret_cast<const char*>(begin) + field.offset, field.size};
  }

 private:
  bool contains(std::size_t offset, std::size_t size) const noexcept {
    if (offset <= length && size <= length - offset) return true;
    good = false;
    return false;
  }

  const unsigned char* begin;
  std::size_t length;
  mutable bool good = true;
};

/// Writes the fields of a record of `size` bytes, which it does not own. A field
/// that is not wholly inside is not written, and makes ok() false for good.
class RecordWriter {
 public:
  RecordWriter(void* bytes, std::size_t size) noexcept
      : begin(static_cast<unsigned char*>(bytes)), length(size) {}

  [[nodiscard]] bool ok() const noexcept { return good; }

  template <class T, ByteOrder byteOrder>
  void put(NumberField<T, byteOrder> field, std::type_identity_t<T> value) noexcept {
    if (contains(field.offset, field.size)) field.store(begin + field.offset, value);
  }
  /// Writes the low bits of a value that may be wider than the field, for the
  /// formats whose writers are required to cut a length off.
  template <class T, ByteOrder byteOrder>
  void putLow(NumberField<T, byteOrder> field, std::uint64_t value) noexcept {
    put(field, static_cast<T>(value));
  }
  /// Writes the beginning of `text`; what is left of the field stays as it is.
  void put(BytesField field, std::string_view text) noexcept {
    if (!contains(field.offset, field.size) || text.empty()) return;
    std::memcpy(begin + field.offset, text.data(),
                text.size() < field.size ? text.size() : field.size);
  }

 private:
  bool contains(std::size_t offset, std::size_t size) noexcept {
    if (offset <= length && size <= length - offset) return true;
    good = false;
    return false;
  }

  unsigned char* begin;
  std::size_t length;
  bool good = true;
};

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_BINARY_H
