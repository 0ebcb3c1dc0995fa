#include "pipeline/DNSEvents.h"

#include "core/JsonReading.h"
#include "core/JsonText.h"
#include "events/EventJson.h"

namespace tovi {

void forEachMember(MaybeConst<DNSEvents> auto& batch, auto&& member) {
  member(JsonKey("date"), batch.date);
  member(JsonKey("version"), batch.version);
  member(JsonKey("events_data"), batch.eventsData);
}

std::string jsonText(const DNSEvents& batch) {
  constexpr std::size_t kUsualEventSize = 700;
  TextBuffer text;
  text.room(kUsualEventSize * batch.eventsData.size());
  appendJson(text, batch);
  return std::string(text.view());
}

DNSEvents dnsEventsFrom(std::string_view text) {
  DNSEvents batch;
  readJson(JsonTree::parse(text), batch);
  return batch;
}

}  // namespace tovi
