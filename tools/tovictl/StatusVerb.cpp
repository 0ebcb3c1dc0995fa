#include "Agent.h"
#include "Output.h"
#include "Verbs.h"
#include "status/StatusJson.h"

namespace tovi::ctl {

using OptionalText = std::optional<std::string>;
using OptionalCount = std::optional<std::int64_t>;

static std::string with(const OptionalCount& count, const std::string& unit) {
  return count ? std::to_string(*count) + " " + unit : "";
}

static std::string counter(std::int64_t count, const OptionalText& last) {
  return std::to_string(count) + (last ? ", the last at " + *last : "");
}

static std::string joined(const std::vector<OptionalText>& parts) {
  std::string text;
  for (const auto& part : parts) {
    if (part && !part->empty()) text.append(text.empty() ? "" : ", ").append(*part);
  }
  return text;
}

static void addRows(std::vector<Row>& rows, const AgentSettings& settings) {
  rows.insert(rows.end(), {{"Batch size", with(settings.dnsBatchSize, "events")},
                           {"Batch delay", with(settings.dnsBatchMaxDelaySeconds, "s")},
                           {"Polling interval", with(settings.pollingIntervalMinutes, "min")},
                           {"Repetition interval", with(settings.messageTimeoutSeconds, "s")}});
}

static void addRows(std::vector<Row>& rows, const AgentStats& stats) {
  rows.insert(
      rows.end(),
      {{"Running since", stats.startupTime.value_or("")},
       {"Starts", std::to_string(stats.daemonStartupsCount)},
       {"Graceful shutdowns", counter(stats.gracefulShutdownsCount, stats.lastDaemonShutdownTime)},
       {"DNS events", counter(stats.dnsEventsCount, stats.lastDnsEventTimestamp)},
       {"Batches delivered",
        counter(stats.dataDeliveredMessages, stats.dataLastDeliveredMessageTimestamp)},
       {"Status delivered",
        counter(stats.statusDeliveredMessages, stats.statusLastDeliveredMessageTimestamp)},
       {"Status failures",
        counter(stats.statusSendFailuresCount, stats.statusLastSendFailureTimestamp)}});
}

static void addRows(std::vector<Row>& rows, const HardwareOverview& hardware) {
  rows.insert(rows.end(), {{"Model", joined({hardware.modelName, hardware.modelIdentifier})},
                           {"Processor", joined({hardware.processorName, hardware.processorSpeed,
                                                 with(hardware.totalNumberOfCores, "cores")})},
                           {"Memory", hardware.memory.value_or("")},
                           {"Serial number", hardware.serialNumberSystem.value_or("")},
                           {"Hardware UUID", hardware.hardwareUuid.value_or("")}});
}

static void addRows(std::vector<Row>& rows, const SystemInformation& system) {
  rows.insert(rows.end(), {{"Machine", system.name.value_or("")},
                           {"Operating system", joined({system.osName, system.osVersion})},
                           {"Architecture", system.architecture.value_or("")},
                           {"Up for", system.systemUptime.value_or("")}});
  if (system.hardwareOverview) addRows(rows, *system.hardwareOverview);
}

static std::string personText(const StatusMessage& message) {
  std::vector<Row> rows = {{"Agent", message.active ? "active" : "not active"},
                           {"Agent version", message.agentVersion.value_or("")},
                           {"Message version", message.version.value_or("")},
                           {"Time", message.currentTime.value_or("")}};
  if (message.stats) addRows(rows, *message.stats);
  if (message.settings) addRows(rows, *message.settings);
  if (message.system) addRows(rows, *message.system);
  return aligned(rows);
}

static std::string personText(const std::string& message) {
  try {
    return personText(statusMessageFrom(message));
  } catch (const std::exception&) {
    throw std::runtime_error("the daemon's status message cannot be read");
  }
}

int runStatus(const CommandLine& line) {
  const auto message = Agent().statusMessage(line.has("--force"));
  if (line.has("--json")) {
    writeOut(message.value_or("null") + "\n");
  } else {
    writeOut(message ? personText(*message)
                     : "No status message is due; --force fetches one in any case.\n");
  }
  return kDone;
}

}  // namespace tovi::ctl
