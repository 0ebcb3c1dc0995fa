#pragma once

#include <cstdint>

#include "core/GetPropertyManagerProtocol.h"
#include "core/TimeProviderProtocol.h"
#include "core/ToviLog.h"
#include "pipeline/MessageDeliveryHandlerProtocol.h"

namespace tovi {

/// Holds messages back after a failed delivery, for a time that grows with the failures, and then
/// lets one at a time through until a delivery succeeds. Starts without failures. The clock is
/// borrowed and must outlive it. One caller at a time.
class MessageDeliveryHandler : public MessageDeliveryHandlerProtocol {
 public:
  /// `propertyManager` is read only during construction.
  MessageDeliveryHandler(TimeProviderProtocol& timeProvider,
                         const GetPropertyManagerProtocol& propertyManager);

  void deliveryFailed() override;
  void deliverySucceeded() override;
  AmountMessages shouldReturnEveryMessage() override;

 private:
  void increaseTimetoDeliverMessage();

  // Constant after construction; times in seconds.
  ToviLog logger_{"MessageDeliveryHandler", "main"};
  TimeProviderProtocol& timeProvider_;
  const double waitTimeoutOnServerFail_;
  const double waitReceivingServerFail_;

  // Only by the one caller.
  bool deliveryFail_ = false;
  Date lastDeliveryMessageDate_;
  Date lastUpdateRetryDate_;
  std::int64_t retryAttempts_ = 0;
};

}  // namespace tovi
