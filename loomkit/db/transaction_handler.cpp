// SPDX-License-Identifier: MIT
#include "loomkit/db/transaction_handler.h"

#include "loomkit/db/database.h"

GDbTransactionHandler::GDbTransactionHandler() = default;
GDbTransactionHandler::GDbTransactionHandler(const GDbTransactionHandler&) = default;
GDbTransactionHandler& GDbTransactionHandler::operator=(const GDbTransactionHandler&) = default;
GDbTransactionHandler::~GDbTransactionHandler() = default;

GDbStatus GDbTransactionHandler::getHandler(GDbDatabase* database,
                                            GDbTransactionHandler** handler) {
  if (handler == nullptr) return GDbInvalidArgument;
  *handler = nullptr;
  if (database == nullptr) return GDbInvalidArgument;
  *handler = database->getTransactionHandler();
  return GDbNoError;
}
