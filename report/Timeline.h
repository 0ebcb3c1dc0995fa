#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <vector>

#include "core/TimeProviderProtocol.h"

namespace tovi::report {

/// What happened when, in intervals that become longer as the time that they cover does, so that
/// memory stays bounded whatever times a file claims. One thread.
class Timeline {
 public:
  using Width = std::chrono::milliseconds;

  struct Interval {
    std::uint64_t packets = 0;
    std::uint64_t messages = 0;
    std::uint64_t events = 0;
    /// Responses with another code than NOERROR.
    std::uint64_t failed = 0;
    std::uint64_t undecodable = 0;

    Interval& operator+=(const Interval& other);
  };
  /// Intervals of one width, one behind the other.
  struct Series {
    Date start;
    Width width{1};
    std::vector<Interval> intervals;

    Date end() const { return start + width * std::ssize(intervals); }
  };

  /// The interval of this time; holds until the next call.
  Interval& at(Date time);
  /// All of it in at most `most` intervals of a width that people count in. Without intervals when
  /// nothing happened.
  Series series(std::size_t most) const;
  /// The least width that people count in, is at least `least`, and a multiple of `unit`.
  static Width readableWidth(Width least, Width unit = Width(1));

 private:
  void widen();

  std::size_t step_ = 0;
  /// By the number of the interval since 1970.
  std::map<std::int64_t, Interval> intervals_;
};

}  // namespace tovi::report
