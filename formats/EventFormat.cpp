#include "formats/EventFormat.h"

#include <stdexcept>

#include "events/EventJson.h"
#include "formats/EcsEvent.h"
#include "formats/OcsfEvent.h"

namespace tovi::formats {
namespace {

struct Name {
  std::string_view name;
  EventFormat format;
};

constexpr Name kNames[] = {
    {"tovi", EventFormat::tovi},        {"ecs", EventFormat::ecs},
    {"ocsf", EventFormat::ocsf1_8},     {"ocsf-1.8", EventFormat::ocsf1_8},
    {"ocsf-1.9", EventFormat::ocsf1_9},
};

// Bytes that are no UTF-8 become U+FFFD, as they do in the daemon's own JSON.
std::string lineOf(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

EventFormat eventFormatNamed(std::string_view name) {
  for (const auto& known : kNames) {
    if (known.name == name) return known.format;
  }
  throw std::invalid_argument(std::string("the formats are ") + kFormatNames);
}

std::string lineOf(const ToviDNSEvent& event, EventFormat format) {
  switch (format) {
    case EventFormat::ecs:
      return lineOf(ecsEvent(event));
    case EventFormat::ocsf1_8:
      return lineOf(ocsfEvent(event, OcsfVersion::v1_8));
    case EventFormat::ocsf1_9:
      return lineOf(ocsfEvent(event, OcsfVersion::v1_9));
    case EventFormat::tovi:
      break;
  }
  return jsonText(event);
}

}  // namespace tovi::formats
