// SPDX-License-Identifier: MIT
#include "loomkit/db/sql/sql_query_set.h"

#include <climits>
#include <cstdlib>
#include <new>

namespace loomkit {
namespace {

// The four low bits of an aligned object's address are always 0, so they are rotated to
// the other end.
std::uintptr_t hashOf(const GSqlQueryData* query) {
  constexpr unsigned bits = sizeof(std::uintptr_t) * CHAR_BIT;
  const auto value = reinterpret_cast<std::uintptr_t>(query);
  return value >> 4 | value << (bits - 4);
}

}  // namespace

SqlQuerySet::~SqlQuerySet() { clear(); }

void SqlQuerySet::insert(GSqlQueryData* query) {
  void* room = std::malloc(sizeof(Node));
  if (room == nullptr) throw std::bad_alloc();
  const std::uintptr_t hash = hashOf(query);
  Node*& head = buckets[hash & (bucketCount - 1)];
  head = new (room) Node{head, hash, query};
  ++count;
}

void SqlQuerySet::erase(GSqlQueryData* query) {
  const std::uintptr_t hash = hashOf(query);
  for (Node** link = &buckets[hash & (bucketCount - 1)]; *link != nullptr; link = &(*link)->next) {
    Node* node = *link;
    if (node->hash != hash || node->query != query) continue;
    *link = node->next;
    std::free(node);
    --count;
    return;
  }
}

void SqlQuerySet::clear() {
  for (Node*& head : buckets) {
    while (head != nullptr) {
      Node* next = head->next;
      std::free(head);
      head = next;
    }
  }
  count = 0;
}

}  // namespace loomkit
