#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "events/ToviDNSEvent.h"

namespace tovi {

/// The address and port of who asks.
struct Endpoint {
  std::string address;
  std::int64_t port = 0;
  bool operator==(const Endpoint&) const = default;
};

/// One packet of an exchange, as it was seen on one interface.
struct Sighting {
  bool isResponse = false;
  /// "udp" or "tcp"; empty when unknown.
  std::string transport;
  Endpoint client;
  std::string server;
  /// When it was captured, since 1970.
  std::chrono::microseconds time{0};
};

/// What is told of an exchange of which this packet alone was seen; nothing when that is unknown.
std::optional<EventExchange> outlineOf(const Sighting& packet);

/// What the packet item of a record text says; nothing when it is none.
std::optional<Sighting> sightingFrom(std::string_view packetItem);

}  // namespace tovi
