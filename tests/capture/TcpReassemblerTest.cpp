#include <gtest/gtest.h>

#include "capture/TcpReassembler.h"
#include "tests/capture/FrameBuilder.h"

namespace tovi::test {
namespace {

constexpr unsigned kSyn = 2, kRst = 4;

/// A message of `size` octets with a plausible header, told from others by `id`, and its length.
std::string framed(unsigned id, std::size_t size = 40) {
  std::string text = dnsMessage(id, 0x8180, {"x"});
  text.resize(size, static_cast<char>('a' + id % 26));
  return u16(size) + text;
}

struct Segment {
  std::uint32_t sequence;
  std::string payload;
  unsigned flags = 0;
  std::size_t missing = 0;
  int second = 0;
};

Segment at(std::uint32_t sequence, const std::string& payload, unsigned flags = 0) {
  return {.sequence = sequence, .payload = payload, .flags = flags};
}

class Streams {
 public:
  void give(const Segment& segment, unsigned port = 53) {
    streams_.add({.flow = {{}, {}, static_cast<std::uint16_t>(port), 4000},
                  .sequence = segment.sequence,
                  .syn = (segment.flags & kSyn) != 0,
                  .rst = (segment.flags & kRst) != 0,
                  .payload = asBytes(segment.payload),
                  .missing = segment.missing},
                 TcpReassembler::Time(std::chrono::seconds(segment.second)));
  }

  void end() { streams_.finish(); }

  std::string messages;
  std::size_t count = 0;
  std::vector<Undecodable> lost;

 private:
  void take(std::span<const std::byte> bytes) {
    ++count;
    messages += u16(bytes.size());
    messages.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  }

  TcpReassembler streams_{[this](const Flow&, auto, auto bytes) { take(bytes); },
                          [this](Undecodable reason) { lost.push_back(reason); }};
};

TEST(TcpReassemblerTest, SegmentsAreJoinedInTheOrderOfTheirSequence) {
  const std::string a = framed(1), b = framed(2), c = framed(3, 500), stream = a + b + c;
  const Segment syn = at(99, "", kSyn), front = at(100, a.substr(0, 20));
  using enum Undecodable;
  const struct {
    const char* name;
    std::vector<Segment> segments;
    std::string messages;
    std::vector<Undecodable> lost = {};
  } cases[] = {
      {"out of order, first come counts",
       {syn, at(130, stream.substr(30, 20)), at(110, stream.substr(10, 30)), at(120, "?????????"),
        at(145, stream.substr(45)), at(100, stream.substr(0, 10)), at(100, stream)},
       stream},
      {"begins in its middle",
       {at(140, c.substr(40)), at(602, a + b.substr(0, 30)), at(674, b.substr(30))},
       a + b},
      {"cut by the capture",
       {syn, {100, stream.substr(0, 100), 0, 486}, at(686, a)},
       a + b + a,
       {tcpGap}},
      {"cut across a message", {syn, {100, a.substr(0, 20), 0, 30}, at(151, c)}, c, {tcpGap}},
      {"length below a header", {syn, at(100, std::string(99, '\0')), at(199, b)}, b, {tcpLength}},
      {"reset", {syn, front, at(120, "", kRst), at(120, a.substr(20)), at(200, b)}, b, {tcpGap}},
      {"reset in between", {syn, at(100, a), at(150, "", kRst)}, a},
      {"same ports again", {syn, front, at(4999, "", kSyn), at(5000, b)}, b, {tcpGap}},
      {"idle", {syn, front, {120, a.substr(20), 0, 0, 31}}, "", {tcpGap}},
      {"a segment that never came", {syn, at(110, a.substr(10)), at(186, b)}, b, {tcpGap}}};
  for (const auto& [name, segments, messages, lost] : cases) {
    Streams streams;
    for (const auto& segment : segments) streams.give(segment);
    streams.end();
    EXPECT_EQ(streams.messages, messages) << name;
    EXPECT_EQ(streams.lost, lost) << name;
  }
}

TEST(TcpReassemblerTest, LostSegmentIsPassedOverOnceTooMuchWaits) {
  for (const unsigned size : {1000U, 40U}) {
    Streams streams;
    streams.give(at(99, framed(1, 60000).substr(0, 1000), kSyn));
    for (unsigned i = 0; i < 70; ++i) streams.give(at(62102 + i * (size + 2), framed(i, size)));
    EXPECT_EQ(streams.count, 70U) << size;
    EXPECT_EQ(streams.lost, std::vector{Undecodable::tcpGap}) << size;
  }
}

TEST(TcpReassemblerTest, StreamsAreBoundedInNumberAndMemory) {
  const auto completed = [](unsigned count, unsigned size) {
    Streams streams;
    const std::string stream = framed(1, size);
    for (unsigned i = 0; i < count; ++i) streams.give(at(99, stream.substr(0, size), kSyn), i);
    for (unsigned i = 0; i < count; ++i) streams.give(at(100 + size, stream.substr(size)), i);
    return streams.count;
  };
  EXPECT_EQ(completed(TcpReassembler::kMaxStreams + 5, 40), TcpReassembler::kMaxStreams);
  EXPECT_GT(completed(400, 60000), 100U);
  EXPECT_LE(completed(400, 60000) * 60000, TcpReassembler::kMaxMemory);
}

}  // namespace
}  // namespace tovi::test
