#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <variant>

#include "capture/Undecodable.h"
#include "platform/Flow.h"

namespace tovi {

using platform::Flow;

inline constexpr std::uint16_t kDnsPort = 53;

/// The frame carries nothing over port 53, or a fragment that does not begin a packet.
struct NotDns {};

/// Headers that contradict themselves or are cut off.
struct MalformedFrame {
  Undecodable reason;
};

/// What a UDP datagram carries; shorter than it was when fragmentation or the capture cut it.
struct UdpDatagram {
  Flow flow;
  std::span<const std::byte> payload;
  /// Whether octets behind `payload` may be missing.
  bool cut;
};

struct TcpSegment {
  Flow flow;
  std::uint32_t sequence;
  bool syn;
  bool rst;
  std::span<const std::byte> payload;
  /// How many payload octets behind `payload` the capture left out.
  std::size_t missing;
};

using DecodedFrame = std::variant<NotDns, MalformedFrame, UdpDatagram, TcpSegment>;

/// Finds what a frame carries from or to port 53. `linkType` is a LINKTYPE_ or DLT_ number; an
/// unknown one is malformed. A frame counts as malformed when its link or network headers are, as
/// long as its ports are unknown, since it might have been DNS. The result borrows from `bytes`.
/// Any thread.
DecodedFrame decodeFrame(int linkType, std::span<const std::byte> bytes);

}  // namespace tovi
