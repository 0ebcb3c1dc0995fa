#pragma once

#include <algorithm>
#include <chrono>

namespace tovi::platform {

/// The CPU budget of the searches for the process of a query, so that queries whose process cannot
/// be found do not delay the capture. One search may take 0.8 ms, and all searches together an
/// eighth of the time that passes. A search without budget still takes some time; that debt is paid
/// off within a second. One thread at a time.
class SearchAllowance {
 public:
  using Clock = std::chrono::steady_clock;

  explicit SearchAllowance(Clock::time_point now) : last_(now) {}

  /// What a search that begins now may take.
  Clock::duration next(Clock::time_point now) {
    saved_ = std::min<Clock::duration>(kMostSaved, saved_ + (now - last_) / kShare);
    last_ = now;
    return std::clamp<Clock::duration>(saved_, Clock::duration(0), kOneSearch);
  }

  void take(Clock::duration spent) {
    saved_ = std::max<Clock::duration>(saved_ - spent, -kMostSaved);
  }

 private:
  static constexpr auto kOneSearch = std::chrono::microseconds(800);
  static constexpr auto kMostSaved = std::chrono::milliseconds(100);
  static constexpr int kShare = 8;

  Clock::duration saved_ = kMostSaved;
  Clock::time_point last_;
};

}  // namespace tovi::platform
