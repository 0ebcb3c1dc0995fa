#pragma once

#include "core/MessagePersistenceProtocol.h"
#include "core/PacketReceiverProtocol.h"
#include "core/PersistenceDataProtocol.h"
#include "core/StatusDaemonProtocol.h"
#include "core/ToviAgentProtocol.h"
#include "core/ToviLog.h"

namespace tovi {

struct ActivationResponse;

/// The agent controller: the enrollment, and the state that decides whether capture runs. The
/// collaborators are borrowed and must outlive it. Main loop only.
class DaemonToviAgent : public ToviAgentProtocol, public StatusDaemonProtocol {
 public:
  /// Restores the persisted state (so capture may start here) and the credentials.
  DaemonToviAgent(PersistenceDataProtocol& keychain, MessagePersistenceProtocol& messages,
                  PacketReceiverProtocol& receiver);

  ActivationStatus getActivationStatus() const override;
  std::map<std::string, std::string> getDNSMessages() override;
  std::string setActivationData(const std::string& activationData) override;
  std::string messageDeliveryState(const std::string& messageId,
                                   const std::string& result) override;

  AgentState agentState() const override { return agentState_; }
  bool setAgentState(AgentState state) override;
  void deactivateToviAgent() override;

 private:
  void checkActivationKey();
  void loadCredentials();
  void changeState(AgentState state);
  bool enroll(const std::string& activationData);
  /// False at the first credential that is empty; those before it are saved then.
  bool saveCredentials(const ActivationResponse& response);

  ToviLog logger_{kCoreSubsystem, "ToviLogReader"};
  PersistenceDataProtocol& keychain_;
  MessagePersistenceProtocol& messages_;
  PacketReceiverProtocol& receiver_;
  std::optional<std::string> agentId_;
  std::optional<std::string> apiKey_;
  AgentState agentState_ = AgentState::inactive;
};

}  // namespace tovi
