#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tovi {

/// Keeps work that comes again and again, and costs much each time, from being done too often: what
/// comes meanwhile can then be done together. It waits only while there is work.
class Pacer {
 public:
  explicit Pacer(std::chrono::milliseconds spacing) : spacing_(spacing) {}

  /// Returns at once, or when `spacing` has passed since it returned last, or when hurried. One
  /// thread at a time.
  void wait();
  /// Ends the present wait, or else the next, at once. Any thread.
  void hurry();

 private:
  using Clock = std::chrono::steady_clock;

  const std::chrono::milliseconds spacing_;

  std::mutex mutex_;
  std::condition_variable wake_;
  // Guarded by the mutex.
  bool isHurried_ = false;
  Clock::time_point last_;
};

}  // namespace tovi
