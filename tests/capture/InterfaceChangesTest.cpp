#include <arpa/inet.h>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <sched.h>
#include <set>
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

/// An interface of the test, and its identifier of queries.
struct Link {
  std::string name;
  std::string network;
  unsigned id;
};
const Link kFirst = {"tovi-a", "192.0.2.", 7};
const Link kSecond = {"tovi-b", "198.51.100.", 8};

/// The queries that have been captured.
class Arrivals : public MessageReceivedProtocol {
 public:
  struct Seen {
    int queries = 0;
    std::set<pid_t> captureThreads;
  };

  void feed(std::string_view text) override {
    std::lock_guard lock(mutex_);
    Seen& seen = seen_[std::string(text.substr(0, text.find(',')))];
    ++seen.queries;
    seen.captureThreads.insert(gettid());
    changed_.notify_all();
  }
  /// Once there are `queries` of the link, or the time is over.
  Seen of(const Link& link, int queries, std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    Seen& seen = seen_["id!" + std::to_string(link.id)];
    changed_.wait_for(lock, time, [&] { return seen.queries >= queries; });
    return seen;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::string, Seen> seen_;
};

void run(const std::string& command) {
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

void bringUp(const Link& link) {
  run("ip link set " + link.name + " up");
  run("ip neighbour replace " + link.network + "2 lladdr 02:00:00:00:00:02 dev " + link.name);
}

// No address but the one that the test gives, and none of IPv6 that would be news by itself.
void make(const Link& link) {
  run("ip link add " + link.name + " type veth peer name " + link.name + "-peer");
  run("ip link set " + link.name + " addrgenmode none");
  run("ip link set " + link.name + "-peer addrgenmode none up");
  run("ip address add " + link.network + "1/24 dev " + link.name);
  bringUp(link);
}

void sendQuery(const Link& link) {
  const int any = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in server = {AF_INET, htons(53), {}, {}};
  inet_pton(AF_INET, (link.network + "2").c_str(), &server.sin_addr);
  const std::string query = dnsMessage(link.id, 0x0100, {question("www.example")}, {});
  sendto(any, query.data(), query.size(), 0, reinterpret_cast<const sockaddr*>(&server),
         sizeof server);
  close(any);
}

/// Capture of a network of its own, that follows its interfaces as the daemon does it. Only on
/// threads that are in that network.
class WatchedCapture {
 public:
  WatchedCapture() {
    receiver_.setMessageBuilder(&arrivals_);
    receiver_.startReader();
    observer_ = std::thread([this] { checker_.startObserving(); });
  }
  ~WatchedCapture() {
    checker_.stopObserving();
    observer_.join();
    receiver_.stopReader();
  }

  void restart() { receiver_.startReader(); }

  /// Asks until a query is captured; false after 20 seconds.
  bool comesToSeeQueriesOf(const Link& link) {
    const int before = arrivals_.of(link, 0, 0ms).queries;
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    do {
      sendQuery(link);
      if (arrivals_.of(link, before + 1, 20ms).queries > before) return true;
    } while (std::chrono::steady_clock::now() < deadline);
    return false;
  }

  Arrivals& arrivals() { return arrivals_; }

 private:
  Arrivals arrivals_;
  PacketReceiver receiver_{[](const auto&) { return platform::QuerySender(); }};
  InterfaceChecker checker_{
      "io.tovi.test", [this](const auto& addresses) { return receiver_.isUpToDate(addresses); },
      [this] { receiver_.updateInterfaces(); }};
  std::thread observer_;
};

/// Runs the scenario with capture in a network of its own, where the first link is.
void inOwnNetwork(const std::function<void(WatchedCapture&)>& scenario) {
  bool isAllowed = false;
  std::thread([&] {
    isAllowed = unshare(CLONE_NEWNET) == 0;
    if (!isAllowed) return;
    run("ip link set lo up");
    make(kFirst);
    WatchedCapture capture;
    scenario(capture);
  }).join();
  if (!isAllowed) GTEST_SKIP() << "no right to a network of its own";
}

TEST(InterfaceChanges, AnInterfaceMadeAnewWithItsOldAddressIsCapturedAgain) {
  inOwnNetwork([](WatchedCapture& capture) {
    EXPECT_TRUE(capture.comesToSeeQueriesOf(kFirst));
    run("ip link delete " + kFirst.name);
    make(kFirst);
    EXPECT_TRUE(capture.comesToSeeQueriesOf(kFirst));
  });
}

TEST(InterfaceChanges, InterfacesThatComeAndGoCostNoPacketOfAnother) {
  inOwnNetwork([](WatchedCapture& capture) {
    std::atomic<bool> over = false;
    int sent = 0;
    std::thread client([&] {
      for (; !over; ++sent, std::this_thread::yield()) {
        sendQuery(kFirst);
        capture.arrivals().of(kFirst, sent + 1, 100ms);
      }
    });
    for (int newcomer = 0; newcomer < 3; ++newcomer) {
      make(kSecond);
      EXPECT_TRUE(capture.comesToSeeQueriesOf(kSecond));
      run("ip link delete " + kSecond.name);
    }
    over = true;
    client.join();
    const auto [queries, captureThreads] = capture.arrivals().of(kFirst, sent, 5s);
    EXPECT_EQ(queries, sent);
    EXPECT_EQ(captureThreads.size(), 1U);
  });
}

TEST(InterfaceChanges, AnInterfaceThatIsUpAgainIsCapturedAgain) {
  inOwnNetwork([](WatchedCapture& capture) {
    EXPECT_TRUE(capture.comesToSeeQueriesOf(kFirst));
    run("ip link set " + kFirst.name + " down");
    make(kSecond);
    EXPECT_TRUE(capture.comesToSeeQueriesOf(kSecond));
    bringUp(kFirst);
    EXPECT_TRUE(capture.comesToSeeQueriesOf(kFirst));
    run("ip link set " + kFirst.name + " down");
    capture.restart();
    bringUp(kFirst);
    EXPECT_TRUE(capture.comesToSeeQueriesOf(kFirst));
  });
}

}  // namespace
}  // namespace tovi::test
