// SPDX-License-Identifier: MIT
#include "loomkit/archive/material/material_labels.h"

#include <sstream>

#include "loomkit/archive/material/material_layout.h"

using namespace loomkit;

bool gReadMaterialLabels(GZipReader2& reader, std::map<std::string, std::string>* labels) {
  const GZipEntry* entry = reader.getEntry(material::labelsName);
  std::string text;
  if (entry != nullptr && !reader.readTextEntry(entry, text)) return false;
  labels->clear();
  std::string* label = nullptr;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line, material::labelLineEnd);) {
    const std::size_t separator = line.find(material::labelSeparator);
    if (separator != std::string::npos) {
      label = &(*labels)[line.substr(0, separator)];
      *label = line.substr(separator + 1);
    } else if (label != nullptr) {
      (*label += material::labelLineEnd) += line;
    }
  }
  return true;
}
