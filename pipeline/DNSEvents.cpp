#include "pipeline/DNSEvents.h"

#include <nlohmann/json.hpp>

#include "events/EventJson.h"

namespace tovi {

using nlohmann::ordered_json;

// The events are appended as texts, so that no tree of the whole batch is built.
std::string jsonText(const DNSEvents& batch) {
  std::string text = R"({"date":)" + ordered_json(batch.date).dump() + R"(,"version":)" +
                     ordered_json(batch.version).dump() + R"(,"events_data":[)";
  std::string_view separator;
  for (const auto& event : batch.eventsData) {
    text.append(separator).append(jsonText(*event));
    separator = ",";
  }
  return text += "]}";
}

DNSEvents dnsEventsFrom(std::string_view text) {
  const auto json = ordered_json::parse(text);
  DNSEvents batch{json.at("date").get<std::string>(), json.at("version").get<std::string>(), {}};
  for (const auto& event : json.at("events_data")) {
    batch.eventsData.push_back(std::make_shared<const ToviDNSEvent>(event.get<ToviDNSEvent>()));
  }
  return batch;
}

std::string joinedBatches(std::string_view first, std::string_view second) {
  DNSEvents joined = dnsEventsFrom(first);
  const DNSEvents added = dnsEventsFrom(second);
  joined.eventsData.insert(joined.eventsData.end(), added.eventsData.begin(),
                           added.eventsData.end());
  return jsonText(joined);
}

}  // namespace tovi
