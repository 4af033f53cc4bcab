// SPDX-License-Identifier: MIT
#include "loomkit/rpn/err_msg.h"

std::string& GRpnErrMsg::ensure() {
  if (text == nullptr) text = new std::string;
  return *text;
}

void GRpnErrMsg::append(char c) { ensure() += c; }

void GRpnErrMsg::append(const char* more) { ensure() += more; }

void GRpnErrMsg::append(const std::string& more) { ensure() += more; }

void GRpnErrMsg::append(GOStrStream* more) {
  std::string added = more->str();
  if (!added.empty() && added.back() == '\n') added.pop_back();
  append(added);
}

const std::string& GRpnErrMsg::getMessage() {
  if (text == nullptr) text = new std::string("<no error>");
  return *text;
}
