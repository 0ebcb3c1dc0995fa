#include "report/Timeline.h"

#include <array>
#include <iterator>
#include <utility>

namespace tovi::report {
namespace {

using namespace std::chrono;
using Width = Timeline::Width;

constexpr std::size_t kMostKept = 4096;

// Each divides the next.
constexpr std::array<Width, 12> kSteps = {1ms,   10ms, 100ms, 1s,      10s,      1min,
                                          10min, 1h,   6h,    days(1), days(10), days(1000)};

constexpr std::array<Width, 36> kReadable = {
    1ms,        2ms,        5ms,         10ms,       20ms,    50ms,     100ms,    200ms,
    500ms,      1s,         2s,          5s,         10s,     15s,      30s,      1min,
    2min,       5min,       10min,       15min,      30min,   1h,       2h,       3h,
    6h,         12h,        days(1),     days(2),    days(5), days(10), days(50), days(200),
    days(1000), days(5000), days(20000), days(50000)};

std::int64_t numberOf(Date time, Width width) {
  return floor<milliseconds>(time.time_since_epoch()) / width;
}

}  // namespace

Timeline::Interval& Timeline::Interval::operator+=(const Interval& other) {
  packets += other.packets;
  messages += other.messages;
  events += other.events;
  failed += other.failed;
  undecodable += other.undecodable;
  return *this;
}

Timeline::Interval& Timeline::at(Date time) {
  auto number = numberOf(time, kSteps[step_]);
  while (intervals_.size() >= kMostKept && step_ + 1 < kSteps.size() &&
         !intervals_.contains(number)) {
    widen();
    number = numberOf(time, kSteps[step_]);
  }
  return intervals_[number];
}

void Timeline::widen() {
  const auto ratio = kSteps[step_ + 1] / kSteps[step_];
  ++step_;
  for (const auto& [number, interval] : std::exchange(intervals_, {})) {
    intervals_[number / ratio] += interval;
  }
}

Timeline::Series Timeline::series(std::size_t most) const {
  if (intervals_.empty()) return {};
  const Width step = kSteps[step_];
  const auto first = intervals_.begin()->first;
  const auto last = intervals_.rbegin()->first;
  // One less, since the first and the last interval need not begin where such a width does.
  const auto parts = static_cast<std::int64_t>(most) - 1;
  const Width width = readableWidth(step * (last - first) / parts + Width(1), step);
  const auto ratio = width / step;
  Series series{.start = Date(width * (first / ratio)), .width = width, .intervals = {}};
  series.intervals.resize(static_cast<std::size_t>(last / ratio - first / ratio + 1));
  for (const auto& [number, interval] : intervals_) {
    series.intervals[static_cast<std::size_t>(number / ratio - first / ratio)] += interval;
  }
  return series;
}

Timeline::Width Timeline::readableWidth(Width least, Width unit) {
  for (const Width width : kReadable) {
    if (width >= least && width % unit == Width(0)) return width;
  }
  return kReadable.back();
}

}  // namespace tovi::report
