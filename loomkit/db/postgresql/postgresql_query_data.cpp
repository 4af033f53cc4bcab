// SPDX-License-Identifier: MIT
// Preparing, executing and moving: the states of a PostgreSQL query.
#include "loomkit/db/postgresql/postgresql_query_data.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/db/postgresql/statement_text.h"
#include "loomkit/db/sql/local_text.h"

using loomkit::libpq;
using loomkit::PgFailure;
using loomkit::PgResult;
using loomkit::PgValue;

GPostgresqlQueryData::GPostgresqlQueryData(GPostgresqlDatabase* itsOwner, const std::string& text,
                                           bool isScan)
    : GSqlQueryData(itsOwner, text), scan(isScan) {}

GPostgresqlQueryData::~GPostgresqlQueryData() { finalize(); }

GPostgresqlDatabase* GPostgresqlQueryData::owner() const {
  return static_cast<GPostgresqlDatabase*>(getDatabase());
}

loomkit::PgConnection& GPostgresqlQueryData::connection() const { return owner()->connection(); }

GDbStatus GPostgresqlQueryData::fail(GDbStatus status) const {
  return owner()->report(PgFailure{status});
}

bool GPostgresqlQueryData::isSelect() const {
  if (!prepared) {
    if (getDatabase() == nullptr) return false;
    auto* self = const_cast<GPostgresqlQueryData*>(this);  // asking prepares the query
    if (getDatabase()->prepare(self) != GDbNoError) return false;
  }
  return !columnTypes.empty();
}

void GPostgresqlQueryData::invalidate() {
  finalize();
  GSqlQueryData::invalidate();
}

void GPostgresqlQueryData::setStatement(const std::string& text) {
  finalize();
  GSqlQueryData::setStatement(text);
}

void GPostgresqlQueryData::clearRecord() {
  valid = false;
  GSqlQueryData::clearRecord();
}

bool GPostgresqlQueryData::isPrepared() const {
  return prepared && generation == connection().generation();
}

GDbStatus GPostgresqlQueryData::prepare() {
  if (isPrepared()) return GDbNoError;
  const PgFailure failure = connection().ready();
  return failure ? owner()->report(failure) : prepareReady();
}

// Prepares the statement on a connection that is ready.
GDbStatus GPostgresqlQueryData::prepareReady() {
  if (isPrepared()) return GDbNoError;
  const loomkit::HulText text = loomkit::toUtf8(getStatement().c_str(), -1, nullptr,
                                                "Failed to convert SQL statement to UTF-8: %1");
  parameterNames.clear();
  serverText =
      loomkit::numberedParameters(text.get(), owner()->escapesByBackslash(), &parameterNames);
  PgResult description;
  const PgFailure failure = connection().prepare(serverText, &name, &description);
  if (failure) return owner()->report(failure);
  generation = connection().generation();
  prepared = true;
  describe(description.get());
  return GDbNoError;
}

void GPostgresqlQueryData::describe(const pg_result* description) {
  columnTypes.clear();
  columns.clear();
  const loomkit::LibpqApi& api = libpq();
  for (int i = 0; i < api.nfields(description); ++i) {
    columnTypes.push_back(&loomkit::pgType(api.ftype(description, i)));
    columns.push_back({api.fname(description, i), api.ftype(description, i),
                       api.fmod(description, i), api.ftable(description, i),
                       api.ftablecol(description, i)});
  }
  binaryResults = std::all_of(columnTypes.begin(), columnTypes.end(),
                              [](const loomkit::PgType* type) { return type->readsBinary(); });
  parameters.resize(static_cast<std::size_t>(api.nparams(description)));
  parameterNames.resize(parameters.size());
}

GDbStatus GPostgresqlQueryData::bindAt(int index, Parameter** parameter) {
  const GDbStatus status = prepare();
  if (status != GDbNoError) return status;
  if (index < 0 || static_cast<std::size_t>(index) >= parameters.size())
    return owner()->report({GDbInternalError, "the statement has no such parameter"});
  *parameter = &parameters[static_cast<std::size_t>(index)];
  return GDbNoError;
}

GDbStatus GPostgresqlQueryData::bind(int index, std::string_view value, bool binary) {
  Parameter* parameter = nullptr;
  const GDbStatus status = bindAt(index, &parameter);
  if (status != GDbNoError || parameter == nullptr) return status;
  parameter->value = value;
  parameter->binary = binary;
  parameter->null = false;
  return GDbNoError;
}

GDbStatus GPostgresqlQueryData::bindNull(int index) {
  Parameter* parameter = nullptr;
  const GDbStatus status = bindAt(index, &parameter);
  if (parameter != nullptr) parameter->null = true;
  return status;
}

GDbStatus GPostgresqlQueryData::clearBindings() {
  stop();
  for (Parameter& parameter : parameters) parameter.null = true;
  return GDbNoError;
}

GDbStatus GPostgresqlQueryData::reset() {
  stop();
  return GDbNoError;
}

