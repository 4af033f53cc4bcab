// SPDX-License-Identifier: MIT
#include "tests/db/fault_proxy.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace loomkit::testing {

namespace {

// How long the thread sleeps at most, to see what it was told meanwhile.
constexpr std::chrono::milliseconds shortNap(2);

sockaddr_in localAddress(int port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

void withoutDelay(int socket) {
  const int on = 1;
  ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

// A type, and a length that counts itself.
std::size_t messageSize(const std::string& bytes) {
  constexpr std::size_t header = 5;
  if (bytes.size() < header) return 0;
  std::size_t size = 0;
  for (std::size_t i = 1; i < header; ++i) size = size << 8 | static_cast<unsigned char>(bytes[i]);
  return size + 1;
}

}  // namespace

FaultProxy::FaultProxy(int serverPort) : upstream(serverPort) {
  listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = localAddress(0);
  socklen_t size = sizeof address;
  if (::bind(listener, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
      ::listen(listener, 16) != 0 ||
      ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0)
    throw std::runtime_error("the proxy cannot listen");
  ownPort = ntohs(address.sin_port);
  worker = std::thread([this] { run(); });
}

FaultProxy::~FaultProxy() {
  {
    const std::lock_guard<std::mutex> lock(mutex);
    ending = true;
  }
  worker.join();
  for (Link& link : links) close(link, false);
  ::close(listener);
}

void FaultProxy::cutAt(int message, Cut how) {
  const std::lock_guard<std::mutex> lock(mutex);
  cutMessage = message;
  cutHow = how;
  cutDone = false;
}

bool FaultProxy::hasCut() {
  const std::lock_guard<std::mutex> lock(mutex);
  return cutDone;
}

void FaultProxy::cutAll() {
  const std::lock_guard<std::mutex> lock(mutex);
  for (Link& link : links) close(link, false);
}

void FaultProxy::setDelay(std::chrono::microseconds time) {
  const std::lock_guard<std::mutex> lock(mutex);
  delay = time;
}

void FaultProxy::setSilent(bool silent) {
  const std::lock_guard<std::mutex> lock(mutex);
  isSilent = silent;
}

int FaultProxy::connections() {
  const std::lock_guard<std::mutex> lock(mutex);
  return accepted;
}

int FaultProxy::turns() {
  const std::lock_guard<std::mutex> lock(mutex);
  return turnCount;
}

void FaultProxy::close(Link& link, bool byReset) {
  if (link.ended) return;
  link.ended = true;
  for (const int socket : {link.toServer.from, link.toServer.to}) {
    const linger atOnce = {1, 0};
    if (byReset) ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    // A thread that waits for the socket would keep it open a little longer.
    if (!byReset) ::shutdown(socket, SHUT_RDWR);
    ::close(socket);
  }
}

void FaultProxy::run() {
  for (;;) {
    std::vector<pollfd> waiting;
    std::chrono::nanoseconds time;
    {
      const std::lock_guard<std::mutex> lock(mutex);
      if (ending) return;
      links.remove_if([](const Link& link) { return link.ended; });
      waiting.push_back({listener, POLLIN, 0});
      for (const Link& link : links) {
        waiting.push_back({link.toServer.from, POLLIN, 0});
        waiting.push_back({link.toClient.from, POLLIN, 0});
      }
      time = patience();
    }
    timespec wait = {0, static_cast<long>(time.count())};
    ::ppoll(waiting.data(), waiting.size(), &wait, nullptr);
    const std::lock_guard<std::mutex> lock(mutex);
    std::size_t at = 1;
    const auto isReady = [&](const Link& link) {
      return waiting[at++].revents != 0 && !link.ended && !isSilent;
    };
    for (Link& link : links) {
      if (isReady(link)) transfer(link, link.toServer, false);
      if (isReady(link)) transfer(link, link.toClient, true);
      deliver(link, link.toServer);
      deliver(link, link.toClient);
    }
    if (waiting[0].revents != 0) accept();
  }
}

// Until the next chunk is due.
std::chrono::nanoseconds FaultProxy::patience() {
  std::chrono::nanoseconds least = shortNap;
  const Clock::time_point now = Clock::now();
  for (const Link& link : links)
    for (const Pipe* pipe : {&link.toServer, &link.toClient})
      if (!pipe->chunks.empty())
        least = std::min<std::chrono::nanoseconds>(least, pipe->chunks.front().due - now);
  return std::max(least, std::chrono::nanoseconds(0));
}

void FaultProxy::accept() {
  const int client = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
  if (client < 0) return;
  ++accepted;
  const int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = localAddress(upstream);
  if (::connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    ::close(server);
    ::close(client);
    return;
  }
  withoutDelay(client);
  withoutDelay(server);
  links.push_back({{client, server}, {server, client}});
}

void FaultProxy::transfer(Link& link, Pipe& pipe, bool fromServer) {
  char buffer[65536];
  const ssize_t count = ::recv(pipe.from, buffer, sizeof buffer, MSG_DONTWAIT);
  if (count <= 0) {
    close(link, false);
    return;
  }
  const std::string bytes(buffer, static_cast<std::size_t>(count));
  if (fromServer && link.clientSpoke) ++turnCount;
  link.clientSpoke = !fromServer;
  if (fromServer) {
    pipe.unread += bytes;
    takeMessages(link, pipe);
  } else {
    pipe.chunks.push_back({Clock::now() + delay, bytes});
  }
}

void FaultProxy::takeMessages(Link& link, Pipe& pipe) {
  const Clock::time_point due = Clock::now() + delay;
  if (cutMessage < 0) {  // nothing to count
    pipe.chunks.push_back({due, pipe.unread});
    pipe.unread.clear();
    return;
  }
  for (std::size_t size = messageSize(pipe.unread); size != 0 && size <= pipe.unread.size();
       size = messageSize(pipe.unread)) {
    if (cutMessage-- == 0) {
      cutDone = true;
      if (cutHow == Cut::truncated) pipe.chunks.push_back({due, pipe.unread.substr(0, size / 2)});
      for (Chunk& chunk : pipe.chunks) chunk.due = Clock::now();
      deliver(link, pipe);
      close(link, cutHow == Cut::byReset);
      return;
    }
    pipe.chunks.push_back({due, pipe.unread.substr(0, size)});
    pipe.unread.erase(0, size);
  }
}

void FaultProxy::deliver(Link& link, Pipe& pipe) {
  while (!link.ended && !pipe.chunks.empty() && pipe.chunks.front().due <= Clock::now()) {
    const std::string bytes = std::move(pipe.chunks.front().bytes);
    pipe.chunks.pop_front();
    std::size_t sent = 0;
    while (sent < bytes.size()) {
      const ssize_t count = ::send(pipe.to, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (count <= 0) {
        close(link, false);
        return;
      }
      sent += static_cast<std::size_t>(count);
    }
  }
}

}  // namespace loomkit::testing
