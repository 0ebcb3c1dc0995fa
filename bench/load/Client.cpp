// load-client ADDRESS SEED RATE SECONDS: asks load-resolver RATE queries a second, each
// millisecond's from a socket of their own. Prints how many were sent, how many were answered, how
// many of those with at least one record, and the seconds that it took.

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <unistd.h>

#include "bench/load/Datagrams.h"
#include "bench/load/ExchangeTable.h"

namespace tovi::bench {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kTick = 1ms;
// Open long enough for the responses to come and the process behind the queries to be looked up.
constexpr std::size_t kOpenSockets = 50;

struct Load {
  double rate;
  std::chrono::duration<double> duration;
};

class Client {
 public:
  Client(const char* address, std::uint64_t seed) : exchanges_(seed) {
    resolver_.sin_family = AF_INET;
    resolver_.sin_port = htons(53);
    if (inet_pton(AF_INET, address, &resolver_.sin_addr) != 1) {
      throw std::invalid_argument("no address");
    }
  }

  void run(const Load& load) {
    const auto start = Clock::now();
    for (auto tick = start; tick - start < load.duration; tick += kTick) {
      std::this_thread::sleep_until(tick);
      const std::chrono::duration<double> elapsed = tick + kTick - start;
      ask(static_cast<std::uint64_t>(load.rate * elapsed.count()) - sent_);
    }
    seconds_ = std::chrono::duration<double>(Clock::now() - start).count();
    std::this_thread::sleep_for(kTick * kOpenSockets);
    while (!sockets_.empty()) retireOldest();
  }

  void print() const {
    std::printf("%llu %llu %llu %.3f\n", static_cast<unsigned long long>(sent_),
                static_cast<unsigned long long>(answered_),
                static_cast<unsigned long long>(withRecords_), seconds_);
  }

 private:
  /// Sends from a new socket, which stays open for a while.
  void ask(std::uint64_t count) {
    if (sockets_.size() == kOpenSockets) retireOldest();
    const int socket = connectedSocket();
    sockets_.push_back(socket);
    while (count > 0) {
      const auto burst = std::min<std::uint64_t>(count, Datagrams::kMost);
      for (std::uint64_t i = 0; i < burst; ++i) datagrams_.add(exchanges_[nextId()].query);
      sent_ += datagrams_.send(socket);
      count -= burst;
    }
  }

  int connectedSocket() const {
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0 ||
        connect(socket, reinterpret_cast<const sockaddr*>(&resolver_), sizeof resolver_) != 0) {
      throw std::system_error(errno, std::generic_category(), "connect");
    }
    return socket;
  }

  void retireOldest() {
    const int socket = sockets_.front();
    sockets_.pop_front();
    while (const std::size_t count = datagrams_.receive(socket, false)) {
      answered_ += count;
      for (std::size_t i = 0; i < count; ++i) {
        if (exchanges_[datagrams_.receivedId(i)].isAnswered) ++withRecords_;
      }
    }
    close(socket);
  }

  std::uint16_t nextId() {
    lastId_ = static_cast<std::uint16_t>(lastId_ % 65535 + 1);
    return lastId_;
  }

  const ExchangeTable exchanges_;
  sockaddr_in resolver_{};
  Datagrams datagrams_;
  std::deque<int> sockets_;
  std::uint16_t lastId_ = 0;
  std::uint64_t sent_ = 0;
  std::uint64_t answered_ = 0;
  std::uint64_t withRecords_ = 0;
  double seconds_ = 0;
};

}  // namespace
}  // namespace tovi::bench

int main(int argc, char** argv) try {
  if (argc != 5) throw std::invalid_argument("usage: load-client ADDRESS SEED RATE SECONDS");
  tovi::bench::Client client(argv[1], std::strtoull(argv[2], nullptr, 10));
  client.run({std::strtod(argv[3], nullptr),
              std::chrono::duration<double>(std::strtod(argv[4], nullptr))});
  client.print();
} catch (const std::exception& error) {
  std::fprintf(stderr, "load-client: %s\n", error.what());
  return 1;
}
