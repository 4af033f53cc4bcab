// SPDX-License-Identifier: MIT
// The PostgreSQL driver against raw libpq, libpqxx and SOCI, on the same server
// over its Unix socket: point lookups by a key, 1,000 inserts in a transaction,
// scans of 1,000,000 rows; and 10,000 inserts into a server that is 1 ms away. The
// server is one of Debian's, started for the run.
#include <benchmark/benchmark.h>

#ifdef LOOMKIT_PEER_LIBPQ
#include <libpq-fe.h>
#endif
#ifdef LOOMKIT_PEER_PQXX
#include <pqxx/pqxx>
#endif
#ifdef LOOMKIT_PEER_SOCI
#include <soci/postgresql/soci-postgresql.h>
#include <soci/soci.h>
#endif

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "loomkit/loomkit.h"
#include "tests/db/fault_proxy.h"
#include "tests/db/postgresql_server.h"

namespace {

constexpr int rowCount = 1000000;
constexpr int batch = 1000;

// A server with a full table to read and an empty one to write.
class Server {
 public:
  Server() {
    server.psql(
        "CREATE TABLE t (id int PRIMARY KEY, name text, price float8, amount int);"
        "INSERT INTO t SELECT n, 'a name of ' || n, n * 0.25, n % 100 "
        "FROM generate_series(0, " +
        std::to_string(rowCount - 1) +
        ") n;"
        "CREATE TABLE e (id int PRIMARY KEY, name text, price float8, amount int);"
        "VACUUM ANALYZE t;");
    GDbDatabase* opened = nullptr;
    if (GDbDatabase::openDatabase(uri().c_str(), &opened) != GDbNoError) std::abort();
    database.reset(opened);
    GDbTable* table = nullptr;
    if (database->openTable("t", nullptr, &table) != GDbNoError) std::abort();
    full.reset(table);
    if (database->openTable("e", nullptr, &table) != GDbNoError) std::abort();
    empty.reset(table);
  }
  [[nodiscard]] std::string uri() const { return server.socketUri(); }

  loomkit::testing::PostgresqlServer server;
  std::unique_ptr<GDbDatabase> database;
  std::unique_ptr<GDbTable> full;
  std::unique_ptr<GDbTable> empty;
};

Server& server() {
  static Server instance;
  return instance;
}

std::string nameOf(int id) { return "a name of " + std::to_string(id); }

// The same ids for everybody.
class Ids {
 public:
  int next() { return static_cast<int>(random() % rowCount); }

