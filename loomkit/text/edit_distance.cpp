// SPDX-License-Identifier: MIT
// The table of distances, computed 64 cells at a time: neighbouring cells
// differ by -1, 0 or 1, so a column of the table is two bit vectors (where the
// value rises and where it falls). H. Hyyrö, "A bit-vector algorithm for
// computing Levenshtein and Damerau edit distances", 2003.
//
// The shorter text lies along the columns ("rows" below are its characters) and
// is cut into blocks of 64 rows; the longer one is streamed past in tiles, so
// that what a block has to remember between two tiles is three words, and what
// one block hands to the next is one byte for each character of the tile.
#include "loomkit/text/edit_distance.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace {

using Word = std::uint64_t;
constexpr std::size_t blockRows = 64;
constexpr std::size_t tileColumns = 1024;

constexpr unsigned char byteOf(char c) { return static_cast<unsigned char>(c); }

// The last column of a block: where the value rises from row to row, where it
// does not fall, and where a cell equals its diagonal predecessor. (Falls are
// kept negated, as are steps to the right below: it saves two operations in the
// chain from one column to the next, and that chain is what the time goes to.)
struct Block {
  Word rises;
  Word notFalls;
  Word diagonal;
};

// What crosses the lower edge of a block in one column, each 0 or 1: the value
// rises or falls from the column before; the last row could be the first half of
// an exchange.
struct Edge {
  Word rises;
  Word falls;
  Word exchangeable;

  [[nodiscard]] unsigned char packed() const {
    return static_cast<unsigned char>(rises | falls << 1 | exchangeable << 2);
  }
  static Edge unpacked(unsigned char bits) {
    return {Word{bits} & 1, Word{bits} >> 1 & 1, Word{bits} >> 2};
  }
};

// For each character, the rows of a block that hold it.
using RowsOf = std::array<Word, 256>;

// One column step of a block. `rows` are those that hold the column's
// character, `previousRows` those that hold the character before it; `edge`
// comes from above and goes below, out of the row of bit `lastRow`.
inline void step(Block& block, Word rows, Word previousRows, Edge& edge, unsigned lastRow) {
  const Word exchangeFirst = ~block.diagonal & rows;
  const Word exchange = (exchangeFirst << 1 | edge.exchangeable) & previousRows;
  const Word matches = rows | edge.falls;
  const Word diagonal = (((matches & block.rises) + block.rises) ^ block.rises) |
                        (matches | ~block.notFalls | exchange);
  const Word notRight = block.notFalls & (diagonal | block.rises);
  const Word left = diagonal & block.rises;
  const Word notRightIn = notRight << 1 | (edge.rises ^ 1);
  const Word leftIn = left << 1 | edge.falls;
  block.diagonal = diagonal;
  block.rises = leftIn | (~diagonal & notRightIn);
  block.notFalls = notRightIn | ~diagonal;
  edge = {~notRight >> lastRow & 1, left >> lastRow & 1, exchangeFirst >> lastRow & 1};
}

// What is to be computed: the table of `rows` by `columns`, whose top row and
// left column rise by one a step or are all 0.
struct Table {
  std::string_view rows;
  std::string_view columns;
  bool topRises;
  bool leftRises;

  [[nodiscard]] Edge topEdge() const { return {Word{topRises}, 0, 0}; }
  [[nodiscard]] Block leftColumn() const { return {leftRises ? ~Word{0} : Word{0}, ~Word{0}, 0}; }
  [[nodiscard]] int lowerLeft() const { return leftRises ? static_cast<int>(rows.size()) : 0; }
  [[nodiscard]] unsigned lastRow() const {
    return static_cast<unsigned>((rows.size() - 1) % blockRows);
  }
  [[nodiscard]] std::size_t blocks() const { return (rows.size() + blockRows - 1) / blockRows; }
};

// The lowest row of the table: its last value and its least one.
struct LowestRow {
  explicit LowestRow(int lowerLeft) : value(lowerLeft), least(lowerLeft) {}
  void move(const Edge& edge) {
    value += static_cast<int>(edge.rises) - static_cast<int>(edge.falls);
    least = std::min(least, value);
  }
  int value;
  int least;
};

void setRows(RowsOf& rowsOf, std::string_view rows) {
  Word row = 1;
  for (const char c : rows) {
    rowsOf[byteOf(c)] |= row;
    row <<= 1;
  }
}

// The whole table, when its rows fit into one block.
LowestRow sweepOneBlock(const Table& table, Block& block) {
  RowsOf rowsOf;  // for short texts, only the entries that are looked at are set
  if (table.columns.size() < rowsOf.size() / 2) {
    for (const char c : table.rows) rowsOf[byteOf(c)] = 0;
    for (const char c : table.columns) rowsOf[byteOf(c)] = 0;
  } else {
    rowsOf.fill(0);
  }
  setRows(rowsOf, table.rows);

  LowestRow lowest(table.lowerLeft());
  const unsigned lastRow = table.lastRow();
  Word previousRows = 0;
  block = table.leftColumn();
  for (const char c : table.columns) {
    const Word rows = rowsOf[byteOf(c)];
    Edge edge = table.topEdge();
    step(block, rows, previousRows, edge, lastRow);
    previousRows = rows;
    lowest.move(edge);
  }
  return lowest;
}

