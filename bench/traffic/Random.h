#pragma once

#include <cmath>
#include <cstdint>

namespace tovi::bench {

/// Numbers that are the same for a seed with every compiler and library: the sequence known as
/// SplitMix64. One thread.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t next() {
    state_ += 0x9e3779b97f4a7c15;
    std::uint64_t mixed = (state_ ^ (state_ >> 30)) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111eb;
    return mixed ^ (mixed >> 31);
  }
  /// At least 0 and less than `bound`.
  std::uint32_t below(std::uint32_t bound) {
    return static_cast<std::uint32_t>((next() >> 32) * bound >> 32);
  }
  std::uint32_t between(std::uint32_t least, std::uint32_t most) {
    return least + below(most - least + 1);
  }
  bool chance(std::uint32_t percent) { return below(100) < percent; }
  /// At least 0 and less than 1.
  double unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }
  /// The gap between two events that happen independently, `mean` apart on average.
  double gap(double mean) { return -mean * std::log(1 - unit()); }

 private:
  std::uint64_t state_;
};

}  // namespace tovi::bench
