#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/FrameDecoder.h"
#include "capture/PacketHandler.h"

/// Builds frames layer by layer; octets are kept as strings, since those join with "+".
namespace tovi::test {

using namespace std::string_literals;

std::span<const std::byte> asBytes(std::string_view octets);
std::string u16(unsigned value);
std::string u32(std::uint32_t value);

/// `text` is labels joined by dots.
std::string dnsName(std::string_view text);
std::string question(const std::string& name, unsigned type = 1, unsigned dnsClass = 1);
/// A record whose name is a pointer to the first question's.
std::string record(unsigned type, const std::string& data, unsigned dnsClass = 1,
                   std::uint32_t ttl = 300, const std::string& name = "\xc0\x0c");
std::string dnsMessage(unsigned id, unsigned flags, const std::vector<std::string>& questions,
                       const std::vector<std::string>& answers = {});

std::string udp(const std::string& payload, unsigned source = 40000, unsigned destination = 53);
std::string tcp(const std::string& payload, std::uint32_t sequence, unsigned flags = 0x18);
std::string ipv4(const std::string& payload, unsigned protocol = 17, unsigned fragment = 0);
std::string ipv6(const std::string& payload, unsigned nextHeader = 17);
std::string ethernet(const std::string& payload, unsigned type = 0x0800);

/// A query for example.org with transaction identifier 4660, in UDP.
std::string queryDatagram();

/// A handler whose texts and failures are kept.
class HandlerRecorder {
 public:
  void give(int linkType, const std::string& frame, int second = 0);

  std::vector<std::string> texts;
  int abandoned = 0;
  std::string processes;
  std::vector<unsigned> portsLookedUp;

 private:
  PacketHandler handler_{{.processLookup =
                              [this](std::uint16_t port) {
                                portsLookedUp.push_back(port);
                                return processes;
                              },
                          .sink = [this](std::string_view text) { texts.emplace_back(text); },
                          .abandoned = [this] { ++abandoned; }},
                         "192.168.1.1"};
};

/// The text of one message in an IPv4 packet from port 53; none when it was abandoned.
std::optional<std::string> textOf(const std::string& message);

}  // namespace tovi::test
