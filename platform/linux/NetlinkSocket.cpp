#include "platform/linux/NetlinkSocket.h"

#include <cstring>
#include <linux/netlink.h>
#include <sys/socket.h>

#include "platform/linux/SystemCall.h"

namespace tovi::platform {

NetlinkSocket::NetlinkSocket(int protocol)
    : socket_(checkCall(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, protocol), "netlink")) {}

NetlinkSocket::Answer NetlinkSocket::ask(nlmsghdr& request) {
  request.nlmsg_seq = ++sequence_;
  checkCall(send(socket_.get(), &request, request.nlmsg_len, 0), "netlink");
  const auto* answer = reinterpret_cast<const nlmsghdr*>(buffer_.data());
  std::size_t length = 0;
  // One that was not taken may lie before.
  do {
    length = static_cast<std::size_t>(
        checkCall(recv(socket_.get(), buffer_.data(), buffer_.size(), MSG_DONTWAIT), "netlink"));
  } while (length < sizeof *answer || answer->nlmsg_seq != sequence_);
  const auto body = std::span(buffer_).first(length).subspan(NLMSG_HDRLEN);
  const bool isStatus = answer->nlmsg_type == NLMSG_ERROR || answer->nlmsg_type == NLMSG_DONE;
  int status = 0;
  if (isStatus && body.size() >= sizeof status) std::memcpy(&status, body.data(), sizeof status);
  return {-status, body};
}

}  // namespace tovi::platform
