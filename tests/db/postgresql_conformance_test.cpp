// SPDX-License-Identifier: MIT
// The conformance suites on a PostgreSQL server.
#include "tests/db/conformance_backends.h"
#include "tests/db/postgresql_server.h"

namespace loomkit::testing {

struct Postgresql {
  static constexpr Traits traits = {.name = "Postgresql",
                                    .inserts = true,
                                    .createsTables = true,
                                    .transactions = true,
                                    .scanReplaces = true};

  static constexpr const char* declaredTypes[] = {"integer", "bigint", "character varying(20)",
                                                  "integer"};
  static constexpr GDbFieldType columnTypes[] = {GDbFieldInt, GDbFieldInt, GDbFieldString,
                                                 GDbFieldInt};
  static constexpr const char* blobType = "bytea";

  static DatabaseOwner open(const ScratchDirectory& /*dir*/) {
    PostgresqlServer& server = PostgresqlServer::shared();
    server.psql(
        "SET client_min_messages = warning; DROP SCHEMA IF EXISTS scratch CASCADE; "
        "CREATE SCHEMA scratch;");
    DatabaseOwner database = openDb(server.socketUri() + "&options=-csearch_path%3Dscratch");
    createParts(database.get());
    return database;
  }
};

using TestedBackends = ::testing::Types<Postgresql>;
using TestedSqlBackends = ::testing::Types<Postgresql>;

}  // namespace loomkit::testing

#include "tests/db/conformance_suite.h"
#include "tests/db/sql_suite.h"
