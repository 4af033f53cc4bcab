// SPDX-License-Identifier: MIT
// A host that has taken the short names for itself: none of them is one of the
// library's, and what the interface takes for a value of one argument converts.
#include <string>
#include <type_traits>

#include "loomkit/loomkit.h"

struct Message {};
struct Warning {};
struct Error {};
struct Fatal {};
struct Special {};
struct Log0 {};
struct Record {};
struct Table {};
struct Database {};
struct Key {};
struct File {};
struct Directory {};
struct Stream {};
struct Value {};
struct Status {};
struct Type {};
struct Entry {};
struct Reader {};
struct Writer {};

namespace {

void useFile(const GFile& /*file*/) {}
void useDirectory(const GDirectory& /*directory*/) {}
void useLibrary(const GDynaLib& /*library*/) {}

}  // namespace

void hostsRelyOnConversions() {
  const std::string path = "x";
  useFile(path);
  useDirectory(path);
  useLibrary(path);
  static_assert(std::is_convertible_v<bool, GOStrStream>);
  static_assert(std::is_convertible_v<unsigned, GMemStreamBuf>);
  static_assert(std::is_convertible_v<unsigned, GOMemStream>);
  static_assert(std::is_convertible_v<std::istream*, GIZipStream>);
  static_assert(std::is_convertible_v<std::ostream*, GOZipStream>);
  static_assert(std::is_convertible_v<GStopWatch*, GStopWatch::Timer>);
}
