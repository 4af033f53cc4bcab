// SPDX-License-Identifier: MIT
// GPostgresqlQueryData: a PostgreSQL statement, its parameters, and where its
// execution stands. Private to the driver.
#ifndef LOOMKIT_DB_POSTGRESQL_POSTGRESQL_QUERY_DATA_H
#define LOOMKIT_DB_POSTGRESQL_POSTGRESQL_QUERY_DATA_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "loomkit/db/postgresql/column_value.h"
#include "loomkit/db/postgresql/libpq_api.h"
#include "loomkit/db/postgresql/pg_connection.h"
#include "loomkit/db/postgresql/row_record.h"
#include "loomkit/db/sql/sql_query_data.h"

class GPostgresqlDatabase;

namespace loomkit {

/// What the server says of a result's column. `table` and `number` are those of the
/// table's column that it shows; 0 when it is none.
struct PgColumn {
  std::string name;  ///< in UTF-8
  PgOid type;
  int modifier;  ///< of the type, such as a length; -1 without
  PgOid table;
  int number;
};

}  // namespace loomkit

/// The statement stays prepared on the server until its text changes or the
/// connection ends. exec() moves from inactive to stepped or finished, next()
/// from stepped to finished, reset() and a failure back to inactive.
///
/// Rows are read off the connection one by one. When something else needs the
/// connection in between, the rows that are left are taken into memory.
class GPostgresqlQueryData : public GSqlQueryData, private loomkit::PgRowReader {
 public:
  /// `scan`: within a transaction the rows come through a cursor. Such a
  /// statement has no parameters.
  GPostgresqlQueryData(GPostgresqlDatabase* database, const std::string& statement, bool scan);
  ~GPostgresqlQueryData() override;

  [[nodiscard]] bool isActive() const override { return state != State::inactive; }
  [[nodiscard]] bool isValid() const override { return valid; }
  /// Prepares the statement if that has not happened; false when that fails.
  [[nodiscard]] bool isSelect() const override;
  void invalidate() override;
  void setStatement(const std::string& text) override;
  void clearRecord() override;

  // The operations of the database on this statement, which must be attached.

  GDbStatus prepare();
  /// Keeps a copy of the value. `binary`: bytes as they are.
  GDbStatus bind(int index, std::string_view value, bool binary);
  GDbStatus bindNull(int index);
  GDbStatus clearBindings();
  GDbStatus reset();
  GDbStatus exec();
  /// As GSqlQuery::execMany(), in batches.
  GDbStatus execMany(unsigned count, const std::function<GDbStatus(unsigned)>& bind);
  GDbStatus first();
  GDbStatus next();
  GDbStatus seek(int position, bool relative);
  /// Stores the value of a column of the current row. With a type other than
  /// GDbFieldNone the column must be of that type and no NULL.
  GDbStatus getValue(int column, GDbFieldType type, loomkit::PgValue* value);
  GDbStatus isNull(int column, bool* result);
  GDbStatus getBlob(int column, const void** data, unsigned* size);
  GDbStatus getRecord(GDbRecord** made);
  GDbStatus getNumRowsAffected(int* count);
  GDbStatus getSize();
  /// The result's columns, and the names of the parameters, as many as there are, both
  /// in UTF-8. Requires: the statement is prepared.
  [[nodiscard]] const std::vector<loomkit::PgColumn>& getColumns() const { return columns; }
  [[nodiscard]] const std::vector<std::string>& getParameterNames() const { return parameterNames; }

 private:
  enum class State {
    inactive,
    stepped,  // there is a row
    finished  // the statement ran to its end
  };
  struct Parameter {
    std::string value = {};
    bool binary = false;
    bool null = true;
  };

  [[nodiscard]] GPostgresqlDatabase* owner() const;
  [[nodiscard]] loomkit::PgConnection& connection() const;
  GDbStatus fail(GDbStatus status) const;
  [[nodiscard]] bool isPrepared() const;
  GDbStatus prepareReady();
  void describe(const pg_result* description);
  GDbStatus bindAt(int index, Parameter** parameter);
  bool send();
  GDbStatus take(loomkit::PgResult result);
  struct Batch;
  loomkit::PgFailure sendBatch(unsigned from, unsigned count,
                               const std::function<GDbStatus(unsigned)>& bind, Batch* batch);
  loomkit::PgFailure execBatch(unsigned from, unsigned count,
                               const std::function<GDbStatus(unsigned)>& bind, Batch* batch);
  GDbStatus openCursor();
  loomkit::PgFailure fetchRows();
  void closeCursor();
  loomkit::PgFailure moreRows();
  GDbStatus failInactive();
  GDbStatus step();
  GDbStatus failAndStop(const loomkit::PgFailure& failure);
  void endReading();
  void stop();
  void finalize();
  void setAside() override;

  const bool scan;
  std::string cursor;  // while one is open
  int rowsToFetch = 0;

  // Prepared on the connection of that generation.
  std::string name;
  std::string serverText;  // in UTF-8, its parameters numbered
  unsigned generation = 0;
  bool prepared = false;
  bool binaryResults = false;
  std::vector<const loomkit::PgType*> columnTypes;
  std::vector<loomkit::PgColumn> columns;
  std::vector<std::string> parameterNames;  // in UTF-8; as many as `parameters`
  std::vector<Parameter> parameters;
  // What libpq takes them as; kept, as a statement is executed again and again.
  std::vector<const char*> values;
  std::vector<int> lengths;
  std::vector<int> formats;

  State state = State::inactive;
  std::int32_t row = -1;  // zero-based; -1 when none has been asked for
  bool valid = false;     // positioned on a row
  std::int32_t rowsAffected = -1;
  bool reading = false;    // rows still come off the connection
  loomkit::PgResult rows;  // the current row is in it
  int rowInRows = 0;
  loomkit::PgResult laterRows;      // set aside
  loomkit::PgFailure laterFailure;  // behind them
  loomkit::RowRecord maker;
  std::vector<std::string> blobRoom;  // a column's bytes that came as text
};

#endif  // LOOMKIT_DB_POSTGRESQL_POSTGRESQL_QUERY_DATA_H
