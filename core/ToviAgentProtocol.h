#pragma once

#include <map>
#include <optional>
#include <string>

namespace tovi {

struct ActivationStatus {
  std::string state;
  /// The enrollment as JSON text, when both credentials are known.
  std::optional<std::string> enrollment;
};

/// What the companion can ask of the agent controller. Main loop only.
class ToviAgentProtocol {
 public:
  virtual ~ToviAgentProtocol() = default;

  virtual ActivationStatus getActivationStatus() const = 0;
  virtual std::map<std::string, std::string> getDNSMessages() = 0;
  /// Returns the raw value of the state after the call; "inactive" for data that does not enroll.
  virtual std::string setActivationData(const std::string& activationData) = 0;
  /// Returns the reply text.
  virtual std::string messageDeliveryState(const std::string& messageId,
                                           const std::string& result) = 0;
};

}  // namespace tovi
