#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "core/Activity.h"
#include "service/Counters.h"

namespace tovi::ctl {

/// One look at the daemon.
struct Sample {
  std::chrono::steady_clock::time_point time;
  Counters counters;
  Activity activity;
};

/// A look, or why the daemon could not be looked at.
struct SampleOutcome {
  std::optional<Sample> sample;
  std::string failure;
};

}  // namespace tovi::ctl
