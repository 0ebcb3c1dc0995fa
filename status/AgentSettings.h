#pragma once

#include <cstdint>
#include <optional>

namespace tovi {

/// The settings in force, as a status message reports them.
struct AgentSettings {
  std::optional<std::int64_t> dnsBatchMaxDelaySeconds;
  std::optional<std::int64_t> dnsBatchSize;
  std::optional<std::int64_t> pollingIntervalMinutes;
  std::optional<std::int64_t> messageTimeoutSeconds;
};

}  // namespace tovi
