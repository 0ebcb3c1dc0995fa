#pragma once

#include <cstdint>

#include "core/GetPropertyManagerProtocol.h"
#include "core/SavePropertyManagerProtocol.h"
#include "core/StatusDaemonProtocol.h"
#include "core/TimeProviderProtocol.h"
#include "core/ToviLog.h"
#include "events/FilterPropertiesProtocol.h"
#include "pipeline/PackerPropertiesSetProtocol.h"
#include "status/GetStatusMessageProtocol.h"
#include "status/StatusMessageProtocol.h"
#include "status/StatusMessageState.h"

namespace tovi {

/// Owns the life of the status message: when the next one may go, what the reports on it mean for
/// the agent's state, and what the collector's answers change. All collaborators are borrowed and
/// must outlive it. Main loop only.
class StatusKeeper : public GetStatusMessageProtocol {
 public:
  /// Builds and stores a first status message.
  StatusKeeper(const GetPropertyManagerProtocol& propertyManager,
               const TimeProviderProtocol& timeProvider, SavePropertyManagerProtocol& variables,
               PackerPropertiesSetProtocol& packerProperties, StatusMessageProtocol& statusBuilder,
               StatusDaemonProtocol& daemonState, FilterPropertiesProtocol& filter);

  std::optional<std::string> getStatusMessage(bool force) override;
  /// Ends the process when the answer's polling interval in seconds does not fit 64 bits.
  std::optional<std::string> statusMessageDeliveredState(
      const std::string& state, const std::optional<std::string>& data) override;

 private:
  double secondsSinceLastMessage() const;
  std::string buildAndStore();
  void checkLastDeliveredMessage();
  void countDelivery(std::string_view counter, std::string_view timestamp);
  void resetRetries();
  std::string handleStatusResponse(const std::optional<std::string>& data);
  std::optional<std::string> handleStatusError();
  void statusResponseUpdateAgentState(std::optional<bool> active);
  void setPollingInterval(std::int64_t minutes);

  // Constant after construction.
  const TimeProviderProtocol& timeProvider_;
  SavePropertyManagerProtocol& variables_;
  PackerPropertiesSetProtocol& packerProperties_;
  StatusMessageProtocol& statusBuilder_;
  StatusDaemonProtocol& daemonState_;
  FilterPropertiesProtocol& filter_;
  ToviLog logger_{"StatusKeeper", "main"};
  const double resentStatusTimeOutSec_;
  const double resendToleranceSec_;
  const std::int64_t failuresToDisable_;
  const std::int64_t failuresToDeactive_;

  // Only on the main loop.
  Date lastDeliveryStatusDate_;
  StatusMessageState statusState_ = StatusMessageState::NewMessage;
  double deliveryStatusTimeOutSec_;
  std::int64_t retriesCount_;
};

}  // namespace tovi
