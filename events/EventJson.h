#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "core/TextBuffer.h"
#include "events/ToviDNSEvent.h"

/// The JSON form of events, whose members events/EventMembers.h names. Any thread.
namespace tovi {

void appendJson(TextBuffer& text, const ToviDNSEvent& event);
/// Throws nlohmann::json::exception when a required member is missing or a member has another type;
/// members of other names are ignored.
void readJson(const nlohmann::ordered_json& json, ToviDNSEvent& event);
/// The same for the library's `get`.
inline void from_json(const nlohmann::ordered_json& json, ToviDNSEvent& event) {
  readJson(json, event);
}

/// The event as one line of JSON.
std::string jsonText(const ToviDNSEvent& event);

}  // namespace tovi
