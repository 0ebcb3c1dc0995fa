#include "status/StatusJson.h"
#include "toolkit/Complaint.h"
#include "toolkit/Figures.h"
#include "tovictl/Agent.h"
#include "tovictl/CounterSections.h"
#include "tovictl/Json.h"
#include "tovictl/Output.h"
#include "tovictl/Table.h"
#include "tovictl/Verbs.h"

namespace tovi::ctl {

using OptionalText = std::optional<std::string>;
using OptionalCount = std::optional<std::int64_t>;
using platform::ServiceError;

static std::string with(const OptionalCount& count, const std::string& unit) {
  return count ? numberText(*count) + " " + unit : "";
}

static std::string counter(std::int64_t count, const OptionalText& last) {
  return numberText(count) + (last ? ", the last at " + *last : "");
}

static std::string joined(const std::vector<OptionalText>& parts) {
  std::string text;
  for (const auto& part : parts) {
    if (part && !part->empty()) text.append(text.empty() ? "" : ", ").append(*part);
  }
  return text;
}

static Section agentSection(const StatusMessage& message) {
  return {"Agent",
          {{"State", message.active ? "active" : "not active",
            message.active ? Tone::Good : Tone::Warning},
           {"Agent version", message.agentVersion.value_or("")},
           {"Message version", message.version.value_or("")},
           {"Time", message.currentTime.value_or("")}}};
}

static Section settingsSection(const AgentSettings& settings) {
  return {"Settings",
          {{"Batch size", with(settings.dnsBatchSize, "events")},
           {"Batch delay", with(settings.dnsBatchMaxDelaySeconds, "s")},
           {"Polling interval", with(settings.pollingIntervalMinutes, "min")},
           {"Repetition interval", with(settings.messageTimeoutSeconds, "s")}}};
}

static Section statsSection(const AgentStats& stats) {
  const auto failures = stats.statusSendFailuresCount;
  return {
      "Over all runs of the daemon",
      {{"Running since", stats.startupTime.value_or("")},
       {"Starts", numberText(stats.daemonStartupsCount)},
       {"Graceful shutdowns", counter(stats.gracefulShutdownsCount, stats.lastDaemonShutdownTime)},
       {"DNS events", counter(stats.dnsEventsCount, stats.lastDnsEventTimestamp)},
       {"Batches delivered",
        counter(stats.dataDeliveredMessages, stats.dataLastDeliveredMessageTimestamp)},
       {"Status delivered",
        counter(stats.statusDeliveredMessages, stats.statusLastDeliveredMessageTimestamp)},
       {"Status failures", counter(failures, stats.statusLastSendFailureTimestamp),
        failures > 0 ? Tone::Warning : Tone::Plain}}};
}

static Section machineSection(const SystemInformation& system) {
  const auto hardware = system.hardwareOverview.value_or(HardwareOverview());
  return {"Machine",
          {{"Name", system.name.value_or("")},
           {"Operating system", joined({system.osName, system.osVersion})},
           {"Architecture", system.architecture.value_or("")},
           {"Up for", system.systemUptime.value_or("")},
           {"Model", joined({hardware.modelName, hardware.modelIdentifier})},
           {"Processor", joined({hardware.processorName, hardware.processorSpeed,
                                 with(hardware.totalNumberOfCores, "cores")})},
           {"Memory", hardware.memory.value_or("")},
           {"Serial number", hardware.serialNumberSystem.value_or("")},
           {"Hardware UUID", hardware.hardwareUuid.value_or("")}}};
}

static std::vector<Section> sectionsOf(const StatusMessage& message) {
  std::vector<Section> sections = {agentSection(message)};
  if (message.settings) sections.push_back(settingsSection(*message.settings));
  if (message.system) sections.push_back(machineSection(*message.system));
  if (message.stats) sections.push_back(statsSection(*message.stats));
  return sections;
}

static std::vector<Section> messageSections(const std::string& message) {
  try {
    return sectionsOf(statusMessageFrom(message));
  } catch (const std::exception&) {
    throw std::runtime_error("the daemon's status message cannot be read");
  }
}

// An older daemon does not offer them, and an older policy of the bus does not let them be asked
// for; whoever may not call at all has learnt that by an earlier call.
static std::optional<Counters> offeredCounters(Agent& agent) try {
  return agent.counters();
} catch (const ServiceError& fault) {
  if (fault.kind != ServiceError::NotOffered && fault.kind != ServiceError::AccessDenied) throw;
  return std::nullopt;
}

static std::string jsonOf(const OptionalText& message, const std::optional<Counters>& counters) {
  const auto parsed = message ? Json::parse(*message, nullptr, false) : Json();
  if (parsed.is_discarded()) throw std::runtime_error("the daemon's status message is no JSON");
  return versionedLine(
      {{"message", parsed}, {"counters", counters ? ctl::jsonOf(*counters) : Json()}});
}

static std::vector<Section> allSections(const OptionalText& message,
                                        const std::optional<Counters>& counters) {
  std::vector<Section> sections;
  if (message) sections = messageSections(*message);
  if (counters) {
    const auto counted = counterSections(*counters);
    sections.insert(sections.end(), counted.begin(), counted.end());
  }
  return sections;
}

static void show(const OptionalText& message, const std::optional<Counters>& counters,
                 const CommandLine& line) {
  writeOut(line.has("--json") ? jsonOf(message, counters)
                              : aligned(allSections(message, counters), Colours::forOutput(line)));
}

int runStatus(const CommandLine& line) {
  if (line.has("--counters") && line.has("--force")) {
    throw UsageError("--counters and --force exclude each other");
  }
  Agent agent;
  if (line.has("--counters")) {
    show(std::nullopt, agent.counters(), line);
    return kDone;
  }
  // First: what fails here has not taken the message from the companion.
  const auto counters = offeredCounters(agent);
  const auto message = agent.statusMessage(line.has("--force"));
  show(message, counters, line);
  if (!message && !line.has("--json"))
    complain("no status message is due; --force fetches one in any case");
  return kDone;
}

}  // namespace tovi::ctl
