// SPDX-License-Identifier: MIT
// The end of a sequence's elements, without recursion.
#ifndef LOOMKIT_OBJECT_SEQUENCE_END_H
#define LOOMKIT_OBJECT_SEQUENCE_END_H

#include <vector>

#include "loomkit/object/object.h"

namespace loomkit {

/// Takes the elements of a sequence that ends. A few levels are let go as they
/// are; those below wait until the outermost one is done, so that the machine's
/// stack does not grow with the nesting.
class SequenceEnd {
 public:
  SequenceEnd();
  SequenceEnd(const SequenceEnd&) = delete;
  SequenceEnd& operator=(const SequenceEnd&) = delete;
  ~SequenceEnd();

  template <typename Items>
  void letGo(Items& items) {
    if (isShallow()) {
      items.clear();
    } else {
      for (GRef2<GObject>& item : items) postpone(item);
    }
  }

 private:
  [[nodiscard]] static bool isShallow();
  static void postpone(GRef2<GObject>& item);

  std::vector<GRef2<GObject>> waiting;  // of the outermost one only
};

}  // namespace loomkit

#endif  // LOOMKIT_OBJECT_SEQUENCE_END_H
