// SPDX-License-Identifier: MIT
// What a program without a message channel tells its user: a box on the screen
// where there are windows, lines on standard error elsewhere.
#ifndef LOOMKIT_PLATFORM_MESSAGE_BOX_H
#define LOOMKIT_PLATFORM_MESSAGE_BOX_H

namespace loomkit::platform {

/// Shows a text whose lines end in CR LF, under a title. Never fails.
void showMessage(const char* title, const char* text) noexcept;

/// Shows the text and ends the process at once.
[[noreturn]] void fatalExit(const char* text) noexcept;

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_MESSAGE_BOX_H
