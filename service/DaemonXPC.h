#pragma once

#include <map>
#include <optional>
#include <string>

#include "core/GetPropertyManagerProtocol.h"
#include "core/ToviAgentProtocol.h"
#include "core/ToviLog.h"
#include "status/GetStatusMessageProtocol.h"

namespace tovi {

/// What one caller of the local service talks to. Keeps nothing of its own: each call goes to one
/// collaborator, and all of them must outlive it. Main loop only.
class DaemonXPC {
 public:
  DaemonXPC(ToviAgentProtocol& daemon, GetStatusMessageProtocol& statusKeeper,
            const GetPropertyManagerProtocol& settings);

  ActivationStatus getActivationStatus();
  std::map<std::string, std::string> getDNSMessages();
  std::string setActivationData(const std::string& data);
  /// A report on the status message goes to the status keeper with `data`, any other one to the
  /// agent controller without it.
  std::optional<std::string> setMessageDeliveryState(const std::string& messageId,
                                                     const std::string& state,
                                                     const std::optional<std::string>& data);
  std::optional<std::string> getStatusEvent(bool force);
  PropertyDictionary getAgentSettings();

 private:
  ToviLog logger_{kCoreSubsystem, "LogReaderXPC"};
  ToviAgentProtocol& daemon_;
  GetStatusMessageProtocol& statusKeeper_;
  const GetPropertyManagerProtocol& settings_;
};

}  // namespace tovi
