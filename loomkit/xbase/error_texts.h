// SPDX-License-Identifier: MIT
// The words for the engine's error codes.
#ifndef LOOMKIT_XBASE_ERROR_TEXTS_H
#define LOOMKIT_XBASE_ERROR_TEXTS_H

namespace loomkit::xbase {

/// A row of the table of texts.
struct ErrorText {
  int code;
  const char* text;
};

/// Every error that has a text, the least negative code first. Ends with code 0.
extern const ErrorText errorTexts[];

/// The text of a code, or null for one that is not in the table.
const char* errorText(int code) noexcept;

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_ERROR_TEXTS_H
