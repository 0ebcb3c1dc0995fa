#include "Agent.h"

#include "platform/Bundle.h"
#include "service/ToviAgentXPCProtocol.h"

namespace tovi::ctl {

using platform::ServiceType;
using OptionalText = std::optional<std::string>;

static std::string serviceName() {
  return platform::Bundle::main().information("MachServiceName").value_or(xpc::kServiceName);
}

Agent::Agent() : service_(serviceName(), xpc::kObjectPath, xpc::kInterfaceName) {}

ActivationStatus Agent::activationStatus() {
  const auto results =
      service_.call(xpc::kGetActivationStatus, {}, {ServiceType::Text, ServiceType::OptionalText});
  return {std::get<std::string>(results.at(0)), std::get<OptionalText>(results.at(1))};
}

std::map<std::string, std::string> Agent::messages() {
  const auto results = service_.call(xpc::kGetDNSMessages, {}, {ServiceType::TextMap});
  return std::get<std::map<std::string, std::string>>(results.at(0));
}

std::string Agent::enroll(const std::string& activationData) {
  const auto results =
      service_.call(xpc::kSetActivationData, {activationData}, {ServiceType::Text});
  return std::get<std::string>(results.at(0));
}

OptionalText Agent::report(const std::string& messageId, const std::string& state,
                           const OptionalText& data) {
  const auto results = service_.call(xpc::kSetMessageDeliveryState, {messageId, state, data},
                                     {ServiceType::OptionalText});
  return std::get<OptionalText>(results.at(0));
}

OptionalText Agent::statusMessage(bool force) {
  const auto results = service_.call(xpc::kGetStatusEvent, {force}, {ServiceType::OptionalText});
  return std::get<OptionalText>(results.at(0));
}

platform::ServiceValue::Dictionary Agent::settings() {
  const auto results = service_.call(xpc::kGetAgentSettings, {}, {ServiceType::Settings});
  return std::get<platform::ServiceValue::Dictionary>(results.at(0));
}

}  // namespace tovi::ctl
