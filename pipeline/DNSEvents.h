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

/// The batch as one line of JSON. Throws nlohmann::json::exception for texts that are not UTF-8.
std::string jsonText(const DNSEvents& batch);
/// Reads what jsonText writes. Throws nlohmann::json::exception for anything else.
DNSEvents dnsEventsFrom(std::string_view text);
/// One batch with the date and version of the first and the events of both, first those of `first`.
/// Throws nlohmann::json::exception when one of the texts is no batch.
std::string joinedBatches(std::string_view first, std::string_view second);

}  // namespace tovi
