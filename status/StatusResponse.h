#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tovi {

/// The collector's answer to a status message; absent members change nothing.
struct StatusResponse {
  std::optional<bool> active;
  std::optional<std::int64_t> pollingIntervalMinutes;
  /// Events.
  std::optional<std::int64_t> batchSize;
  std::optional<std::int64_t> batchMaxDelaySeconds;
  std::optional<std::int64_t> messageTimeoutSeconds;

  /// Reads the JSON object. Null counts as absent and unknown members are passed over. None for
  /// anything that is no JSON object, a member of another type (5.0 and numbers beyond 64 bits are
  /// no integers), more than a mebibyte, or nesting deeper than 64.
  static std::optional<StatusResponse> decode(std::string_view text);
};

}  // namespace tovi
