#include "platform/linux/RouteNotifications.h"

#include <array>
#include <cerrno>
#include <linux/netlink.h>
#include <sys/socket.h>

namespace tovi::platform {

FileDescriptor openRouteNotifications(unsigned groups) {
  FileDescriptor opened(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
  sockaddr_nl address = {};
  address.nl_family = AF_NETLINK;
  address.nl_groups = groups;
  const bool bound = opened && bind(opened.get(), reinterpret_cast<const sockaddr*>(&address),
                                    sizeof address) == 0;
  return bound ? std::move(opened) : FileDescriptor();
}

// What a notification says does not matter, and one that was lost for lack of room (ENOBUFS) is a
// change like any other.
bool takeRouteNotifications(const FileDescriptor& notifications) {
  std::array<char, 8192> ignored;
  bool changed = false;
  while (true) {
    const ssize_t count = recv(notifications.get(), ignored.data(), ignored.size(), 0);
    if (count < 0 && errno != ENOBUFS && errno != EINTR) return changed;
    changed = changed || count > 0 || errno == ENOBUFS;
  }
}

}  // namespace tovi::platform
