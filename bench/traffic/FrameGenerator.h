#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <queue>
#include <vector>

#include "bench/traffic/ExchangeGenerator.h"

namespace tovi::bench {

struct TimedFrame {
  /// Since 1970-01-01T00:00:00Z.
  std::chrono::nanoseconds time;
  /// An Ethernet frame without its check sequence.
  Octets bytes;
};

/// The frames of many exchanges over UDP, IPv4 and some IPv6, between the clients of a network and
/// two resolvers, in the order of their time: 10,000 exchanges a second, each response some
/// milliseconds behind its query and so behind other queries. Keeps only the responses that are
/// under way. The same for a seed. One thread.
class FrameGenerator {
 public:
  FrameGenerator(std::uint64_t exchanges, std::uint64_t seed);

  /// False behind the last frame.
  bool next(TimedFrame& frame);
  /// How many of the exchanges so far have an answer.
  std::uint64_t answered() const { return answered_; }

 private:
  struct LaterFirst {
    bool operator()(const TimedFrame& a, const TimedFrame& b) const { return a.time > b.time; }
  };
  void beginExchange();

  std::uint64_t exchangesLeft_;
  std::uint64_t answered_ = 0;
  Random random_;
  ExchangeGenerator exchanges_;
  std::chrono::nanoseconds lastQuery_;
  std::priority_queue<TimedFrame, std::vector<TimedFrame>, LaterFirst> underWay_;
};

}  // namespace tovi::bench