// Sends the statement; false when the connection refuses it.
bool GPostgresqlQueryData::send() {
  const std::size_t count = parameters.size();
  values.resize(count);
  lengths.resize(count);
  formats.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    const Parameter& parameter = parameters[i];
    values[i] = parameter.null ? nullptr : parameter.value.c_str();
    lengths[i] = static_cast<int>(parameter.value.size());
    formats[i] = parameter.binary ? loomkit::pgBinaryFormat : loomkit::pgTextFormat;
  }
  const loomkit::LibpqApi& api = libpq();
  return api.sendQueryPrepared(connection().get(), name.c_str(), static_cast<int>(count),
                               values.data(), lengths.data(), formats.data(),
                               binaryResults ? loomkit::pgBinaryFormat : loomkit::pgTextFormat) !=
         0;
}

GDbStatus GPostgresqlQueryData::exec() {
  stop();
  const PgFailure failure = connection().ready();
  if (failure) return owner()->report(failure);
  const GDbStatus status = prepareReady();
  if (status != GDbNoError) return status;
  if (scan && connection().inTransaction()) return openCursor();
  if (!send()) return failAndStop(connection().failureOf(nullptr));
  if (!columnTypes.empty()) libpq().setSingleRowMode(connection().get());
  reading = true;
  return take(connection().result());
}

// Takes the server's first answer to the statement.
GDbStatus GPostgresqlQueryData::take(PgResult result) {
  const PgFailure failure = connection().failureOf(result.get());
  if (failure) return failAndStop(failure);
  if (libpq().resultStatus(result.get()) == loomkit::pgSingleTuple) {
    rows = std::move(result);
    rowInRows = 0;
    state = State::stepped;  // first() or next() makes it current
    connection().setReader(this);
    return GDbNoError;
  }
  const std::string_view count = libpq().cmdTuples(result.get());
  endReading();
  state = State::finished;
  if (!columnTypes.empty()) {
    row = 0;
    return GDbNoError;
  }
  rowsAffected = 0;
  std::from_chars(count.data(), count.data() + count.size(), rowsAffected);
  return GDbNoError;
}

// A plan that no longer fits its table, and a statement that the server has
// forgotten, are prepared anew the next time.
GDbStatus GPostgresqlQueryData::failAndStop(const PgFailure& failure) {
  if (failure.sqlState == "0A000" || failure.sqlState == "26000") prepared = false;
  const PgFailure kept = failure;
  stop();
  return owner()->report(kept);
}

// A query that was not executed fails. When its statement cannot even be prepared, that
// is the reason to tell.
GDbStatus GPostgresqlQueryData::failInactive() {
  const GDbStatus status = prepare();
  return status != GDbNoError ? status : fail(GDbQueryNotActive);
}

GDbStatus GPostgresqlQueryData::first() {
  if (state == State::inactive) return failInactive();
  if (row > 0) return fail(GDbScrollBackNotSupported);
  if (state == State::finished) return row < 0 ? fail(GDbNoResult) : GDbNoMoreRecords;
  row = 0;
  valid = true;
  return GDbNoError;
}

GDbStatus GPostgresqlQueryData::next() {
  if (state == State::inactive) return failInactive();
  if (state == State::finished) return row < 0 ? fail(GDbNoResult) : GDbNoMoreRecords;
  if (row >= 0) return step();
  row = 0;
  valid = true;
  return GDbNoError;
}

// Puts the next rows into `rows`, which is null or empty behind the last one.
PgFailure GPostgresqlQueryData::moreRows() {
  if (reading) {
    rows = connection().result();
    return connection().failureOf(rows.get());
  }
  if (!cursor.empty()) return fetchRows();
  rows = std::move(laterRows);
  return {};
}

GDbStatus GPostgresqlQueryData::step() {
  clearRecord();
  ++rowInRows;
  if (rowInRows >= libpq().ntuples(rows.get())) {
    const PgFailure failure = moreRows();
    if (failure) return failAndStop(failure);
    rowInRows = 0;
  }
  ++row;
  if (rows != nullptr && libpq().ntuples(rows.get()) > rowInRows) {
    valid = true;
    return GDbNoError;
  }
  if (laterFailure) return failAndStop(std::exchange(laterFailure, {}));
  endReading();
  closeCursor();
  rows.reset();
  state = State::finished;
  return GDbNoMoreRecords;  // the end of every scan, so no error is noted
}

GDbStatus GPostgresqlQueryData::seek(int position, bool relative) {
  if (state == State::inactive) return failInactive();
  if (columnTypes.empty()) return fail(GDbNoResult);
  if (row < 0 && relative) return fail(GDbNoRecordNumber);
  const std::int64_t current = std::max(row, 0);
  const std::int64_t target = relative ? current + position : std::int64_t{position};
  if (target < current) {
    clearRecord();
    return fail(GDbScrollBackNotSupported);
  }
  if (state == State::finished) return GDbNoMoreRecords;
  GDbStatus status = row < 0 ? next() : GDbNoError;
  while (status == GDbNoError && row != target) status = step();
  return status != GDbNoError || valid ? status : fail(GDbUnknownError);
}

