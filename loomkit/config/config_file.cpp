// SPDX-License-Identifier: MIT
#include "loomkit/config/config_file.h"

GConfigSection::GConfigSection(const std::string& name) : ConfigSectionBase(name) {}
GConfigSection::GConfigSection(const GConfigSection&) = default;
GConfigSection& GConfigSection::operator=(const GConfigSection&) = default;
GConfigSection::~GConfigSection() = default;

GConfigFile::GConfigFile() = default;
GConfigFile::GConfigFile(const GConfigFile&) = default;
GConfigFile& GConfigFile::operator=(const GConfigFile&) = default;
GConfigFile::~GConfigFile() = default;
