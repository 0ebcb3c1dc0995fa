#pragma once

#include <array>
#include <string_view>
#include <sys/types.h>

namespace tovi::platform {

/// What the link /proc/PID/fd/NUMBER reads when that descriptor is this socket; see proc(5).
/// Constant after construction.
class SocketLink {
 public:
  explicit SocketLink(ino_t inode);

  /// True when the link reads so now. `path` counts from the directory, as in readlinkat(2).
  bool isAt(int directory, const char* path) const;

 private:
  std::array<char, 40> text_;
  std::size_t length_;
};

}  // namespace tovi::platform
