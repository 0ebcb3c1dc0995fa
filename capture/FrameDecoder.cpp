#include "capture/FrameDecoder.h"

#include <algorithm>

#include "capture/ByteCursor.h"

namespace tovi {
namespace {

// A header chain longer than this is no honest one (RFC 8200, section 4.1 knows six).
constexpr int kMaxExtensionHeaders = 16;

// pcap-linktype(7). Raw IP has a number of its own on each system.
enum LinkType {
  kNull = 0,
  kEthernet = 1,
  kPpp = 9,
  kRawDlt = 12,
  kRawDltOpenBsd = 14,
  kPppHdlc = 50,
  kPppoe = 51,
  kRaw = 101,
  kLoop = 108,
  kLinuxCooked = 113,
  kIpv4 = 228,
  kIpv6 = 229,
  kLinuxCooked2 = 276,
};

enum EtherType : std::uint16_t {
  kEtherIpv4 = 0x0800,
  kEtherVlan = 0x8100,
  kEtherIpv6 = 0x86dd,
  kEtherPppoeSession = 0x8864,
  kEtherServiceVlan = 0x88a8,
  kEtherOldServiceVlan = 0x9100,
};

enum IpProtocol : std::uint8_t {
  kHopByHop = 0,
  kTcp = 6,
  kUdp = 17,
  kRouting = 43,
  kFragment = 44,
  kAuthentication = 51,
  kDestinationOptions = 60,
};

/// The network layer's part of the result: where the transport header starts, and how much of the
/// packet is known to be missing.
struct Packet {
  Flow flow{};
  std::uint8_t protocol = 0;
  bool firstFragment = false;
  std::size_t missing = 0;
};

void copyIpv4(std::span<const std::byte> address, std::array<std::byte, 16>& to) {
  to.fill(std::byte{0});
  to[10] = to[11] = std::byte{0xff};
  std::copy(address.begin(), address.end(), to.begin() + 12);
}

bool isDns(const Flow& flow) {
  return flow.sourcePort == kDnsPort || flow.destinationPort == kDnsPort;
}

// RFC 768. A length that reaches past the packet is honest only where the packet was cut.
DecodedFrame decodeUdp(ByteCursor cursor, const Packet& packet) {
  const std::size_t length = cursor.u16();
  cursor.skip(2);
  if (cursor.bad() || length < 8) return MalformedFrame{Undecodable::udpHeader};
  const std::size_t payload = length - 8;
  const bool cut = packet.firstFragment || packet.missing > 0;
  if (payload > cursor.rest().size() && !cut) return MalformedFrame{Undecodable::udpHeader};
  cursor.limit(payload);
  return UdpDatagram{packet.flow, cursor.rest(), cut};
}

// RFC 9293, section 3.1.
DecodedFrame decodeTcp(ByteCursor cursor, const Packet& packet) {
  const std::uint32_t sequence = cursor.u32();
  cursor.skip(4);
  const std::size_t headerLength = static_cast<std::size_t>(cursor.u8() >> 4) * 4;
  const std::uint8_t flags = cursor.u8();
  cursor.skip(6);
  if (headerLength < 20) return MalformedFrame{Undecodable::tcpHeader};
  cursor.skip(headerLength - 20);
  if (cursor.bad()) return MalformedFrame{Undecodable::tcpHeader};
  return TcpSegment{.flow = packet.flow,
                    .sequence = sequence,
                    .syn = (flags & 0x02) != 0,
                    .rst = (flags & 0x04) != 0,
                    .payload = cursor.rest(),
                    .missing = packet.missing};
}

DecodedFrame decodeTransport(ByteCursor cursor, Packet& packet) {
  if (packet.protocol != kUdp && packet.protocol != kTcp) return NotDns{};
  packet.flow.sourcePort = cursor.u16();
  packet.flow.destinationPort = cursor.u16();
  if (cursor.bad() || !isDns(packet.flow)) return NotDns{};
  return packet.protocol == kUdp ? decodeUdp(cursor, packet) : decodeTcp(cursor, packet);
}

/// Bounds the cursor to the packet, which may be padded, and notes what the capture left out.
void limitToPacket(ByteCursor& cursor, std::size_t length, Packet& packet) {
  const std::size_t captured = cursor.rest().size();
  packet.missing = length > captured ? length - captured : 0;
  cursor.limit(length);
}

// RFC 791, section 3.1.
DecodedFrame decodeIpv4(ByteCursor cursor) {
  const std::size_t captured = cursor.rest().size();
  const std::size_t headerLength = static_cast<std::size_t>(cursor.u8() & 0x0f) * 4;
  cursor.skip(1);
  std::size_t length = cursor.u16();
  // The kernel leaves the length to the hardware for a packet that is yet to be cut into segments.
  if (length == 0) length = captured;
  cursor.skip(2);
  const std::uint16_t fragment = cursor.u16();
  cursor.skip(1);
  Packet packet;
  packet.protocol = cursor.u8();
  cursor.skip(2);
  copyIpv4(cursor.take(4), packet.flow.source);
  copyIpv4(cursor.take(4), packet.flow.destination);
  if (cursor.bad() || headerLength < 20 || length < headerLength)
    return MalformedFrame{Undecodable::ipHeader};
  cursor.skip(headerLength - 20);
  if (cursor.bad()) return MalformedFrame{Undecodable::ipHeader};
  if ((fragment & 0x1fff) != 0) return NotDns{};
  packet.firstFragment = (fragment & 0x2000) != 0;
  limitToPacket(cursor, length - headerLength, packet);
  return decodeTransport(cursor, packet);
}

bool isExtensionHeader(std::uint8_t protocol) {
  return protocol == kHopByHop || protocol == kRouting || protocol == kFragment ||
         protocol == kAuthentication || protocol == kDestinationOptions;
}

/// Steps over one extension header (RFC 8200, section 4, and RFC 4302, section 2); false for a
/// fragment behind the first.
bool skipExtensionHeader(ByteCursor& cursor, Packet& packet) {
  const std::uint8_t header = packet.protocol;
  packet.protocol = cursor.u8();
  const std::size_t length = cursor.u8();
  if (header == kFragment) {
    const std::uint16_t fragment = cursor.u16();
    cursor.skip(4);
    packet.firstFragment = (fragment & 0x0001) != 0;
    return (fragment & 0xfff8) == 0;
  }
  cursor.skip(header == kAuthentication ? length * 4 + 6 : length * 8 + 6);
  return true;
}

// RFC 8200, section 3.
DecodedFrame decodeIpv6(ByteCursor cursor) {
  cursor.skip(4);
  std::size_t length = cursor.u16();
  Packet packet;
  packet.protocol = cursor.u8();
  cursor.skip(1);
  std::ranges::copy(cursor.take(16), packet.flow.source.begin());
  std::ranges::copy(cursor.take(16), packet.flow.destination.begin());
  if (cursor.bad()) return MalformedFrame{Undecodable::ipHeader};
  if (length == 0) length = cursor.rest().size();
  limitToPacket(cursor, length, packet);
  for (int headers = 0; isExtensionHeader(packet.protocol); ++headers) {
    if (headers == kMaxExtensionHeaders) return MalformedFrame{Undecodable::ipHeader};
    if (!skipExtensionHeader(cursor, packet)) return NotDns{};
    if (cursor.bad()) return MalformedFrame{Undecodable::ipHeader};
  }
  return decodeTransport(cursor, packet);
}

DecodedFrame decodeIp(ByteCursor cursor) {
  switch (cursor.peek() >> 4) {
    case 4:
      return decodeIpv4(cursor);
    case 6:
      return decodeIpv6(cursor);
    default:
      return MalformedFrame{Undecodable::ipHeader};
  }
}

// RFC 1661, section 2 and 6.5: a protocol number whose first octet is odd has only that one.
DecodedFrame decodePpp(ByteCursor cursor) {
  constexpr std::uint16_t kPppIpv4 = 0x0021;
  constexpr std::uint16_t kPppIpv6 = 0x0057;
  const std::uint16_t protocol = (cursor.peek() & 1) != 0 ? cursor.u8() : cursor.u16();
  if (cursor.bad()) return MalformedFrame{Undecodable::linkHeader};
  if (protocol != kPppIpv4 && protocol != kPppIpv6) return NotDns{};
  return decodeIp(cursor);
}

// RFC 1662, section 3.1: address and control field, unless they were negotiated away.
DecodedFrame decodePppLink(ByteCursor cursor) {
  if (cursor.peek() == 0xff) cursor.skip(2);
  return decodePpp(cursor);
}

// RFC 2516, section 4.
DecodedFrame decodePppoeSession(ByteCursor cursor) {
  const std::uint8_t versionAndType = cursor.u8();
  const std::uint8_t code = cursor.u8();
  cursor.skip(2);
  const std::uint16_t length = cursor.u16();
  if (cursor.bad() || versionAndType != 0x11) return MalformedFrame{Undecodable::linkHeader};
  if (code != 0) return NotDns{};
  cursor.limit(length);
  return decodePpp(cursor);
}

/// What `type` names, behind any number of VLAN tags (IEEE 802.1Q).
DecodedFrame decodeEtherType(std::uint16_t type, ByteCursor cursor) {
  while (type == kEtherVlan || type == kEtherServiceVlan || type == kEtherOldServiceVlan) {
    cursor.skip(2);
    type = cursor.u16();
  }
  if (cursor.bad()) return MalformedFrame{Undecodable::linkHeader};
  if (type == kEtherIpv4 || type == kEtherIpv6) return decodeIp(cursor);
  return type == kEtherPppoeSession ? decodePppoeSession(cursor) : NotDns{};
}

/// A link header of `length` octets whose last two are the type.
DecodedFrame decodeTypeAtEnd(std::size_t length, ByteCursor cursor) {
  cursor.skip(length - 2);
  const std::uint16_t type = cursor.u16();
  return decodeEtherType(type, cursor);
}

// The second version of the cooked header begins with the type.
DecodedFrame decodeLinuxCooked2(ByteCursor cursor) {
  const std::uint16_t type = cursor.u16();
  cursor.skip(18);
  return decodeEtherType(type, cursor);
}

// The address family is in the byte order of the machine that captured, and each BSD has its own
// number for IPv6.
DecodedFrame decodeLoopback(ByteCursor cursor) {
  std::uint32_t family = cursor.u32();
  if (cursor.bad()) return MalformedFrame{Undecodable::linkHeader};
  if (family > 0xffffff) family = family >> 24;
  const bool isIp = family == 2 || family == 10 || family == 24 || family == 28 || family == 30;
  return isIp ? decodeIp(cursor) : NotDns{};
}

}  // namespace

DecodedFrame decodeFrame(int linkType, std::span<const std::byte> bytes) {
  const ByteCursor cursor(bytes);
  switch (linkType) {
    case kEthernet:
      return decodeTypeAtEnd(14, cursor);
    case kLinuxCooked:
      return decodeTypeAtEnd(16, cursor);
    case kLinuxCooked2:
      return decodeLinuxCooked2(cursor);
    case kNull:
    case kLoop:
      return decodeLoopback(cursor);
    case kRawDlt:
    case kRawDltOpenBsd:
    case kRaw:
    case kIpv4:
    case kIpv6:
      return decodeIp(cursor);
    case kPpp:
    case kPppHdlc:
      return decodePppLink(cursor);
    case kPppoe:
      return decodePppoeSession(cursor);
    default:
      return MalformedFrame{Undecodable::linkType};
  }
}

}  // namespace tovi
