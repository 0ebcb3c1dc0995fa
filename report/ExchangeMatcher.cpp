#include "report/ExchangeMatcher.h"

#include <string>

namespace tovi::report {
namespace {

// No part but the last holds a semicolon.
std::uint64_t keyOf(const ExchangeMatcher::Message& message) {
  auto text = message.client.address + ";" + std::to_string(message.client.port) + ";";
  for (const auto part : {message.server, message.id, message.question}) {
    text.append(part).append(";");
  }
  return std::hash<std::string>()(text);
}

}  // namespace

void ExchangeMatcher::addQuery(const Message& query) {
  ++queries_;
  const auto key = keyOf(query);
  const Date* const earlier = waiting_.peek(key);
  if (earlier != nullptr && std::chrono::abs(query.time - *earlier) <= kLongestWait) {
    ++repeated_;
  } else {
    waiting_.set(key, query.time);
  }
}

std::optional<ExchangeMatcher::Duration> ExchangeMatcher::addResponse(const Message& response) {
  ++responses_;
  const auto key = keyOf(response);
  const Date* const asked = waiting_.peek(key);
  if (asked == nullptr) return std::nullopt;
  const Duration waited = response.time - *asked;
  waiting_.remove(key);
  if (std::chrono::abs(waited) > kLongestWait) return std::nullopt;
  ++answered_;
  return waited;
}

}  // namespace tovi::report
