#include "service/DaemonXPC.h"

#include "service/ToviAgentXPCProtocol.h"

namespace tovi {

DaemonXPC::DaemonXPC(ToviAgentProtocol& daemon, GetStatusMessageProtocol& statusKeeper,
                     const GetPropertyManagerProtocol& settings)
    : daemon_(daemon), statusKeeper_(statusKeeper), settings_(settings) {}

ActivationStatus DaemonXPC::getActivationStatus() {
  logger_.debug("getActivationStatus(withReply:)", "getActivationStatus");
  return daemon_.getActivationStatus();
}

std::map<std::string, std::string> DaemonXPC::getDNSMessages() {
  logger_.debug("getDNSMessages(withReply:)", "getDNSMessages");
  return daemon_.getDNSMessages();
}

// The data holds the agent's key, so it stays out of the log.
std::string DaemonXPC::setActivationData(const std::string& data) {
  logger_.debug("setActivationData(_:withReply:)", "setActivationData ");
  return daemon_.setActivationData(data);
}

std::optional<std::string> DaemonXPC::setMessageDeliveryState(
    const std::string& messageId, const std::string& state,
    const std::optional<std::string>& data) {
  constexpr auto kFunction = "setMessageDeliveryState(_:_:_:withReply:)";
  logger_.debug(kFunction, "setMessagesDeliveryState ");
  if (messageId != xpc::kStatusMessageId) return daemon_.messageDeliveryState(messageId, state);
  logger_.debug(kFunction, "Status delivery arrived ");
  return statusKeeper_.statusMessageDeliveredState(state, data);
}

std::optional<std::string> DaemonXPC::getStatusEvent(bool force) {
  logger_.debug("getStatusEvent(_:withReply:)", "getStatusEvent ");
  return statusKeeper_.getStatusMessage(force);
}

PropertyDictionary DaemonXPC::getAgentSettings() {
  logger_.debug("getAgentSettings(withReply:)", "getAgentSettings ");
  return settings_.getAll();
}

}  // namespace tovi
