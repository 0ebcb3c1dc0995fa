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

/// Calls `member` with the name and the member, for all in order. The name is both the JSON key and
/// the key of the permanent variable that the member is read from.
template <typename Stats, typename Member>
void forEachMember(Stats& stats, Member&& member) {
  member("last_daemon_shutdown_time", stats.lastDaemonShutdownTime);
  member("last_daemon_shutdown_was_graceful", stats.lastDaemonShutdownWasGraceful);
  member("graceful_shutdowns_count", stats.gracefulShutdownsCount);
  member("daemon_startups_count", stats.daemonStartupsCount);
  member("data_delivered_messages", stats.dataDeliveredMessages);
  member("data_last_delivered_message_timestamp", stats.dataLastDeliveredMessageTimestamp);
  member("dns_events_count", stats.dnsEventsCount);
  member("last_dns_event_timestamp", stats.lastDnsEventTimestamp);
  member("startup_time", stats.startupTime);
  member("status_delivered_messages", stats.statusDeliveredMessages);
  member("status_last_delivered_message_timestamp", stats.statusLastDeliveredMessageTimestamp);
  member("status_send_failures_count", stats.statusSendFailuresCount);
  member("status_last_send_failure_timestamp", stats.statusLastSendFailureTimestamp);
}

}  // namespace tovi
