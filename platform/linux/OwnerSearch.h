#pragma once

#include <functional>
#include <optional>

#include "platform/linux/NewestProcesses.h"
#include "platform/linux/ProcessScan.h"
#include "platform/linux/RecentAskers.h"
#include "platform/linux/SearchAllowance.h"

namespace tovi::platform {

/// Finds a process that holds a socket, which the kernel tells only by the links in /proc/PID/fd.
/// Looks first where it is likely and cheap: where this socket was found before, at the processes
/// that asked lately, at the newest processes; then goes on with a scan of all, for as long as
/// SearchAllowance leaves processor time. Finds only processes that /proc shows: those of this PID
/// namespace. Keeps at most 1,024 sockets and 4,096 processes in mind, about 300 KB. One thread at
/// a time.
class OwnerSearch {
 public:
  /// None when it was not found in time, and on failure. `isOpen` tells whether there is such a
  /// socket still; it is asked before the scan.
  std::optional<SocketOwner> find(ino_t inode, const std::function<bool()>& isOpen);

 private:
  std::optional<SocketOwner> findKnown(ino_t inode, const SocketLink& socket);
  std::optional<SocketOwner> search(const SocketLink& socket, const std::function<bool()>& isOpen);

  RecentMap<ino_t, SocketOwner> owners_{512};
  RecentAskers askers_;
  NewestProcesses newest_;
  ProcessScan scan_;
  MissedProcesses missed_;
  SearchAllowance allowance_{SearchAllowance::Clock::now()};
};

}  // namespace tovi::platform
