#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "platform/linux/RecentMap.h"
#include "platform/linux/SocketLink.h"
#include "platform/linux/SocketOwner.h"

namespace tovi::platform {

/// Finds a process that holds a socket, which the kernel tells only by the links in /proc/PID/fd:
/// where this socket was found before, else by a scan of the processes, those that were found
/// before first, then those that were started last. A scan takes 10 ms of processor time at the
/// most, and scans an eighth of the time, so that queries whose sender cannot be found do not hold
/// the capture up. Finds only processes that /proc shows: those of this PID namespace. One thread
/// at a time.
class OwnerSearch {
 public:
  /// None when nobody was found, when it is too early for a scan, and on failure.
  std::optional<SocketOwner> find(ino_t inode);

 private:
  using Clock = std::chrono::steady_clock;

  std::optional<SocketOwner> scan(const SocketLink& socket);
  std::vector<pid_t> likelyFirst();

  RecentMap<ino_t, SocketOwner> owners_{512};
  /// Their keys alone count.
  RecentMap<pid_t, bool> askers_{64};
  Clock::time_point nextScan_;
};

}  // namespace tovi::platform
