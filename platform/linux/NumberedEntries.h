#pragma once

#include <optional>
#include <sys/types.h>
#include <vector>

#include "platform/linux/FileDescriptor.h"

namespace tovi::platform {

/// The entries of a directory whose names are decimal numbers: of /proc the processes, of
/// /proc/PID/fd the descriptors. Reads little at a time, since the kernel takes a microsecond or so
/// for each, and tells the last of what it read first: with few descriptors, the one opened last.
/// One thread at a time.
class NumberedEntries {
 public:
  struct Entry {
    int number;
    ino_t inode;
  };

  explicit NumberedEntries(const char* path);

  /// None at the end, and when the directory is gone or cannot be read.
  std::optional<Entry> next();
  /// Begins anew.
  void rewind();
  /// The directory, for calls such as readlinkat(2).
  int directory() const { return directory_.get(); }

 private:
  bool refill();

  FileDescriptor directory_;
  std::vector<Entry> waiting_;
};

}  // namespace tovi::platform
