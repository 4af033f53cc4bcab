// SPDX-License-Identifier: MIT
#include "tests/db/postgresql_server.h"

#include <arpa/inet.h>
#include <grp.h>
#include <netinet/in.h>
#include <pwd.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "tests/witness.h"

namespace loomkit::testing {

namespace {

namespace fs = std::filesystem;

// Debian keeps the servers of each version apart; the newest is as good as any.
std::string newestPrograms() {
  std::string newest;
  std::error_code none;
  for (const auto& version : fs::directory_iterator("/usr/lib/postgresql", none)) {
    const std::string candidate = (version.path() / "bin").string();
    if (fs::exists(candidate + "/postgres") && candidate > newest) newest = candidate;
  }
  if (newest.empty()) throw std::runtime_error("no PostgreSQL server is installed");
  return newest;
}

// Gives up root, which the server refuses, and asks to be stopped when the test
// program ends. That is asked last, because giving up root forgets it.
void becomeServer() {
  if (::geteuid() == 0) {
    const passwd* nobody = ::getpwnam("nobody");
    if (nobody == nullptr || ::setgroups(0, nullptr) != 0 || ::setgid(nobody->pw_gid) != 0 ||
        ::setuid(nobody->pw_uid) != 0)
      ::_exit(126);
  }
  ::prctl(PR_SET_PDEATHSIG, SIGQUIT);
}

// Starts a program with its output in `log`.
pid_t spawn(const std::vector<std::string>& words, const std::string& log) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  becomeServer();
  if (std::freopen(log.c_str(), "a", stdout) == nullptr) ::_exit(126);
  ::dup2(STDOUT_FILENO, STDERR_FILENO);
  ::setenv("LC_ALL", "C", 1);
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  ::execv(arguments[0], arguments.data());
  ::_exit(127);
}

void run(const std::vector<std::string>& words, const std::string& log) {
  int status = -1;
  ::waitpid(spawn(words, log), &status, 0);
  if (status != 0) {
    std::ifstream text(log);
    throw std::runtime_error(words[0] + ": " +
                             std::string(std::istreambuf_iterator<char>(text), {}));
  }
}

void giveToServer(const std::string& path) {
  if (::geteuid() != 0) return;
  const passwd* nobody = ::getpwnam("nobody");
  if (nobody == nullptr || ::chown(path.c_str(), nobody->pw_uid, nobody->pw_gid) != 0)
    throw std::runtime_error("cannot give " + path + " to the user nobody");
}

// Durability is not what is tested here.
constexpr const char* quickSettings =
    "fsync = off\n"
    "full_page_writes = off\n"
    "synchronous_commit = off\n"
    "shared_buffers = 32MB\n"
    "max_connections = 60\n"
    "max_prepared_transactions = 4\n"
    "dynamic_shared_memory_type = mmap\n"  // in files of its own folder
    "log_min_messages = fatal\n";

constexpr const char* accessRules =
    "local all all trust\n"
    "host all guarded 127.0.0.1/32 scram-sha-256\n"
    "hostssl all onlytls 127.0.0.1/32 trust\n"
    "hostssl all bearer 127.0.0.1/32 cert\n"
    "host all onlytls,bearer 127.0.0.1/32 reject\n"
    "host all all 127.0.0.1/32 trust\n";

}  // namespace

int freePort() {
  // Below the ports that the system chooses from.
  std::random_device random;
  std::uniform_int_distribution<int> ports(12000, 32000);
  for (int i = 0; i < 100; ++i) {
    const int port = ports(random);
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool bound =
        ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(socket);
    if (bound) return port;
  }
  throw std::runtime_error("no free port");
}

PostgresqlServer::PostgresqlServer() : programs(newestPrograms()), tcpPort(freePort()) {
  // The host's own connections are none of the tests'.
  for (const char* name : {"PGHOST", "PGPORT", "PGUSER", "PGDATABASE", "PGPASSWORD", "PGOPTIONS",
                           "PGSERVICE", "PGSSLMODE", "PGPASSFILE"})
    ::unsetenv(name);
  giveToServer(directory());
  run({program("initdb"), "-D", data(), "-U", "loomkit", "-A", "trust", "-E", "UTF8", "--locale=C",
       "--no-sync", "--no-instructions"},
      directory() + "/log");
  configure(quickSettings);
  writeConfiguration("pg_hba.conf", accessRules);
  // Another server may take the port first.
  for (int i = 0; i < 5 && !tryToStart(); ++i) tcpPort = freePort();
  if (process <= 0) start();
}

PostgresqlServer::~PostgresqlServer() { stop(true); }

std::string PostgresqlServer::program(const std::string& name) const {
  return programs + "/" + name;
}

std::string PostgresqlServer::socketUri(const std::string& database) const {
  return "postgresql://loomkit@/" + database + "?host=" + directory() +
         "&port=" + std::to_string(tcpPort);
}

std::string PostgresqlServer::tcpUri(const std::string& database, int atPort) const {
  return "postgresql://loomkit@127.0.0.1:" + std::to_string(atPort != 0 ? atPort : tcpPort) + "/" +
         database + "?sslmode=disable";
}

void PostgresqlServer::writeConfiguration(const std::string& leaf, const std::string& text) const {
  const std::string path = data() + "/" + leaf;
  std::ofstream(path) << text;
  giveToServer(path);
  ::chmod(path.c_str(), 0600);
}

void PostgresqlServer::configure(const std::string& lines) const {
  std::ofstream(data() + "/postgresql.conf", std::ios::app) << lines;
}

// The eighth line of the file tells how far the server is.
bool PostgresqlServer::isReady() const {
  std::ifstream file(data() + "/postmaster.pid");
  std::string line;
  for (int i = 0; i < 8; ++i)
    if (!std::getline(file, line)) return false;
  return line.find("ready") != std::string::npos;
}

// False when the server ends at once.
bool PostgresqlServer::tryToStart() {
  process = spawn({program("postgres"), "-D", data(), "-k", directory(), "-h", "127.0.0.1", "-p",
                   std::to_string(tcpPort)},
                  directory() + "/log");
  for (int i = 0; i < 3000 && !isReady(); ++i) {
    if (::waitpid(process, nullptr, WNOHANG) != 0) {
      process = -1;
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return isReady();
}

void PostgresqlServer::start() {
  if (tryToStart()) return;
  std::ifstream log(directory() + "/log");
  throw std::runtime_error("the server does not start: " +
                           std::string(std::istreambuf_iterator<char>(log), {}));
}

void PostgresqlServer::stop(bool atOnce) {
  if (process <= 0) return;
  ::kill(process, atOnce ? SIGQUIT : SIGINT);
  ::waitpid(process, nullptr, 0);
  process = -1;
}

std::string PostgresqlServer::psql(const std::string& statements,
                                   const std::string& database) const {
  const std::string script = directory() + "/script.sql";
  std::ofstream(script) << statements;
  const Witnessed result = runShell("psql -X -q -A -t -v ON_ERROR_STOP=1 -f " + script + " '" +
                                    socketUri(database) + "' 2>&1");
  if (result.status != 0) throw std::runtime_error("psql: " + result.output);
  return result.output;
}

PostgresqlServer& PostgresqlServer::shared() {
  static PostgresqlServer server;
  return server;
}

}  // namespace loomkit::testing
