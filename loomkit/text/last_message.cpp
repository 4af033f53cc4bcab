// SPDX-License-Identifier: MIT
#include "loomkit/text/last_message.h"

#include <algorithm>
#include <cassert>

namespace loomkit {

LastMessage::LastMessage(Keep keep)
    : GOutput(*gOutput), before(gOutput), passesOn(keep == Keep::passingOn) {
  gOutput = this;
}

LastMessage::~LastMessage() {
  assert(gOutput == this);
  gOutput = before;
  *before = *static_cast<const GOutput*>(this);  // the levels only
}

void LastMessage::output(GOutputLevel level, const std::string& sys, const char* text) {
  if (kept.size() == most) kept.pop_front();
  kept.push_back({level, sys, text});
  if (passesOn) before->output(level, sys, text);
}

std::string LastMessage::text() const {
  const auto lastOf = [this](auto wanted) {
    return std::find_if(kept.rbegin(), kept.rend(), wanted);
  };
  auto found = lastOf([](const Entry& entry) {
    return entry.level == GOutputError || entry.level == GOutputFatal;
  });
  if (found == kept.rend()) {
    found = lastOf([](const Entry& entry) { return entry.level == GOutputWarning; });
  }
  if (found == kept.rend()) found = kept.rbegin();
  return found == kept.rend() ? std::string() : found->text;
}

const LastMessage::Entry* LastMessage::last(GOutputLevel level, const std::string& system) const {
  const auto found = std::find_if(kept.rbegin(), kept.rend(), [&](const Entry& entry) {
    return entry.level == level && (system.empty() || entry.system == system);
  });
  return found == kept.rend() ? nullptr : &*found;
}

}  // namespace loomkit
