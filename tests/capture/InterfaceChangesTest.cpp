#include <arpa/inet.h>
#include <cstdlib>
#include <sched.h>
#include <semaphore>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "capture/InterfaceChecker.h"
#include "capture/PacketReceiver.h"
#include "tests/capture/FrameBuilder.h"

namespace tovi::test {
namespace {

using namespace std::chrono_literals;

/// Released by each query that is captured.
struct Arrival : MessageReceivedProtocol {
  void feed(std::string_view) override { queries.release(); }
  std::counting_semaphore<> queries{0};
};

void run(const char* command) {
  EXPECT_EQ(std::system(command), 0) << command;
}

// No address but the one that the test gives, and none of IPv6 that would be news by itself.
void makeInterface() {
  run("ip link add tovi-a type veth peer name tovi-b");
  run("ip link set tovi-a addrgenmode none up");
  run("ip link set tovi-b addrgenmode none up");
  run("ip address add 192.0.2.1/24 dev tovi-a");
  run("ip neighbour replace 192.0.2.2 lladdr 02:00:00:00:00:02 dev tovi-a");
}

void sendQuery() {
  const int any = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in server = {AF_INET, htons(53), {}, {}};
  inet_pton(AF_INET, "192.0.2.2", &server.sin_addr);
  const std::string query = dnsMessage(7, 0x0100, {question("www.example")}, {});
  sendto(any, query.data(), query.size(), 0, reinterpret_cast<const sockaddr*>(&server),
         sizeof server);
  close(any);
}

/// Capture of a network of its own, restarted as the daemon does it. Only on the thread that is in
/// that network.
class WatchedCapture {
 public:
  WatchedCapture() {
    receiver_.setMessageBuilder(&arrival_);
    receiver_.startReader();
    observer_ = std::thread([this] { checker_.startObserving(); });
  }
  ~WatchedCapture() {
    checker_.stopObserving();
    observer_.join();
    receiver_.stopReader();
  }

  /// Asks until a query is captured; false after 20 seconds.
  bool comesToSeeQueries() {
    while (arrival_.queries.try_acquire()) continue;
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    do {
      sendQuery();
      if (arrival_.queries.try_acquire_for(20ms)) return true;
    } while (std::chrono::steady_clock::now() < deadline);
    return false;
  }

 private:
  Arrival arrival_;
  PacketReceiver receiver_{[](const auto&) { return platform::QuerySender(); }};
  InterfaceChecker checker_{"io.tovi.test", [this] { receiver_.updateInterfaces(); }};
  std::thread observer_;
};

TEST(InterfaceChanges, AnInterfaceMadeAnewWithItsOldAddressIsCapturedAgain) {
  bool isAllowed = false;
  std::thread([&] {
    isAllowed = unshare(CLONE_NEWNET) == 0;
    if (!isAllowed) return;
    run("ip link set lo up");
    makeInterface();
    WatchedCapture capture;
    EXPECT_TRUE(capture.comesToSeeQueries());
    run("ip link delete tovi-a");
    makeInterface();
    EXPECT_TRUE(capture.comesToSeeQueries());
  }).join();
  if (!isAllowed) GTEST_SKIP() << "no right to a network of its own";
}

}  // namespace
}  // namespace tovi::test
