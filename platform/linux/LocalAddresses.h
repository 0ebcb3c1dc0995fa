#pragma once

#include "platform/Flow.h"
#include "platform/linux/NetlinkSocket.h"

namespace tovi::platform {

/// An address of a Flow.
using Address = decltype(Flow::source);

/// The IPv4 address of all zero octets, IPv6-mapped.
constexpr Address kAnyIpv4 = {std::byte{}, std::byte{}, std::byte{},     std::byte{},
                              std::byte{}, std::byte{}, std::byte{},     std::byte{},
                              std::byte{}, std::byte{}, std::byte{0xff}, std::byte{0xff}};

/// True for an IPv6-mapped IPv4 address.
bool isIpv4(const Address& address);

/// The addresses of this network namespace, by the kernel's routes (rtnetlink(7)). One thread at a
/// time.
class LocalAddresses {
 public:
  /// Throws std::system_error when the kernel cannot be asked.
  LocalAddresses();

  /// True when what is sent to the address stays here. A link-local IPv6 address counts only on the
  /// interface with this index. Throws std::system_error.
  bool contains(const Address& address, unsigned interfaceIndex);

 private:
  NetlinkSocket routes_;
};

}  // namespace tovi::platform
