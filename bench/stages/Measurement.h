#pragma once

#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>

namespace tovi::bench {

/// Turns the passes of one benchmark into processor time and allocations a unit. Construct it
/// before the first pass; its end reports.
class Measurement {
 public:
  /// Each pass treats `unitsPerPass` of what `unit` names.
  Measurement(benchmark::State& state, const char* unit, std::size_t unitsPerPass);
  ~Measurement();
  Measurement(const Measurement&) = delete;
  Measurement& operator=(const Measurement&) = delete;

  /// What is done between the two is not counted.
  void pause();
  void resume();

 private:
  benchmark::State& state_;
  const std::size_t unitsPerPass_;
  std::uint64_t allocations_ = 0;
  std::uint64_t resumedAt_;
};

}  // namespace tovi::bench
