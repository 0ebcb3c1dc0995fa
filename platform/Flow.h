#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>

namespace tovi::platform {

/// Who sends to whom: the key of one direction of a conversation. IPv4 addresses stand in their
/// IPv6-mapped form (RFC 4291, section 2.5.5.2).
struct Flow {
  std::array<std::byte, 16> source;
  std::array<std::byte, 16> destination;
  std::uint16_t sourcePort;
  std::uint16_t destinationPort;

  auto operator<=>(const Flow&) const = default;
};

}  // namespace tovi::platform
