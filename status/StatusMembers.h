#pragma once

#include "core/JsonRecord.h"
#include "status/StatusMessage.h"

/// The members of the status message's JSON objects, in their order.
namespace tovi {

void forEachMember(MaybeConst<AgentSettings> auto& settings, auto&& member) {
  member(JsonKey("dns_batch_max_delay_seconds"), settings.dnsBatchMaxDelaySeconds);
  member(JsonKey("dns_batch_size"), settings.dnsBatchSize);
  member(JsonKey("polling_interval_minutes"), settings.pollingIntervalMinutes);
  member(JsonKey("message_timeout_seconds"), settings.messageTimeoutSeconds);
}

/// The names are also the keys of the permanent variables that the members are read from.
void forEachMember(MaybeConst<AgentStats> auto& stats, auto&& member) {
  member(JsonKey("last_daemon_shutdown_time"), stats.lastDaemonShutdownTime);
  member(JsonKey("last_daemon_shutdown_was_graceful"), stats.lastDaemonShutdownWasGraceful);
  member(JsonKey("graceful_shutdowns_count"), stats.gracefulShutdownsCount);
  member(JsonKey("daemon_startups_count"), stats.daemonStartupsCount);
  member(JsonKey("data_delivered_messages"), stats.dataDeliveredMessages);
  member(JsonKey("data_last_delivered_message_timestamp"), stats.dataLastDeliveredMessageTimestamp);
  member(JsonKey("dns_events_count"), stats.dnsEventsCount);
  member(JsonKey("last_dns_event_timestamp"), stats.lastDnsEventTimestamp);
  member(JsonKey("startup_time"), stats.startupTime);
  member(JsonKey("status_delivered_messages"), stats.statusDeliveredMessages);
  member(JsonKey("status_last_delivered_message_timestamp"),
         stats.statusLastDeliveredMessageTimestamp);
  member(JsonKey("status_send_failures_count"), stats.statusSendFailuresCount);
  member(JsonKey("status_last_send_failure_timestamp"), stats.statusLastSendFailureTimestamp);
}

void forEachMember(MaybeConst<HardwareOverview> auto& overview, auto&& member) {
  member(JsonKey("model_name"), overview.modelName);
  member(JsonKey("model_identifier"), overview.modelIdentifier);
  member(JsonKey("processor_name"), overview.processorName);
  member(JsonKey("processor_speed"), overview.processorSpeed);
  member(JsonKey("number_of_processors"), overview.numberOfProcessors);
  member(JsonKey("total_number_of_cores"), overview.totalNumberOfCores);
  member(JsonKey("l2_cache_per_core"), overview.l2CachePerCore);
  member(JsonKey("l3_cache"), overview.l3Cache);
  member(JsonKey("hyper_threading"), overview.hyperThreading);
  member(JsonKey("memory"), overview.memory);
  member(JsonKey("boot_rom_version"), overview.bootRomVersion);
  member(JsonKey("serial_number_system"), overview.serialNumberSystem);
  member(JsonKey("hardware_uuid"), overview.hardwareUuid);
  member(JsonKey("activation_lock"), overview.activationLock);
}

void forEachMember(MaybeConst<SystemInformation> auto& system, auto&& member) {
  member(JsonKey("name"), system.name);
  member(JsonKey("antivirus"), system.antivirus);
  member(JsonKey("host_name"), system.hostName);
  member(JsonKey("os_version"), system.osVersion);
  member(JsonKey("os_name"), system.osName);
  member(JsonKey("architecture"), system.architecture);
  member(JsonKey("globally_unique"), system.globallyUnique);
  member(JsonKey("system_uptime"), system.systemUptime);
  member(JsonKey("hardware_overview"), system.hardwareOverview);
}

void forEachMember(MaybeConst<StatusMessage> auto& message, auto&& member) {
  member(JsonKey("active"), message.active);
  member(JsonKey("agent_version"), message.agentVersion);
  member(JsonKey("version"), message.version);
  member(JsonKey("current_time"), message.currentTime);
  member(JsonKey("settings"), message.settings);
  member(JsonKey("stats"), message.stats);
  member(JsonKey("system"), message.system);
}

}  // namespace tovi
