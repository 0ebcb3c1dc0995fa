#include "status/StatusResponse.h"

#include "core/JsonReading.h"

namespace tovi {

static constexpr std::size_t kLargestText = 1 << 20;
static constexpr int kDeepestNesting = 64;

/// A discarded value for a text that is no JSON or nested too deeply.
static JsonTree parsed(std::string_view text) {
  bool tooDeep = false;
  const auto watchDepth = [&](int depth, JsonTree::parse_event_t, JsonTree&) {
    tooDeep = tooDeep || depth > kDeepestNesting;
    return !tooDeep;
  };
  auto json = JsonTree::parse(text, watchDepth, false);
  return tooDeep ? JsonTree(JsonTree::value_t::discarded) : json;
}

static void forEachMember(MaybeConst<StatusResponse> auto& response, auto&& member) {
  member(JsonKey("active"), response.active);
  member(JsonKey("polling_interval_minutes"), response.pollingIntervalMinutes);
  member(JsonKey("batch_size"), response.batchSize);
  member(JsonKey("batch_max_delay_seconds"), response.batchMaxDelaySeconds);
  member(JsonKey("message_timeout_seconds"), response.messageTimeoutSeconds);
}

std::optional<StatusResponse> StatusResponse::decode(std::string_view text) try {
  if (text.size() > kLargestText) return std::nullopt;
  StatusResponse response;
  readJson(parsed(text), response);
  return response;
} catch (const JsonTree::exception&) {
  return std::nullopt;
}

}  // namespace tovi
