#pragma once

#include <chrono>

#include "tovictl/CommandLine.h"

namespace tovi::ctl {

/// The option --interval, 2 seconds without it. Throws UsageError for anything but 0.1 to 3600.
std::chrono::milliseconds intervalOf(const CommandLine& line);

}  // namespace tovi::ctl
