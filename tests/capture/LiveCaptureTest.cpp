#include <arpa/inet.h>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <sched.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "capture/CaptureDevice.h"
#include "capture/PacketReceiver.h"
#include "tests/capture/FrameBuilder.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

const std::string kMarker = "p" + std::to_string(getpid()) + ".test";

std::string withoutPacket(std::string_view text) {
  return std::string(text.substr(0, text.find(",packet!")));
}

/// Keeps the texts of this process alone: others may talk on the loopback interface, too.
class Texts : public MessageReceivedProtocol {
 public:
  void feed(std::string_view text) override {
    if (text.find(kMarker) == text.npos) return;
    std::lock_guard lock(mutex);
    texts_.push_back(withoutPacket(text));
    changed_.notify_all();
  }
  std::vector<std::string> waitFor(std::size_t count) {
    std::unique_lock lock(mutex);
    changed_.wait_for(lock, std::chrono::seconds(20), [&] { return texts_.size() >= count; });
    return std::exchange(texts_, {});
  }

  std::mutex mutex;

 private:
  std::condition_variable changed_;
  std::vector<std::string> texts_;
};

std::string response(unsigned id, std::size_t size) {
  std::string data;
  while (data.size() < size) data += '\xfa' + std::string(250, 'x');
  return dnsMessage(id, 0x8180, {question(kMarker)}, {record(16, data)});
}

// Of this process alone, since tests may run in parallel.
const sockaddr_in kServer = {
    AF_INET, htons(53), {htonl(0x7f400000U | (static_cast<unsigned>(getpid()) & 0x3fffff))}, {}};
const auto* const kServerName = reinterpret_cast<const sockaddr*>(&kServer);

/// Gives this process a loopback interface of its own, so that the floods of one test do not fill
/// the rings of others. Without the privilege it shares the machine's.
void leaveTheNetwork() {
  EXPECT_TRUE(unshare(CLONE_NEWNET) != 0 || std::system("ip link set lo up") == 0);
}

class LiveCaptureTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { leaveTheNetwork(); }

  void SetUp() override {
    Tally dropped;
    try {
      CaptureDevice probe(
          "lo", true, [](const CapturedFrame&) {}, dropped);
    } catch (const CaptureDeviceError& error) {
      GTEST_SKIP() << error.what();
    }
    if (bind(server_, kServerName, sizeof kServer) != 0) GTEST_SKIP() << "no port 53";
  }
  void TearDown() override { close(server_); }

  /// To a port where nobody listens.
  void answer(unsigned id, std::size_t size) {
    sockaddr_in client = kServer;
    client.sin_port = htons(9);
    const std::string octets = response(id, size);
    EXPECT_EQ(sendto(server_, octets.data(), octets.size(), 0,
                     reinterpret_cast<const sockaddr*>(&client), sizeof client),
              static_cast<ssize_t>(octets.size()));
    expected_.push_back(withoutPacket(textOf(octets).value()));
  }

  const int server_ = socket(AF_INET, SOCK_DGRAM, 0);
  std::vector<std::string> expected_;
};

TEST_F(LiveCaptureTest, ReceiverForwardsBurstsAndLongMessagesUntilItIsStopped) {
  Texts texts;
  LogRecorder log;
  PacketReceiver receiver([](const auto&) { return platform::QuerySender(); });
  receiver.updateInterfaces();
  EXPECT_TRUE(log.messages().empty());
  receiver.setMessageBuilder(&texts);
  receiver.startReader();
  {
    std::lock_guard holdBack(texts.mutex);
    for (unsigned id = 1; id <= 2000; ++id) answer(id, 5);
    for (const unsigned size : {1800U, 1900U, 2000U, 4096U, 60000U}) answer(size, size);
  }
  EXPECT_TRUE(texts.waitFor(expected_.size()) == expected_);
  receiver.updateInterfaces();
  answer(1, 5);
  EXPECT_EQ(texts.waitFor(1), std::vector{expected_[0]});
  receiver.stopReader();
  receiver.stopReader();
  answer(1, 5);
  receiver.updateInterfaces();
  EXPECT_TRUE(texts.waitFor(0).empty());
  EXPECT_TRUE(log.hasPrefix("Start Reader - Network Message: "));
  EXPECT_TRUE(log.hasPrefix("updateInterfaces ") && log.messages()[1].ends_with(")"));
  EXPECT_EQ(log.count("Stop Reader - Network Message: Reader stopped"), 2);
  EXPECT_EQ(log.messages().size(), 4U);
}

TEST_F(LiveCaptureTest, PacketsForWhichTheRingHasNoRoomAreCounted) {
  constexpr std::size_t kSent = 6000;
  Texts texts;
  PacketReceiver receiver([](const auto&) { return platform::QuerySender(); });
  receiver.setMessageBuilder(&texts);
  receiver.startReader();
  {
    std::lock_guard holdBack(texts.mutex);
    for (unsigned id = 1; id <= kSent; ++id) answer(id, 5);
  }
  const auto& tallies = receiver.tallies();
  const auto accounted = [&] { return tallies.packets.count() + tallies.droppedByKernel.count(); };
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (accounted() < kSent && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::yield();
  }
  receiver.stopReader();
  const auto received = texts.waitFor(0).size();
  EXPECT_LT(received, kSent);
  EXPECT_GE(received + tallies.droppedByKernel.count(), kSent);
  EXPECT_GE(tallies.messages.count(), received);
}

}  // namespace
}  // namespace tovi::test
