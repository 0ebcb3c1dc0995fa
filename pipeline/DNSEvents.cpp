#include "pipeline/DNSEvents.h"

#include "core/JsonReading.h"
#include "core/JsonText.h"
#include "events/EventJson.h"

namespace tovi {

template <typename Batch>
concept AnyBatch = MaybeConst<Batch, DNSEvents> || MaybeConst<Batch, WrittenDNSEvents>;

void forEachMember(AnyBatch auto& batch, auto&& member) {
  member(JsonKey("date"), batch.date);
  member(JsonKey("version"), batch.version);
  member(JsonKey("events_data"), batch.eventsData);
}

static void appendJson(TextBuffer& text, const WrittenEvent& event) {
  text.append(event.json);
}

template <typename Event>
static std::string textOf(const BatchOf<Event>& batch, std::size_t usualEventSize) {
  TextBuffer text;
  text.room(usualEventSize * batch.eventsData.size());
  appendJson(text, batch);
  return std::string(text.view());
}

std::string jsonText(const DNSEvents& batch) {
  constexpr std::size_t kUsualEventSize = 700;
  return textOf(batch, kUsualEventSize);
}

std::string jsonText(const WrittenDNSEvents& batch) {
  return textOf(batch, 0);
}

DNSEvents dnsEventsFrom(std::string_view text) {
  DNSEvents batch;
  readJson(JsonTree::parse(text), batch);
  return batch;
}

}  // namespace tovi
