// SPDX-License-Identifier: MIT
// For a program whose standard streams are to have the bytes that it reads and writes, as
// on other systems, and not the line ends of this one.
#include <fcntl.h>
#include <io.h>

namespace {

[[maybe_unused]] const bool streamsAreBinary = [] {
  for (const int stream : {0, 1, 2}) ::_setmode(stream, _O_BINARY);
  return true;
}();

}  // namespace
