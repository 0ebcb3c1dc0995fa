#include "core/DaemonToviAgent.h"

#include <stdexcept>

#include "core/ActivationResponse.h"
#include "core/Utf8.h"

namespace tovi {

namespace {

constexpr std::string_view kAgentIdAccount = "agent_id";
constexpr std::string_view kApiKeyAccount = "api_key";
constexpr std::string_view kStateAccount = "active";

std::optional<std::string> readText(const PersistenceDataProtocol& keychain,
                                    std::string_view account) {
  const auto bytes = keychain.read(account);
  if (!bytes) return std::nullopt;
  std::string text(reinterpret_cast<const char*>(bytes->data()), bytes->size());
  return isUtf8(text) ? std::optional(std::move(text)) : std::nullopt;
}

}  // namespace

DaemonToviAgent::DaemonToviAgent(PersistenceDataProtocol& keychain,
                                 MessagePersistenceProtocol& messages,
                                 PacketReceiverProtocol& receiver)
    : keychain_(keychain), messages_(messages), receiver_(receiver) {
  checkActivationKey();
  loadCredentials();
}

void DaemonToviAgent::checkActivationKey() {
  const auto text = readText(keychain_, kStateAccount);
  const auto stored = text ? agentStateFrom(*text) : std::nullopt;
  if (!stored || *stored == agentState_) return;
  changeState(*stored);
  logger_.debug("checkActivationKey()", "State get from persistence.");
}

void DaemonToviAgent::loadCredentials() {
  agentId_ = readText(keychain_, kAgentIdAccount);
  apiKey_ = readText(keychain_, kApiKeyAccount);
}

// The only place where capture is started and stopped.
void DaemonToviAgent::changeState(AgentState state) {
  if (state == agentState_) return;
  agentState_ = state;
  if (state == AgentState::active) {
    logger_.debug("activeAgent()", "Agent is active");
    receiver_.startReader();
  } else {
    logger_.debug("deactiveAgent()", "Agent is inactive");
    receiver_.stopReader();
  }
  logger_.debug("agentState", "Agent state change to ", rawValue(state), " ");
  keychain_.save(bytesOf(rawValue(state)), kStateAccount);
}

ActivationStatus DaemonToviAgent::getActivationStatus() const {
  ActivationStatus status{std::string(rawValue(agentState_)), std::nullopt};
  const bool isEnrolled = agentId_ && !agentId_->empty() && apiKey_ && !apiKey_->empty();
  if (isEnrolled) status.enrollment = ActivationResponse{*agentId_, *apiKey_}.toJson();
  return status;
}

std::map<std::string, std::string> DaemonToviAgent::getDNSMessages() {
  return messages_.getNewMessages();
}

std::string DaemonToviAgent::setActivationData(const std::string& activationData) {
  if (agentState_ != AgentState::active || !agentId_ || !apiKey_) {
    if (!enroll(activationData)) return std::string(rawValue(AgentState::inactive));
    changeState(AgentState::active);
    logger_.debug("setActivationData(activationData:)", "Agent state save");
  }
  return std::string(rawValue(agentState_));
}

bool DaemonToviAgent::enroll(const std::string& activationData) {
  constexpr const char* kFunction = "setActivationData(activationData:)";
  try {
    const auto response = ActivationResponse::fromJson(activationData);
    if (saveCredentials(response)) return true;
    logger_.error(kFunction, "Activation data empty. Agent inactive.");
  } catch (const std::invalid_argument& error) {
    logger_.error(kFunction, "Cannot parser activation data: ", error.what());
  }
  return false;
}

bool DaemonToviAgent::saveCredentials(const ActivationResponse& response) {
  if (response.uuid.empty()) return false;
  keychain_.save(bytesOf(response.uuid), kAgentIdAccount);
  if (response.key.empty()) return false;
  keychain_.save(bytesOf(response.key), kApiKeyAccount);
  agentId_ = response.uuid;
  apiKey_ = response.key;
  return true;
}

std::string DaemonToviAgent::messageDeliveryState(const std::string& messageId,
                                                  const std::string& result) {
  if (result == "Ok" || result == "Nok") {
    messages_.messageDeliveryState(messageId, result == "Nok");
  } else {
    logger_.debug("messageDeliveryState(_:_:)", "Unknow delivery state: ", result, " ");
  }
  return "Message received state: " + result;
}

bool DaemonToviAgent::setAgentState(AgentState state) {
  if (state == agentState_) return false;
  changeState(state);
  return true;
}

void DaemonToviAgent::deactivateToviAgent() {
  changeState(AgentState::inactive);
  for (const std::string_view account : {kAgentIdAccount, kApiKeyAccount}) {
    if (!keychain_.remove(account)) continue;
    logger_.debug("deactivateToviAgent()", "Key: ", account, " deleted by agent deactivation");
  }
  agentId_.reset();
  apiKey_.reset();
}

}  // namespace tovi
