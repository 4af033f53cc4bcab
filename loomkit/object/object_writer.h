// SPDX-License-Identifier: MIT
// ObjectWriter: writes the notation of sequences. It keeps its own stack of open
// sequences, as the parser does. Private to the folder.
#ifndef LOOMKIT_OBJECT_OBJECT_WRITER_H
#define LOOMKIT_OBJECT_OBJECT_WRITER_H

#include <list>
#include <string>
#include <vector>

#include "loomkit/object/sequence_objects.h"

namespace loomkit {

/// Writes a sequence with all that is nested in it, without recursion. Objects of
/// a host's own class are asked for their text.
class ObjectWriter {
 public:
  /// The notation of a sequence.
  static std::string textOf(const GVectorObj& vector);
  static std::string textOf(const GListObj& list);

 private:
  // A sequence whose elements are being written.
  struct Open {
    const std::vector<GRef2<GObject>>* vector;
    const std::list<GRef2<GObject>>* list;
    std::size_t index;                                   // the next element of a vector
    std::list<GRef2<GObject>>::const_iterator position;  // the next element of a list
  };

  void open(const GVectorObj& vector);
  void open(const GListObj& list);
  void writeAll();
  void write(const GObject* object);
  static bool takeNext(Open& sequence, const GObject** object);

  std::string text;
  std::vector<Open> stack;
  bool first = true;  // the next element is the first of its sequence
};

}  // namespace loomkit

#endif  // LOOMKIT_OBJECT_OBJECT_WRITER_H