// Called when another statement needs the connection: the rows that are left are taken
// into memory. The current row stays where it is.
void GPostgresqlQueryData::setAside() {
  laterRows.reset(libpq().copyResult(rows.get(), loomkit::pgCopyColumns));
  int count = 0;
  bool kept = laterRows != nullptr;
  PgResult next = connection().result();
  for (; next != nullptr; next = connection().result()) {
    if (libpq().resultStatus(next.get()) != loomkit::pgSingleTuple) break;
    for (int column = 0; kept && column < libpq().nfields(next.get()); ++column) {
      const bool null = libpq().getisnull(next.get(), 0, column) != 0;
      kept = libpq().setvalue(laterRows.get(), count, column,
                              null ? nullptr : libpq().getvalue(next.get(), 0, column),
                              null ? -1 : libpq().getlength(next.get(), 0, column)) != 0;
    }
    ++count;
  }
  laterFailure = kept ? connection().failureOf(next.get()) : PgFailure{GDbOutOfMemory};
  endReading();
}

// Reads the answer to its end, so that the connection is free for other statements.
void GPostgresqlQueryData::endReading() {
  if (!reading) return;
  reading = false;
  if (connection().reader() == this) connection().setReader(nullptr);
  connection().finish();
}

// Makes the query inactive.
void GPostgresqlQueryData::stop() {
  clearRecord();
  if (reading) connection().discardRows();
  endReading();
  closeCursor();
  rows.reset();
  laterRows.reset();
  laterFailure = {};
  state = State::inactive;
  row = -1;
  rowsAffected = -1;
}

void GPostgresqlQueryData::finalize() {
  if (getDatabase() != nullptr && connection().isOpen()) {
    stop();
    if (prepared) connection().forgetStatement(name, generation);
  }
  prepared = false;
  parameters.clear();
  columnTypes.clear();
}

GDbStatus GPostgresqlQueryData::getValue(int column, GDbFieldType type, PgValue* value) {
  if (!valid) {
    const GDbStatus status = prepare();
    return status != GDbNoError ? status : fail(GDbNotPositioned);
  }
  if (column < 0 || static_cast<std::size_t>(column) >= columnTypes.size())
    return fail(GDbInvalidArgument);
  if (libpq().getisnull(rows.get(), rowInRows, column) != 0) {
    if (type != GDbFieldNone) return fail(GDbColumnIsNull);
    value->data = nullptr;
    return GDbNoError;
  }
  const loomkit::PgType* stored = columnTypes[static_cast<std::size_t>(column)];
  if (type != GDbFieldNone && stored->field != type) return fail(GDbFieldTypeMismatch);
  *value = {stored, binaryResults, libpq().getvalue(rows.get(), rowInRows, column),
            libpq().getlength(rows.get(), rowInRows, column)};
  return GDbNoError;
}

GDbStatus GPostgresqlQueryData::isNull(int column, bool* result) {
  PgValue value{};
  const GDbStatus status = getValue(column, GDbFieldNone, &value);
  if (status == GDbNoError) *result = value.data == nullptr;
  return status;
}

GDbStatus GPostgresqlQueryData::getBlob(int column, const void** data, unsigned* size) {
  PgValue value{};
  const GDbStatus status = getValue(column, GDbFieldBlob, &value);
  if (status != GDbNoError) return status;
  blobRoom.resize(columnTypes.size());
  std::size_t bytes = 0;
  *data = value.bytes(&blobRoom[static_cast<std::size_t>(column)], &bytes);
  *size = static_cast<unsigned>(bytes);
  return GDbNoError;
}

GDbStatus GPostgresqlQueryData::getRecord(GDbRecord** made) {
  *made = nullptr;
  if (state == State::inactive) return fail(GDbQueryNotActive);
  if (state == State::finished) return row < 0 ? fail(GDbNoResult) : GDbNoMoreRecords;
  if (row < 0) return fail(GDbNotPositioned);
  if (!valid) return fail(GDbInternalError);
  const loomkit::LibpqApi& api = libpq();
  maker.start(columnTypes.size());
  for (std::size_t i = 0; i < columnTypes.size(); ++i) {
    const int column = static_cast<int>(i);
    const int length = api.getlength(rows.get(), rowInRows, column);
    // A value with a length is none, so most need not be asked about.
    const bool null = length == 0 && api.getisnull(rows.get(), rowInRows, column) != 0;
    maker.add({columnTypes[i], binaryResults, api.getvalue(rows.get(), rowInRows, column), length},
              null);
  }
  *made = maker.make();
  return GDbNoError;
}

GDbStatus GPostgresqlQueryData::getNumRowsAffected(int* count) {
  if (!isActive()) return fail(GDbQueryNotActive);
  if (isSelect() || rowsAffected < 0) return fail(GDbInvalidState);
  *count = rowsAffected;
  return GDbNoError;
}

GDbStatus GPostgresqlQueryData::getSize() {
  if (!isActive()) return fail(GDbQueryNotActive);
  return fail(isSelect() ? GDbSizeNotSupported : GDbNoResult);
}
