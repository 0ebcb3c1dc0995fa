#include <algorithm>
#include <arpa/inet.h>
#include <condition_variable>
#include <mutex>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "capture/CaptureDevice.h"
#include "capture/PacketReaderWrapper.h"
#include "capture/PacketReceiver.h"
#include "tests/capture/FrameBuilder.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

/// A socket on an address of the loopback network.
class LoopbackSocket {
 public:
  LoopbackSocket(int type, const char* address, std::uint16_t port)
      : descriptor_(socket(AF_INET, type, 0)) {
    const sockaddr_in name = at(address, port);
    const int on = 1;
    setsockopt(descriptor_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    bound = bind(descriptor_, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
  }
  ~LoopbackSocket() { close(descriptor_); }

  static sockaddr_in at(const char* address, std::uint16_t port) {
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(port);
    inet_pton(AF_INET, address, &name.sin_addr);
    return name;
  }
  void sendTo(const LoopbackSocket& other, const std::string& octets) const {
    const sockaddr_in name = other.name();
    EXPECT_EQ(sendto(descriptor_, octets.data(), octets.size(), 0,
                     reinterpret_cast<const sockaddr*>(&name), sizeof name),
              static_cast<ssize_t>(octets.size()));
  }
  sockaddr_in name() const {
    sockaddr_in name{};
    socklen_t size = sizeof name;
    getsockname(descriptor_, reinterpret_cast<sockaddr*>(&name), &size);
    return name;
  }
  int descriptor() const { return descriptor_; }

  bool bound;

 private:
  int descriptor_;
};

/// Texts of this process alone: others may talk on the loopback interface, too.
class Texts {
 public:
  const std::string marker = "p" + std::to_string(getpid()) + ".test";

  void add(std::string_view text) {
    if (text.find(marker) == text.npos) return;
    std::lock_guard lock(mutex_);
    texts_.emplace_back(text);
    changed_.notify_all();
  }
  std::vector<std::string> waitFor(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::seconds(20), [&] { return texts_.size() >= count; });
    return texts_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> texts_;
};

class LiveCapture : public testing::Test {
 protected:
  void SetUp() override {
    try {
      CaptureDevice probe("lo", true, [](const CapturedFrame&) {});
    } catch (const CaptureDeviceError& error) {
      GTEST_SKIP() << error.what();
    }
    if (!LoopbackSocket(SOCK_DGRAM, "127.0.0.70", 53).bound) GTEST_SKIP() << "no port 53";
  }

  std::string query(unsigned id) const { return dnsMessage(id, 0x0100, {question(texts_.marker)}); }
  std::string response(unsigned id, std::size_t size) const {
    std::string data;
    while (data.size() < size) data += '\xfa' + std::string(250, 'x');
    return dnsMessage(id, 0x8180, {question(texts_.marker)}, {record(16, data)});
  }
  void handle(const CapturedFrame& frame) { handler_.onPacketArrives(frame); }

  Texts texts_;
  PacketHandler handler_{{.processLookup = [](auto) { return std::string(); },
                          .sink = [this](auto text) { texts_.add(text); },
                          .abandoned = [] {}},
                         "192.168.1.1"};
};

TEST_F(LiveCapture, BurstIsKeptWhileTheReaderIsHeldBack) {
  constexpr unsigned kBurst = 2001;
  const LoopbackSocket server(SOCK_DGRAM, "127.0.0.71", 53), client(SOCK_DGRAM, "127.0.0.71", 0);
  std::mutex sending;
  CaptureDevice device("lo", true, [&](const CapturedFrame& frame) {
    std::lock_guard wait(sending);
    handle(frame);
  });
  {
    std::lock_guard hold(sending);
    device.start();
    for (unsigned id = 1; id <= kBurst; ++id) client.sendTo(server, query(id));
  }
  const auto texts = texts_.waitFor(kBurst);
  ASSERT_EQ(texts.size(), kBurst);
  EXPECT_TRUE(texts.front().starts_with("id!1,"));
  EXPECT_TRUE(texts.back().starts_with("id!2001,"));
}

TEST_F(LiveCapture, LongMessagesOverUdpArriveWholeAndOnce) {
  const LoopbackSocket server(SOCK_DGRAM, "127.0.0.72", 53), client(SOCK_DGRAM, "127.0.0.72", 0);
  CaptureDevice device("lo", true, [&](const CapturedFrame& frame) { handle(frame); });
  device.start();
  std::vector<std::string> expected;
  for (const unsigned size : {100U, 1800U, 1900U, 2000U, 4096U, 20000U, 60000U}) {
    server.sendTo(client, response(size, size));
    expected.push_back(*textOf(response(size, size)));
    ASSERT_TRUE(texts_.waitFor(expected.size()) == expected) << size;
  }
}

TEST_F(LiveCapture, LongMessageOverTcpArrivesWhole) {
  const LoopbackSocket server(SOCK_STREAM, "127.0.0.73", 53), client(SOCK_STREAM, "127.0.0.73", 0);
  CaptureDevice device("lo", true, [&](const CapturedFrame& frame) { handle(frame); });
  device.start();
  ASSERT_TRUE(server.bound);
  listen(server.descriptor(), 1);
  const sockaddr_in name = server.name();
  ASSERT_EQ(connect(client.descriptor(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
  const int connection = accept(server.descriptor(), nullptr, nullptr);
  const std::string message = response(7, 60000);
  const std::string framed = u16(static_cast<unsigned>(message.size())) + message;
  std::thread reader([&] {
    std::vector<char> sink(framed.size());
    EXPECT_EQ(recv(client.descriptor(), sink.data(), sink.size(), MSG_WAITALL),
              static_cast<ssize_t>(sink.size()));
  });
  EXPECT_EQ(send(connection, framed.data(), framed.size(), 0), static_cast<ssize_t>(framed.size()));
  EXPECT_TRUE(texts_.waitFor(1) == std::vector{*textOf(message)});
  reader.join();
  close(connection);
}

TEST_F(LiveCapture, StopDoesNotWaitForThePacketsThatWait) {
  constexpr unsigned kBurst = 1000;
  const LoopbackSocket server(SOCK_DGRAM, "127.0.0.74", 53), client(SOCK_DGRAM, "127.0.0.74", 0);
  std::mutex sending;
  std::atomic<unsigned> handled = 0;
  CaptureDevice device("lo", true, [&](const CapturedFrame&) {
    std::lock_guard wait(sending);
    ++handled;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));  // As long as a lookup may take.
  });
  {
    std::lock_guard hold(sending);
    device.start();
    for (unsigned id = 1; id <= kBurst; ++id) client.sendTo(server, query(id));
  }
  device.stop();
  EXPECT_LT(handled, kBurst / 2);
}

TEST_F(LiveCapture, WrapperPassesOnEachPacketOnceUntilItIsStopped) {
  const LoopbackSocket server(SOCK_DGRAM, "127.0.0.75", 53), client(SOCK_DGRAM, "127.0.0.75", 0);
  PacketReaderWrapper wrapper([this](std::string_view text) { texts_.add(text); });
  for (unsigned round = 0; round < 2; ++round) {
    EXPECT_EQ(round == 0 ? wrapper.startPcapReader() : wrapper.updateActiveInterfaces(),
              wrapper.updateActiveInterfaces());
    client.sendTo(server, query(9));
    server.sendTo(client, response(9, 5));
    const auto texts = texts_.waitFor(round * 2 + 2);
    ASSERT_EQ(texts.size(), round * 2 + 2);
    EXPECT_TRUE(texts[round * 2].starts_with("id!9,"));
    EXPECT_NE(texts.back().find("opcode!0,response!0,query0!" + texts_.marker + ";A;IN,answer0!"),
              std::string::npos);
  }
  EXPECT_EQ(wrapper.stopPcapReader(), "Reader stopped");
  client.sendTo(server, query(9));
  EXPECT_EQ(wrapper.stopPcapReader(), "Reader stopped");
  EXPECT_EQ(texts_.waitFor(0).size(), 4U);
}

TEST_F(LiveCapture, ReceiverForwardsAndLogsWhatItDoes) {
  struct Builder : MessageReceivedProtocol {
    void feed(std::string_view text) override { texts->add(text); }
    Texts* texts;
  } builder;
  builder.texts = &texts_;
  LogRecorder log;
  PacketReceiver receiver;
  receiver.updateInterfaces();
  EXPECT_TRUE(log.messages().empty());
  receiver.setMessageBuilder(&builder);
  receiver.startReader();
  EXPECT_TRUE(log.hasPrefix("Start Reader - Network Message: "));
  receiver.startReader();
  receiver.updateInterfaces();
  ASSERT_TRUE(log.hasPrefix("updateInterfaces "));
  EXPECT_TRUE(log.messages().back().ends_with(")"));
  const LoopbackSocket server(SOCK_DGRAM, "127.0.0.76", 53), client(SOCK_DGRAM, "127.0.0.76", 0);
  client.sendTo(server, query(8));
  server.sendTo(client, response(8, 5));
  EXPECT_EQ(texts_.waitFor(2).size(), 2U);
  receiver.stopReader();
  receiver.stopReader();
  EXPECT_EQ(log.count("Stop Reader - Network Message: Reader stopped"), 2);
  receiver.updateInterfaces();
  EXPECT_EQ(log.messages().size(), 5U);
}

TEST_F(LiveCapture, InterfaceThatIsMissingIsNamed) {
  try {
    CaptureDevice device("nosuch0", false, [](const CapturedFrame&) {});
    FAIL();
  } catch (const CaptureDeviceError& error) {
    EXPECT_TRUE(std::string(error.what()).starts_with("Cannot find interface 'nosuch0'\n"))
        << error.what();
  }
}

}  // namespace
}  // namespace tovi::test
