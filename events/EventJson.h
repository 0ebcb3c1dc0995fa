#pragma once

#include <nlohmann/json.hpp>

#include "events/JsonText.h"
#include "events/ToviDNSEvent.h"

/// The JSON form of the event records: optional members that are absent are left out of the object,
/// never null; members stand in the order of their declaration. Reading throws
/// nlohmann::json::exception when a required member is missing or a member has another type;
/// members of other names are ignored.
namespace tovi {

void appendJson(TextBuffer& text, const User& user);
void from_json(const nlohmann::ordered_json& json, User& user);

void appendJson(TextBuffer& text, const EventSystem& system);
void from_json(const nlohmann::ordered_json& json, EventSystem& system);

void appendJson(TextBuffer& text, const EventProcess& process);
void from_json(const nlohmann::ordered_json& json, EventProcess& process);

void appendJson(TextBuffer& text, const Query& query);
void from_json(const nlohmann::ordered_json& json, Query& query);

void appendJson(TextBuffer& text, const Answer& answer);
void from_json(const nlohmann::ordered_json& json, Answer& answer);

void appendJson(TextBuffer& text, const Flags& flags);
void from_json(const nlohmann::ordered_json& json, Flags& flags);

void appendJson(TextBuffer& text, const DnsPacket& packet);
void from_json(const nlohmann::ordered_json& json, DnsPacket& packet);

void appendJson(TextBuffer& text, const ToviDNSEvent& event);
void from_json(const nlohmann::ordered_json& json, ToviDNSEvent& event);

/// The event as one line of JSON.
std::string jsonText(const ToviDNSEvent& event);

}  // namespace tovi
