// What the collector answers, brought by the companion: activation data and status responses.

#include <stdexcept>
#include <string>
#include <vector>

#include "core/ActivationResponse.h"
#include "core/Utf8.h"
#include "fuzz/Require.h"
#include "status/StatusResponse.h"

namespace tovi::fuzz {

namespace {

void checkActivation(std::string_view text) try {
  const auto response = ActivationResponse::fromJson(text);
  require(isUtf8(response.uuid) && isUtf8(response.key));
  const auto readBack = ActivationResponse::fromJson(response.toJson());
  require(readBack.uuid == response.uuid && readBack.key == response.key);
} catch (const std::invalid_argument& error) {
  // It is logged, and the data is secret: no more of it than a position, or the name of a type.
  require(std::string_view(error.what()).size() < 100 && isOneLine(error.what()));
}

void checkStatus(std::string_view text) {
  const auto response = StatusResponse::decode(text);
  const auto number = [](const auto& member) { return member ? std::to_string(*member) : "null"; };
  if (!response) return;
  const std::string again =
      "{\"active\":" + std::string(response->active.value_or(false) ? "true" : "false") +
      ",\"polling_interval_minutes\":" + number(response->pollingIntervalMinutes) +
      ",\"batch_size\":" + number(response->batchSize) +
      ",\"batch_max_delay_seconds\":" + number(response->batchMaxDelaySeconds) +
      ",\"message_timeout_seconds\":" + number(response->messageTimeoutSeconds) + "}";
  const auto readBack = StatusResponse::decode(again);
  require(readBack && readBack->batchSize == response->batchSize);
  require(readBack->pollingIntervalMinutes == response->pollingIntervalMinutes);
  require(readBack->batchMaxDelaySeconds == response->batchMaxDelaySeconds);
  require(readBack->messageTimeoutSeconds == response->messageTimeoutSeconds);
}

}  // namespace

}  // namespace tovi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // On the heap and of its very size, so that a read past the end is seen.
  const std::vector<char> text(data, data + size);
  tovi::fuzz::checkActivation({text.data(), text.size()});
  tovi::fuzz::checkStatus({text.data(), text.size()});
  return 0;
}