 private:
  std::mt19937 random{42};
};

void lookupOurs(benchmark::State& state) {
  GDbTable& table = *server().full;
  Ids ids;
  GDbRecordSet set;
  for (auto _ : state) {
    set.clear();
    table.lookupKey(GDbKey(0, ids.next()), &set);
    benchmark::DoNotOptimize(set.getRecord(0)->getFloatField(2));
  }
}
BENCHMARK(lookupOurs)->Name("postgresql/lookup/ours");

void addRecords(GDbRecordSet* records, int count) {
  for (int id = 0; id < count; ++id) {
    auto* record = new GDbRecord;
    record->addIntField(id);
    record->addStringField(nameOf(id));
    record->addFloatField(id * 0.25);
    record->addIntField(id % 100);
    records->addRecord(record);
  }
}

void insertAndForget(benchmark::State& state, GDbDatabase* database, GDbTable* table, int count) {
  GDbTransactionHandler* transaction = database->getTransactionHandler();
  GDbRecordSet records;
  addRecords(&records, count);
  for (auto _ : state) {
    transaction->begin();
    if (table->insertRecords(records) != GDbNoError) std::abort();
    transaction->rollback();
  }
}

void insertOurs(benchmark::State& state) {
  insertAndForget(state, server().database.get(), server().empty.get(), batch);
}
BENCHMARK(insertOurs)->Name("postgresql/insert1000/ours")->Unit(benchmark::kMillisecond);

// Over TCP: to the server itself, and through a proxy that keeps what either side
// says for so many microseconds (below 0: without the proxy).
void insertAtDistance(benchmark::State& state) {
  loomkit::testing::FaultProxy proxy(server().server.port());
  const bool direct = state.range(0) < 0;
  if (!direct) proxy.setDelay(std::chrono::microseconds(state.range(0)));
  const std::string uri = server().server.tcpUri("postgres", direct ? 0 : proxy.port());
  GDbDatabase* opened = nullptr;
  if (GDbDatabase::openDatabase(uri.c_str(), &opened) != GDbNoError) std::abort();
  const std::unique_ptr<GDbDatabase> database(opened);
  GDbTable* table = nullptr;
  if (database->openTable("e", nullptr, &table) != GDbNoError) std::abort();
  const std::unique_ptr<GDbTable> owner(table);
  insertAndForget(state, opened, table, 10000);
}
BENCHMARK(insertAtDistance)
    ->Name("postgresql/insert10000/us_away")
    ->Arg(-1)
    ->Arg(0)
    ->Arg(1000)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

void scanOurs(benchmark::State& state) {
  for (auto _ : state) {
    GDbRecordSet row;
    double sum = 0;
    int rows = 0;
    GDbStatus status = server().full->getFirstRecord(&row);
    while (status == GDbNoError && row.getNumRecords() == 1) {
      sum += row.getRecord(0)->getFloatField(2);
      ++rows;
      status = server().full->getNextRecord(&row);
    }
    if (rows != rowCount) std::abort();
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(scanOurs)->Name("postgresql/scan/ours")->Unit(benchmark::kMillisecond);

// Within a transaction the rows come in chunks, through a cursor.
void scanOursByCursor(benchmark::State& state) {
  server().database->getTransactionHandler()->begin();
  scanOurs(state);
  server().database->getTransactionHandler()->rollback();
}
BENCHMARK(scanOursByCursor)->Name("postgresql/scan/ours_cursor")->Unit(benchmark::kMillisecond);

#ifdef LOOMKIT_PEER_LIBPQ
// What a host would write by hand.
class Raw {
 public:
  Raw() : connection(PQconnectdb(server().uri().c_str())) {
    PQclear(PQprepare(connection, "lookup", "SELECT id, name, price, amount FROM t WHERE id = $1",
                      0, nullptr));
    PQclear(PQprepare(connection, "insert", "INSERT INTO e VALUES ($1, $2, $3, $4)", 0, nullptr));
  }
  Raw(const Raw&) = delete;
  Raw& operator=(const Raw&) = delete;
  ~Raw() { PQfinish(connection); }
  void run(const char* statement) { PQclear(PQexec(connection, statement)); }

  PGconn* connection;
};

double doubleOf(const char* bytes) {
  std::uint64_t bits = 0;
  for (int i = 0; i < 8; ++i) bits = bits << 8 | static_cast<unsigned char>(bytes[i]);
  double value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

void lookupLibpq(benchmark::State& state) {
  Raw raw;
  Ids ids;
  for (auto _ : state) {
    const std::string id = std::to_string(ids.next());
    const char* const values[] = {id.c_str()};
    PGresult* result = PQexecPrepared(raw.connection, "lookup", 1, values, nullptr, nullptr, 1);
    benchmark::DoNotOptimize(doubleOf(PQgetvalue(result, 0, 2)));
    PQclear(result);
  }
}
BENCHMARK(lookupLibpq)->Name("postgresql/lookup/libpq");

void insertLibpq(benchmark::State& state) {
  Raw raw;
  for (auto _ : state) {
    raw.run("BEGIN");
    for (int id = 0; id < batch; ++id) {
      const std::string texts[] = {std::to_string(id), nameOf(id), std::to_string(id * 0.25),
                                   std::to_string(id % 100)};
      const char* const values[] = {texts[0].c_str(), texts[1].c_str(), texts[2].c_str(),
                                    texts[3].c_str()};
      PQclear(PQexecPrepared(raw.connection, "insert", 4, values, nullptr, nullptr, 0));
    }
    raw.run("ROLLBACK");
  }
}
BENCHMARK(insertLibpq)->Name("postgresql/insert1000/libpq")->Unit(benchmark::kMillisecond);

// All rows in memory at once, which no scan of ours needs.
void scanLibpq(benchmark::State& state) {
  Raw raw;
  for (auto _ : state) {
    PGresult* result = PQexecParams(raw.connection, "SELECT id, name, price, amount FROM t", 0,
                                    nullptr, nullptr, nullptr, nullptr, 1);
    double sum = 0;
    for (int i = 0; i < PQntuples(result); ++i) sum += doubleOf(PQgetvalue(result, i, 2));
    if (PQntuples(result) != rowCount) std::abort();
    benchmark::DoNotOptimize(sum);
    PQclear(result);
  }
}
BENCHMARK(scanLibpq)->Name("postgresql/scan/libpq")->Unit(benchmark::kMillisecond);

// One row in memory at a time.
void scanLibpqSingleRows(benchmark::State& state) {
  Raw raw;
  for (auto _ : state) {
    PQsendQueryParams(raw.connection, "SELECT id, name, price, amount FROM t", 0, nullptr, nullptr,
                      nullptr, nullptr, 1);
    PQsetSingleRowMode(raw.connection);
    double sum = 0;
    while (PGresult* result = PQgetResult(raw.connection)) {
      if (PQntuples(result) == 1) sum += doubleOf(PQgetvalue(result, 0, 2));
      PQclear(result);
    }
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(scanLibpqSingleRows)
    ->Name("postgresql/scan/libpq_single_rows")
    ->Unit(benchmark::kMillisecond);
#endif

#ifdef LOOMKIT_PEER_PQXX
void lookupPqxx(benchmark::State& state) {
  pqxx::connection connection(server().uri());
  connection.prepare("lookup", "SELECT id, name, price, amount FROM t WHERE id = $1");
  pqxx::nontransaction work(connection);
  Ids ids;
  for (auto _ : state) {
    const pqxx::result rows = work.exec_prepared("lookup", ids.next());
    benchmark::DoNotOptimize(rows[0][2].as<double>());
  }
}
BENCHMARK(lookupPqxx)->Name("postgresql/lookup/libpqxx");

void insertPqxx(benchmark::State& state) {
  pqxx::connection connection(server().uri());
  connection.prepare("insert", "INSERT INTO e VALUES ($1, $2, $3, $4)");
  for (auto _ : state) {
    pqxx::work work(connection);
    for (int id = 0; id < batch; ++id)
      work.exec_prepared("insert", id, nameOf(id), id * 0.25, id % 100);
    work.abort();
  }
}
BENCHMARK(insertPqxx)->Name("postgresql/insert1000/libpqxx")->Unit(benchmark::kMillisecond);

void scanPqxx(benchmark::State& state) {
  pqxx::connection connection(server().uri());
  for (auto _ : state) {
    pqxx::nontransaction work(connection);
    const pqxx::result rows = work.exec("SELECT id, name, price, amount FROM t");
    double sum = 0;
    for (const auto& row : rows) sum += row[2].as<double>();
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(scanPqxx)->Name("postgresql/scan/libpqxx")->Unit(benchmark::kMillisecond);
#endif

#ifdef LOOMKIT_PEER_SOCI
void lookupSoci(benchmark::State& state) {
  soci::session session(soci::postgresql, server().uri());
  int id = 0;
  int found = 0;
  int amount = 0;
  double price = 0;
  std::string name;
  soci::statement statement =
      (session.prepare << "SELECT id, name, price, amount FROM t WHERE id = :id", soci::use(id),
       soci::into(found), soci::into(name), soci::into(price), soci::into(amount));
  Ids ids;
  for (auto _ : state) {
    id = ids.next();
    statement.execute(true);
    benchmark::DoNotOptimize(price);
  }
}
BENCHMARK(lookupSoci)->Name("postgresql/lookup/soci");

void insertSoci(benchmark::State& state) {
  soci::session session(soci::postgresql, server().uri());
  int id = 0;
  int amount = 0;
  double price = 0;
  std::string name;
  soci::statement statement = (session.prepare << "INSERT INTO e VALUES (:a, :b, :c, :d)",
                               soci::use(id), soci::use(name), soci::use(price), soci::use(amount));
  for (auto _ : state) {
    soci::transaction transaction(session);
    for (id = 0; id < batch; ++id) {
      name = nameOf(id);
      price = id * 0.25;
      amount = id % 100;
      statement.execute(true);
    }
    transaction.rollback();
  }
}
BENCHMARK(insertSoci)->Name("postgresql/insert1000/soci")->Unit(benchmark::kMillisecond);

void scanSoci(benchmark::State& state) {
  soci::session session(soci::postgresql, server().uri());
  for (auto _ : state) {
    soci::rowset<soci::row> rows = (session.prepare << "SELECT id, name, price, amount FROM t");
    double sum = 0;
    for (const soci::row& row : rows) sum += row.get<double>(2);
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(scanSoci)->Name("postgresql/scan/soci")->Unit(benchmark::kMillisecond);
#endif

}  // namespace
