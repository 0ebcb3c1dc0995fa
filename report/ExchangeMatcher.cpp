#include "report/ExchangeMatcher.h"

#include <string>

namespace tovi::report {
namespace {

using Flow = platform::Flow;

std::uint64_t keyOf(const Flow& queryFlow, std::uint16_t id, std::string_view question) {
  std::string text;
  for (const auto* address : {&queryFlow.source, &queryFlow.destination}) {
    text.append(reinterpret_cast<const char*>(address->data()), address->size());
  }
  for (const std::uint16_t number : {queryFlow.sourcePort, queryFlow.destinationPort, id}) {
    text.push_back(static_cast<char>(number >> 8));
    text.push_back(static_cast<char>(number & 0xff));
  }
  return std::hash<std::string>()(text.append(question));
}

Flow reversed(const Flow& flow) {
  return {flow.destination, flow.source, flow.destinationPort, flow.sourcePort};
}

}  // namespace

void ExchangeMatcher::addQuery(const Message& query) {
  ++queries_;
  const auto key = keyOf(query.flow, query.id, query.question);
  const Date* const earlier = waiting_.peek(key);
  if (earlier != nullptr && std::chrono::abs(query.time - *earlier) <= kLongestWait) {
    ++repeated_;
  } else {
    waiting_.set(key, query.time);
  }
}

std::optional<ExchangeMatcher::Duration> ExchangeMatcher::addResponse(const Message& response) {
  ++responses_;
  const auto key = keyOf(reversed(response.flow), response.id, response.question);
  const Date* const asked = waiting_.peek(key);
  if (asked == nullptr) return std::nullopt;
  const Duration waited = response.time - *asked;
  waiting_.remove(key);
  if (std::chrono::abs(waited) > kLongestWait) return std::nullopt;
  ++answered_;
  return waited;
}

}  // namespace tovi::report
