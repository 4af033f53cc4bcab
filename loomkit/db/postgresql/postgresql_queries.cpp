// SPDX-License-Identifier: MIT
// The operations on queries: parameters, moves and columns.
#include <charconv>
#include <cstring>
#include <limits>
#include <string_view>

#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/db/postgresql/postgresql_query_data.h"
#include "loomkit/db/sql/local_text.h"

using loomkit::PgValue;

namespace {

GPostgresqlQueryData* dataOf(GSqlQueryData* query) {
  return static_cast<GPostgresqlQueryData*>(query);
}

// The shortest text that reads back as the same number, in the classic locale.
template <typename Number>
GDbStatus bindNumber(GSqlQueryData* query, int index, Number value) {
  char text[32];
  const auto written = std::to_chars(text, text + sizeof text, value);
  const auto length = static_cast<std::size_t>(written.ptr - text);
  return dataOf(query)->bind(index, std::string_view(text, length), false);
}

}  // namespace

GDbStatus GPostgresqlDatabase::bindInt(GSqlQueryData* query, int index, int value) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : bindNumber(query, index, value);
}

GDbStatus GPostgresqlDatabase::bindInt64(GSqlQueryData* query, int index, std::int64_t value) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : bindNumber(query, index, value);
}

GDbStatus GPostgresqlDatabase::bindDouble(GSqlQueryData* query, int index, double value) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : bindNumber(query, index, value);
}

GDbStatus GPostgresqlDatabase::bindText(GSqlQueryData* query, int index, const char* text,
                                        int length, bool /*copy*/) {
  const GDbStatus status = check(query);
  if (status != GDbNoError) return status;
  const std::size_t size = length < 0 ? std::strlen(text) : static_cast<std::size_t>(length);
  const std::string_view given(text, size);
  if (given.find('\0') != std::string_view::npos)
    return report({GDbInvalidArgument, "a text with a NUL byte cannot be stored"});
  if (loomkit::isAscii(text, size)) return dataOf(query)->bind(index, given, false);
  int utf8Length = -1;
  const loomkit::HulText utf8 = loomkit::toUtf8(
      text, length, &utf8Length, "Failed to convert field of PostgreSQL query to UTF-8: %1");
  const std::size_t utf8Size =
      utf8Length < 0 ? std::strlen(utf8.get()) : static_cast<std::size_t>(utf8Length);
  return dataOf(query)->bind(index, std::string_view(utf8.get(), utf8Size), false);
}

GDbStatus GPostgresqlDatabase::bindBlob(GSqlQueryData* query, int index, void* data, unsigned size,
                                        bool /*copy*/) {
  const GDbStatus status = check(query);
  if (status != GDbNoError) return status;
  if (data == nullptr && size != 0) return setError(GDbInvalidArgument);
  if (size > static_cast<unsigned>(std::numeric_limits<int>::max())) return setError(GDbRowTooBig);
  const std::string_view bytes(data != nullptr ? static_cast<const char*>(data) : "", size);
  return dataOf(query)->bind(index, bytes, true);
}

GDbStatus GPostgresqlDatabase::bindNull(GSqlQueryData* query, int index) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->bindNull(index);
}

GDbStatus GPostgresqlDatabase::clearBindings(GSqlQueryData* query) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->clearBindings();
}

GDbStatus GPostgresqlDatabase::reset(GSqlQueryData* query) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->reset();
}

GDbStatus GPostgresqlDatabase::prepare(GSqlQueryData* query) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->prepare();
}

GDbStatus GPostgresqlDatabase::exec(GSqlQueryData* query) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->exec();
}

GDbStatus GPostgresqlDatabase::execMany(GSqlQueryData* query, unsigned count,
                                        const std::function<GDbStatus(unsigned)>& bind) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->execMany(count, bind);
}

GDbStatus GPostgresqlDatabase::first(GSqlQueryData* query) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->first();
}

GDbStatus GPostgresqlDatabase::next(GSqlQueryData* query) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->next();
}

GDbStatus GPostgresqlDatabase::seek(GSqlQueryData* query, int position, bool relative) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->seek(position, relative);
}

GDbStatus GPostgresqlDatabase::last(GSqlQueryData* /*query*/) {
  return setError(GDbScrollBackNotSupported);
}

GDbStatus GPostgresqlDatabase::previous(GSqlQueryData* /*query*/) {
  return setError(GDbScrollBackNotSupported);
}

GDbStatus GPostgresqlDatabase::setForwardOnly(GSqlQueryData* /*query*/, bool forward) {
  return forward ? GDbNoError : setError(GDbScrollBackNotSupported);
}

GDbStatus GPostgresqlDatabase::isNull(GSqlQueryData* query, int column, bool* result) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->isNull(column, result);
}

GDbStatus GPostgresqlDatabase::getInt(GSqlQueryData* query, int column, int* value) {
  std::int64_t wide = 0;
  const GDbStatus status = getInt64(query, column, &wide);
  if (status != GDbNoError) return status;
  const int narrow = static_cast<int>(wide);
  if (narrow != wide) return setError(GDbFieldTypeMismatch, "the integer needs more than 32 bits");
  *value = narrow;
  return GDbNoError;
}

GDbStatus GPostgresqlDatabase::getInt64(GSqlQueryData* query, int column, std::int64_t* value) {
  PgValue stored{};
  GDbStatus status = check(query);
  if (status == GDbNoError) status = dataOf(query)->getValue(column, GDbFieldInt, &stored);
  if (status == GDbNoError) *value = stored.integer();
  return status;
}

GDbStatus GPostgresqlDatabase::getDouble(GSqlQueryData* query, int column, double* value) {
  PgValue stored{};
  GDbStatus status = check(query);
  if (status == GDbNoError) status = dataOf(query)->getValue(column, GDbFieldFloat, &stored);
  if (status == GDbNoError) *value = stored.number();
  return status;
}

GDbStatus GPostgresqlDatabase::getText(GSqlQueryData* query, int column, std::string* value) {
  PgValue stored{};
  GDbStatus status = check(query);
  if (status == GDbNoError) status = dataOf(query)->getValue(column, GDbFieldString, &stored);
  if (status != GDbNoError) return status;
  std::string room;
  const std::string_view utf8 = stored.text(&room);
  loomkit::fromUtf8(utf8.data(), static_cast<int>(utf8.size()), value);
  return GDbNoError;
}

GDbStatus GPostgresqlDatabase::getBlob(GSqlQueryData* query, int column, const void** data,
                                       unsigned* size) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->getBlob(column, data, size);
}

GDbStatus GPostgresqlDatabase::getRecord(GSqlQueryData* query, GDbRecord** record) {
  *record = nullptr;
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->getRecord(record);
}

GDbStatus GPostgresqlDatabase::getNumRowsAffected(GSqlQueryData* query, int* count) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->getNumRowsAffected(count);
}

GDbStatus GPostgresqlDatabase::getSize(GSqlQueryData* query, int* /*count*/) {
  const GDbStatus status = check(query);
  return status != GDbNoError ? status : dataOf(query)->getSize();
}
