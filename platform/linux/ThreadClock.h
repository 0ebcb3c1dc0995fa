#pragma once

#include <chrono>
#include <ctime>

namespace tovi::platform {

/// The processor time of the calling thread: stands still while others are let run.
struct ThreadClock {
  using duration = std::chrono::nanoseconds;
  using rep = duration::rep;
  using period = duration::period;
  using time_point = std::chrono::time_point<ThreadClock>;
  static constexpr bool is_steady = true;

  static time_point now() noexcept {
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return time_point(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
  }
};

}  // namespace tovi::platform
