// load-resolver ADDRESS SEED: answers the queries of load-client on port 53 until it is ended.

#include <arpa/inet.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <unistd.h>

#include "bench/load/Datagrams.h"
#include "bench/load/ExchangeTable.h"

namespace tovi::bench {
namespace {

constexpr int kSocketBuffer = 32 << 20;

int boundSocket(const char* address) {
  sockaddr_in self{};
  self.sin_family = AF_INET;
  self.sin_port = htons(53);
  if (inet_pton(AF_INET, address, &self.sin_addr) != 1) throw std::runtime_error("no address");
  const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  // The load is not to be limited by this end.
  setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &kSocketBuffer, sizeof kSocketBuffer);
  if (bind(socket, reinterpret_cast<const sockaddr*>(&self), sizeof self) != 0) {
    throw std::runtime_error("port 53 is taken");
  }
  return socket;
}

void answer(int socket, const ExchangeTable& exchanges) {
  Datagrams queries;
  Datagrams responses;
  for (;;) {
    const std::size_t count = queries.receive(socket, true);
    for (std::size_t i = 0; i < count; ++i) {
      responses.add(exchanges[queries.receivedId(i)].response, &queries.sender(i));
    }
    responses.send(socket);
  }
}

}  // namespace
}  // namespace tovi::bench

int main(int argc, char** argv) try {
  if (argc != 3) throw std::invalid_argument("usage: load-resolver ADDRESS SEED");
  const tovi::bench::ExchangeTable exchanges(std::strtoull(argv[2], nullptr, 10));
  const int socket = tovi::bench::boundSocket(argv[1]);
  std::puts("ready");
  std::fflush(stdout);
  tovi::bench::answer(socket, exchanges);
} catch (const std::exception& error) {
  std::fprintf(stderr, "load-resolver: %s\n", error.what());
  return 1;
}