// The packed lower edges of the blocks done so far, for each column of a tile.
using Edges = std::array<unsigned char, tileColumns>;

// Streams a tile past `count` blocks, from block `first` of the table on. Side
// by side they fill the time that each would wait for its own last column.
template <std::size_t count>
void passBlocks(const Table& table, std::size_t first, std::string_view tile, Block* blocks,
                Edges& edges) {
  std::array<RowsOf, count> rowsOf;
  std::array<Word, count> previousRows{};
  std::array<Block, count> current;
  for (std::size_t k = 0; k < count; ++k) {
    rowsOf[k].fill(0);
    setRows(rowsOf[k], table.rows.substr((first + k) * blockRows, blockRows));
    if (tile.data() != table.columns.data()) previousRows[k] = rowsOf[k][byteOf(tile.data()[-1])];
    current[k] = blocks[first + k];
  }
  constexpr unsigned lowest = blockRows - 1;
  const unsigned lastRow = first + count < table.blocks() ? lowest : table.lastRow();
  for (std::size_t column = 0; column < tile.size(); ++column) {
    Edge edge = Edge::unpacked(edges[column]);
    for (std::size_t k = 0; k < count; ++k) {
      const Word rows = rowsOf[k][byteOf(tile[column])];
      step(current[k], rows, previousRows[k], edge, k + 1 < count ? lowest : lastRow);
      previousRows[k] = rows;
    }
    edges[column] = edge.packed();
  }
  std::copy(current.begin(), current.end(), blocks + first);
}

// The whole table, tile by tile, with the blocks of one tile from top to bottom.
LowestRow sweep(const Table& table, Block* blocks) {
  const std::size_t blockCount = table.blocks();
  std::fill_n(blocks, blockCount, table.leftColumn());
  LowestRow lowest(table.lowerLeft());
  Edges edges;
  for (std::size_t first = 0; first < table.columns.size(); first += tileColumns) {
    const std::string_view tile = table.columns.substr(first, tileColumns);
    std::fill_n(edges.begin(), tile.size(), table.topEdge().packed());
    std::size_t i = 0;
    for (; i + 2 <= blockCount; i += 2) passBlocks<2>(table, i, tile, blocks, edges);
    if (i < blockCount) passBlocks<1>(table, i, tile, blocks, edges);
    for (std::size_t column = 0; column < tile.size(); ++column) {
      lowest.move(Edge::unpacked(edges[column]));
    }
  }
  return lowest;
}

// The least value of the last column, which begins with `top` in row 0.
int leastOfLastColumn(const Table& table, const Block* blocks, int top) {
  int value = top;
  int least = top;
  for (std::size_t row = 0; row < table.rows.size(); ++row) {
    const Block& block = blocks[row / blockRows];
    const std::size_t bit = row % blockRows;
    value +=
        static_cast<int>(block.rises >> bit & 1) - static_cast<int>(~block.notFalls >> bit & 1);
    least = std::min(least, value);
  }
  return least;
}

// The distance asked for, out of the swept table.
int result(const Table& table, const Block* blocks, const LowestRow& lowest) {
  if (table.topRises && table.leftRises) return lowest.value;
  if (table.leftRises) return lowest.least;
  return leastOfLastColumn(table, blocks, static_cast<int>(table.columns.size()));
}

// The block states live on the call stack, in the smallest of a few frames that
// holds them; not inlined, so that each call takes only the frame it needs.
template <std::size_t capacity>
[[gnu::noinline]] int solveOnStack(const Table& table) {
  Block blocks[capacity];
  return result(table, blocks, sweep(table, blocks));
}

int solve(const Table& table) {
  const std::size_t blocks = table.blocks();
  if (blocks == 1) {
    Block block;
    const LowestRow lowest = sweepOneBlock(table, block);
    return result(table, &block, lowest);
  }
  if (blocks <= 16) return solveOnStack<16>(table);
  if (blocks <= 1U << 10) return solveOnStack<1U << 10>(table);
  if (blocks <= 1U << 13) return solveOnStack<1U << 13>(table);
  if (blocks <= 1U << 16) return solveOnStack<1U << 16>(table);
  if (blocks <= 1U << 18) return solveOnStack<1U << 18>(table);
  return solveOnStack<1U << 25>(table);
}

// A common start and end changes nothing in the distance of two whole texts.
void dropCommonEnds(std::string_view& a, std::string_view& b) {
  while (!a.empty() && !b.empty() && a.front() == b.front()) {
    a.remove_prefix(1);
    b.remove_prefix(1);
  }
  while (!a.empty() && !b.empty() && a.back() == b.back()) {
    a.remove_suffix(1);
    b.remove_suffix(1);
  }
}

}  // namespace

int gEditDistance(const char* a, const char* b, bool anywhere) {
  std::string_view from(a);
  std::string_view to(b);
  if (!anywhere) dropCommonEnds(from, to);
  if (from.empty()) return anywhere ? 0 : static_cast<int>(to.size());
  if (to.empty()) return static_cast<int>(from.size());
  // Along `to` the table begins with 0 everywhere if the match may begin anywhere.
  const bool alongTo = !anywhere;
  return from.size() <= to.size() ? solve({from, to, alongTo, true})
                                  : solve({to, from, true, alongTo});
}
