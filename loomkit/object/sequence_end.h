// SPDX-License-Identifier: MIT
// SequenceEnd: lets go of the elements of a sequence without recursion. Private to
// the folder.
#ifndef LOOMKIT_OBJECT_SEQUENCE_END_H
#define LOOMKIT_OBJECT_SEQUENCE_END_H

#include <vector>

#include "loomkit/object/object.h"

namespace loomkit {

/// Lets go of the elements of a sequence that ends, which may be the last
/// references to further sequences. Those that are nested only a few levels deep
/// end one inside the other. The elements of deeper ones are handed to the
/// outermost sequence, which lets them go when its own are gone, so that the
/// machine stack does not grow with the nesting.
///
///     GVectorObj::~GVectorObj() { SequenceEnd().letGo(items); }
class SequenceEnd {
 public:
  SequenceEnd();
  SequenceEnd(const SequenceEnd&) = delete;
  SequenceEnd& operator=(const SequenceEnd&) = delete;
  ~SequenceEnd();

  /// Takes all references out of `items`.
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

  std::vector<GRef2<GObject>> waiting;  // used in the outermost object only
};

}  // namespace loomkit

#endif  // LOOMKIT_OBJECT_SEQUENCE_END_H
