#pragma once

#include <optional>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/MissedProcesses.h"
#include "platform/linux/SocketLink.h"
#include "platform/linux/SocketOwner.h"

namespace tovi::platform {

/// Searches the processes that were started last, downward from the identifier that was given out
/// last (the last number of /proc/loadavg, see proc(5)). One thread at a time.
class NewestProcesses {
 public:
  NewestProcesses();

  /// Leaves out those in `missed`, and adds to it those that were searched in vain.
  std::optional<SocketOwner> find(const SocketLink& socket, MissedProcesses& missed,
                                  Deadline deadline) const;

 private:
  // Constant after construction.
  const FileDescriptor loadAverage_;
  const pid_t highestIdentifier_;
};

}  // namespace tovi::platform
