// SPDX-License-Identifier: MIT
#include "loomkit/db/structure.h"

#include <cstring>

#include "loomkit/text/string_util.h"

GDbStructure::GDbStructure(bool ignoresCase, unsigned significantLength)
    : ignoreCase(ignoresCase), maxNameLen(significantLength) {}
GDbStructure::GDbStructure(const GDbStructure&) = default;
GDbStructure& GDbStructure::operator=(const GDbStructure&) = default;
GDbStructure::~GDbStructure() = default;

void GDbStructure::appendField(const GDbField& field) { fields.push_back(field); }

void GDbStructure::addIndex(const GDbIndex& index) { indices.push_back(index); }

int GDbStructure::getFieldId(const std::string& name) const {
  std::string cut;
  const char* wanted = name.c_str();
  if (name.size() > maxNameLen) {
    cut.assign(name, 0, maxNameLen);
    wanted = cut.c_str();
  }
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const char* stored = fields[i].getName().c_str();
    const int order = ignoreCase ? gStrCaseCmp(stored, wanted) : std::strcmp(stored, wanted);
    if (order == 0) return static_cast<int>(i);
  }
  return -1;
}
