#pragma once

#include <sys/types.h>

#include "platform/linux/ThreadClock.h"

namespace tovi::platform {

/// Where a socket was seen: /proc/PROCESS/fd/DESCRIPTOR.
struct SocketOwner {
  static constexpr int kUnknownDescriptor = -1;

  pid_t process;
  int descriptor;
};

/// When a search has to be given up.
using Deadline = ThreadClock::time_point;

inline bool isPast(Deadline deadline) {
  return ThreadClock::now() >= deadline;
}

}  // namespace tovi::platform
