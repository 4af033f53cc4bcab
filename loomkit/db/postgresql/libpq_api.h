// SPDX-License-Identifier: MIT
// The functions of libpq, PostgreSQL's client library, that the driver needs,
// as a table of pointers that is filled at run time. No header of that library
// is used: the types are declared here, from its public C interface
// (https://www.postgresql.org/docs/current/libpq.html). Version 14 or later,
// for its pipelines. Private to the driver.
#ifndef LOOMKIT_DB_POSTGRESQL_LIBPQ_API_H
#define LOOMKIT_DB_POSTGRESQL_LIBPQ_API_H

#include <cstddef>
#include <memory>

#include "loomkit/db/sql/run_time_library.h"

struct pg_conn;
struct pg_result;
struct pg_cancel;

namespace loomkit {

/// The number of a type in the server's catalog.
using PgOid = unsigned;

/// PQstatus().
inline constexpr int pgConnectionOk = 0;

/// PQtransactionStatus().
inline constexpr int pgIdle = 0;
inline constexpr int pgInTransaction = 2;
inline constexpr int pgInFailedTransaction = 3;

/// PQresultStatus().
inline constexpr int pgEmptyQuery = 0;
inline constexpr int pgCommandOk = 1;
inline constexpr int pgTuplesOk = 2;
inline constexpr int pgCopyOut = 3;
inline constexpr int pgCopyIn = 4;
inline constexpr int pgSingleTuple = 9;
inline constexpr int pgPipelineSync = 10;
inline constexpr int pgPipelineAborted = 11;

/// PQresultErrorField().
inline constexpr int pgFieldSqlState = 'C';
inline constexpr int pgFieldMessage = 'M';
inline constexpr int pgFieldDetail = 'D';

/// Formats of parameters and results.
inline constexpr int pgTextFormat = 0;
inline constexpr int pgBinaryFormat = 1;

/// PQcopyResult(): take the columns along, and no rows.
inline constexpr int pgCopyColumns = 1;

/// One option of a connection: PQconninfoOption.
struct PgOption {
  char* keyword;
  char* environmentVariable;
  char* compiled;
  char* value;
  char* label;
  char* display;
  int displaySize;
};

/// One pointer per function, named for it without its "PQ".
struct LibpqApi {
  int (*libVersion)();
  PgOption* (*conninfoParse)(const char* conninfo, char** error);
  void (*conninfoFree)(PgOption* options);
  void (*freemem)(void* block);
  pg_conn* (*connectdbParams)(const char* const* keywords, const char* const* values,
                              int expandDbname);
  void (*finish)(pg_conn*);
  void (*reset)(pg_conn*);
  int (*status)(const pg_conn*);
  int (*transactionStatus)(const pg_conn*);
  int (*connectionNeedsPassword)(const pg_conn*);
  char* (*user)(const pg_conn*);
  int (*serverVersion)(const pg_conn*);
  const char* (*parameterStatus)(const pg_conn*, const char* parameter);
  int (*sslInUse)(pg_conn*);
  const char* (*sslAttribute)(pg_conn*, const char* attribute);
  char* (*errorMessage)(const pg_conn*);
  void (*(*setNoticeProcessor)(pg_conn*, void (*processor)(void*, const char*),
                               void* context))(void*, const char*);
  int (*consumeInput)(pg_conn*);

  pg_result* (*exec)(pg_conn*, const char* statement);
  int (*sendPrepare)(pg_conn*, const char* name, const char* statement, int parameters,
                     const PgOid* types);
  int (*sendDescribePrepared)(pg_conn*, const char* name);
  int (*sendQueryParams)(pg_conn*, const char* statement, int parameters, const PgOid* types,
                         const char* const* values, const int* lengths, const int* formats,
                         int resultFormat);
  int (*sendQueryPrepared)(pg_conn*, const char* name, int parameters, const char* const* values,
                           const int* lengths, const int* formats, int resultFormat);
  int (*setSingleRowMode)(pg_conn*);
  pg_result* (*getResult)(pg_conn*);
  int (*enterPipelineMode)(pg_conn*);
  int (*exitPipelineMode)(pg_conn*);
  int (*pipelineSync)(pg_conn*);
  int (*putCopyEnd)(pg_conn*, const char* error);
  int (*getCopyData)(pg_conn*, char** buffer, int async);
  pg_cancel* (*getCancel)(pg_conn*);
  int (*cancel)(pg_cancel*, char* error, int errorSize);
  void (*freeCancel)(pg_cancel*);

  int (*resultStatus)(const pg_result*);
  char* (*resultErrorMessage)(const pg_result*);
  char* (*resultErrorField)(const pg_result*, int field);
  void (*clear)(pg_result*);
  int (*ntuples)(const pg_result*);
  int (*nfields)(const pg_result*);
  std::size_t (*resultMemorySize)(const pg_result*);
  int (*nparams)(const pg_result*);
  char* (*fname)(const pg_result*, int column);
  PgOid (*ftype)(const pg_result*, int column);
  int (*fmod)(const pg_result*, int column);
  PgOid (*ftable)(const pg_result*, int column);
  int (*ftablecol)(const pg_result*, int column);
  char* (*getvalue)(const pg_result*, int row, int column);
  int (*getlength)(const pg_result*, int row, int column);
  int (*getisnull)(const pg_result*, int row, int column);
  char* (*cmdTuples)(pg_result*);
  char* (*cmdStatus)(pg_result*);
  pg_result* (*copyResult)(const pg_result*, int flags);
  int (*setvalue)(pg_result*, int row, int column, char* value, int length);
  unsigned char* (*unescapeBytea)(const unsigned char* text, std::size_t* length);
};

/// The library, loaded once per process and never unloaded. Not locked.
class LibpqLibrary {
 public:
  /// Loads the library if that has not happened yet. After a failure the next
  /// call tries again.
  bool load(const DsoCalls& calls);
  bool load() { return load(platformDsoCalls()); }

  /// Requires: load() has given true.
  LibpqApi api = {};

 private:
  bool loaded = false;
  void* handle = nullptr;
};

/// The process's one library, and its functions.
LibpqLibrary& libpqLibrary();
inline const LibpqApi& libpq() { return libpqLibrary().api; }

struct PgResultClear {
  void operator()(pg_result* result) const { libpq().clear(result); }
};
/// A result of the server.
using PgResult = std::unique_ptr<pg_result, PgResultClear>;

}  // namespace loomkit

#endif  // LOOMKIT_DB_POSTGRESQL_LIBPQ_API_H
