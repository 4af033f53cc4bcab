// SPDX-License-Identifier: MIT
#include "table_copy.h"

#include <algorithm>
#include <limits>
#include <memory>

#include "command.h"
#include "csv_copy.h"
#include "db_host.h"
#include "loomkit/db/locator.h"
#include "loomkit/db/record_owner.h"
#include "loomkit/db/sql/sql_query.h"
#include "loomkit/db/table.h"
#include "loomkit/text/string_util.h"
#include "progress_bar.h"
#include "store_copy.h"
#include "visible_text.h"
#include "xbase_copy.h"

namespace loom {

namespace {

template <typename Number>
bool fits(std::int64_t value) {
  return value >= std::numeric_limits<Number>::min() && value <= std::numeric_limits<Number>::max();
}

bool addField(GDbRecord* record, GDbFieldType type, const Cell& cell) {
  if (const auto* integer = std::get_if<std::int64_t>(&cell)) {
    if (type == GDbFieldInt && fits<int>(*integer))
      record->addIntField(static_cast<int>(*integer));
    else if (type == GDbFieldUInt && fits<unsigned>(*integer))
      record->addUIntField(static_cast<unsigned>(*integer));
    else
      return false;
    return true;
  }
  if (const auto* real = std::get_if<double>(&cell)) {
    if (type != GDbFieldFloat) return false;
    record->addFloatField(*real);
    return true;
  }
  if (const auto* text = std::get_if<std::string>(&cell)) {
    if (type != GDbFieldString || text->find('\0') != std::string::npos) return false;
    record->addStringField(*text);
    return true;
  }
  const auto* blob = std::get_if<Blob>(&cell);
  if (blob == nullptr || type != GDbFieldBlob) return false;
  record->addBlobField(blob->bytes.data(), static_cast<unsigned>(blob->bytes.size()));
  return true;
}

/// Takes rows into a table that it has made.
class Target {
 public:
  Target(const RowSource& itsSource, std::string itsName)
      : source(itsSource), name(std::move(itsName)) {}
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;
  virtual ~Target() = default;

  virtual void add(const Row& row) = 0;
  virtual void flush() = 0;

 protected:
  const RowSource& source;
  const std::string name;
};

// Inserts by statements: SQLite one by one, while a server is sent many at once.
class SqlTarget : public Target {
 public:
  SqlTarget(const RowSource& itsSource, const std::string& itsName, const DbHost& host)
      : Target(itsSource, itsName), atOnce(host.isSqlite()), held(atOnce ? 0 : mostRows) {
    std::string columns;
    std::string marks;
    for (const Column& column : source.columns()) {
      columns += (columns.empty() ? "" : ", ") + host.quotedColumn(column.name);
      marks += marks.empty() ? "?" : ", ?";
    }
    statement = GSqlQuery(host.sql(), "INSERT INTO " + host.quotedTable(name) + " (" + columns +
                                          ") VALUES (" + marks + ");");
  }

  void add(const Row& row) override {
    if (atOnce) return insert(row);
    held[count++] = row;
    if (count == held.size()) flush();
  }

  void flush() override {
    const unsigned long before = source.number() - static_cast<unsigned long>(count);
    unsigned long bound = 0;
    const GDbStatus status = statement.execMany(static_cast<unsigned>(count), [&](unsigned i) {
      bound = i + 1;
      return bindRow(held[i]);
    });
    // A server tells only that one of those that it was sent has failed.
    if (status != GDbNoError)
      require(status, place(before + bound) + " or one before it", statement.getLastError());
    count = 0;
  }

 private:
  void insert(const Row& row) {
    GDbStatus status = bindRow(row);
    if (status == GDbNoError) status = statement.exec();
    if (status != GDbNoError) require(status, place(source.number()), statement.getLastError());
  }

  GDbStatus bindRow(const Row& row) {
    GDbStatus status = statement.reset();
    for (std::size_t i = 0; i < row.size() && status == GDbNoError; ++i)
      status = bindCell(statement, static_cast<int>(i), row[i]);
    return status;
  }

  [[nodiscard]] std::string place(unsigned long row) const {
    return name + ": row " + std::to_string(row);
  }

  static constexpr std::size_t mostRows = 1000;

  GSqlQuery statement;
  bool atOnce;            // each row by itself
  std::size_t count = 0;  // of the rows that are held
  std::vector<Row> held;  // the same memory from portion to portion
};

// Inserts records, which have 32 bits for an integer, texts without NUL and no NULL.
class RecordTarget : public Target {
 public:
  RecordTarget(const RowSource& itsSource, const std::string& itsName,
               std::unique_ptr<GDbTable> itsTable)
      : Target(itsSource, itsName), table(std::move(itsTable)) {}

