#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "events/ExchangePacket.h"

namespace tovi {

/// A query, wherever and however often it was seen, and what is known of its response. One thread.
class Exchange {
 public:
  /// How surely a packet belongs to an exchange; the greater, the surer.
  enum class Fit { none, sameCrossing, sameProcess, sameClient };

  /// A packet that is seen this much later with another address, and whose sender is not found, is
  /// another one: until then it is on its way through the machine's bridges and translations.
  static constexpr std::chrono::seconds kCrossingTime{1};
  /// The query may be sent again so much later, and the same response, or one to the query when it
  /// was sent again, may come.
  static constexpr std::chrono::seconds kAftermath{30};

  /// Without the packet itself, which is to be added.
  explicit Exchange(const ExchangePacket& first);

  /// Equal for all packets of an exchange.
  static std::size_t hash(const DnsPacket& packet);
  std::size_t hash() const { return hash_; }
  bool isAbout(const DnsPacket& packet) const;
  Fit fit(const ExchangePacket& packet) const;
  /// The packet belongs to the exchange.
  void add(const ExchangePacket& packet);

  /// What is told of the exchange that `response` answers.
  std::optional<EventExchange> outline(const Sighting& response) const;

  /// Null once the exchange is over.
  const ToviDNSEventPointer& event() const { return event_; }
  void setEvent(ToviDNSEventPointer event) { event_ = std::move(event); }
  /// The response that it waited for was captured at `time`.
  void end(std::chrono::microseconds time);
  bool isOver() const { return isOver_; }

  /// When the query was last sent.
  std::chrono::microseconds sent() const { return sent_; }
  /// When the response came that ended it, or the last one that failed.
  std::optional<std::chrono::microseconds> answered() const { return answered_; }

 private:
  Fit fitOfQuery(const ExchangePacket& packet) const;
  Fit fitOfResponse(const Sighting& seen) const;
  bool hasClient(const Endpoint& client) const;
  void addQuery(const ExchangePacket& packet);

  std::size_t hash_;
  std::int64_t id_;
  Query question_;
  std::optional<std::int64_t> pid_;
  /// The query as it was first seen, or as last seen with its sender; a response when that came
  /// first.
  Sighting asked_;
  /// Of the same query, each translation of addresses makes another.
  std::vector<Endpoint> clients_;
  std::chrono::microseconds begun_;
  std::chrono::microseconds sent_;
  std::optional<std::chrono::microseconds> answered_;
  bool isOver_ = false;
  ToviDNSEventPointer event_;
};

}  // namespace tovi
