#include "platform/linux/SocketLink.h"

#include <cstdio>
#include <unistd.h>

namespace tovi::platform {

SocketLink::SocketLink(ino_t inode)
    : length_(static_cast<std::size_t>(
          std::snprintf(text_.data(), text_.size(), "socket:[%lu]", inode))) {}

bool SocketLink::isAt(int directory, const char* path) const {
  std::array<char, 40> target;
  const ssize_t length = readlinkat(directory, path, target.data(), target.size());
  return length > 0 && std::string_view(target.data(), static_cast<std::size_t>(length)) ==
                           std::string_view(text_.data(), length_);
}

}  // namespace tovi::platform
