#include "core/AgentState.h"

namespace tovi {

std::string_view rawValue(AgentState state) {
  switch (state) {
    case AgentState::inactive:
      return "inactive";
    case AgentState::active:
      return "active";
    case AgentState::undetermined:
      return "undetermined";
  }
  return "";
}

std::optional<AgentState> agentStateFrom(std::string_view text) {
  for (const AgentState state :
       {AgentState::inactive, AgentState::active, AgentState::undetermined}) {
    if (rawValue(state) == text) return state;
  }
  return std::nullopt;
}

}  // namespace tovi