  void add(const Row& row) override {
    batch.addRecord(recordOf(source, row, name).release());
    if (batch.getNumRecords() == portion) flush();
  }

  void flush() override {
    require(table->insertRecords(batch), name);
    batch.clear();
  }

 private:
  static constexpr unsigned portion = 1000;

  std::unique_ptr<GDbTable> table;
  GDbRecordSet batch;
};

// Rows of another source, with an empty value where they have none.
class BlankedRows : public RowSource {
 public:
  explicit BlankedRows(std::unique_ptr<RowSource> itsSource)
      : RowSource(itsSource->name(), itsSource->columns()), source(std::move(itsSource)) {}

 protected:
  bool read(Row* row) override {
    if (!source->next(row)) return false;
    for (std::size_t i = 0; i < row->size(); ++i)
      if (isNull((*row)[i])) (*row)[i] = blankOf(fields[i].type);
    return true;
  }

 private:
  static Cell blankOf(GDbFieldType type) {
    switch (type) {
      case GDbFieldInt:
      case GDbFieldUInt:
        return std::int64_t{0};
      case GDbFieldFloat:
        return 0.0;
      case GDbFieldBlob:
        return Blob{};
      default:
        return std::string();
    }
  }

  std::unique_ptr<RowSource> source;
};

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::string quotedList(const DbHost& to, const std::vector<std::string>& columns) {
  std::string list;
  for (const std::string& column : columns)
    list += (list.empty() ? "" : ", ") + to.quotedColumn(column);
  return list;
}

std::string_view sqliteType(const Column& column) {
  constexpr std::string_view types[] = {"", "INTEGER", "INTEGER", "FLOAT", "TEXT", "BLOB"};
  return types[column.type];
}

// SQLite's own words for the columns are kept, so that a DATE stays one. In those of
// another database, such as C(3) or numeric, SQLite sees columns of numbers, and would
// make 7 of the text 007.
void createSqliteTable(const DbHost& to, const CopyJob& job, const std::vector<Column>& columns) {
  const TableShape& shape = job.shape;
  std::string list;
  for (const Column& column : columns) {
    const bool hasWords = job.fromSqlite && !column.declared.empty();
    list += (list.empty() ? "" : ", ") + to.quotedColumn(column.name) + " ";
    list += hasWords ? std::string_view(column.declared) : sqliteType(column);
    if (contains(shape.notNull, column.name)) list += " NOT NULL";
  }
  if (!shape.primaryKey.empty()) list += ", PRIMARY KEY (" + quotedList(to, shape.primaryKey) + ")";
  GSqlQuery query(to.sql(), "CREATE TABLE " + to.quotedTable(job.name) + " (" + list + ");");
  if (query.exec() == GDbNoError) return;
  throw Failure(ExitCode::cannotWrite, job.name + ": " + query.getLastError().getText());
}

void run(const DbHost& to, const std::string& name, const std::string& statement) {
  GSqlQuery query(to.sql(), statement);
  if (query.exec() == GDbNoError) return;
  throw Failure(ExitCode::cannotWrite, name + ": " + query.getLastError().getText());
}

// A name of the source's may be taken, or kept for the database's own indexes.
std::string indexName(const CopyJob& job, const std::string& table, const GDbIndex& index) {
  const bool keeps = job.name == table && !index.getName().starts_with("sqlite_");
  return keeps ? index.getName() : job.name + "_" + gJoin("_", columnsOf(index)) + "_idx";
}

// When the rows are in, an index is quicker to make.
void createIndexes(const DbHost& to, const CopyJob& job, const std::string& table) {
  for (const GDbIndex& index : job.shape.indexes) {
    const std::vector<std::string> columns = columnsOf(index);
    run(to, job.name,
        std::string("CREATE ") + (index.isUnique() ? "UNIQUE " : "") + "INDEX " +
            to.quotedColumn(indexName(job, table, index)) + " ON " + to.quotedTable(job.name) +
            " (" + quotedList(to, columns) +
            (index.isDescending() && columns.size() == 1 ? " DESC" : "") + ");");
  }
}

// Integers have 64 bits in SQLite and in files of text. A server makes columns of 32 bits
// for those with a sign and of 64 for those without, so these are asked for where the
// source does not say that 32 are enough.
GDbFieldType serverType(const Column& column) {
  const bool mayBeWide = column.declared != "integer" && column.declared != "smallint";
  return column.type == GDbFieldInt && mayBeWide ? GDbFieldUInt : column.type;
}

GDbStructure structureWithKey(const RowSource& source, const TableShape& shape, bool onServer) {
  static_cast<void>(structureOf(source));  // what has no type is refused
  GDbStructure structure;
  for (const Column& column : source.columns())
    structure.appendField(GDbField(column.name, onServer ? serverType(column) : column.type, 0, 0,
                                   contains(shape.primaryKey, column.name), false));
  return structure;
}

std::unique_ptr<Target> makeTarget(const RowSource& source, const DbHost& to, const CopyJob& job) {
  const std::string& name = job.name;
  if (to.isSqlite()) {
    createSqliteTable(to, job, source.columns());
    return std::make_unique<SqlTarget>(source, name, to);
  }
  const GDbStructure structure = structureWithKey(source, job.shape, to.sql() != nullptr);
  GDbTable* made = nullptr;
  const GDbStatus status = to.database()->createTable(name, &structure, &made);
  if (status != GDbNoError) {
    const std::string words =
        to.sql() != nullptr ? to.sql()->getLastError().getText() : gDbStrError(status);
    throw Failure(ExitCode::cannotWrite, name + ": " + words);
  }
  std::unique_ptr<GDbTable> table(made);
  if (to.sql() == nullptr) return std::make_unique<RecordTarget>(source, name, std::move(table));
  for (const std::string& column : job.shape.notNull)
    run(to, name,
        "ALTER TABLE " + to.quotedTable(name) + " ALTER COLUMN " + to.quotedColumn(column) +
            " SET NOT NULL;");
  return std::make_unique<SqlTarget>(source, name, to);
}

}  // namespace

GDbStructure structureOf(const RowSource& source) {
  GDbStructure structure;
  for (const Column& column : source.columns()) {
    if (column.type == GDbFieldNone)
      throw Failure(ExitCode::damaged, source.name() + ": column " + column.name +
                                           " has no type that other databases know");
    structure.appendField(GDbField(column.name, column.type, 0, 0, false, false));
  }
  return structure;
}

Failure cannotHold(const RowSource& source, std::size_t index, const Cell& cell,
                   const std::string& target) {
  const std::string reason = target + ": row " + std::to_string(source.number()) + ", column " +
                             source.columns()[index].name + ": cannot hold " +
                             std::string(kindOf(cell));
  if (isNull(cell))
    return {ExitCode::cannotWrite, reason, "--blank-nulls writes an empty text or 0 instead."};
  return {ExitCode::cannotWrite, reason + ", " + excerpt(cellText(cell))};
}

loomkit::RecordOwner recordOf(const RowSource& source, const Row& row, const std::string& target) {
  loomkit::RecordOwner record(new GDbRecord);
  for (std::size_t i = 0; i < row.size(); ++i) {
    const Column& column = source.columns()[i];
    if (addField(record.get(), column.type, row[i])) continue;
    throw cannotHold(source, i, row[i], target);
  }
  return record;
}

namespace {

unsigned long copyRows(const CopyJob& job) {
  const std::unique_ptr<RowSource> source = job.open();
  const DbHost to(job.locator, true);
  GDbTransactionHandler* transaction = to.database()->getTransactionHandler();
  if (transaction != nullptr) to.check(transaction->begin(), to.name());
  const std::unique_ptr<Target> target = makeTarget(*source, to, job);
  ProgressBar progress(source->name(), job.total);
  Row row;
  while (source->next(&row)) {
    target->add(row);
    if (job.batch != 0 && transaction != nullptr && source->number() % job.batch == 0) {
      target->flush();
      to.check(transaction->commit(), to.name());
      to.check(transaction->begin(), to.name());
    }
    showRows(progress, *source);
  }
  target->flush();
  if (to.sql() != nullptr) createIndexes(to, job, source->name());
  if (transaction != nullptr) to.check(transaction->commit(), to.name());
  reportLeftOut(job.name, job.shape.rest);
  return source->number();
}

}  // namespace

void takeLossyOptions(const Invocation& call, CopyJob* job) {
  job->blankNulls = call.has("--blank-nulls");
  if (!call.has("--decimals")) return;
  constexpr std::int64_t most = 15;
  std::int64_t decimals = 0;
  if (!readInteger(call.value("--decimals"), &decimals) || decimals < 0 || decimals > most)
    throw Failure(ExitCode::usage,
                  "--decimals: not a number from 0 to 15: " + call.value("--decimals"));
  job->decimals = static_cast<int>(decimals);
}

unsigned long copyTable(const CopyJob& job) {
  const std::string type = loomkit::locatorType(job.locator);
  if (job.decimals >= 0 && type != "xbase")
    throw Failure(ExitCode::usage, "--decimals is for xbase: databases");
  const auto copy = type == "tessel"  ? copyToStore
                    : type == "csv"   ? copyToText
                    : type == "xbase" ? copyToXBase
                                      : copyRows;
  if (!job.blankNulls || copy == copyRows) return copy(job);
  CopyJob blanked = job;
  blanked.open = [&job] { return std::make_unique<BlankedRows>(job.open()); };
  return copy(blanked);
}

}  // namespace loom
