#include "status/StatusResponse.h"

#include <nlohmann/json.hpp>

namespace tovi {

static constexpr std::size_t kLargestText = 1 << 20;
static constexpr int kDeepestNesting = 64;

/// A discarded value for a text that is no JSON or nested too deeply.
static nlohmann::json parsed(std::string_view text) {
  bool tooDeep = false;
  const auto watchDepth = [&](int depth, nlohmann::json::parse_event_t, nlohmann::json&) {
    tooDeep = tooDeep || depth > kDeepestNesting;
    return !tooDeep;
  };
  auto json = nlohmann::json::parse(text, watchDepth, false);
  return tooDeep ? nlohmann::json(nlohmann::json::value_t::discarded) : json;
}

static bool take(const nlohmann::json& value, std::optional<bool>& member) {
  if (value.is_boolean()) member = value.get<bool>();
  return value.is_boolean();
}

static bool take(const nlohmann::json& value, std::optional<std::int64_t>& member) {
  if (!value.is_number_integer()) return false;
  if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX) return false;
  member = value.get<std::int64_t>();
  return true;
}

template <typename Value>
static bool takeMember(const nlohmann::json& object, const char* key,
                       std::optional<Value>& member) {
  const auto found = object.find(key);
  return found == object.end() || found->is_null() || take(*found, member);
}

std::optional<StatusResponse> StatusResponse::decode(std::string_view text) {
  if (text.size() > kLargestText) return std::nullopt;
  const auto json = parsed(text);
  if (!json.is_object()) return std::nullopt;
  StatusResponse response;
  const bool sound =
      takeMember(json, "active", response.active) &&
      takeMember(json, "polling_interval_minutes", response.pollingIntervalMinutes) &&
      takeMember(json, "batch_size", response.batchSize) &&
      takeMember(json, "batch_max_delay_seconds", response.batchMaxDelaySeconds) &&
      takeMember(json, "message_timeout_seconds", response.messageTimeoutSeconds);
  return sound ? std::optional(response) : std::nullopt;
}

}  // namespace tovi
