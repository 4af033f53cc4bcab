// SPDX-License-Identifier: MIT
// GRpnErrMsg: the text with which a parameter set or an external function says
// why it failed.
//
//   err->append("unknown parameter ");
//   err->append(std::string(name, length));
//   return false;
#ifndef LOOMKIT_RPN_ERR_MSG_H
#define LOOMKIT_RPN_ERR_MSG_H

#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/text/str_stream.h"

/// An error text that grows piece by piece. As long as nothing is appended it
/// takes no memory, so that the many calls which succeed cost nothing.
///
/// The engine makes one on the stack for each call of a host, and owns it; a host
/// only appends to it. It cannot be copied or assigned. Nothing fails. An object
/// belongs to one thread at a time.
class LOOMKIT_API GRpnErrMsg {
 public:
  /// No text.
  GRpnErrMsg() noexcept = default;
  GRpnErrMsg(const GRpnErrMsg&) = delete;
  GRpnErrMsg& operator=(const GRpnErrMsg&) = delete;
  ~GRpnErrMsg() { delete text; }

  /// Adds one character to the text.
  void append(char c);
  /// Adds `more` to the text, without a separator. Requires: not null.
  void append(const char* more);
  /// The same.
  void append(const std::string& more);
  /// Adds the text of the stream. A line feed at its end is left out, so that a
  /// stream that was ended by std::endl fits in. Requires: not null.
  void append(GOStrStream* more);

  /// The text. If nothing was appended yet, the text becomes "<no error>", and
  /// what is appended later is added to that. The reference stays valid until
  /// this object ends.
  const std::string& getMessage();

 private:
  std::string& ensure();

  std::string* text = nullptr;  // owned
};

#endif  // LOOMKIT_RPN_ERR_MSG_H
