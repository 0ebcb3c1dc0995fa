#include "platform/Network.h"

#include <array>
#include <cerrno>
#include <ifaddrs.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include "platform/TextFile.h"
#include "platform/linux/ResolverList.h"
#include "platform/linux/RouteNotifications.h"

namespace tovi::platform {

namespace {

socklen_t addressLength(const sockaddr* address) {
  if (address == nullptr) return 0;
  if (address->sa_family == AF_INET) return sizeof(sockaddr_in);
  return address->sa_family == AF_INET6 ? sizeof(sockaddr_in6) : 0;
}

std::optional<std::string> numericText(const sockaddr* address) {
  std::array<char, NI_MAXHOST> text;
  const socklen_t length = addressLength(address);
  if (length == 0 ||
      getnameinfo(address, length, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST) != 0) {
    return std::nullopt;
  }
  return text.data();
}

}  // namespace

std::vector<InterfaceAddress> interfaceAddresses() {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return {};
  const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owned(list, &freeifaddrs);
  std::vector<InterfaceAddress> addresses;
  for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
    if ((each->ifa_flags & IFF_UP) == 0) continue;
    if (auto text = numericText(each->ifa_addr)) {
      addresses.push_back({each->ifa_name, if_nametoindex(each->ifa_name), std::move(*text)});
    }
  }
  return addresses;
}

std::vector<std::string> resolverAddresses() {
  // The other file may name systemd-resolved's own stub only.
  auto text = readTextFile("/run/systemd/resolve/resolv.conf");
  if (!text) text = readTextFile("/etc/resolv.conf");
  return resolversOf(text.value_or(""));
}

struct NetworkChanges::Native {
  // Constant after construction.
  const FileDescriptor notifications = openRouteNotifications(RTMGRP_LINK | RTMGRP_IPV4_IFADDR);
  const FileDescriptor stopped = FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
};

NetworkChanges::NetworkChanges() : native_(std::make_unique<Native>()) {}
NetworkChanges::~NetworkChanges() = default;

bool NetworkChanges::isOpen() const {
  return native_->notifications && native_->stopped;
}

void NetworkChanges::run(const std::function<void()>& onChange) {
  if (!isOpen()) return;
  std::array<pollfd, 2> waited = {
      {{native_->notifications.get(), POLLIN, 0}, {native_->stopped.get(), POLLIN, 0}}};
  while (poll(waited.data(), waited.size(), -1) >= 0 || errno == EINTR) {
    if ((waited[1].revents & POLLIN) != 0) return;
    if (takeRouteNotifications(native_->notifications)) onChange();
  }
}

void NetworkChanges::stop() {
  eventfd_write(native_->stopped.get(), 1);
}

}  // namespace tovi::platform
