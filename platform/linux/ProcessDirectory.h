#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/SocketLink.h"

namespace tovi::platform {

/// What /proc/PID/stat and the owner of its directory tell.
struct ProcessFacts {
  /// Up to 15 bytes of any value but NUL, which the process chooses itself.
  std::string name;
  pid_t parent;
  /// The effective user.
  uid_t user;
};

/// The directory of a process in /proc. It stays that process's: once that has ended, all reading
/// fails, even if another process got its identifier. One thread at a time.
class ProcessDirectory {
 public:
  explicit ProcessDirectory(pid_t process);

  /// True when the process is there and this descriptor of it is the socket now.
  bool holds(int descriptor, const SocketLink& socket) const;
  /// None when the process has ended.
  std::optional<ProcessFacts> facts() const;

 private:
  FileDescriptor directory_;
};

}  // namespace tovi::platform
