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

/// A hash set of pointers with 64 chains. It never grows: a database has a
/// handful of statements.
class LOOMKIT_API SqlQuerySet {
 public:
  SqlQuerySet() = default;
  SqlQuerySet(const SqlQuerySet&) = delete;
  SqlQuerySet& operator=(const SqlQuerySet&) = delete;
  ~SqlQuerySet();

  /// Adds a query that is not in the set.
  void insert(GSqlQueryData* query);
  /// Takes a query out; nothing happens when it is not in the set.
  void erase(GSqlQueryData* query);
  void clear();
  [[nodiscard]] std::size_t size() const { return count; }

  /// Calls `visit(query)` for each. `visit` must not change the set.
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
