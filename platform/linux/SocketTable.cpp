#include "platform/linux/SocketTable.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <utility>

#include "platform/linux/SystemCall.h"

namespace tovi::platform {

namespace {

struct Request {
  nlmsghdr header;
  inet_diag_req_v2 body;
};

Request requestFor(int family, Transport transport, std::uint16_t flags) {
  Request request = {};
  request.header.nlmsg_len = sizeof request;
  request.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  request.header.nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | flags);
  request.body.sdiag_family = static_cast<std::uint8_t>(family);
  request.body.sdiag_protocol = transport == Transport::tcp ? IPPROTO_TCP : IPPROTO_UDP;
  return request;
}

void copyAddress(const Address& address, __be32 (&to)[4]) {
  const std::size_t skipped = isIpv4(address) ? 12 : 0;
  std::memcpy(to, address.data() + skipped, address.size() - skipped);
}

Address addressOf(const __be32 (&from)[4], bool isIpv6) {
  const bool isWhole = isIpv6 || from[0] == 0;
  Address address = isWhole ? Address() : kAnyIpv4;
  const std::size_t length = isWhole ? sizeof from : sizeof from[0];
  std::memcpy(address.data() + address.size() - length, from, length);
  return address;
}

TableSocket socketOf(const inet_diag_msg& message, Transport transport) {
  const bool isIpv6 = message.idiag_family == AF_INET6;
  return {.inode = message.idiag_inode,
          .transport = transport,
          .state = message.idiag_state,
          .isIpv6 = isIpv6,
          .localAddress = addressOf(message.id.idiag_src, isIpv6),
          .remoteAddress = addressOf(message.id.idiag_dst, isIpv6),
          .localPort = ntohs(message.id.idiag_sport),
          .remotePort = ntohs(message.id.idiag_dport)};
}

void swapEnds(inet_diag_sockid& id) {
  std::swap(id.idiag_src, id.idiag_dst);
  std::swap(id.idiag_sport, id.idiag_dport);
}

}  // namespace

// Without the part of the kernel that knows UDP each single socket is unknown, but all those in no
// state at all cannot be listed either.
SocketTable::SocketTable() : netlink_(NETLINK_SOCK_DIAG) {
  Request request = requestFor(AF_INET, Transport::udp, NLM_F_DUMP);
  const int error = netlink_.ask(request.header).error;
  if (error != 0) throwSystemError(error, "NETLINK_SOCK_DIAG");
}

std::optional<TableSocket> SocketTable::find(const CapturedQuery& query) {
  const auto socket = ask(query);
  // What the kernel itself talks with has no inode.
  if (!socket || socket->inode == 0) return std::nullopt;
  // A query that is only forwarded may come from a port that a socket has here, too.
  const Address& source = query.flow.source;
  const bool isOwn =
      socket->localAddress == source || localAddresses_.contains(source, query.interfaceIndex);
  return isOwn ? socket : std::nullopt;
}

// For UDP the kernel looks as if for a datagram that arrives, so the remote end is the source.
std::optional<TableSocket> SocketTable::ask(const CapturedQuery& query) {
  const Flow& flow = query.flow;
  const int family = isIpv4(flow.source) ? AF_INET : AF_INET6;
  Request request = requestFor(family, query.transport, 0);
  request.body.idiag_states = ~0u;
  inet_diag_sockid& id = request.body.id;
  copyAddress(flow.source, id.idiag_src);
  copyAddress(flow.destination, id.idiag_dst);
  id.idiag_sport = htons(flow.sourcePort);
  id.idiag_dport = htons(flow.destinationPort);
  if (query.transport == Transport::udp) swapEnds(id);
  id.idiag_if = query.interfaceIndex;
  std::ranges::fill(id.idiag_cookie, INET_DIAG_NOCOOKIE);
  const auto [error, body] = netlink_.ask(request.header);
  inet_diag_msg message;
  if (error != 0 || body.size() < sizeof message) return std::nullopt;
  std::memcpy(&message, body.data(), sizeof message);
  return socketOf(message, query.transport);
}

}  // namespace tovi::platform
