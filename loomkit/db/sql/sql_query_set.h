// SPDX-License-Identifier: MIT
// SqlQuerySet: the living queries of one database. Used by GSqlDatabaseImpl
// only; in a public header because it is a member there.
#ifndef LOOMKIT_DB_SQL_SQL_QUERY_SET_H
#define LOOMKIT_DB_SQL_SQL_QUERY_SET_H

#include <cstddef>
#include <cstdint>

#include "loomkit/platform/export.h"

class GSqlQueryData;

namespace loomkit {

/// A hash set of pointers with 64 chains. It never grows, since a database has a
/// handful of statements.
///
///     queries.insert(query);
///     queries.forEach([](GSqlQueryData* each) { each->invalidate(); });
///
/// The set does not own the queries. It is not locked: it belongs to the thread of
/// its database.
class LOOMKIT_API SqlQuerySet {
 public:
  SqlQuerySet() = default;
  SqlQuerySet(const SqlQuerySet&) = delete;
  SqlQuerySet& operator=(const SqlQuerySet&) = delete;
  /// Forgets the queries. They are not the set's, and go on living.
  ~SqlQuerySet();

  /// Adds a query that is not in the set; the set does not look whether it is. The
  /// query stays its handles', and is erased before it ends.
  void insert(GSqlQueryData* query);
  /// Takes a query out; nothing happens when it is not in the set.
  void erase(GSqlQueryData* query);
  /// Takes all queries out, without a call to any of them.
  void clear();
  /// How many queries the set has.
  [[nodiscard]] std::size_t size() const { return count; }

  /// Calls `visit(query)` for each, in no certain order. `visit` must not change
  /// the set, so that it must not make a query nor let the last handle of one go.
  template <typename Visit>
  void forEach(Visit visit) const {
    for (const Node* node : buckets)
      for (; node != nullptr; node = node->next) visit(node->query);
  }

 private:
  struct Node {
    Node* next;
    std::uintptr_t hash;
    GSqlQueryData* query;
  };
  static constexpr std::size_t bucketCount = 64;

  Node* buckets[bucketCount] = {};
  std::size_t count = 0;
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQL_SQL_QUERY_SET_H
