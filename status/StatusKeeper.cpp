#include "status/StatusKeeper.h"

#include "core/Settings.h"
#include "status/CheckedArithmetic.h"
#include "status/StatusResponse.h"

namespace tovi {

static constexpr SettingKey<double> kPollingInterval = "polling_interval_seconds";

StatusKeeper::StatusKeeper(const GetPropertyManagerProtocol& propertyManager,
                           const TimeProviderProtocol& timeProvider,
                           SavePropertyManagerProtocol& variables,
                           PackerPropertiesSetProtocol& packerProperties,
                           StatusMessageProtocol& statusBuilder, StatusDaemonProtocol& daemonState,
                           FilterPropertiesProtocol& filter)
    : timeProvider_(timeProvider),
      variables_(variables),
      packerProperties_(packerProperties),
      statusBuilder_(statusBuilder),
      daemonState_(daemonState),
      filter_(filter),
      resentStatusTimeOutSec_(setting<double>(propertyManager, "resend_status_timeout_sec")),
      resendToleranceSec_(setting<double>(propertyManager, "send_status_tolerance_sec")),
      failuresToDisable_(setting<std::int64_t>(propertyManager, "failures_to_disable")),
      failuresToDeactive_(setting<std::int64_t>(propertyManager, "failures_to_deactive")),
      deliveryStatusTimeOutSec_(setting(variables, kPollingInterval)),
      retriesCount_(variables.getInt("status_delivery_retry").value_or(0)) {
  buildAndStore();
}

std::optional<std::string> StatusKeeper::getStatusMessage(bool force) {
  if (force) return buildAndStore();
  checkLastDeliveredMessage();
  if (statusState_ == StatusMessageState::DeliveredToAgent) {
    logger_.debug("getStatusMessage(_:)",
                  "Status message already delivered. Waiting server response.");
    return std::nullopt;
  }
  const double elapsed = secondsSinceLastMessage();
  logger_.debug("getStatusMessage(_:)", "****** threshold ", elapsed, " ****** ",
                deliveryStatusTimeOutSec_, " ***** tolerance:  ", resendToleranceSec_);
  if (deliveryStatusTimeOutSec_ - resendToleranceSec_ > elapsed) return std::nullopt;
  statusState_ = StatusMessageState::DeliveredToAgent;
  return buildAndStore();
}

double StatusKeeper::secondsSinceLastMessage() const {
  return secondsBetween(lastDeliveryStatusDate_, timeProvider_.now());
}

std::string StatusKeeper::buildAndStore() {
  auto message = statusBuilder_.buildStatusMessage();
  lastDeliveryStatusDate_ = timeProvider_.now();
  variables_.save("status_message", PropertyValue{message});
  return message;
}

void StatusKeeper::checkLastDeliveredMessage() {
  if (statusState_ != StatusMessageState::DeliveredToAgent) return;
  const double elapsed = secondsSinceLastMessage();
  if (resentStatusTimeOutSec_ > elapsed) return;
  logger_.debug("checkLastDeliveredMessage()",
                "Status delivered too long, reset status msg. threshold: ", elapsed,
                " -- resentStatusTimeOutSec: ", resentStatusTimeOutSec_);
  statusState_ = StatusMessageState::DeliveredTimeout;
}

std::optional<std::string> StatusKeeper::statusMessageDeliveredState(
    const std::string& state, const std::optional<std::string>& data) {
  constexpr auto kFunction = "statusMessageDeliveredState(state:_:)";
  logger_.debug(kFunction, "statusMessageDeliveredState ", state);
  const auto reported = statusMessageStateFrom(state);
  if (reported == StatusMessageState::AgentDeliveredCompleted) {
    resetRetries();
    statusState_ = *reported;
    countDelivery("status_delivered_messages", "status_last_delivered_message_timestamp");
    return handleStatusResponse(data);
  }
  if (reported == StatusMessageState::AgentFailDelivered) {
    statusState_ = *reported;
    countDelivery("status_send_failures_count", "status_last_send_failure_timestamp");
    return handleStatusError();
  }
  logger_.debug(kFunction, "Delivery state unknow :", state);
  return "Delivery state unknow";
}

void StatusKeeper::resetRetries() {
  if (retriesCount_ == 0) return;
  retriesCount_ = 0;
  variables_.save("status_delivery_retry", PropertyValue{retriesCount_});
}

void StatusKeeper::countDelivery(std::string_view counter, std::string_view timestamp) {
  variables_.increment(counter);
  variables_.save(timestamp, PropertyValue{timeProvider_.currentTime()});
}

std::string StatusKeeper::handleStatusResponse(const std::optional<std::string>& data) {
  if (!data) return "Status data received";
  const auto response = StatusResponse::decode(*data);
  if (!response) {
    logger_.error("handleStatusResponse(_:)", "Cannot parser status response ", *data);
    return "Status data cannot be parsed";
  }
  statusResponseUpdateAgentState(response->active);
  if (response->batchSize) packerProperties_.setBatchSize(*response->batchSize);
  if (const auto delay = response->batchMaxDelaySeconds) {
    packerProperties_.setBatchDelay(widened(*delay));
  }
  if (const auto minutes = response->pollingIntervalMinutes) setPollingInterval(*minutes);
  if (const auto seconds = response->messageTimeoutSeconds) {
    filter_.setMessageTimeoutSec(widened(*seconds));
  }
  return "Status data received";
}

void StatusKeeper::setPollingInterval(std::int64_t minutes) {
  const auto seconds = widened(multiplied(minutes, 60, "polling_interval_minutes"));
  variables_.save(kPollingInterval.name, PropertyValue{seconds});
  deliveryStatusTimeOutSec_ = seconds;
}

void StatusKeeper::statusResponseUpdateAgentState(std::optional<bool> active) {
  if (!active) return;
  const auto state = *active ? AgentState::active : AgentState::inactive;
  if (!daemonState_.setAgentState(state)) return;
  logger_.debug("statusResponseUpdateAgentState(_:)", "Agent status change to ", rawValue(state));
}

std::optional<std::string> StatusKeeper::handleStatusError() {
  constexpr auto kFunction = "handleStatusError()";
  retriesCount_ = incremented(retriesCount_);
  variables_.save("status_delivery_retry", PropertyValue{retriesCount_});
  std::optional<std::string> result;
  if (retriesCount_ >= failuresToDisable_ && daemonState_.setAgentState(AgentState::inactive)) {
    result = "Agent disable because status can not be sent";
    logger_.debug(kFunction, *result);
  }
  if (retriesCount_ >= failuresToDeactive_) {
    daemonState_.deactivateToviAgent();
    result = "Agent desactivated because status can not be sent for too long";
    logger_.debug(kFunction, *result);
  }
  return result;
}

}  // namespace tovi
