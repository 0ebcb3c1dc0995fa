#pragma once

#include <sys/types.h>

namespace tovi::platform {

/// Where a socket was seen: /proc/PROCESS/fd/DESCRIPTOR.
struct SocketOwner {
  static constexpr int kUnknownDescriptor = -1;

  pid_t process;
  int descriptor;
};

}  // namespace tovi::platform
