// SPDX-License-Identifier: MIT
// ArchiveEntryIterator: what the archive readers hand out to walk their tables
// of contents.
#ifndef LOOMKIT_ARCHIVE_ENTRY_ITERATOR_H
#define LOOMKIT_ARCHIVE_ENTRY_ITERATOR_H

#include <cstddef>
#include <iterator>
#include <map>
#include <string>
#include <utility>

namespace loomkit {

/// A bidirectional iterator over entries by name, in the order of their bytes.
/// `*i` is the pair of name and entry; the entry belongs to the reader. Good
/// until the reader is closed or opened again.
template <typename Entry>
class ArchiveEntryIterator {
 public:
  using iterator_category = std::bidirectional_iterator_tag;
  using value_type = std::pair<const std::string, Entry*>;
  using difference_type = std::ptrdiff_t;
  using pointer = const value_type*;
  using reference = const value_type&;
  using Wrapped = typename std::map<std::string, Entry*>::const_iterator;

  /// Points nowhere; only to be assigned to.
  ArchiveEntryIterator() = default;
  explicit ArchiveEntryIterator(Wrapped position) : wrapped(position) {}

  reference operator*() const { return *wrapped; }
  pointer operator->() const { return &*wrapped; }

  ArchiveEntryIterator& operator++() {
    ++wrapped;
    return *this;
  }
  ArchiveEntryIterator operator++(int) { return ArchiveEntryIterator(wrapped++); }
  ArchiveEntryIterator& operator--() {
    --wrapped;
    return *this;
  }
  ArchiveEntryIterator operator--(int) { return ArchiveEntryIterator(wrapped--); }

  friend bool operator==(const ArchiveEntryIterator& a, const ArchiveEntryIterator& b) {
    return a.wrapped == b.wrapped;
  }
  friend bool operator!=(const ArchiveEntryIterator& a, const ArchiveEntryIterator& b) {
    return !(a == b);
  }

 private:
  Wrapped wrapped;
};

}  // namespace loomkit

#endif  // LOOMKIT_ARCHIVE_ENTRY_ITERATOR_H
