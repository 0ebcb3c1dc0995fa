#pragma once

#include <chrono>

#include "platform/Flow.h"
#include "platform/ProcessLookup.h"

namespace tovi {

/// How a DNS message was captured.
struct MessageOrigin {
  platform::Flow flow;
  platform::Transport transport = platform::Transport::udp;
  /// When its last part was captured, of a stream that lacks some the last one at all.
  std::chrono::system_clock::time_point time;
};

}  // namespace tovi
