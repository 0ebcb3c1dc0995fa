// Two batches as they come out of the store, a zero octet between them: each is refused or reads
// back the same, and joined they have the events of both. Each event is one line in every
// format that has words for it.

#include <nlohmann/json.hpp>

#include "core/Utf8.h"
#include "formats/EventFormat.h"
#include "formats/UnreadableEvent.h"
#include "fuzz/Require.h"
#include "pipeline/DNSEvents.h"
#include "pipeline/JoinedBatches.h"

namespace tovi::fuzz {

namespace {

std::string normalized(std::string_view text) {
  const std::string json = jsonText(dnsEventsFrom(text));
  require(isUtf8(json) && isOneLine(json));
  require(jsonText(dnsEventsFrom(json)) == json);
  return json;
}

void checkLines(const ToviDNSEvent& event) try {
  using formats::EventFormat;
  for (const auto format : {EventFormat::ecs, EventFormat::ocsf1_8, EventFormat::ocsf1_9}) {
    const auto line = formats::lineOf(event, format);
    require(isOneLine(line) && nlohmann::json::accept(line));
  }
} catch (const formats::UnreadableEvent&) {
}

void check(std::string_view first, std::string_view second) {
  const auto texts = {normalized(first), normalized(second)};
  for (const auto& event : dnsEventsFrom(first).eventsData) checkLines(*event);
  const std::size_t count =
      dnsEventsFrom(first).eventsData.size() + dnsEventsFrom(second).eventsData.size();
  JoinedBatches batches;
  for (const auto& text : texts) batches.add(text);
  const std::string joined = std::move(batches).text();
  require(normalized(joined) == joined);
  require(dnsEventsFrom(joined).eventsData.size() == count);
}

}  // namespace

}  // namespace tovi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = tovi::fuzz::textOf(data, size);
  const auto end = std::min(text.find('\0'), size);
  try {
    tovi::fuzz::check(text.substr(0, end), text.substr(std::min(end + 1, size)));
  } catch (const nlohmann::json::exception&) {
  }
  return 0;
}
