// SPDX-License-Identifier: MIT
// FreeList: the pool behind the expression engine's strings, vectors and
// frames. To take a block is a pointer pop, and to give it back a pointer push.
#ifndef LOOMKIT_RPN_FREE_LIST_H
#define LOOMKIT_RPN_FREE_LIST_H

#include <cstddef>
#include <cstring>
#include <new>

#include "loomkit/platform/poison.h"

namespace loomkit {

/// A pool of memory blocks of `Size` bytes. The blocks are linked through a pointer
/// that lies `LinkOffset` bytes into each of them, over fields of the object that
/// has ended there. Memory in the pool never goes back to the allocator. While a block is
/// pooled, AddressSanitizer reports every access to it; only the link stays
/// readable, so that the leak checker can follow it.
///
/// A pool is not locked: one thread at a time may use it.
template <std::size_t Size, std::size_t LinkOffset>
class FreeList {
  static_assert(LinkOffset + sizeof(void*) <= Size);

 public:
  /// Takes the block that was given last, or a new one of `Size` bytes when the
  /// pool is empty. Throws what the global allocator throws.
  void* take() {
    if (head == nullptr) return ::operator new(Size);
    void* block = head;
    std::memcpy(&head, link(block), sizeof head);
    platform::unpoison(block, Size);
    return block;
  }

  /// Puts `block` in the pool. Null is ignored.
  void give(void* block) noexcept {
    if (block == nullptr) return;
    std::memcpy(link(block), &head, sizeof head);
    head = block;
    platform::poison(block, LinkOffset);
    platform::poison(link(block) + sizeof head, Size - LinkOffset - sizeof head);
  }

 private:
  static char* link(void* block) noexcept { return static_cast<char*>(block) + LinkOffset; }

  void* head = nullptr;
};

}  // namespace loomkit

#endif  // LOOMKIT_RPN_FREE_LIST_H
