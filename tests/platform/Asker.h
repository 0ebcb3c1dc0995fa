#pragma once

#include <arpa/inet.h>
#include <cstring>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include "platform/ProcessLookup.h"
#include "platform/linux/FileDescriptor.h"

namespace tovi::platform {

inline constexpr const char* kOwn = "127.0.0.1";

struct End {
  explicit End(const char* host, std::uint16_t port) : isIpv6(std::strchr(host, ':') != nullptr) {
    v6 = {static_cast<sa_family_t>(isIpv6 ? AF_INET6 : AF_INET), htons(port), 0, {}, 0};
    void* const to =
        isIpv6 ? static_cast<void*>(&v6.sin6_addr) : &reinterpret_cast<sockaddr_in*>(&v6)->sin_addr;
    EXPECT_EQ(inet_pton(v6.sin6_family, host, to), 1) << host;
  }
  const sockaddr* address() const { return reinterpret_cast<const sockaddr*>(&v6); }
  socklen_t size() const { return isIpv6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in); }

  bool isIpv6;
  sockaddr_in6 v6;
};

inline std::array<std::byte, 16> mapped(const char* host) {
  std::array<std::byte, 16> address;
  const std::string text = std::strchr(host, ':') == nullptr ? std::string("::ffff:") + host : host;
  EXPECT_EQ(inet_pton(AF_INET6, text.c_str(), address.data()), 1);
  return address;
}

/// A socket of one host, and the queries that leave it for port 53 of the same host.
class Asker {
 public:
  explicit Asker(int type = SOCK_DGRAM, const char* host = kOwn, std::uint16_t port = 0)
      : type_(type),
        host_(host),
        socket_(::socket(End(host, 0).v6.sin6_family, type | SOCK_CLOEXEC, 0)) {
    // A port that the kernel chooses is nobody else's.
    const int isShared = port != 0;
    setsockopt(number(), SOL_SOCKET, SO_REUSEADDR, &isShared, sizeof isShared);
    const End own(host, port);
    EXPECT_EQ(bind(number(), own.address(), own.size()), 0) << strerror(errno);
  }

  void connectTo(std::uint16_t port) const {
    const End server(host_, port);
    EXPECT_EQ(::connect(number(), server.address(), server.size()), 0) << strerror(errno);
  }
  void send(const std::string& bytes) const { ::send(number(), bytes.data(), bytes.size(), 0); }
  void sendTo(const std::string& bytes) const {
    const End server(host_, 53);
    sendto(number(), bytes.data(), bytes.size(), 0, server.address(), server.size());
  }
  CapturedQuery query(std::uint16_t identifier) const {
    return {.flow = {mapped(host_), mapped(host_), port(), 53},
            .transport = type_ == SOCK_STREAM ? Transport::tcp : Transport::udp,
            .identifier = identifier,
            .time = std::chrono::system_clock::now()};
  }
  std::uint16_t port() const {
    sockaddr_in6 own = {};
    socklen_t length = sizeof own;
    getsockname(number(), reinterpret_cast<sockaddr*>(&own), &length);
    return ntohs(own.sin6_port);
  }
  int number() const { return socket_.get(); }
  void close() { socket_.reset(); }

 private:
  int type_;
  const char* host_;
  FileDescriptor socket_;
};

}  // namespace tovi::platform
