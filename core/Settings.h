#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "core/GetPropertyManagerProtocol.h"

namespace tovi {

/// Who gives a setting another value than its default.
enum class SetBy {
  Deployment,  ///< An entry of Settings.plist, read when the daemon starts.
  Collector,   ///< The collector's answer to a status message, kept in the permanent variables.
};

/// One row of the table below. The type of the default is the type that a stored value must have.
struct Setting {
  using Default = std::variant<bool, std::int64_t, double, std::string_view>;

  std::string_view key;
  Default defaultValue;
  /// What a number counts; "-" where it is none.
  std::string_view unit;
  SetBy setBy;
};

/// All settings of the daemon, by the component that reads them.
inline constexpr Setting kSettings[] = {
    // DaemonBuilder, for its timer
    {"check_packer_messages_timeout_sec", 60.0, "seconds", SetBy::Deployment},
    // DNSMessageContainer
    {"message_container_size", std::int64_t{100}, "queries", SetBy::Deployment},
    // MessageDeliveryHandler
    {"timeout_receiving_server_fails_sec", 1.0, "seconds", SetBy::Deployment},
    {"timeout_server_fails_sec", 10.0, "seconds", SetBy::Deployment},
    // MessagePacker and StatusBuilder
    {"dns_batch_max_delay", 50.0, "seconds", SetBy::Collector},
    {"dns_batch_size", std::int64_t{20}, "events", SetBy::Collector},
    // MessagePersistence
    {"delivered_timeout_sec", 60.0, "seconds", SetBy::Deployment},
    {"store_max_bytes", std::int64_t{1} << 30, "bytes", SetBy::Deployment},
    // RepetitionsRemovalMessageFilter, and StatusBuilder for the last
    {"removal_by_process", false, "-", SetBy::Deployment},
    {"removal_memory_size", std::int64_t{10000}, "names", SetBy::Deployment},
    {"removal_register_timeout", 300.0, "seconds", SetBy::Collector},
    // SparkleUrlBuilder
    {"sparkle_channel", "stable", "-", SetBy::Deployment},
    // StatusKeeper, and StatusBuilder for the third
    {"failures_to_deactive", std::int64_t{288}, "failures", SetBy::Deployment},
    {"failures_to_disable", std::int64_t{2}, "failures", SetBy::Deployment},
    {"polling_interval_seconds", 900.0, "seconds", SetBy::Collector},
    {"resend_status_timeout_sec", 60.0, "seconds", SetBy::Deployment},
    {"send_status_tolerance_sec", 10.0, "seconds", SetBy::Deployment},
    // SystemInfoProvider
    {"system_information_counter", std::int64_t{10}, "requests", SetBy::Deployment},
};

/// The word for the type in tovi-properties(5): boolean, integer, real, string.
std::string_view typeName(const Setting& setting);

/// What is wrong with the entries of a Settings.plist, a sentence each: an unknown key, a value of
/// another type than the setting's, a setting that only the collector changes.
std::vector<std::string> settingFaults(const PropertyDictionary& entries);

/// The key of a setting of type T in the table, and its default. Another key, or a key of another
/// type, does not compile.
template <typename T>
struct SettingKey {
  consteval SettingKey(const char* key)
      : name(key),
        defaultValue(std::get<T>(
            std::ranges::find(kSettings, std::string_view(key), &Setting::key)->defaultValue)) {}

  std::string_view name;
  T defaultValue;
};

template <typename T>
consteval T defaultSetting(SettingKey<T> key) {
  return key.defaultValue;
}

/// The value stored under the key, else the table's default.
template <typename T>
auto setting(const GetPropertyManagerProtocol& store, SettingKey<T> key) {
  using Stored = std::conditional_t<std::is_same_v<T, std::string_view>, std::string, T>;
  return store.get<Stored>(key.name).value_or(Stored(key.defaultValue));
}

}  // namespace tovi
