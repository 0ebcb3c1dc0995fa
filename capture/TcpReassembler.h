#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <span>
#include <vector>

#include "capture/FrameDecoder.h"

namespace tovi {

/// Joins the segments of DNS over TCP into messages, each of which stands behind its length in two
/// octets (RFC 1035, section 4.2.2). Each direction of a connection is a stream of its own, bounded
/// in what it may keep waiting, and there are only so many of them: the least recently used ones
/// are forgotten. What is unknown about a stream (it began before the capture, or segments were
/// lost) is passed over up to the next segment that looks like the start of a message. A stream
/// that was closed stays known until it is idle, so that what is sent once more is not taken for
/// more. One thread.
class TcpReassembler {
 public:
  using Time = std::chrono::system_clock::time_point;

  static constexpr std::size_t kMaxStreams = 2048;
  static constexpr std::size_t kMaxWaiting = 65536 + 2;
  static constexpr std::size_t kMaxPieces = 64;
  static constexpr std::size_t kMaxMemory = std::size_t{8} << 20;
  static constexpr std::chrono::seconds kIdleTime{30};

  /// Takes each message in the order of its stream; the bytes are borrowed. Must not throw.
  using MessageSink = std::function<void(const Flow&, Time, std::span<const std::byte>)>;
  /// Told of each fault that cost a message.
  using LossSink = std::function<void(Undecodable)>;

  TcpReassembler(MessageSink message, LossSink lost)
      : message_(std::move(message)), lost_(std::move(lost)) {}

  void add(const TcpSegment& segment, Time time);
  /// Nothing more will come: what waits for missing segments is passed on without them.
  void finish();

 private:
  using Bytes = std::vector<std::byte>;

  /// Positions are sequence numbers widened to 64 bits, so that they do not wrap.
  struct Stream {
    Flow flow;
    Time lastUsed;
    std::uint64_t start;
    /// Where the bytes begin that have not arrived yet.
    std::uint64_t next;
    /// Bytes from `next` on that end a message whose front was lost.
    std::size_t toSkip = 0;
    /// The front of the message that is being received, its length included.
    Bytes partial;
    /// What arrived ahead of `next`, by position, without overlaps.
    std::map<std::uint64_t, Bytes> ahead;
    std::size_t aheadBytes = 0;

    std::size_t waiting() const { return partial.size() + aheadBytes; }
    std::size_t memory() const {
      constexpr std::size_t kMemoryOfPiece = 128;
      return partial.capacity() + aheadBytes + ahead.size() * kMemoryOfPiece;
    }
  };
  using Streams = std::list<Stream>;

  Streams::iterator find(const Flow& flow);
  Streams::iterator open(const Flow& flow, std::uint32_t sequence, Time time);
  Streams::iterator streamFor(const TcpSegment& segment, std::uint32_t sequence, Time time);
  void giveUp(Streams::iterator stream);
  void forget(Streams::iterator stream);
  void forgetIdle(Time now);

  bool receive(Stream& stream, std::uint64_t position, std::span<const std::byte> bytes);
  static void keepAhead(Stream& stream, std::uint64_t position, std::span<const std::byte> bytes);
  bool takeAhead(Stream& stream);
  bool consume(Stream& stream, std::span<const std::byte> bytes);
  bool passGap(Stream& stream, std::uint64_t length);
  bool startAnew(Stream& stream);

  const MessageSink message_;
  const LossSink lost_;
  /// The least recently used first.
  Streams streams_;
  std::map<Flow, Streams::iterator> index_;
  /// The sum of the streams' `memory`.
  std::size_t memory_ = 0;
};

}  // namespace tovi
