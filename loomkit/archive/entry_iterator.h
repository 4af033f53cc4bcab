// SPDX-License-Identifier: MIT
// ArchiveEntryIterator: what the archive readers hand out to walk their tables
// of contents.
//
//   for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i)
//     use((*i).first, (*i).second);            // name and entry
#ifndef LOOMKIT_ARCHIVE_ENTRY_ITERATOR_H
#define LOOMKIT_ARCHIVE_ENTRY_ITERATOR_H

#include <cstddef>
#include <iterator>
#include <map>
#include <string>
#include <utility>

namespace loomkit {

/// A bidirectional iterator over a reader's entries, in the order of the bytes of
/// their names. It points at a pair of name and entry, and the entry belongs to the
/// reader. It is good until the reader is closed or ends. Moving it beyond the first
/// or behind the last entry is the caller's mistake, as with any standard iterator.
/// Threads may share a reader's entries as long as none of them reads members.
template <typename Entry>
class ArchiveEntryIterator {
 public:
  using iterator_category = std::bidirectional_iterator_tag;
  using value_type = std::pair<const std::string, Entry*>;
  using difference_type = std::ptrdiff_t;
  using pointer = const value_type*;
  using reference = const value_type&;
  using Wrapped = typename std::map<std::string, Entry*>::const_iterator;

  /// Points nowhere; it can only be assigned to.
  ArchiveEntryIterator() = default;
  /// Points where the map's own iterator does.
  explicit ArchiveEntryIterator(Wrapped position) : wrapped(position) {}

  /// The pair of name and entry. Requires: the iterator points at an entry.
  reference operator*() const { return *wrapped; }
  pointer operator->() const { return &*wrapped; }

  /// Moves to the next entry, or to the end.
  ArchiveEntryIterator& operator++() {
    ++wrapped;
    return *this;
  }
  ArchiveEntryIterator operator++(int) { return ArchiveEntryIterator(wrapped++); }
  /// Moves to the entry before.
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
