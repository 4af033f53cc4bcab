// SPDX-License-Identifier: MIT
// GRpnErrMsg: the text with which a parameter set or an external function says
// why it failed.
#ifndef LOOMKIT_RPN_ERR_MSG_H
#define LOOMKIT_RPN_ERR_MSG_H

#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/text/str_stream.h"

/// Holds an error text that is only built when there is one. Lives on the stack
/// of one call. Not to be assigned or copied.
class LOOMKIT_API GRpnErrMsg {
 public:
  /// No text.
  GRpnErrMsg() noexcept = default;
  GRpnErrMsg(const GRpnErrMsg&) = delete;
  GRpnErrMsg& operator=(const GRpnErrMsg&) = delete;
  ~GRpnErrMsg() { delete text; }

  /// Adds to the text, without a separator.
  void append(char c);
  void append(const char* more);
  void append(const std::string& more);
  /// Adds the stream's text, less one line feed at its end.
  void append(GOStrStream* more);

  /// The text. If there is none, it becomes "<no error>", to which a later
  /// append() adds. The reference stays valid until this object ends.
  const std::string& getMessage();

 private:
  std::string& ensure();

  std::string* text = nullptr;  // owned
};

#endif  // LOOMKIT_RPN_ERR_MSG_H
