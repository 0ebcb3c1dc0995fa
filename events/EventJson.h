#pragma once

#include <nlohmann/json.hpp>

#include "events/ToviDNSEvent.h"

/// The JSON form of the event records: optional members that are absent are left out of the object,
/// never null. Reading throws nlohmann::json::exception when a required member is missing or a
/// member has another type; members of other names are ignored.
namespace tovi {

void to_json(nlohmann::ordered_json& json, const User& user);
void from_json(const nlohmann::ordered_json& json, User& user);

void to_json(nlohmann::ordered_json& json, const EventSystem& system);
void from_json(const nlohmann::ordered_json& json, EventSystem& system);

void to_json(nlohmann::ordered_json& json, const EventProcess& process);
void from_json(const nlohmann::ordered_json& json, EventProcess& process);

void to_json(nlohmann::ordered_json& json, const Query& query);
void from_json(const nlohmann::ordered_json& json, Query& query);

void to_json(nlohmann::ordered_json& json, const Answer& answer);
void from_json(const nlohmann::ordered_json& json, Answer& answer);

void to_json(nlohmann::ordered_json& json, const Flags& flags);
void from_json(const nlohmann::ordered_json& json, Flags& flags);

void to_json(nlohmann::ordered_json& json, const DnsPacket& packet);
void from_json(const nlohmann::ordered_json& json, DnsPacket& packet);

void to_json(nlohmann::ordered_json& json, const ToviDNSEvent& event);
void from_json(const nlohmann::ordered_json& json, ToviDNSEvent& event);

/// The event as one line of JSON, members in the order of their declaration.
std::string jsonText(const ToviDNSEvent& event);

}  // namespace tovi
