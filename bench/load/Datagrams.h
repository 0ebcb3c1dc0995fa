#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <netinet/in.h>
#include <span>
#include <sys/socket.h>

#include "bench/traffic/WireWriter.h"

namespace tovi::bench {

/// Datagrams that are received or sent with one system call. They are borrowed until sent. One
/// thread.
class Datagrams {
 public:
  static constexpr std::size_t kMost = 256;

  Datagrams() = default;
  Datagrams(const Datagrams&) = delete;
  Datagrams& operator=(const Datagrams&) = delete;

  /// Takes what has arrived, at most kMost datagrams, and returns how many; with `waits`, at least
  /// one unless a signal comes. Throws std::system_error.
  std::size_t receive(int socket, bool waits);
  std::uint16_t receivedId(std::size_t index) const;
  /// The sender's address of one that was received.
  const sockaddr_in& sender(std::size_t index) const { return addresses_[index]; }

  /// Adds one to be sent; none may be added beyond kMost. Without `to`, the socket is connected.
  void add(const Octets& payload, const sockaddr_in* to = nullptr);
  /// Sends those that were added and returns how many of them left. Throws std::system_error.
  std::size_t send(int socket);

 private:
  // Responses need not be read: the identifier is in front.
  std::array<std::array<std::uint8_t, 2>, kMost> fronts_;
  std::array<sockaddr_in, kMost> addresses_;
  std::array<iovec, kMost> pieces_;
  std::array<mmsghdr, kMost> headers_;
  std::size_t added_ = 0;
};

}  // namespace tovi::bench
