#include "events/Sighting.h"

#include <algorithm>

#include "capture/RecordText.h"
#include "events/TextParts.h"

namespace tovi {

// Times up to here can be subtracted from each other.
static constexpr std::int64_t kLatest = INT64_MAX / 2;

std::optional<Sighting> sightingFrom(std::string_view packetItem) {
  const auto fields = exactlyTrimmedParts<6>(packetItem, recordtext::kFieldSeparator);
  if (!fields) return std::nullopt;
  const auto& [kind, transport, client, port, server, time] = *fields;
  const auto portNumber = decimalInteger(port);
  const auto microseconds = decimalInteger(time);
  if (!portNumber || !microseconds) return std::nullopt;
  return Sighting{
      .isResponse = kind == recordtext::kIsResponse,
      .transport = std::string(transport),
      .client = {std::string(client), *portNumber},
      .server = std::string(server),
      .time = std::chrono::microseconds(std::clamp<std::int64_t>(*microseconds, 0, kLatest))};
}

std::optional<EventExchange> outlineOf(const Sighting& packet) {
  if (packet.transport.empty()) return std::nullopt;
  EventExchange outline;
  outline.server = packet.server;
  outline.clientPort = packet.client.port;
  outline.transport = packet.transport;
  return outline;
}

}  // namespace tovi
