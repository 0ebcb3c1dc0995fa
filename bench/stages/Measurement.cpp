#include "bench/stages/Measurement.h"

#include "bench/stages/Allocations.h"

namespace tovi::bench {

Measurement::Measurement(benchmark::State& state, const char* unit, std::size_t unitsPerPass)
    : state_(state), unitsPerPass_(unitsPerPass), resumedAt_(allocations()) {
  state_.SetLabel(unit);
}

Measurement::~Measurement() {
  using benchmark::Counter;
  allocations_ += allocations() - resumedAt_;
  const auto units = static_cast<double>(unitsPerPass_);
  state_.counters["time_a_unit"] =
      Counter(units, Counter::kIsIterationInvariantRate | Counter::kInvert);
  state_.counters["allocations_a_unit"] =
      Counter(static_cast<double>(allocations_) / units, Counter::kAvgIterations);
}

void Measurement::pause() {
  state_.PauseTiming();
  allocations_ += allocations() - resumedAt_;
}

void Measurement::resume() {
  resumedAt_ = allocations();
  state_.ResumeTiming();
}

}  // namespace tovi::bench
