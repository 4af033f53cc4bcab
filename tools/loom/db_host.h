// SPDX-License-Identifier: MIT
// DbHost: a database that loom has opened, and the rows of its tables.
#ifndef LOOM_DB_HOST_H
#define LOOM_DB_HOST_H

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "loomkit/db/database.h"
#include "loomkit/db/sql/sql_database.h"
#include "loomkit/db/table.h"
#include "row_source.h"

namespace loom {

/// What a LOCATOR operand is, for the help of commands.
inline constexpr std::string_view locatorHelp =
    "The database: csv:DIRECTORY, xbase:DIRECTORY, sqlite3:FILE, tessel:FILE or "
    "postgresql://USER@HOST/NAME, with options behind ?. Passwords are better kept in ~/.pgpass "
    "than typed here.";

/// Throws Failure where a database or table cannot be opened. The database's own
/// words stand behind ours in it, or the system's, where a file cannot be read.
class DbHost {
 public:
  /// Opens the locator. A SQLite file must exist, unless `create` is set, and its
  /// option "readonly" means what it says, beyond what the backend makes of it. An
  /// option that the backend would ignore is a usage Failure.
  explicit DbHost(const std::string& locator, bool create = false);

  [[nodiscard]] GDbDatabase* database() const { return opened.get(); }
  /// Null when the database knows no SQL.
  [[nodiscard]] GSqlDatabase* sql() const { return dynamic_cast<GSqlDatabase*>(opened.get()); }
  /// The locator's type in lower case.
  [[nodiscard]] const std::string& type() const { return typeId; }
  /// The locator as it may be shown, without a password.
  [[nodiscard]] const std::string& name() const { return shownName; }
  /// Whether the database is a SQLite file.
  [[nodiscard]] bool isSqlite() const { return typeId == "sqlite3"; }

  /// The names of the tables and views, sorted.
  [[nodiscard]] std::vector<std::string> tables() const;

  /// The columns of a table or view; those of a CSV table are inferred.
  [[nodiscard]] std::vector<Column> columnsOf(const std::string& name) const;

  /// The columns that `list`, "name:type,...", chooses, in its order. Those of a CSV
  /// table are what the list says; of other tables it names columns, and may leave
  /// the types out. An empty list chooses all.
  [[nodiscard]] std::vector<Column> columnsOf(const std::string& name,
                                              const std::string& list) const;

  /// The rows of a table or view with the columns of columnsOf().
  [[nodiscard]] std::unique_ptr<RowSource> rows(const std::string& name,
                                                const std::string& list) const;

  /// The rows whose columns hold the values, by an index or a key where there is one
  /// for these columns. Throws a usage Failure for a column that is not there.
  struct Match {
    std::string column;
    std::string value;
  };
  [[nodiscard]] std::unique_ptr<RowSource> rows(const std::string& name, const std::string& list,
                                                const std::vector<Match>& matches) const;

  /// Values that columns must have, by the number of the column.
  using MatchedValues = std::vector<std::pair<std::size_t, Cell>>;

  /// Opens a table for its own operations, with all columns of a known type.
  [[nodiscard]] std::unique_ptr<GDbTable> table(const std::string& name) const;

  /// The name of a column, or of a table, as SQL has it, whatever is in it.
  /// Requires: sql() is not null.
  [[nodiscard]] std::string quotedColumn(const std::string& name) const;
  [[nodiscard]] std::string quotedTable(const std::string& name) const;

  /// Tells other programs that the texts of an xBase table are UTF-8.
  void tellEncoding(const std::string& table) const;

  /// Throws a Failure of a status with the database's own words.
  void check(GDbStatus status, const std::string& what) const;

  /// Keeps a read-only database from being written to, also when the statement
  /// before has made it writable again.
  void keepReadOnly() const;

 private:
  // Whether names of columns are the same in any letter case.
  [[nodiscard]] bool ignoresCase() const { return typeId == "xbase" || typeId == "tessel"; }
  void checkOptions(const std::vector<std::string>& options);
  void open(const std::string& locator);
  void checkFile(const std::filesystem::path& file) const;
  void checkArchive(const std::string& directory, const std::vector<std::string>& options);
  [[nodiscard]] std::filesystem::path fileOf(const std::string& table) const;
  void checkTable(const std::string& table) const;
  [[nodiscard]] std::unique_ptr<GDbTable> openTable(const std::string& name,
                                                    const GDbStructure& structure) const;
  [[nodiscard]] std::vector<int> positionsIn(GDbTable& table,
                                             const std::vector<Column>& columns) const;
  [[nodiscard]] GDbFieldType openedType(const Column& column) const;
  [[nodiscard]] std::unique_ptr<RowSource> tableRows(const std::string& name,
                                                     std::vector<Column> columns) const;
  [[nodiscard]] std::optional<GDbStructure> lookupStructure(const std::string& name,
                                                            const std::vector<Column>& columns,
                                                            const MatchedValues& values) const;
  [[nodiscard]] std::unique_ptr<RowSource> lookedUp(const std::string& name,
                                                    const std::vector<Column>& columns,
                                                    const MatchedValues& values) const;
  [[nodiscard]] std::string encodingOf(const std::string& table) const;
  void openReadOnly(const std::string& locator);
  void run(const std::string& statement) const;
  [[nodiscard]] std::vector<Column> sqliteColumns(const std::string& name) const;

  // A file that SQLite makes when it is opened, and that goes again when nothing has
  // been written to it: what failed leaves no file behind.
  class MadeFile {
   public:
    MadeFile() = default;
    MadeFile(const MadeFile&) = delete;
    MadeFile& operator=(const MadeFile&) = delete;
    ~MadeFile();
    void set(const std::filesystem::path& made) { path = made; }

   private:
    std::filesystem::path path;
  };

  std::string shownName;
  std::string typeId;
  std::string path;        // of the directory or file
  std::string encoding;    // that the locator says, of an xBase database
  bool readsFiles = true;  // whether tables are files of the directory
  bool hasArchive = false;
  MadeFile madeFile;  // outlives the database that has it open
  std::unique_ptr<GDbDatabase> opened;
  bool readOnly = false;
};

}  // namespace loom

#endif  // LOOM_DB_HOST_H
