#include "bench/load/Datagrams.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace tovi::bench {

namespace {

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

std::size_t Datagrams::receive(int socket, bool waits) {
  for (std::size_t i = 0; i < kMost; ++i) {
    pieces_[i] = {fronts_[i].data(), fronts_[i].size()};
    headers_[i] = {};
    headers_[i].msg_hdr.msg_name = &addresses_[i];
    headers_[i].msg_hdr.msg_namelen = sizeof addresses_[i];
    headers_[i].msg_hdr.msg_iov = &pieces_[i];
    headers_[i].msg_hdr.msg_iovlen = 1;
  }
  const int flags = waits ? MSG_WAITFORONE : MSG_DONTWAIT;
  const int count = recvmmsg(socket, headers_.data(), kMost, flags, nullptr);
  if (count < 0 && errno != EAGAIN && errno != EINTR) fail("recvmmsg");
  return count < 0 ? 0 : static_cast<std::size_t>(count);
}

std::uint16_t Datagrams::receivedId(std::size_t index) const {
  return static_cast<std::uint16_t>(fronts_[index][0] << 8 | fronts_[index][1]);
}

void Datagrams::add(const Octets& payload, const sockaddr_in* to) {
  pieces_[added_] = {const_cast<std::uint8_t*>(payload.data()), payload.size()};
  headers_[added_] = {};
  headers_[added_].msg_hdr.msg_name = const_cast<sockaddr_in*>(to);
  headers_[added_].msg_hdr.msg_namelen = to == nullptr ? 0 : sizeof *to;
  headers_[added_].msg_hdr.msg_iov = &pieces_[added_];
  headers_[added_].msg_hdr.msg_iovlen = 1;
  ++added_;
}

std::size_t Datagrams::send(int socket) {
  std::size_t sent = 0;
  const std::size_t added = std::exchange(added_, 0);
  while (sent < added) {
    const int count = sendmmsg(socket, &headers_[sent], static_cast<unsigned>(added - sent), 0);
    if (count < 0) fail("sendmmsg");
    sent += static_cast<std::size_t>(count);
  }
  return sent;
}

}  // namespace tovi::bench
