// SPDX-License-Identifier: MIT
// The writer of the notation. It keeps its own stack, as the reader does.
#ifndef LOOMKIT_OBJECT_OBJECT_WRITER_H
#define LOOMKIT_OBJECT_OBJECT_WRITER_H

#include <list>
#include <string>
#include <vector>

#include "loomkit/object/sequence_objects.h"

namespace loomkit {

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
    std::size_t index;                                   // of the next element of a vector
    std::list<GRef2<GObject>>::const_iterator position;  // and of a list
  };

  void open(const GVectorObj& vector);
  void open(const GListObj& list);
  void writeAll();
  void write(const GObject* object);
  static bool takeNext(Open& sequence, const GObject** object);

  std::string text;
  std::vector<Open> stack;
  bool first = true;  // of its sequence
};

}  // namespace loomkit

#endif  // LOOMKIT_OBJECT_OBJECT_WRITER_H
