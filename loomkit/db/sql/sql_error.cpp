// SPDX-License-Identifier: MIT
#include "loomkit/db/sql/sql_error.h"

#include <cstdint>
#include <cstdlib>

#include "loomkit/text/gi_string.h"

struct GSqlError::Block {
  std::int32_t refCount;
  GDbStatus status;
  std::string driverText;  // filled when somebody asks
  std::string databaseText;
  std::string sqlState;
};

GSqlError::GSqlError() = default;

GSqlError::GSqlError(const GSqlError& other) : block(other.block) {
  if (block != nullptr) ++block->refCount;
}

GSqlError::GSqlError(GDbStatus status) : block(new Block{1, status, {}, {}, {}}) {}

GSqlError::GSqlError(GDbStatus status, const std::string& databaseText)
    : block(new Block{1, status, {}, databaseText, {}}) {}

GSqlError::GSqlError(GDbStatus status, const std::string& databaseText, const std::string& sqlState)
    : block(new Block{1, status, {}, databaseText, sqlState}) {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the reference to it is counted first
GSqlError& GSqlError::operator=(const GSqlError& other) {
  Block* const taken = other.block;  // `other` may be this object
  if (taken != nullptr) ++taken->refCount;
  release();
  block = taken;
  return *this;
}

GSqlError::~GSqlError() { release(); }

void GSqlError::release() {
  if (block == nullptr) return;
  const std::int32_t left = --block->refCount;
  if (left < 0) std::abort();  // somebody released what was not theirs
  if (left == 0) delete block;
  block = nullptr;
}

GDbStatus GSqlError::getStatus() const { return block != nullptr ? block->status : GDbNoError; }

const std::string& GSqlError::getDriverText() const {
  if (block == nullptr) return gEmptyString;
  if (block->status != GDbNoError && block->driverText.empty())
    block->driverText = gDbStrError(block->status);
  return block->driverText;
}

const std::string& GSqlError::getDatabaseText() const {
  return block != nullptr ? block->databaseText : gEmptyString;
}

std::string GSqlError::getText() const {
  const std::string& driver = getDriverText();
  const std::string& database = getDatabaseText();
  if (driver.empty()) return database;
  if (database.empty()) return driver;
  return driver + " (" + database + ")";
}

const std::string& GSqlError::getSqlState() const {
  return block != nullptr ? block->sqlState : gEmptyString;
}

bool GSqlError::mayRepeat() const {
  const std::string& state = getSqlState();
  return state == "40001" || state == "40P01";
}
