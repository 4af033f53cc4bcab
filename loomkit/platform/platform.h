// SPDX-License-Identifier: MIT
// What the rest of the library may ask of the operating system. One folder
// beside this header answers for each system (posix/, win32/); CMake picks it,
// and no other file of the library knows which one it is.
//
// The last error is the operating system's own (errno on POSIX systems): every
// call here that fails sets it, and so does a call of the host's. Its numbers are
// the same on every machine, whatever the system's own codes are:
//   2 no such file, 3 no such directory, 5 access denied, 18 no more files,
//   80 and 183 already there.
#ifndef LOOMKIT_PLATFORM_PLATFORM_H
#define LOOMKIT_PLATFORM_PLATFORM_H

#include <string>

namespace loomkit::platform {

/// The calling thread's last error; 0 when nothing has failed yet.
unsigned lastError() noexcept;

/// Sets the calling thread's last error. A number for which the system has no
/// code of its own holds until something else fails.
void setLastError(unsigned code) noexcept;

/// Stores the text of the calling thread's last error, as the system words it,
/// in `*text`. False, with `*text` untouched, when the system has no text.
bool lastErrorText(std::string* text);

/// The same text without the line end that some systems put behind it, for use within
/// a line; empty when there is none.
inline std::string lastErrorWords() {
  std::string words;
  lastErrorText(&words);
  words.resize(words.find_last_not_of("\r\n ") + 1);
  return words;
}

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_PLATFORM_H
