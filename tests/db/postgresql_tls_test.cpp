// SPDX-License-Identifier: MIT
// Connections by TLS: which servers and clients trust each other is libpq's to
// say, by the options of the locator.
#include "tests/db/postgresql_tls.h"

#include "tests/db/postgresql_fixture.h"

namespace {

using namespace loomkit::testing;

struct Connecting {
  const char* user;
  const char* host;
  const char* options;  // {root} and the like stand for files
  const char* refusal;  // a part of the text; null: it opens
  bool byTls;
};

const Connecting connectings[] = {
    {"loomkit", "localhost", "&sslmode=verify-full&sslrootcert={root}", nullptr, true},
    {"loomkit", "localhost", "&sslmode=verify-full&sslrootcert={strange}",
     "certificate verify failed", false},
    {"loomkit", "localhost", "&sslmode=verify-full&sslrootcert={folder}/nosuch.crt",
     "root certificate file", false},
    {"loomkit", "elsewhere.example", "&sslmode=verify-full&sslrootcert={root}",
     "does not match host name", false},
    {"loomkit", "elsewhere.example", "&sslmode=verify-ca&sslrootcert={root}", nullptr, true},
    {"loomkit", "elsewhere.example", "&sslmode=require", nullptr, true},
    {"loomkit", "localhost", "&sslmode=disable", nullptr, false},
    {"onlytls", "localhost", "&sslmode=require", nullptr, true},
    {"onlytls", "localhost", "&sslmode=disable", "no encryption", false},
    {"onlytls", "localhost",
     "&sslmode=verify-full&sslrootcert={root}&ssl_min_protocol_version=TLSv1.3", nullptr, true},
    {"bearer", "localhost",
     "&sslmode=verify-full&sslrootcert={root}&sslcert={bearer}&sslkey={bearerKey}", nullptr, true},
    {"bearer", "localhost", "&sslmode=verify-full&sslrootcert={root}",
     "requires a valid client certificate", false},
    {"onlytls", "localhost", "&sslmode=sometimes", "invalid sslmode", false},
};

std::string withFiles(std::string text, const TlsFiles& files, const std::string& folder) {
  const std::pair<std::string, std::string> names[] = {{"{root}", files.root},
                                                       {"{strange}", files.strangeRoot},
                                                       {"{bearer}", files.bearer},
                                                       {"{bearerKey}", files.bearerKey},
                                                       {"{folder}", folder}};
  for (const auto& [name, value] : names)
    for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name))
      text.replace(at, name.size(), value);
  return text;
}

TEST(PostgresqlTls, WhoTrustsWhomIsAsTheLocatorSays) {
  PostgresqlServer& server = PostgresqlServer::shared();
  const TlsFiles files = withTls(&server);
  server.psql("CREATE ROLE onlytls LOGIN; CREATE ROLE bearer LOGIN;");
  for (const Connecting& row : connectings) {
    const std::string locator =
        tlsUri(server, row.user, row.host, withFiles(row.options, files, server.directory()));
    CaptureLog log;
    GDbDatabase* opened = nullptr;
    const GDbStatus status = GDbDatabase::openDatabase(locator.c_str(), &opened);
    const DatabaseOwner database(opened);
    EXPECT_EQ(status, row.refusal == nullptr ? GDbNoError : GDbCantOpenFile) << locator;
    if (row.refusal != nullptr) {
      ASSERT_EQ(log.texts().size(), 1U) << locator;
      EXPECT_NE(log.texts()[0].find(row.refusal), std::string::npos) << log.texts()[0];
      continue;
    }
    ASSERT_NE(opened, nullptr) << locator;
    const std::string tls = dynamic_cast<GPostgresqlDatabase&>(*database).getTlsVersion();
    EXPECT_EQ(tls.substr(0, 3), row.byTls ? "TLS" : "") << locator;
    GSqlQuery query(sqlOf(database),
                    "SELECT ssl::text FROM pg_stat_ssl WHERE pid = pg_backend_pid()");
    std::string seenByServer;
    EXPECT_EQ(query.exec(), GDbNoError);
    EXPECT_EQ(query.next(), GDbNoError);
    EXPECT_EQ(query.getText(0, &seenByServer), GDbNoError);
    EXPECT_EQ(seenByServer, row.byTls ? "true" : "false") << locator;
  }
  server.psql("DROP ROLE onlytls; DROP ROLE bearer;");
}

TEST(PostgresqlTls, ALostConnectionIsMadeAnewByTls) {
  PostgresqlServer& server = PostgresqlServer::shared();
  const TlsFiles files = withTls(&server);
  const DatabaseOwner database = openDb(
      tlsUri(server, "loomkit", "localhost", "&sslmode=verify-full&sslrootcert=" + files.root));
  auto& postgresql = dynamic_cast<GPostgresqlDatabase&>(*database);
  const std::string tls = postgresql.getTlsVersion();
  server.psql("SELECT pg_terminate_backend(pid, 20000) FROM pg_stat_ssl WHERE ssl");
  CaptureLog log;
  GSqlQuery query(&postgresql, "SELECT 1");
  EXPECT_EQ(query.exec(), GDbNoError) << query.getLastError().getText();
  EXPECT_EQ(log.texts().size(), 1U);
  EXPECT_EQ(postgresql.getTlsVersion(), tls);
}

}  // namespace
