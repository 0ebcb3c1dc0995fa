#pragma once

#include <chrono>

#include "toolkit/CommandLine.h"

namespace tovi::ctl {

/// The option --interval, 2 seconds without it. Throws UsageError for anything but 0.1 to 3600.
inline std::chrono::milliseconds intervalOf(const CommandLine& line) {
  const auto seconds = line.seconds("--interval", 0.1, 3600).value_or(2);
  return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

}  // namespace tovi::ctl
