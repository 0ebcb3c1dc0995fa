#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

#include "core/TimeProviderProtocol.h"
#include "events/LRUCache.h"
#include "events/Sighting.h"

namespace tovi::report {

/// Finds the query of each response: same client, server, transaction identifier and question
/// (RFC 5452, section 9.1), at most 30 seconds apart: files can tell of a response before its
/// query. Of queries that repeat one the first counts. Keeps a limited number of queries, told
/// apart by a hash of 64 bits. One thread.
class ExchangeMatcher {
 public:
  using Duration = std::chrono::nanoseconds;

  static constexpr Duration kLongestWait = std::chrono::seconds(30);
  static constexpr std::int64_t kMostWaiting = 65536;

  struct Message {
    const Endpoint& client;
    std::string_view server;
    std::string_view id;
    std::string_view question;
    Date time;
  };

  void addQuery(const Message& query);
  /// How long the query had waited; none when it is not known.
  std::optional<Duration> addResponse(const Message& response);

  std::uint64_t queries() const { return queries_; }
  /// Queries that repeat one which still waits.
  std::uint64_t repeated() const { return repeated_; }
  std::uint64_t responses() const { return responses_; }
  /// Responses to a known query.
  std::uint64_t answered() const { return answered_; }

 private:
  LRUCache<std::uint64_t, Date> waiting_{kMostWaiting};
  std::uint64_t queries_ = 0;
  std::uint64_t repeated_ = 0;
  std::uint64_t responses_ = 0;
  std::uint64_t answered_ = 0;
};

}  // namespace tovi::report
