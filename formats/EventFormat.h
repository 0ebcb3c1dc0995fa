#pragma once

#include <string>
#include <string_view>

namespace tovi {
struct ToviDNSEvent;
}

namespace tovi::formats {

/// The formats in which an event can be written; docs/formats.md says which member goes where.
enum class EventFormat {
  /// As the daemon makes it.
  tovi,
  /// Elastic Common Schema.
  ecs,
  /// Open Cybersecurity Schema Framework, class DNS Activity, in two of its versions.
  ocsf1_8,
  ocsf1_9,
};

/// What users may write, for messages and help.
inline constexpr const char* kFormatNames = "tovi, ecs, ocsf (which is ocsf-1.8), ocsf-1.9";

/// Throws std::invalid_argument for a name that is none.
EventFormat eventFormatNamed(std::string_view name);

/// The event as one line of JSON, without its end. Throws UnreadableEvent when the event lacks what
/// the format cannot do without. Any thread.
std::string lineOf(const ToviDNSEvent& event, EventFormat format);

}  // namespace tovi::formats
