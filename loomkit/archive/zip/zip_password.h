// SPDX-License-Identifier: MIT
// The password that the library itself knows, for the archives that a host
// writes and reads without asking anybody. It keeps curious users out of a
// program's own files, and nobody who means it.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_PASSWORD_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_PASSWORD_H

namespace loomkit::zip {

/// The longest password with its NUL fits.
inline constexpr unsigned builtInPasswordSize = 128;

/// Puts the password together in its scrambled form, NUL-terminated.
void assembleBuiltInPassword(char (&buffer)[builtInPasswordSize]);

/// Turn the scrambled form into the real one and back, in place.
void unscramble(char* password);
void scramble(char* password);

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_PASSWORD_H
