// SPDX-License-Identifier: MIT
#include "loomkit/db/postgresql/pg_connection.h"

#include <string_view>
#include <utility>

#include "loomkit/db/postgresql/sql_state.h"
#include "loomkit/db/sql/log_line.h"

namespace loomkit {
namespace {

// How many rows that nobody wants are read before the server is asked to stop. Asking
// takes a connection of its own, so that a few rows are sooner read.
constexpr int rowsToDiscard = 1000;

// libpq ends its texts with a line end, and sets what explains more in lines below, some
// of them behind a tab. The channel's texts are lines.
std::string inOneLine(std::string_view text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.remove_suffix(1);
  std::string line;
  for (const char c : text) {
    if (c == '\n')
      line += "; ";
    else if (c != '\t')
      line += c;
  }
  return line;
}

// Without this, libpq prints the server's notices to standard error.
void logNotice(void* /*context*/, const char* text) { logLine(inOneLine(text)); }

bool isRow(const PgResult& result) {
  return result != nullptr && libpq().resultStatus(result.get()) == pgSingleTuple;
}

// A connection in the middle of a COPY answers nothing else.
void endCopy(pg_conn* connection, int status) {
  if (status == pgCopyIn) libpq().putCopyEnd(connection, "COPY is not supported here");
  if (status != pgCopyOut) return;
  for (char* data = nullptr; libpq().getCopyData(connection, &data, 0) > 0;) libpq().freemem(data);
}

}  // namespace

PgFailure PgConnection::open(const std::string& uri, const std::string& shownName,
                             const char* password) {
  close();
  // Entries behind the URI win over what it says itself, so that texts always travel in
  // UTF-8.
  const char* const keywords[] = {"fallback_application_name", "dbname", "client_encoding",
                                  "password", nullptr};
  const char* const values[] = {"loomkit", uri.c_str(), "UTF8", password, nullptr};
  name = shownName;
  connection = libpq().connectdbParams(keywords, values, 1);
  if (connection == nullptr) return {GDbOutOfMemory};
  libpq().setNoticeProcessor(connection, logNotice, nullptr);
  if (!isLost()) return {};
  PgFailure failure = failureOf(nullptr);
  failure.status = GDbCantOpenFile;
  return failure;
}

bool PgConnection::needsPassword() const {
  return connection != nullptr && libpq().connectionNeedsPassword(connection) != 0;
}

std::string PgConnection::user() const {
  const char* const found = connection != nullptr ? libpq().user(connection) : nullptr;
  return found != nullptr ? found : "";
}

void PgConnection::close() {
  if (connection != nullptr) libpq().finish(connection);
  connection = nullptr;
}

PgFailure PgConnection::ready() {
  if (connection == nullptr) return {GDbNotOpen};
  // When the server has gone, the end of its stream has arrived. It is looked for now,
  // because once a statement is sent nobody can tell whether the server has run it. The
  // first call may find only the server's last message, and the second one the end.
  if (currentReader != nullptr) currentReader->setAside();
  libpq().consumeInput(connection);
  libpq().consumeInput(connection);
  if (!isLost()) return {};
  if (transactionOpen)
    return {GDbIoError, "the connection was lost, and the open transaction with it"};
  return reconnect();
}

PgFailure PgConnection::reconnect() {
  libpq().reset(connection);
  ++generationNo;
  obsolete.clear();
  if (isLost()) {
    PgFailure failure = failureOf(nullptr);
    failure.status = GDbIoError;
    return failure;
  }
  logLine("Connection to database " + name + " was lost; connected again.");
  return {};
}

PgFailure PgConnection::execute(const std::string& statement, std::string* command) {
  PgFailure failure = ready();
  if (failure) return failure;
  const PgResult done(libpq().exec(connection, statement.c_str()));
  failure = failureOf(done.get());
  noteTransaction();
  if (!failure && command != nullptr) *command = libpq().cmdStatus(done.get());
  return failure;
}

void PgConnection::forgetStatement(const std::string& statementName, unsigned itsGeneration) {
  if (connection != nullptr && itsGeneration == generationNo) obsolete.push_back(statementName);
}

// Has the server drop the statements that nobody uses, and gives the number of pipelines
// that were sent. Within a transaction nothing is dropped, since a failure of it would
// make the whole transaction fail.
int PgConnection::sendObsolete() {
  if (obsolete.empty() || transactionOpen) return 0;
  for (const std::string& statementName : obsolete)
    libpq().sendQueryParams(connection, ("DEALLOCATE " + statementName).c_str(), 0, nullptr,
                            nullptr, nullptr, nullptr, pgTextFormat);
  obsolete.clear();
  libpq().pipelineSync(connection);
  return 1;
}

PgFailure PgConnection::prepare(const std::string& text, std::string* statementName,
                                PgResult* description) {
  const LibpqApi& api = libpq();
  *statementName = "loomkit_" + std::to_string(++statementNo);
  if (api.enterPipelineMode(connection) == 0) return failureOf(nullptr);
  const int dropping = sendObsolete();
  api.sendPrepare(connection, statementName->c_str(), text.c_str(), 0, nullptr);
  api.sendDescribePrepared(connection, statementName->c_str());
  api.pipelineSync(connection);
  PgFailure failure;
  if (dropping != 0) readPipeline(dropping, nullptr, nullptr);  // a statement may be gone already
  failure = readPipeline(1, description, nullptr);
  api.exitPipelineMode(connection);
  noteTransaction();
  return failure;
}

PgFailure PgConnection::readPipeline(int syncs, PgResult* last, unsigned* good) {
  PgFailure failure;
  int nulls = 0;
  while (syncs > 0 && nulls < 2) {  // one null ends each statement's results, two all of them
    PgResult next = result();
    nulls = next == nullptr ? nulls + 1 : 0;
    if (next == nullptr) continue;
    if (libpq().resultStatus(next.get()) == pgPipelineSync) {
      --syncs;
      continue;
    }
    if (!failure) failure = failureOf(next.get());
    if (!failure && good != nullptr) ++*good;
    if (last != nullptr) *last = std::move(next);
  }
  if (syncs > 0 && !failure) failure = failureOf(nullptr);
  return failure;
}

void PgConnection::finish() {
  for (PgResult left = result(); left != nullptr; left = result())
    endCopy(connection, libpq().resultStatus(left.get()));
  noteTransaction();
}

void PgConnection::discardRows() {
  int rows = 0;
  while (isRow(result()) && rows < rowsToDiscard) ++rows;
  // Inside a transaction a cancelled statement would take all else with it.
  if (rows == rowsToDiscard && !transactionOpen) cancelRunning();
  finish();
}

void PgConnection::cancelRunning() {
  pg_cancel* cancel = libpq().getCancel(connection);
  if (cancel == nullptr) return;
  char error[256];
  libpq().cancel(cancel, error, sizeof error);  // when this fails, all rows are read
  libpq().freeCancel(cancel);
}

PgFailure PgConnection::failureOf(const pg_result* result) const {
  const LibpqApi& api = libpq();
  if (result != nullptr) {
    const int status = api.resultStatus(result);
    if (status == pgCommandOk || status == pgTuplesOk || status == pgSingleTuple ||
        status == pgEmptyQuery || status == pgPipelineSync)
      return {};
    if (status == pgCopyIn || status == pgCopyOut)
      return {GDbSqlError, "COPY is not supported in a query"};
  }
  const char* sqlState =
      result != nullptr ? api.resultErrorField(result, pgFieldSqlState) : nullptr;
  if (sqlState == nullptr) {
    std::string text = inOneLine(api.errorMessage(connection));
    return {GDbIoError, text};
  }
  PgFailure failure{sqlStateStatus(sqlState), {}, sqlState};
  const char* message = api.resultErrorField(result, pgFieldMessage);
  const char* detail = api.resultErrorField(result, pgFieldDetail);
  if (message != nullptr) failure.text = message;
  if (detail != nullptr) failure.text += std::string("; ") + detail;
  failure.text += "; SQLSTATE " + failure.sqlState;
  return failure;
}

void PgConnection::noteTransaction() {
  if (isLost()) return;
  const int status = libpq().transactionStatus(connection);
  transactionOpen = status == pgInTransaction || status == pgInFailedTransaction;
}

}  // namespace loomkit
