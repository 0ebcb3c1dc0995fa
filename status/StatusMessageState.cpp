#include "status/StatusMessageState.h"

#include <algorithm>
#include <array>

namespace tovi {

// In the order of the cases.
static constexpr std::array<std::string_view, 5> kRawValues = {
    "NewMessage", "DeliveredToAgent", "AgentFailDelivered", "AgentDeliveredCompleted",
    "DeliveredTimeout"};

std::string_view rawValue(StatusMessageState state) {
  return kRawValues[static_cast<std::size_t>(state)];
}

std::optional<StatusMessageState> statusMessageStateFrom(std::string_view rawValue) {
  const auto found = std::find(kRawValues.begin(), kRawValues.end(), rawValue);
  if (found == kRawValues.end()) return std::nullopt;
  return static_cast<StatusMessageState>(found - kRawValues.begin());
}

}  // namespace tovi
