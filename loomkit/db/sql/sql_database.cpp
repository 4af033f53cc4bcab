// SPDX-License-Identifier: MIT
#include "loomkit/db/sql/sql_database.h"

GSqlDatabase::GSqlDatabase(const std::string& locator) : GDbDatabase(locator) {}
GSqlDatabase::~GSqlDatabase() = default;
