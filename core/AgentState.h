#pragma once

#include <optional>
#include <string_view>

namespace tovi {

enum class AgentState { inactive, active, undetermined };

std::string_view rawValue(AgentState state);
/// None for a text that is no state's raw value.
std::optional<AgentState> agentStateFrom(std::string_view rawValue);

}  // namespace tovi
