#include "platform/linux/LocalAddresses.h"

#include <algorithm>
#include <cstring>
#include <linux/rtnetlink.h>
#include <netinet/in.h>

namespace tovi::platform {

namespace {

/// Attributes in the order of their alignment, so that nothing lies between them.
struct Request {
  nlmsghdr header;
  rtmsg route;
  rtattr interfaceHeader;
  unsigned interfaceIndex;
  rtattr addressHeader;
  Address address;
};

}  // namespace

bool isIpv4(const Address& address) {
  return std::equal(address.begin(), address.begin() + 12, kAnyIpv4.begin());
}

LocalAddresses::LocalAddresses() : routes_(NETLINK_ROUTE) {}

bool LocalAddresses::contains(const Address& address, unsigned interfaceIndex) {
  const std::size_t length = isIpv4(address) ? 4 : address.size();
  const bool isLinkLocal = length == 16 && address[0] == std::byte{0xfe} &&
                           (address[1] & std::byte{0xc0}) == std::byte{0x80};
  Request request = {};
  request.header.nlmsg_len =
      static_cast<unsigned>(sizeof request - sizeof request.address + length);
  request.header.nlmsg_type = RTM_GETROUTE;
  request.header.nlmsg_flags = NLM_F_REQUEST;
  request.route.rtm_family = length == 4 ? AF_INET : AF_INET6;
  request.route.rtm_dst_len = static_cast<unsigned char>(length * 8);
  request.interfaceHeader = {RTA_LENGTH(sizeof request.interfaceIndex), RTA_OIF};
  request.interfaceIndex = isLinkLocal ? interfaceIndex : 0;
  request.addressHeader = {static_cast<unsigned short>(RTA_LENGTH(length)), RTA_DST};
  std::memcpy(&request.address, address.data() + address.size() - length, length);
  const auto [error, body] = routes_.ask(request.header);
  rtmsg route;
  if (error != 0 || body.size() < sizeof route) return false;
  std::memcpy(&route, body.data(), sizeof route);
  return route.rtm_type == RTN_LOCAL;
}

}  // namespace tovi::platform
