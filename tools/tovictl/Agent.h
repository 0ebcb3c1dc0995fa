#pragma once

#include <map>
#include <optional>
#include <string>

#include "core/Activity.h"
#include "core/ToviAgentProtocol.h"
#include "platform/ServiceBus.h"
#include "service/Counters.h"

namespace tovi::ctl {

/// The daemon as its companion sees it. Every call throws platform::ServiceError when the daemon
/// does not answer. One thread.
class Agent {
 public:
  /// The service that the installed bundle names. `start` says whether a call may start it.
  explicit Agent(platform::ServiceStart start = platform::ServiceStart::OnCall);

  ActivationStatus activationStatus();
  /// Batches by identifier, oldest first.
  std::map<std::string, std::string> messages();
  /// Returns the state afterwards.
  std::string enroll(const std::string& activationData);
  std::optional<std::string> report(const std::string& messageId, const std::string& state,
                                    const std::optional<std::string>& data = std::nullopt);
  std::optional<std::string> statusMessage(bool force);
  platform::ServiceValue::Dictionary settings();

  /// The daemon's statistics. Both throw with the kind NotOffered when the daemon has none yet.
  Counters counters();
  Activity activity();

 private:
  platform::ServiceParameters call(const std::string& method,
                                   const platform::ServiceParameters& arguments,
                                   const std::vector<platform::ServiceType>& results);
  platform::ServiceValue::Dictionary statistics(const std::string& method);

  platform::ServiceClient service_;
};

}  // namespace tovi::ctl
