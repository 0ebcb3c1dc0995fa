#include "bench/traffic/FrameGenerator.h"

#include <algorithm>
#include <span>

namespace tovi::bench {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::nanoseconds kStart =
    std::chrono::sys_days(std::chrono::year(2026) / 1 / 5).time_since_epoch() + 9h;
constexpr double kSecondsBetweenQueries = 1.0 / 10'000;
constexpr unsigned kDnsPort = 53;
constexpr unsigned kUdp = 17;

/// One end of an exchange. Clients and resolvers stand behind their number.
struct Host {
  bool isResolver;
  unsigned number;
  unsigned port;
};

void writeHardwareAddress(WireWriter& writer, const Host& host) {
  writer.u32(host.isResolver ? 0x02005300 : 0x02000a01);
  writer.u16(host.number);
}

/// 10.1.x.y for clients, 10.0.0.x for resolvers.
void writeIpv4Address(WireWriter& writer, const Host& host) {
  writer.u32((host.isResolver ? 0x0a000000 : 0x0a010000) + host.number);
}

void writeIpv6Address(WireWriter& writer, const Host& host) {
  writer.u32(0x20010db8);
  writer.u32(host.isResolver ? 0x53 : 1);
  writer.u32(0);
  writer.u32(host.number);
}

/// The Internet checksum (RFC 1071) before it is inverted, added to `sum`.
std::uint32_t checksum(std::span<const std::uint8_t> bytes, std::uint32_t sum) {
  for (std::size_t i = 0; i < bytes.size(); ++i) sum += i % 2 ? bytes[i] : bytes[i] << 8u;
  while (sum > 0xffff) sum = (sum & 0xffff) + (sum >> 16);
  return sum;
}

unsigned inverted(std::uint32_t sum) {
  return ~sum & 0xffff;
}

void writeIpv4Header(WireWriter& writer, const Host& from, const Host& to, std::size_t length) {
  constexpr std::size_t kHeader = 20;
  const auto begin = writer.octets().size();
  writer.u16(0x4500);
  writer.u16(static_cast<unsigned>(kHeader + length));
  writer.u32(0);
  writer.u8(64);
  writer.u8(kUdp);
  writer.u16(0);
  writeIpv4Address(writer, from);
  writeIpv4Address(writer, to);
  writer.put16(begin + 10, inverted(checksum(writer.octets().subspan(begin), 0)));
}

void writeIpv6Header(WireWriter& writer, const Host& from, const Host& to, std::size_t length) {
  writer.u32(0x60000000);
  writer.u16(static_cast<unsigned>(length));
  writer.u8(kUdp);
  writer.u8(64);
  writeIpv6Address(writer, from);
  writeIpv6Address(writer, to);
}

/// `addresses` is the octets that both addresses take, which stand last in the header before.
void writeUdp(WireWriter& writer, const Host& from, const Host& to, const Octets& payload,
              std::size_t addresses) {
  const auto begin = writer.octets().size();
  const auto length = static_cast<unsigned>(8 + payload.size());
  writer.u16(from.port);
  writer.u16(to.port);
  writer.u16(length);
  writer.u16(0);
  writer.bytes(payload);
  const auto sum = checksum(writer.octets().subspan(begin - addresses), kUdp + length);
  // 0 would mean that there is none.
  writer.put16(begin + 6, inverted(sum) == 0 ? 0xffff : inverted(sum));
}

Octets ethernetFrame(const Host& from, const Host& to, bool isIpv6, const Octets& payload) {
  WireWriter writer;
  writeHardwareAddress(writer, to);
  writeHardwareAddress(writer, from);
  writer.u16(isIpv6 ? 0x86dd : 0x0800);
  const auto writeHeader = isIpv6 ? writeIpv6Header : writeIpv4Header;
  writeHeader(writer, from, to, 8 + payload.size());
  writeUdp(writer, from, to, payload, isIpv6 ? 32 : 8);
  return writer.take();
}

std::chrono::nanoseconds nanoseconds(double seconds) {
  return std::chrono::nanoseconds(static_cast<std::int64_t>(seconds * 1e9));
}

}  // namespace

FrameGenerator::FrameGenerator(std::uint64_t exchanges, std::uint64_t seed)
    : exchangesLeft_(exchanges), random_(~seed), exchanges_(seed), lastQuery_(kStart) {}

// What stands before the newest query, or is it, can have nothing before it any more.
bool FrameGenerator::next(TimedFrame& frame) {
  while (exchangesLeft_ > 0 && (underWay_.empty() || underWay_.top().time > lastQuery_)) {
    beginExchange();
  }
  if (underWay_.empty()) return false;
  frame = underWay_.top();
  underWay_.pop();
  return true;
}

void FrameGenerator::beginExchange() {
  --exchangesLeft_;
  const Exchange exchange = exchanges_.next();
  if (exchange.isAnswered) ++answered_;
  const Host client{.isResolver = false,
                    .number = random_.between(1, 250),
                    .port = random_.between(32768, 60999)};
  const Host resolver{.isResolver = true, .number = random_.between(1, 2), .port = kDnsPort};
  const bool isIpv6 = random_.chance(15);
  lastQuery_ += nanoseconds(random_.gap(kSecondsBetweenQueries));
  const auto delay = 200us + nanoseconds(std::min(random_.gap(0.001), 0.004));
  underWay_.push({lastQuery_, ethernetFrame(client, resolver, isIpv6, exchange.query)});
  underWay_.push({lastQuery_ + delay, ethernetFrame(resolver, client, isIpv6, exchange.response)});
}

}  // namespace tovi::bench
