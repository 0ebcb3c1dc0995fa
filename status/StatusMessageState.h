#pragma once

#include <optional>
#include <string_view>

namespace tovi {

/// Where a status message stands between the daemon and the collector.
enum class StatusMessageState {
  NewMessage,
  DeliveredToAgent,
  AgentFailDelivered,
  AgentDeliveredCompleted,
  DeliveredTimeout,
};

std::string_view rawValue(StatusMessageState state);
/// None for a text that is no state's raw value.
std::optional<StatusMessageState> statusMessageStateFrom(std::string_view rawValue);

}  // namespace tovi
