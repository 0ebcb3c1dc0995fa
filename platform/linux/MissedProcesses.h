#pragma once

#include <chrono>
#include <concepts>
#include <sys/types.h>

#include "platform/linux/RecentMap.h"

namespace tovi::platform {

/// Remembers which processes were searched in vain. A process is told from a later one with its
/// identifier by the inode of its directory in /proc. One thread at a time.
class MissedProcesses {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// True once the process was searched in vain twice, with some time between: one that was just
  /// started may not have come to asking yet. `inodeOf` tells the inode of its directory, and is
  /// called only if that matters.
  template <std::invocable<pid_t> InodeOf>
  bool contains(pid_t process, InodeOf inodeOf) {
    const Misses* const misses = misses_.find(process);
    return misses != nullptr && misses->isFinal && misses->directory == inodeOf(process);
  }

  void add(pid_t process, ino_t directory, Time now) {
    Misses* const misses = misses_.find(process);
    if (misses == nullptr || misses->directory != directory) {
      misses_.set(process, {directory, now, false});
    } else if (now - misses->first >= kLeastTimeBetween) {
      misses->isFinal = true;
    }
  }

  void forget() { misses_.clear(); }

 private:
  static constexpr auto kLeastTimeBetween = std::chrono::milliseconds(100);

  struct Misses {
    ino_t directory;
    Time first;
    bool isFinal;
  };

  RecentMap<pid_t, Misses> misses_{2048};
};

}  // namespace tovi::platform
