// SPDX-License-Identifier: MIT
// The server that the tests start is gone with them, however they end.
#include "tests/db/postgresql_server.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>

namespace {

using namespace loomkit::testing;
namespace fs = std::filesystem;

// Line `number` of the file in which the server keeps what it is.
std::string lineOf(const std::string& folder, int number) {
  std::ifstream file(folder + "/data/postmaster.pid");
  std::string line;
  for (int i = 0; i < number; ++i) std::getline(file, line);
  return line;
}

// The System V shared memory that the system has, by its number.
bool hasSharedMemory(const std::string& number) {
  std::ifstream file("/proc/sysvipc/shm");
  std::string key;
  std::string found;
  std::string rest;
  while (file >> key >> found && std::getline(file, rest))
    if (found == number) return true;
  return false;
}

// What there is of a server.
struct Remains {
  explicit Remains(const std::string& itsFolder)
      : folder(itsFolder), process(lineOf(folder, 1)), memory(lineOf(folder, 7)) {
    memory.erase(0, memory.rfind(' ') + 1);
  }
  [[nodiscard]] bool any() const {
    return fs::exists(folder) || fs::exists("/proc/" + process + "/exe") || hasSharedMemory(memory);
  }
  std::string folder;
  std::string process;
  std::string memory;
};

TEST(PostgresqlServer, LeavesNothingBehind) {
  std::optional<PostgresqlServer> server(std::in_place);
  const Remains remains(server->directory());
  EXPECT_EQ(hasSharedMemory(remains.memory), fs::exists("/proc/sysvipc/shm"));
  EXPECT_EQ(server->psql("SELECT 1"), "1\n");
  server.reset();
  EXPECT_FALSE(remains.any());
}

// The folder's name arrives when its server has been started.
TEST(PostgresqlServer, LeavesNothingBehindWhenItsTestIsKilled) {
  int names[2];
  ASSERT_EQ(::pipe(names), 0);
  const pid_t test = ::fork();
  if (test == 0) {
    const PostgresqlServer server;
    const std::string& name = server.directory();
    if (::write(names[1], name.data(), name.size()) < 0) ::_exit(1);
    for (;;) ::pause();
  }
  ::close(names[1]);
  char name[256] = {};
  ASSERT_GT(::read(names[0], name, sizeof name - 1), 0);
  ::close(names[0]);
  const Remains remains(name);
  ASSERT_TRUE(fs::exists("/proc/" + remains.process + "/exe"));
  // Whoever ends a test that takes too long ends all of its children so.
  ::kill(std::stoi(remains.process), SIGKILL);
  ::kill(test, SIGKILL);
  ::waitpid(test, nullptr, 0);
  for (int i = 0; i < 1000 && remains.any(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(remains.any());
}

}  // namespace
