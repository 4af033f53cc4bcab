// SPDX-License-Identifier: MIT
#include "tessel/builder/spool.h"

#include <algorithm>

namespace tessel {
namespace {

// The first is small, for the sake of small tables with many columns.
constexpr std::size_t firstChunk = 4096;
constexpr std::size_t laterChunk = 65536;

}  // namespace

Spool::~Spool() {
  // A spool that was moved from has nothing to give back.
  if (!chunks.empty() || tail != nullptr) workspace->giveBack(kept);
}

std::uint64_t Spool::size() const {
  std::uint64_t sum = tailSize - room;
  for (const Chunk& chunk : chunks) sum += chunk.size;
  return sum;
}

void Spool::appendOver(const unsigned char* data, std::size_t size) {
  while (size != 0) {
    if (room == 0) {
      closeChunk();
      startChunk();
    }
    const std::size_t part = std::min(size, room);
    std::memcpy(end, data, part);
    end += part;
    room -= part;
    data += part;
    size -= part;
  }
}

void Spool::startChunk() {
  const std::size_t size = chunks.empty() ? firstChunk : laterChunk;
  if (tail == nullptr || tailSize != size) tail.reset(new unsigned char[size]);
  tailSize = size;
  end = tail.get();
  room = size;
}

// A full chunk stays where it is, or goes to the scratch file and leaves its
// memory to the next one.
void Spool::closeChunk() {
  if (tail == nullptr) return;
  Chunk chunk{nullptr, 0, tailSize};
  if (workspace->reserve(tailSize)) {
    kept += tailSize;
    chunk.bytes = std::move(tail);
  } else {
    workspace->spill(tail.get(), tailSize, &chunk.offset);
  }
  chunks.push_back(std::move(chunk));
}

// Moves to a chunk; false behind the last one and on failure.
bool SpoolReader::enter(std::size_t number) {
  chunk = number;
  left = 0;
  if (number > spool.chunks.size()) return false;
  if (number == spool.chunks.size()) {
    next = spool.tail.get();
    left = spool.tailSize - spool.room;
    return left != 0;
  }
  const Spool::Chunk& entered = spool.chunks[number];
  if (entered.bytes != nullptr) {
    next = entered.bytes.get();
  } else {
    fetched.resize(entered.size);
    if (!spool.workspace->fetch(entered.offset, fetched.data(), entered.size)) return false;
    next = fetched.data();
  }
  left = entered.size;
  return true;
}

const unsigned char* SpoolReader::takeOver(std::size_t size) {
  gathered.clear();
  while (gathered.size() < size) {
    if (left == 0 && !enter(chunk + 1)) return nullptr;
    const std::size_t part = std::min(size - gathered.size(), left);
    gathered.insert(gathered.end(), next, next + part);
    next += part;
    left -= part;
  }
  return gathered.data();
}

}  // namespace tessel
