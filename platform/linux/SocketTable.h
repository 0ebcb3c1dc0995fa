#pragma once

#include <cstdint>
#include <optional>
#include <sys/types.h>

#include "platform/ProcessLookup.h"
#include "platform/linux/LocalAddresses.h"
#include "platform/linux/NetlinkSocket.h"

namespace tovi::platform {

/// A socket as the kernel's table shows it. Addresses stand as in a Flow; that of a socket bound to
/// any address, or connected to none, is all zero.
struct TableSocket {
  ino_t inode;
  Transport transport;
  /// One of the states of TCP in netinet/tcp.h.
  std::uint8_t state;
  /// Of the socket; one for IPv6 can speak IPv4.
  bool isIpv6;
  Address localAddress;
  Address remoteAddress;
  std::uint16_t localPort;
  std::uint16_t remotePort;
};

/// Asks the kernel's table of sockets (sock_diag(7)) for a single one, which takes it the same time
/// however many there are. It knows the sockets of the network namespace in which this was made.
/// One thread at a time.
class SocketTable {
 public:
  /// Throws std::system_error when the table cannot be asked, or knows nothing of UDP.
  SocketTable();

  /// The socket of this machine that an answer to the query would reach, hence the one that it left
  /// from, unless several share a port by their own choice (SO_REUSEPORT). None when it was closed,
  /// or when the query's source is not this machine. Throws std::system_error.
  std::optional<TableSocket> find(const CapturedQuery& query);

 private:
  std::optional<TableSocket> ask(const CapturedQuery& query);

  NetlinkSocket netlink_;
  LocalAddresses localAddresses_;
};

}  // namespace tovi::platform
