#include "status/StatusBuilder.h"

#include "status/CheckedArithmetic.h"
#include "status/StatusJson.h"
#include "status/StatusMembers.h"

namespace tovi {

StatusBuilder::StatusBuilder(const BundleProviderProtocol& bundleProvider,
                             const TimeProviderProtocol& timeProvider,
                             const SavePropertyManagerProtocol& variables,
                             const StatusDaemonProtocol& daemonState,
                             const GetPropertyManagerProtocol& properties,
                             SystemInformationProtocol& systemProvider)
    : bundleProvider_(bundleProvider),
      timeProvider_(timeProvider),
      variables_(variables),
      daemonState_(daemonState),
      properties_(properties),
      systemProvider_(systemProvider) {}

std::string StatusBuilder::buildStatusMessage() {
  StatusMessage message;
  message.active = daemonState_.agentState() == AgentState::active;
  message.agentVersion = bundleProvider_.shortVersion().value_or("1.0.0.0");
  message.version = properties_.getString("status_message_version");
  message.currentTime = timeProvider_.currentTime();
  message.settings = settings();
  message.system = systemProvider_.systemInformation();
  message.stats = stats();
  return jsonText(message);
}

AgentSettings StatusBuilder::settings() const {
  AgentSettings settings;
  settings.dnsBatchMaxDelaySeconds = truncatedSetting("dns_batch_max_delay");
  settings.dnsBatchSize = setting<std::int64_t>(variables_, "dns_batch_size");
  settings.pollingIntervalMinutes = truncatedSetting("polling_interval_seconds") / 60;
  settings.messageTimeoutSeconds = truncatedSetting("removal_register_timeout");
  return settings;
}

std::int64_t StatusBuilder::truncatedSetting(SettingKey<double> key) const {
  return truncated(setting(variables_, key), key.name);
}

namespace {

/// Reads a member of the statistics from the variable of the same name; a missing variable leaves
/// the member as it is.
struct VariableReader {
  const GetPropertyManagerProtocol& variables;

  template <typename Value>
  void operator()(const auto& key, std::optional<Value>& member) const {
    member = variables.get<Value>(key.name());
  }
  template <typename Value>
  void operator()(const auto& key, Value& member) const {
    member = variables.get<Value>(key.name()).value_or(member);
  }
};

}  // namespace

AgentStats StatusBuilder::stats() const {
  AgentStats stats;
  forEachMember(stats, VariableReader{variables_});
  return stats;
}

}  // namespace tovi
