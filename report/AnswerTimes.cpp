#include "report/AnswerTimes.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace tovi::report {
namespace {

using Duration = AnswerTimes::Duration;

constexpr std::size_t kParts = 128;

/// Times below kParts nanoseconds have a range each; each power of two above has kParts of them.
std::size_t rangeOf(Duration time) {
  const auto value = static_cast<std::uint64_t>(time.count());
  if (value < kParts) return value;
  const auto shift = static_cast<std::size_t>(std::bit_width(value / kParts) - 1);
  return kParts * shift + (value >> shift);
}

Duration startOf(std::size_t range) {
  if (range < kParts) return Duration(range);
  const std::size_t shift = range / kParts - 1;
  return Duration((range % kParts + kParts) << shift);
}

Duration startOfTenth(std::size_t tenth) {
  return Duration(std::llround(std::pow(10, static_cast<double>(tenth) / 10)));
}

/// The tenth of a power of ten that a time is in.
std::size_t tenthOf(Duration time) {
  time = std::max<Duration>(time, std::chrono::microseconds(1));
  const double power = std::log10(static_cast<double>(time.count()));
  const auto tenth = static_cast<std::size_t>(power * 10);
  return time < startOfTenth(tenth + 1) ? tenth : tenth + 1;
}

}  // namespace

void AnswerTimes::add(Duration time) {
  time = std::max(time, Duration());
  const std::size_t range = rangeOf(time);
  if (range >= counts_.size()) counts_.resize(range + 1);
  ++counts_[range];
  ++tenths_[tenthOf(time)];
  shortest_ = count_ == 0 ? time : std::min(shortest_, time);
  longest_ = std::max(longest_, time);
  ++count_;
}

Duration AnswerTimes::within(double share) const {
  const auto wanted = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(count_)));
  std::uint64_t passed = 0;
  for (std::size_t range = 0; range < counts_.size(); ++range) {
    passed += counts_[range];
    if (passed >= std::max<std::uint64_t>(wanted, 1)) {
      return std::min(startOf(range + 1) - Duration(1), longest_);
    }
  }
  return {};
}

std::vector<AnswerTimes::Range> AnswerTimes::ranges() const {
  std::vector<Range> ranges;
  if (count_ == 0) return ranges;
  for (std::size_t tenth = tenthOf(shortest_); tenth <= tenthOf(longest_); ++tenth) {
    ranges.push_back({startOfTenth(tenth), startOfTenth(tenth + 1), tenths_[tenth]});
  }
  return ranges;
}

}  // namespace tovi::report
