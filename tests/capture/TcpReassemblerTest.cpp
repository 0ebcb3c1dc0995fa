#include <gtest/gtest.h>

#include "capture/TcpReassembler.h"
#include "tests/capture/FrameBuilder.h"

namespace tovi::test {
namespace {

constexpr unsigned kSyn = 2, kRst = 4;

/// A message of `size` octets with a plausible header, told from others by `id`.
std::string message(unsigned id, std::size_t size = 40) {
  std::string text = dnsMessage(id, 0x8180, {"x"});
  text.resize(size, static_cast<char>('a' + id % 26));
  return text;
}

std::string framed(const std::string& text) {
  return u16(static_cast<unsigned>(text.size())) + text;
}

class TcpReassemblerTest : public testing::Test {
 protected:
  void give(std::uint32_t sequence, const std::string& payload, unsigned flags = 0,
            std::size_t missing = 0) {
    streams_.add({.flow = flow_,
                  .sequence = sequence,
                  .syn = (flags & kSyn) != 0,
                  .rst = (flags & kRst) != 0,
                  .payload = asBytes(payload),
                  .missing = missing},
                 TcpReassembler::Time(std::chrono::seconds(second_)));
  }
  void connect(std::uint32_t initial = 99) { give(initial, "", kSyn); }

  Flow flow_{.source = {}, .destination = {}, .sourcePort = 53, .destinationPort = 4000};
  int second_ = 0;
  std::vector<std::string> messages_;
  int lost_ = 0;
  TcpReassembler streams_{[this](auto bytes) {
                            messages_.emplace_back(reinterpret_cast<const char*>(bytes.data()),
                                                   bytes.size());
                          },
                          [this] { ++lost_; }};
};

using Messages = std::vector<std::string>;

TEST_F(TcpReassemblerTest, MessagesAreJoinedWhateverTheSegmentsAre) {
  const std::string stream = framed(message(1)) + framed(message(2)) + framed(message(3, 300));
  for (const std::size_t size : {std::size_t{1}, std::size_t{7}, std::size_t{43}, stream.size()}) {
    flow_.sourcePort = static_cast<std::uint16_t>(size);
    messages_.clear();
    connect(0xffffff00 - 1);
    for (std::size_t at = 0; at < stream.size(); at += size) {
      give(0xffffff00 + static_cast<std::uint32_t>(at), stream.substr(at, size));
    }
    EXPECT_EQ(messages_, (Messages{message(1), message(2), message(3, 300)})) << size;
  }
}

TEST_F(TcpReassemblerTest, OutOfOrderAndRepeatedSegmentsCountOnce) {
  const std::string stream = framed(message(1)) + framed(message(2));
  connect();
  give(130, stream.substr(30, 20));
  give(110, std::string(10, '!') + stream.substr(20, 20));
  give(120, std::string(20, '?'));
  give(145, stream.substr(45));
  EXPECT_TRUE(messages_.empty());
  give(100, stream.substr(0, 10));
  give(100, stream);
  std::string expected = message(1);
  expected.replace(8, 10, 10, '!');
  EXPECT_EQ(messages_, (Messages{expected, message(2)}));
  EXPECT_EQ(lost_, 0);
}

TEST_F(TcpReassemblerTest, ConnectionSeenInItsMiddleBeginsAtTheNextMessage) {
  const std::string first = framed(message(1, 90));
  give(1040, first.substr(40));
  give(1092, framed(message(2)) + framed(message(3, 60)).substr(0, 30));
  give(1092 + 42 + 30, framed(message(3, 60)).substr(30));
  EXPECT_EQ(messages_, (Messages{message(2), message(3, 60)}));
}

TEST_F(TcpReassemblerTest, CaptureThatCutASegmentCostsOneMessage) {
  connect();
  const std::string stream = framed(message(1)) + framed(message(2, 500)) + framed(message(3));
  give(100, stream.substr(0, 100), 0, 200);
  give(400, stream.substr(300));
  EXPECT_EQ(messages_, (Messages{message(1), message(3)}));
  EXPECT_EQ(lost_, 1);
}

TEST_F(TcpReassemblerTest, LostSegmentIsPassedOverOnceTooMuchWaits) {
  connect();
  const std::string big = framed(message(1, 60000));
  give(100, big.substr(0, 1000));
  std::uint32_t at = 100 + 2000;
  give(at, big.substr(2000));
  at += static_cast<std::uint32_t>(big.size() - 2000);
  for (unsigned id = 2; id < 12; ++id, at += 1002) give(at, framed(message(id, 1000)));
  EXPECT_EQ(messages_.size(), 10U);
  EXPECT_EQ(messages_.front(), message(2, 1000));
  EXPECT_EQ(lost_, 1);
}

TEST_F(TcpReassemblerTest, GapAcrossAMessagesStartResumesAtAPlausibleSegment) {
  connect();
  give(150, "the middle of something");
  std::uint32_t at = 200;
  for (unsigned id = 0; id < 70; ++id, at += 44) give(at, framed(message(id, 42)));
  EXPECT_EQ(messages_.size(), 70U);
  EXPECT_EQ(lost_, 1);
}

TEST_F(TcpReassemblerTest, LengthBelowAHeaderEndsTheStreamOnce) {
  connect();
  give(100, std::string(1000, '\0'));
  EXPECT_EQ(lost_, 1);
  give(1100, framed(message(4)));
  EXPECT_EQ(messages_, Messages{message(4)});
}

TEST_F(TcpReassemblerTest, ResetForgetsAndNewConnectionOnTheSamePortsBegins) {
  connect();
  give(100, framed(message(1)).substr(0, 20));
  give(120, "", kRst);
  give(120, framed(message(1)).substr(20));
  connect(5000);
  give(5001, framed(message(2)));
  connect(9000);
  give(9001, framed(message(3)));
  EXPECT_EQ(messages_, (Messages{message(2), message(3)}));
}

TEST_F(TcpReassemblerTest, IdleStreamIsForgotten) {
  connect();
  give(100, framed(message(1)).substr(0, 20));
  second_ = 31;
  give(120, framed(message(1)).substr(20));
  EXPECT_TRUE(messages_.empty());
}

TEST_F(TcpReassemblerTest, LeastRecentlyUsedStreamsMakeRoom) {
  const std::string stream = framed(message(1));
  for (unsigned port = 0; port <= TcpReassembler::kMaxStreams; ++port) {
    flow_.sourcePort = static_cast<std::uint16_t>(port);
    connect();
    give(100, stream.substr(0, 10));
    flow_.sourcePort = 0;
    if (port < 5) give(100, stream.substr(0, 10));
  }
  for (unsigned port = 0; port <= TcpReassembler::kMaxStreams; ++port) {
    flow_.sourcePort = static_cast<std::uint16_t>(port);
    give(110, stream.substr(10));
  }
  EXPECT_EQ(messages_.size(), TcpReassembler::kMaxStreams);
}

TEST_F(TcpReassemblerTest, MemoryOfAllStreamsIsBounded) {
  const std::string big = framed(message(1, 60000));
  for (unsigned port = 0; port < 400; ++port) {
    flow_.sourcePort = static_cast<std::uint16_t>(port);
    connect();
    give(100, big.substr(0, 59000));
  }
  for (unsigned port = 0; port < 400; ++port) {
    flow_.sourcePort = static_cast<std::uint16_t>(port);
    give(100 + 59000, big.substr(59000));
  }
  EXPECT_GT(messages_.size(), 100U);
  EXPECT_LE(messages_.size() * 59000, TcpReassembler::kMaxMemory);
}

}  // namespace
}  // namespace tovi::test
