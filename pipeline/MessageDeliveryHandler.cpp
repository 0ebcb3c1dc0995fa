#include "pipeline/MessageDeliveryHandler.h"

#include <limits>

#include "core/Settings.h"

namespace tovi {

MessageDeliveryHandler::MessageDeliveryHandler(TimeProviderProtocol& timeProvider,
                                               const GetPropertyManagerProtocol& propertyManager)
    : timeProvider_(timeProvider),
      waitTimeoutOnServerFail_(setting<double>(propertyManager, "timeout_server_fails_sec")),
      waitReceivingServerFail_(
          setting<double>(propertyManager, "timeout_receiving_server_fails_sec")),
      lastDeliveryMessageDate_(timeProvider.now()),
      lastUpdateRetryDate_(lastDeliveryMessageDate_) {}

void MessageDeliveryHandler::deliveryFailed() {
  deliveryFail_ = true;
  increaseTimetoDeliverMessage();
}

void MessageDeliveryHandler::deliverySucceeded() {
  deliveryFail_ = false;
  retryAttempts_ = 0;
}

AmountMessages MessageDeliveryHandler::shouldReturnEveryMessage() {
  const Date now = timeProvider_.now();
  if (deliveryFail_) {
    const double elapsed = secondsBetween(lastDeliveryMessageDate_, now);
    logger_.debug("shouldReturnEveryMessage()", "****** threshold delivery fail ", elapsed,
                  " ***** waitTimeoutOnServerFail:  ", waitTimeoutOnServerFail_,
                  " ****** retryAttempts ", retryAttempts_);
    if (elapsed < waitTimeoutOnServerFail_ * static_cast<double>(retryAttempts_)) {
      return AmountMessages::NotDeliverMessages;
    }
  }
  lastDeliveryMessageDate_ = now;
  return deliveryFail_ ? AmountMessages::DeliverOneMessage : AmountMessages::DeliverEveryMessage;
}

void MessageDeliveryHandler::increaseTimetoDeliverMessage() {
  static constexpr const char* kFunction = "increaseTimetoDeliverMessage()";
  const Date now = timeProvider_.now();
  const double elapsed = secondsBetween(lastUpdateRetryDate_, now);
  logger_.debug(kFunction, "****** threshold increase retry ", elapsed,
                " ***** waitTimeoutOnServerFail: ", waitReceivingServerFail_);
  // Several reports about one hand-over count once.
  if (elapsed < waitReceivingServerFail_) return;
  if (retryAttempts_ == std::numeric_limits<std::int64_t>::max()) {
    fatalError("retryAttempts overflow");
  }
  lastUpdateRetryDate_ = now;
  ++retryAttempts_;
  logger_.debug(kFunction, "****** retryAttempts ", retryAttempts_);
}

}  // namespace tovi
