#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tovi {

/// What the daemon counted, over all its runs. Times are texts as the time provider writes them.
struct AgentStats {
  std::optional<std::string> lastDaemonShutdownTime;
  bool lastDaemonShutdownWasGraceful = false;
  std::int64_t gracefulShutdownsCount = 0;
  std::int64_t daemonStartupsCount = 0;
  std::int64_t dataDeliveredMessages = 0;
  std::optional<std::string> dataLastDeliveredMessageTimestamp;
  std::int64_t dnsEventsCount = 0;
  std::optional<std::string> lastDnsEventTimestamp;
  std::optional<std::string> startupTime;
  std::int64_t statusDeliveredMessages = 0;
  std::optional<std::string> statusLastDeliveredMessageTimestamp;
  std::int64_t statusSendFailuresCount = 0;
  std::optional<std::string> statusLastSendFailureTimestamp;
};

}  // namespace tovi
