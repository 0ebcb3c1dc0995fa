#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "events/ToviDNSEvent.h"

namespace tovi {

/// An event that is JSON already.
struct WrittenEvent {
  std::string json;
};

/// One batch of events, as the collector receives it.
template <typename Event>
struct BatchOf {
  /// When the batch was closed: internet date-time in UTC.
  std::string date;
  std::string version;
  /// In order of arrival.
  std::vector<Event> eventsData;
};
using DNSEvents = BatchOf<ToviDNSEventPointer>;
using WrittenDNSEvents = BatchOf<WrittenEvent>;

/// The batch as one line of JSON; in its texts, bytes that are no UTF-8 are replaced by U+FFFD.
std::string jsonText(const DNSEvents& batch);
std::string jsonText(const WrittenDNSEvents& batch);
/// Reads what jsonText writes. Throws nlohmann::json::exception for anything else.
DNSEvents dnsEventsFrom(std::string_view text);

}  // namespace tovi
