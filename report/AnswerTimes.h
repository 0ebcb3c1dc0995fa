#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <vector>

namespace tovi::report {

/// How long answers took, as counts of ranges, so memory is bounded. One thread.
class AnswerTimes {
 public:
  using Duration = std::chrono::nanoseconds;

  /// Times from `from` to before `to`.
  struct Range {
    Duration from;
    Duration to;
    std::uint64_t count;
  };

  /// `time` is below 200 years. A negative one, out of a file whose times are out of order, counts
  /// as none.
  void add(Duration time);

  std::uint64_t count() const { return count_; }
  /// Exact, as is `longest`. Zero when there are no times.
  Duration shortest() const { return shortest_; }
  Duration longest() const { return longest_; }
  /// The time within which a `share` of 0 to 1 of the answers came, at most 0.8 % too long; zero
  /// when there are none.
  Duration within(double share) const;
  /// Ten ranges a power of ten, from the shortest to the longest time, counted exactly; what took
  /// less than a microsecond is in the first.
  std::vector<Range> ranges() const;

 private:
  // Enough for the greatest number of nanoseconds, which is below 10 to the power of 19.
  static constexpr std::size_t kTenths = 190;

  /// How many times fell into each range. A range is a 128th of its lower bound wide.
  std::vector<std::uint64_t> counts_;
  /// The same, with ten ranges for each power of ten.
  std::array<std::uint64_t, kTenths> tenths_{};
  std::uint64_t count_ = 0;
  Duration shortest_{};
  Duration longest_{};
};

}  // namespace tovi::report
