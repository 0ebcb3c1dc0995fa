#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "events/ToviDNSEvent.h"

namespace tovi {

/// One batch of events, as the collector receives it.
struct DNSEvents {
  /// When the batch was closed: internet date-time in UTC.
  std::string date;
  std::string version;
  /// In order of arrival.
  std::vector<ToviDNSEventPointer> eventsData;
};

/// The batch as one line of JSON; in its texts, bytes that are no UTF-8 are replaced by U+FFFD.
std::string jsonText(const DNSEvents& batch);
/// Reads what jsonText writes. Throws nlohmann::json::exception for anything else.
DNSEvents dnsEventsFrom(std::string_view text);

}  // namespace tovi
