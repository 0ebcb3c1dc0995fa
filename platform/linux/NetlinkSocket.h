#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/linux/FileDescriptor.h"

struct nlmsghdr;

namespace tovi::platform {

/// Asks the kernel by netlink(7), where the answer is there once the request was sent. One thread
/// at a time.
class NetlinkSocket {
 public:
  struct Answer {
    /// The kernel's error number; 0 for none.
    int error;
    /// What follows the header of the first message; holds until the next request.
    std::span<const std::byte> body;
  };

  /// `protocol` is a NETLINK_ number. Throws std::system_error.
  explicit NetlinkSocket(int protocol);

  /// Sends a request, of which all but the sequence number is set, length included. Throws
  /// std::system_error when it cannot be sent or nothing answers.
  Answer ask(nlmsghdr& request);

 private:
  const FileDescriptor socket_;
  std::uint32_t sequence_ = 0;
  alignas(4) std::array<std::byte, 8192> buffer_;
};

}  // namespace tovi::platform
