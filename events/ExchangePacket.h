#pragma once

#include <optional>

#include "events/Sighting.h"
#include "events/ToviDNSEvent.h"

namespace tovi {

/// What tells to which exchange a packet belongs. All is borrowed.
struct ExchangePacket {
  /// It must have a question.
  const DnsPacket& dns;
  const Sighting& seen;
  /// Who sent it, when that was found.
  const std::optional<EventProcess>& process;
};

}  // namespace tovi
