#include "tovictl/Agent.h"

#include "core/Bundle.h"
#include "service/ServiceRecord.h"
#include "service/StatisticsProtocol.h"
#include "service/ToviAgentXPCProtocol.h"

namespace tovi::ctl {

using platform::ServiceParameters;
using platform::ServiceType;
using OptionalText = std::optional<std::string>;
using Dictionary = platform::ServiceValue::Dictionary;

static std::string serviceName() {
  return Bundle::main().information("MachServiceName").value_or(xpc::kServiceName);
}

Agent::Agent(platform::ServiceStart start) : service_(serviceName(), xpc::kObjectPath, start) {}

ServiceParameters Agent::call(const std::string& method, const ServiceParameters& arguments,
                              const std::vector<ServiceType>& results) {
  return service_.call(xpc::kInterfaceName, method, arguments, results);
}

ActivationStatus Agent::activationStatus() {
  const auto results =
      call(xpc::kGetActivationStatus, {}, {ServiceType::Text, ServiceType::OptionalText});
  return {std::get<std::string>(results.at(0)), std::get<OptionalText>(results.at(1))};
}

std::map<std::string, std::string> Agent::messages() {
  const auto results = call(xpc::kGetDNSMessages, {}, {ServiceType::TextMap});
  return std::get<std::map<std::string, std::string>>(results.at(0));
}

std::string Agent::enroll(const std::string& activationData) {
  const auto results = call(xpc::kSetActivationData, {activationData}, {ServiceType::Text});
  return std::get<std::string>(results.at(0));
}

OptionalText Agent::report(const std::string& messageId, const std::string& state,
                           const OptionalText& data) {
  const auto results =
      call(xpc::kSetMessageDeliveryState, {messageId, state, data}, {ServiceType::OptionalText});
  return std::get<OptionalText>(results.at(0));
}

OptionalText Agent::statusMessage(bool force) {
  const auto results = call(xpc::kGetStatusEvent, {force}, {ServiceType::OptionalText});
  return std::get<OptionalText>(results.at(0));
}

Dictionary Agent::settings() {
  const auto results = call(xpc::kGetAgentSettings, {}, {ServiceType::Settings});
  return std::get<Dictionary>(results.at(0));
}

Dictionary Agent::statistics(const std::string& method) {
  const auto results =
      service_.call(statistics::kInterfaceName, method, {}, {ServiceType::Settings});
  return std::get<Dictionary>(results.at(0));
}

Counters Agent::counters() {
  return recordFrom<Counters>(statistics(statistics::kGetCounters));
}

Activity Agent::activity() {
  return recordFrom<Activity>(statistics(statistics::kGetActivity));
}

}  // namespace tovi::ctl
