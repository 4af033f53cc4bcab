// SPDX-License-Identifier: MIT
// Many rows at once: executions that are sent in batches, and rows that come in
// chunks through a cursor.
#include <algorithm>
#include <utility>

#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/db/postgresql/postgresql_query_data.h"

using loomkit::libpq;
using loomkit::PgFailure;
using loomkit::PgResult;

namespace {

// The limits of a batch. It is large enough that waiting for a server 1 ms away hardly
// counts, and small enough that neither side has much to keep in memory.
constexpr unsigned executionsInBatch = 1000;
constexpr std::size_t bytesInBatch = 1 << 20;

// The first chunk tells how large the rows are; the later ones have as many rows as
// come near `bytesInChunk`.
constexpr int rowsInFirstChunk = 32;
constexpr int rowsInChunk = 4096;
constexpr std::size_t bytesInChunk = 1 << 19;

}  // namespace

// How the execution of a batch went.
struct GPostgresqlQueryData::Batch {
  unsigned sent = 0;
  unsigned executed = 0;           // before the first failure
  GDbStatus refusal = GDbNoError;  // of `bind`, behind what was sent
};

PgFailure GPostgresqlQueryData::sendBatch(unsigned from, unsigned count,
                                          const std::function<GDbStatus(unsigned)>& bindTime,
                                          Batch* batch) {
  std::size_t bytes = 0;
  while (batch->sent < count && bytes < bytesInBatch) {
    batch->refusal = bindTime(from + batch->sent);
    if (batch->refusal != GDbNoError) return {};
    if (!send()) return connection().failureOf(nullptr);
    for (const int length : lengths) bytes += static_cast<std::size_t>(length);
    ++batch->sent;
  }
  return {};
}

// Executes up to `count` times and gives the first failure.
PgFailure GPostgresqlQueryData::execBatch(unsigned from, unsigned count,
                                          const std::function<GDbStatus(unsigned)>& bindTime,
                                          Batch* batch) {
  pg_conn* server = connection().get();
  if (libpq().enterPipelineMode(server) == 0) return connection().failureOf(nullptr);
  PgFailure failure = sendBatch(from, count, bindTime, batch);
  libpq().pipelineSync(server);
  const PgFailure answered = connection().readPipeline(1, nullptr, &batch->executed);
  if (!failure) failure = answered;
  libpq().exitPipelineMode(server);
  connection().noteTransaction();
  return failure;
}

// Outside of a transaction the server keeps all of a batch or nothing. So when
// an execution fails, those before it are sent again. A deferred constraint fails at the
// end of a batch and does not tell which execution is the reason; it does when each is
// sent by itself.
GDbStatus GPostgresqlQueryData::execMany(unsigned count,
                                         const std::function<GDbStatus(unsigned)>& bindTime) {
  stop();
  const PgFailure notReady = connection().ready();
  if (notReady) return owner()->report(notReady);
  const GDbStatus status = prepareReady();
  if (status != GDbNoError) return status;
  unsigned limit = executionsInBatch;
  for (unsigned done = 0; done < count;) {
    Batch batch;
    const bool alone = !connection().inTransaction();
    const PgFailure failure = execBatch(done, std::min(limit, count - done), bindTime, &batch);
    if (failure && alone && batch.sent > 1 && !failure.sqlState.empty()) {
      limit = batch.executed > 0 && batch.executed < batch.sent ? batch.executed : 1;
      continue;
    }
    if (failure) return failAndStop(failure);
    done += batch.sent;
    if (batch.refusal != GDbNoError) return batch.refusal;
  }
  return GDbNoError;
}

GDbStatus GPostgresqlQueryData::openCursor() {
  cursor = name + "_cursor";
  const PgFailure failure =
      connection().execute("DECLARE " + cursor + " NO SCROLL CURSOR FOR " + serverText);
  if (failure) {
    cursor.clear();
    return failAndStop(failure);
  }
  rowsToFetch = rowsInFirstChunk;
  const PgFailure fetched = fetchRows();
  if (fetched) return failAndStop(fetched);
  rowInRows = 0;
  if (libpq().ntuples(rows.get()) > 0) {
    state = State::stepped;
    return GDbNoError;
  }
  closeCursor();
  state = State::finished;
  row = 0;
  return GDbNoError;
}

PgFailure GPostgresqlQueryData::fetchRows() {
  PgFailure failure = connection().ready();
  if (failure) return failure;
  const std::string text = "FETCH FORWARD " + std::to_string(rowsToFetch) + " FROM " + cursor;
  libpq().sendQueryParams(connection().get(), text.c_str(), 0, nullptr, nullptr, nullptr, nullptr,
                          binaryResults ? loomkit::pgBinaryFormat : loomkit::pgTextFormat);
  rows = connection().result();
  connection().finish();
  const std::size_t size = libpq().resultMemorySize(rows.get());
  const std::size_t fitting = bytesInChunk / (size / static_cast<std::size_t>(rowsToFetch) + 1);
  rowsToFetch = std::clamp(static_cast<int>(fitting), 1, rowsInChunk);
  return connection().failureOf(rows.get());
}

// A transaction that has failed or ended has taken its cursors along.
void GPostgresqlQueryData::closeCursor() {
  if (cursor.empty()) return;
  const std::string closing = std::exchange(cursor, {});
  if (libpq().transactionStatus(connection().get()) == loomkit::pgInTransaction)
    connection().execute("CLOSE " + closing);
}
