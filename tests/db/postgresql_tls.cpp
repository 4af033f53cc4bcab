// SPDX-License-Identifier: MIT
#include "tests/db/postgresql_tls.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/witness.h"

namespace loomkit::testing {

namespace {

// An authority that signs for itself, another one, and two certificates of the first.
constexpr const char* makeCertificates = R"(
set -e
new="openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2"
umask 077
$new -subj "/CN=the test's authority" -keyout root.key -out root.crt
$new -subj "/CN=a stranger's authority" -keyout strange.key -out strange.crt
leaf="$new -CA root.crt -CAkey root.key -addext basicConstraints=critical,CA:false"
$leaf -subj /CN=localhost -addext subjectAltName=DNS:localhost -keyout server.key -out server.crt
$leaf -subj /CN=bearer -keyout bearer.key -out bearer.crt
)";

std::string contentOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

TlsFiles withTls(PostgresqlServer* server) {
  const std::string folder = server->directory() + "/";
  const TlsFiles files = {folder + "root.crt", folder + "strange.crt", folder + "bearer.crt",
                          folder + "bearer.key"};
  if (!contentOf(files.root).empty()) return files;
  const Witnessed made = runShell("cd " + folder + " && (" + makeCertificates + ") 2>&1");
  if (made.status != 0) throw std::runtime_error("openssl: " + made.output);
  for (const char* leaf : {"root.crt", "server.crt", "server.key"})
    server->writeConfiguration(leaf, contentOf(folder + leaf));
  server->configure("ssl = on\nssl_ca_file = 'root.crt'\n");
  server->stop();
  server->start();
  return files;
}

std::string tlsUri(const PostgresqlServer& server, const std::string& user, const std::string& host,
                   const std::string& options) {
  return "postgresql://" + user + "@" + host + ":" + std::to_string(server.port()) +
         "/postgres?hostaddr=127.0.0.1" + options;
}

}  // namespace loomkit::testing
