#pragma once

#include <optional>
#include <string>

#include "status/AgentSettings.h"
#include "status/AgentStats.h"
#include "status/SystemInformation.h"

namespace tovi {

/// The periodic report to the collector.
struct StatusMessage {
  bool active = false;
  std::optional<std::string> agentVersion;
  std::optional<std::string> version;
  std::optional<std::string> currentTime;
  std::optional<AgentSettings> settings;
  std::optional<AgentStats> stats;
  std::optional<SystemInformation> system;
};

}  // namespace tovi
