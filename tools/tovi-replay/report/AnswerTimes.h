#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace tovi::replay {

/// How long answers took. Times are kept as counts of ranges, each at most a 128th part wide, so
/// memory is bounded and what is told is at most 0.8 % too long. One thread.
class AnswerTimes {
 public:
  using Duration = std::chrono::nanoseconds;

  /// Times from `from` to before `to`.
  struct Range {
    Duration from;
    Duration to;
    std::uint64_t count;
  };

  /// A negative time, out of a file whose times are out of order, counts as none.
  void add(Duration time);

  std::uint64_t count() const { return count_; }
  /// Exact, as is `longest`. Zero when there are no times.
  Duration shortest() const { return shortest_; }
  Duration longest() const { return longest_; }
  /// The time within which a `share` of 0 to 1 of the answers came; zero when there are none.
  Duration within(double share) const;
  /// Ten ranges a power of ten, from the shortest to the longest time; what took less than a
  /// microsecond is in the first.
  std::vector<Range> ranges() const;

 private:
  std::vector<std::uint64_t> counts_;
  std::uint64_t count_ = 0;
  Duration shortest_{};
  Duration longest_{};
};

}  // namespace tovi::replay
