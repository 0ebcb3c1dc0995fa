#pragma once

#include <optional>
#include <sys/types.h>
#include <vector>

#include "platform/linux/FileDescriptor.h"

namespace tovi::platform {

/// Iterates over the entries of a directory whose names are decimal numbers: the processes in
/// /proc, the descriptors in /proc/PID/fd. It reads a few entries at a time, since the kernel takes
/// about a microsecond for each, and returns the entries of each part in reverse order. So a
/// process that has few descriptors shows the one that it opened last first. One thread at a time.
class NumberedEntries {
 public:
  explicit NumberedEntries(const char* path);

  /// None at the end, and when the directory is gone or cannot be read.
  std::optional<int> next();
  /// The directory, for calls such as readlinkat(2).
  int directory() const { return directory_.get(); }

 private:
  bool refill();

  FileDescriptor directory_;
  std::vector<int> waiting_;
};

}  // namespace tovi::platform
