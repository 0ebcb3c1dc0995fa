#pragma once

#include <algorithm>
#include <chrono>

namespace tovi::platform {

/// How much processor time searches may take: each 0.8 ms, and all together an eighth of the
/// time that passes, so that questions whose askers cannot be found do not hold the capture up,
/// however many they are. A search takes some time even if it may take none; what very many of them
/// take too much is made up for within a second after they have ended. One thread at a time.
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
