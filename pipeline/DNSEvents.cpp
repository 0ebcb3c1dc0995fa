#include "pipeline/DNSEvents.h"

#include <nlohmann/json.hpp>

#include "events/EventJson.h"

namespace tovi {

using nlohmann::ordered_json;

static void appendJson(TextBuffer& text, const std::shared_ptr<const ToviDNSEvent>& event) {
  appendJson(text, *event);
}

std::string jsonText(const DNSEvents& batch) {
  constexpr std::size_t kUsualEventSize = 700;
  TextBuffer text;
  text.room(kUsualEventSize * batch.eventsData.size());
  text.append('{');
  const JsonMemberWriter member(text);
  member(JsonKey("date"), batch.date);
  member(JsonKey("version"), batch.version);
  member(JsonKey("events_data"), batch.eventsData);
  text.append('}');
  return std::string(text.view());
}

DNSEvents dnsEventsFrom(std::string_view text) {
  const auto json = ordered_json::parse(text);
  DNSEvents batch{json.at("date").get<std::string>(), json.at("version").get<std::string>(), {}};
  for (const auto& event : json.at("events_data")) {
    batch.eventsData.push_back(std::make_shared<const ToviDNSEvent>(event.get<ToviDNSEvent>()));
  }
  return batch;
}

}  // namespace tovi
