#include "status/StatusJson.h"

#include <type_traits>

#include <nlohmann/json.hpp>

namespace tovi {

using Json = nlohmann::ordered_json;

template <typename Type, typename Record>
concept MaybeConst = std::is_same_v<std::remove_const_t<Type>, Record>;

template <MaybeConst<AgentSettings> Settings, typename Member>
static void forEachMember(Settings& settings, Member&& member) {
  member("dns_batch_max_delay_seconds", settings.dnsBatchMaxDelaySeconds);
  member("dns_batch_size", settings.dnsBatchSize);
  member("polling_interval_minutes", settings.pollingIntervalMinutes);
  member("message_timeout_seconds", settings.messageTimeoutSeconds);
}

template <MaybeConst<HardwareOverview> Overview, typename Member>
static void forEachMember(Overview& overview, Member&& member) {
  member("model_name", overview.modelName);
  member("model_identifier", overview.modelIdentifier);
  member("processor_name", overview.processorName);
  member("processor_speed", overview.processorSpeed);
  member("number_of_processors", overview.numberOfProcessors);
  member("total_number_of_cores", overview.totalNumberOfCores);
  member("l2_cache_per_core", overview.l2CachePerCore);
  member("l3_cache", overview.l3Cache);
  member("hyper_threading", overview.hyperThreading);
  member("memory", overview.memory);
  member("boot_rom_version", overview.bootRomVersion);
  member("serial_number_system", overview.serialNumberSystem);
  member("hardware_uuid", overview.hardwareUuid);
  member("activation_lock", overview.activationLock);
}

template <MaybeConst<SystemInformation> System, typename Member>
static void forEachMember(System& system, Member&& member) {
  member("name", system.name);
  member("antivirus", system.antivirus);
  member("host_name", system.hostName);
  member("os_version", system.osVersion);
  member("os_name", system.osName);
  member("architecture", system.architecture);
  member("globally_unique", system.globallyUnique);
  member("system_uptime", system.systemUptime);
  member("hardware_overview", system.hardwareOverview);
}

template <MaybeConst<StatusMessage> Message, typename Member>
static void forEachMember(Message& message, Member&& member) {
  member("active", message.active);
  member("agent_version", message.agentVersion);
  member("version", message.version);
  member("current_time", message.currentTime);
  member("settings", message.settings);
  member("stats", message.stats);
  member("system", message.system);
}

// One set of overloads a direction; records and optional members call each other, so all are
// members of one struct.
struct Writer {
  static Json json(bool value) { return value; }
  static Json json(std::int64_t value) { return value; }
  static Json json(const std::string& value) { return value; }

  template <typename Record>
  static Json json(const Record& record) {
    Json object = Json::object();
    forEachMember(record, [&](const char* key, const auto& value) { add(object, key, value); });
    return object;
  }

  template <typename Value>
  static void add(Json& object, const char* key, const Value& value) {
    object[key] = json(value);
  }
  template <typename Value>
  static void add(Json& object, const char* key, const std::optional<Value>& value) {
    if (value) object[key] = json(*value);
  }
};

struct Reader {
  static void read(const Json& json, bool& value) { json.get_to(value); }
  // Unlike get_to, which turns fractions and truth values into integers.
  static void read(const Json& json, std::int64_t& value) {
    value = json.get_ref<const std::int64_t&>();
  }
  static void read(const Json& json, std::string& value) { json.get_to(value); }

  template <typename Record>
  static void read(const Json& json, Record& record) {
    const auto& object = json.get_ref<const Json::object_t&>();
    forEachMember(record, [&](const char* key, auto& value) { take(object, key, value); });
  }

  template <typename Value>
  static void take(const Json::object_t& object, const char* key, Value& value) {
    read(object.at(key), value);
  }
  template <typename Value>
  static void take(const Json::object_t& object, const char* key, std::optional<Value>& value) {
    const auto found = object.find(key);
    if (found != object.end() && !found->second.is_null()) read(found->second, value.emplace());
  }
};

std::string jsonText(const StatusMessage& message) {
  return Writer::json(message).dump();
}

StatusMessage statusMessageFrom(std::string_view text) {
  StatusMessage message;
  Reader::read(Json::parse(text), message);
  return message;
}

}  // namespace tovi
