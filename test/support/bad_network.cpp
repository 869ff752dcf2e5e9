#include "bad_network.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>

namespace kivo::test {
namespace {

int newSocket() { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0); }

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

using Part = std::array<char, 4096>;

/// @return how many bytes came; 0 when the other side has ended.
std::size_t receive(int from, Part& part, std::size_t size = sizeof(Part)) {
  const ssize_t length = recv(from, part.data(), size, 0);
  return length > 0 ? static_cast<std::size_t>(length) : 0;
}

bool deliver(int to, const Part& part, std::size_t length) {
  return length > 0 && send(to, part.data(), length, MSG_NOSIGNAL) == static_cast<ssize_t>(length);
}

}  // namespace

BadNetwork::BadNetwork(const std::string& serverPort) : serverPort_(serverPort), listener_(newSocket()) {
  sockaddr_in address = loopback(0);
  socklen_t size = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener_, generic, size) != 0 || listen(listener_, 8) != 0 || getsockname(listener_, generic, &size) != 0) {
    throw std::runtime_error("the test cannot listen on loopback");
  }
  port = std::to_string(ntohs(address.sin_port));
  thread_ = std::thread([this] { serve(); });
}

BadNetwork::~BadNetwork() {
  stopping_ = true;
  thread_.join();
  close(listener_);
}

void BadNetwork::plan(std::size_t after, Fault fault) {
  passed_ = 0;
  fault_ = fault;
  after_ = after;
}

void BadNetwork::serve() {
  while (!stopping_) {
    pollfd waiting{listener_, POLLIN, 0};
    if (poll(&waiting, 1, 10) <= 0) continue;
    const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    const int server = newSocket();
    const sockaddr_in address = loopback(std::stoi(serverPort_));
    if (connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) pass(client, server);
    close(server);
    close(client);
  }
}

void BadNetwork::pass(int client, int server) {
  while (!stopping_) {
    // Right after the last byte: a request that follows does not reach the server.
    if (passed_ >= after_) return spoil(client);
    std::array<pollfd, 2> waiting{{{client, POLLIN, 0}, {server, POLLIN, 0}}};
    poll(waiting.data(), waiting.size(), 10);
    Part part{};
    if (waiting[0].revents != 0 && !deliver(server, part, receive(client, part))) return;
    if (waiting[1].revents != 0 && !forwardAnswer(client, server)) return;
  }
}

bool BadNetwork::forwardAnswer(int client, int server) {
  Part part{};
  const std::size_t length = receive(server, part, std::min(part.size(), after_ - passed_));
  // Counted first: who has the bytes must find them counted.
  passed_ += length;
  return deliver(client, part, length);
}

void BadNetwork::spoil(int client) const {
  // Closing it will then send a reset, not an end.
  const linger reset{1, 0};
  if (fault_ == Fault::kReset) setsockopt(client, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
}

}  // namespace kivo::test
