// SPDX-License-Identifier: MIT
// Streams over memory that grows in blocks: what is written is never moved, so
// output of any length costs one allocation a block and no copying. A writer
// hands its bytes to a reader by handing over the buffer:
//
//   GOMemStream out;
//   out << "of unknown length";
//   GIStream in(out.rdbuf(nullptr), true);   // `in` deletes the buffer
//
// None of these classes reports or throws anything of its own; an allocation that
// fails throws std::bad_alloc. One thread at a time uses an object.
#ifndef LOOMKIT_STREAMS_MEM_STREAM_H
#define LOOMKIT_STREAMS_MEM_STREAM_H

#include <istream>
#include <memory>
#include <ostream>
#include <streambuf>
#include <vector>

#include "loomkit/platform/export.h"

/// The common base of the library's stream buffers: a standard buffer whose
/// get and put areas are empty.
class LOOMKIT_API GStreamBuf : public std::streambuf {
 public:
  GStreamBuf();
  ~GStreamBuf() override;
  GStreamBuf(const GStreamBuf&) = delete;
  GStreamBuf& operator=(const GStreamBuf&) = delete;
};

/// The buffer behind GOMemStream: a growing list of equal blocks, with one put and
/// one get pointer that move independently. Reading does not consume the bytes; only
/// the destructor frees the blocks.
///
/// Positions run from 0 to size(); a seek elsewhere fails with -1 and moves
/// nothing, on the put side too. Writing after a seek back overwrites in place
/// and size() does not fall. A reader at the end sees what is written later.
/// Putting back a character stores it: it changes the stream's content.
class LOOMKIT_API GMemStreamBuf : public GStreamBuf {
 public:
  /// An empty stream in blocks of `blockSize` bytes; 0 counts as 1.
  GMemStreamBuf(unsigned int blockSize);
  ~GMemStreamBuf() override;

  /// The number of bytes in the stream.
  long size();

 protected:
  /// Stores `c`, in the next block when the present one is full. End-of-file
  /// as argument gives 0, which callers rely on.
  int_type overflow(int_type c) override;
  int_type pbackfail(int_type c) override;
  std::streamsize showmanyc() override;
  int_type underflow() override;
  /// Both pointers can be moved at once, but not relative to where they are.
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                   std::ios_base::openmode which) override;
  pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

 private:
  char* blockAt(unsigned int index) { return blocks[index].get(); }
  unsigned int lastBlkSize();
  unsigned int usedSize(unsigned int index);
  void appendBlock();
  bool findReadable();

  unsigned int blockSize;
  std::vector<std::unique_ptr<char[]>> blocks;
  unsigned int writeBlock = 0;
  unsigned int readBlock = 0;
  // Bytes known to be used in the last block while the put pointer is
  // elsewhere or was moved back.
  unsigned int highWater = 0;
};

/// An input stream over any buffer, which it deletes when told that it owns it.
class LOOMKIT_API GIStream : public std::istream {
 public:
  /// Reads from `buffer`; null sets badbit.
  GIStream(std::streambuf* buffer, bool ownsBuffer);
  ~GIStream() override;
  GIStream(const GIStream&) = delete;
  GIStream& operator=(const GIStream&) = delete;

  /// The present buffer, or null.
  std::streambuf* rdbuf() const;

  /// Installs `buffer` and clears the state (badbit for null). An owned old
  /// buffer is deleted, unless it is `buffer` itself, and the result is null;
  /// one that was not owned is the result and stays the caller's.
  std::streambuf* rdbuf(std::streambuf* buffer, bool ownsBuffer);

 private:
  bool owns;
};

/// An output stream into a GMemStreamBuf of its own.
class LOOMKIT_API GOMemStream : public std::ostream {
 public:
  /// Writes numbers in the classic locale.
  GOMemStream(unsigned int blockSize = 4096);

  /// Writes in the classic locale if `classicLocale`, else in the global one.
  GOMemStream(unsigned int blockSize, bool classicLocale);

  /// Deletes the buffer, if one is held.
  ~GOMemStream() override;
  GOMemStream(const GOMemStream&) = delete;
  GOMemStream& operator=(const GOMemStream&) = delete;

  /// The held buffer; null when there is none or it is of another class.
  GMemStreamBuf* rdbuf() const;

  /// Installs `buffer`, which the stream then owns, and clears the state
  /// (badbit for null). The result is the old buffer, now the caller's.
  GMemStreamBuf* rdbuf(GMemStreamBuf* buffer);

  /// The number of bytes written; 0 when no buffer is held.
  long size() const;
};

#endif  // LOOMKIT_STREAMS_MEM_STREAM_H
