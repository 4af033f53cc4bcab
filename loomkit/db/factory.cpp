// SPDX-License-Identifier: MIT
#include "loomkit/db/factory.h"

GDbDbFactory::GDbDbFactory(const std::string& dbTypeId) : typeId(dbTypeId) {}
GDbDbFactory::GDbDbFactory(const GDbDbFactory&) = default;
GDbDbFactory& GDbDbFactory::operator=(const GDbDbFactory&) = default;
GDbDbFactory::~GDbDbFactory() = default;
